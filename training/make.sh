#!/usr/bin/env bash
# Train the learned detector from nothing: fetch the recordings, mix them, train, turn the weights into integers and
# judge them on speakers that were left out.
#
#   training/make.sh VOICES [FOLDER]
#
# VOICES   a folder with a folder of recordings for each further source (16 kHz or any other rate, any format that
#          libsndfile reads), one speaker's files following each other by name. Ours were these public repositories:
#            commands   github.com/Picovoice/speech-to-intent-benchmark, data/speech/clean   Apache-2.0
#            wakewords  github.com/Picovoice/wake-word-benchmark, audio                      Apache-2.0
#            kerstin    github.com/rhasspy/dataset-voice-kerstin, audio                      CC0-1.0
#            digits     github.com/Jakobovski/free-spoken-digit-dataset, recordings          CC BY-SA 4.0
# FOLDER   for all that is fetched and made (build/training): 16 GB
#
# The result is FOLDER/detector.model, which streams and the command take (vask detect --model), and which
#   training/embed.py FOLDER/detector.model > src/gate/tables/model.inc
# builds in. The same recordings and the same versions of the packages below give the same weights. Two cores need
# under three hours and 12 GB of memory; what is there already is kept.
set -euo pipefail
cd "$(dirname "$0")/.."
. training/common.sh
if [ $# -lt 1 ] || [ ! -d "$1" ]; then
  sed -n '2,/^set/{/^set/!s/^# \{0,1\}//p}' "$0" >&2
  exit 2
fi
voices=$(cd "$1" && pwd)
mkdir -p "${2:-build/training}"/{packages,shards}
folder=$(cd "${2:-build/training}" && pwd)

needed="g++ cmake ninja-build python3-torch libopenblas0-pthread python3-numpy python3-scipy python3-soundfile ffmpeg"
find_python "torch, numpy, scipy, soundfile"
if [ -z "$python" ] || ! command -v cmake c++ ffmpeg > /dev/null; then need "$needed"; fi

step "Building the analysis"
cmake --preset release > "$folder/build.log"
cmake --build --preset release --target vask-ear >> "$folder/build.log" || { cat "$folder/build.log" >&2; exit 1; }
ear=$PWD/build/release/vask-ear

step "Fetching the packages"
for package in $("$python" training/sources.py); do
  compgen -G "$folder/packages/${package}_*.deb" > /dev/null && continue
  (cd "$folder/packages" && apt-get download -qq "$package" 2> "$folder/apt.log") || {
    echo "$package cannot be fetched: $(tail -n 1 "$folder/apt.log"); apt-get update may help" >&2
    exit 1
  }
done

step "Gathering voices, music and noises"
[ -s "$folder/pools/noise.json" ] || "$python" training/pool.py "$folder/packages" "$voices" "$folder/pools"

step "Mixing clips"
shards=$folder/shards
mix() { # name, count, seed, part, kind
  compgen -G "$shards/$1-$4-*.features.npy" > /dev/null ||
    "$python" training/mix.py "$folder/pools" "$ear" "$shards/$1" "$2" "$3" "$4" ${5:+"$5"} > "$folder/mix-$1-$4.log"
}
mix tuning 300 5 0 tuning
mix plain 300 5 0 plain
mix train 8000 7 0 & mix train 8000 7 1
wait $!

step "Training"
train() { # out, its arguments
  [ -e "$folder/$1.done" ] || { "$python" training/train.py "$shards/train" "$shards/tuning-0,$shards/plain-0" "$folder/$1" \
    "${@:2}" && touch "$folder/$1.done"; }
}
train detector --batches 2800

step "Turning it into integers, and judging it"
"$python" training/export.py "$folder/detector.pt" "$folder/detector.model"
"$python" training/tune.py "$folder/pools" "$ear" "$folder/judged" "$folder/detector.model" | tee "$folder/judged.md"
step "Done: $folder/detector.model, $folder/judged.md"
