#!/usr/bin/env bash
# Java: the tests of the classes, the five lines of docs/java.md in an empty folder, the archive for Android by CMake
# alone, and the replay.
#
#   .ci/homes/java.sh [--replay]     with --replay nothing but that
set -euo pipefail
cd "$(dirname "$0")/../.."
jar=build/release/java/vask.jar

replay() {
  cmake --preset release > /dev/null
  cmake --build --preset release --target vask_shared vask_java_tests > build/release/java.log ||
    { cat build/release/java.log; exit 2; }
  java -Xcheck:jni -Djava.library.path=build/release -cp $jar:build/release/tests/jni/vask-tests.jar \
    com.norv.Brindle.Replay tests/replay/replay.txt samples/room.wav
}

five_lines() {
  local folder
  folder=$(mktemp -d)
  cp $jar build/release/libVask.so samples/room.wav "$folder"
  sed -n '/^```java/,/^```/{/^```/!p;}; /^```$/q' docs/java.md > "$folder/lines"
  echo "/exit" >> "$folder/lines"
  (cd "$folder" && jshell -s --class-path vask.jar -R-Djava.library.path=. lines > printed)
  cat "$folder/printed"
  [ "$(grep -c ' started: ' "$folder/printed")" -eq 5 ] && [ "$(grep -c ' ended (silence): ' "$folder/printed")" -eq 5 ]
  rm -r "$folder"
}

replay
[ "${1:-}" != --replay ] || exit 0
cmake --build --preset release --target vask_java_sample vask_android_example c_interface vask_little_memory
ctest --preset release -R '^java\.'
five_lines
# Those that no other build compiles with clang; for all four the bar is 2,000,000 bytes.
tests/jni/android/build.sh build/android-stand-in 1000000 arm64-v8a armeabi-v7a
