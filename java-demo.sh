#!/usr/bin/env bash
# Build the Java class and its sample application, and run it on the recording in samples/.
#
#   ./java-demo.sh                         the recording in samples/
#   ./java-demo.sh FILE.wav                another recording, 16-bit
#   ./java-demo.sh --microphone SECONDS    live from the microphone
set -euo pipefail
cd "$(dirname "$0")"
say() { printf '\n== %s\n' "$*"; }

say "Installing missing packages"
scripts/install-deps.sh --build

say "Building the library, the class and the sample (build/release)"
cmake --preset release > /dev/null
cmake --build --preset release --target vask_shared vask_java_sample

say "Running the sample"
[ $# -gt 0 ] || set -- samples/room.wav
java -Djava.library.path=build/release -cp build/release/java/vask.jar:build/release/java/vask-sample.jar \
  com.norv.Brindle.sample.Main out/java "$@"

say "Done"
cat << END
   out/java/utterance-N.raw       16-bit samples, 16 kHz
   out/java/utterance-N.packets   the same as IMA ADPCM packets
   build/command/vask unpack out/java/utterance-1.packets -o FILE.wav    listen to one of them (./demo.sh builds vask)
   java/sample/                   the source of the sample
   docs/java.md                   how to use the class
END
