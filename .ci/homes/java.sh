#!/usr/bin/env bash
# Java: the replay, the five lines of docs/java.md in an empty folder, and the archive for Android by CMake alone. The
# tests of the classes are among those of ./test.sh.
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
  [ "$(grep -c ' started: ' "$folder/printed")" -eq 5 ]
  [ "$(grep -c ' ended (silence): ' "$folder/printed")" -eq 5 ]
  rm -r "$folder"
}

replay
[ "${1:-}" != --replay ] || exit 0
five_lines
# Those that no other build compiles with clang; for all four, 2,200,000 bytes is the bar.
tests/jni/android/build.sh build/android-stand-in 1100000 arm64-v8a armeabi-v7a
