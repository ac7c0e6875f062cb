#!/usr/bin/env bash
# Build the library and its command, and show what they do on the recording in samples/: find the spoken utterances and
# reduce the noise. The results go to out/.
set -euo pipefail
cd "$(dirname "$0")"
say() { printf '\n== %s\n' "$*"; }

say "Installing missing packages"
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
say "Reducing the noise: vask denoise samples/room.wav -o out/room-denoised.wav"
rm -f out/room-denoised.wav
"$vask" denoise samples/room.wav -o out/room-denoised.wav
say "Drawing the results: vask report samples/room.wav -o out/report.html"
"$vask" report samples/room.wav -o out/report.html

say "Done: $(wc -l < out/utterances.txt) utterances found"
cat << END
   out/utterances.txt      file, number, start and end in seconds of each utterance, and more
   out/utterances/         each utterance as its own recording
   out/report.html         all of it as a page for a browser, to look at and listen to
   out/room-denoised.wav   the whole recording with the noise reduced; compare it with samples/room.wav

Next steps:
   $vask detect FILE...               find the utterances in your own recordings
   $vask denoise FILE -o CLEAN.wav    reduce the noise in one of them
   $vask --help                       everything that the command can do
   ./test.sh                                       all tests
   README.md                                       the C interface, with an example
END
