#!/usr/bin/env bash
# Build the library and its command, and show both jobs on the recording in samples/: find the spoken utterances, and
# take the noise away. The results go to out/.
set -euo pipefail
cd "$(dirname "$0")"
say() { printf '\n== %s\n' "$*"; }

say "Installing what is missing"
scripts/install-deps.sh --command

say "Building the command (build/command)"
cmake --preset command > /dev/null
cmake --build --preset command --target vask

vask=build/command/vask
mkdir -p out
say "Finding the utterances: vask detect samples/room.wav -o out/utterances"
rm -rf out/utterances
"$vask" detect samples/room.wav -o out/utterances > out/utterances.txt
printf 'FILE\tNUMBER\tSTART\tEND\tSPAN_START\tSPAN_END\tVOICED\tENDED\n' |
  cat - out/utterances.txt | expand -t 20,28,36,44,56,66,74
say "Taking the noise away: vask denoise samples/room.wav -o out/room-denoised.wav"
rm -f out/room-denoised.wav
"$vask" denoise samples/room.wav -o out/room-denoised.wav
say "Drawing what was found: vask report samples/room.wav -o out/report.html"
"$vask" report samples/room.wav -o out/report.html

say "Done: $(wc -l < out/utterances.txt) utterances found"
cat << END
   out/utterances.txt      file, number, start and end in seconds of each utterance, and more
   out/utterances/         each utterance as a recording of its own
   out/report.html         all of it as a page to look at and listen to, in a browser
   out/room-denoised.wav   the whole recording without the noise; compare it with samples/room.wav

To go on:
   $vask detect FILE...               utterances of your own recordings
   $vask denoise FILE -o CLEAN.wav    one of them without the noise
   $vask --help                       everything that the command can do
   ./test.sh                                       all tests
   README.md                                       the C interface, with an example
END
