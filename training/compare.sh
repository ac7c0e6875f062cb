#!/usr/bin/env bash
# Measure our detectors and our noise reductions beside others, on recordings that training never uses, and write the
# tables of docs/quality.md.
#
#   training/compare.sh [FOLDER [MODEL]]
#
# FOLDER   for what is fetched and made (build/compare); 2 GB
# MODEL    of the learned detector instead of the built-in one; the tables are then in FOLDER alone
#
# Needs Debian's packages named below, and fetches others (apt-get download, npm ci) without installing them. Half an
# hour with two cores; what is there already is kept, except for what our own build finds.
set -euo pipefail
cd "$(dirname "$0")/.."
. training/common.sh
folder=${1:-build/compare}
last=(--page docs/quality.md)
[ $# -lt 2 ] || last=(--model "$(realpath "$2")")

needed="g++ cmake ninja-build nodejs npm python3-numpy python3-scipy python3-soundfile libspeexdsp-dev"
find_python "numpy, scipy, soundfile"
if [ -z "$python" ] || ! command -v npm cmake c++ > /dev/null || [ ! -f /usr/include/speex/speex_preprocess.h ]; then need "$needed"; fi
mkdir -p "$folder"/{bin,peers,denoised}
folder=$(cd "$folder" && pwd)

step "Building"
cmake --preset release > /dev/null
cmake --build --preset release --target vask vask_shared > "$folder/build.log" || { cat "$folder/build.log"; exit 1; }
library=$PWD/build/release
c++ -std=c++20 -O2 -Iinclude training/events.cpp -o "$folder/bin/events" "$library/libVask.so" -Wl,-rpath,"$library"

step "Held-out recordings"
cat training/{heldout,heldout_noises,heldout_sources,score}.py > "$folder/recipe.new"
if ! cmp -s "$folder/recipe.new" "$folder/recipe"; then
  rm -rf "$folder"/{recipe,peers,denoised}
  mkdir "$folder"/{peers,denoised}
  "$python" training/heldout.py "$folder"
  mv "$folder/recipe.new" "$folder/recipe"
fi

step "Other detectors"
# No script of a package runs (.npmrc): what they would fetch is not needed.
cmp -s training/peers/package-lock.json training/peers/node_modules/.installed.json || {
  npm --prefix training/peers ci --loglevel error > /dev/null
  cp training/peers/package-lock.json training/peers/node_modules/.installed.json
}
run_peer() { # peer, set
  local out=$folder/peers/$1.$2.json audio=()
  [ -s "$out" ] && return
  [ "$1" = rnnoise ] && { [ "$2" = mixes ] || [ "$2" = clean ]; } && audio=("$folder/denoised/rnnoise-$2")
  node training/peers/run.mjs "$1" "$folder/$2" "$out.part" "${audio[@]}" && mv "$out.part" "$out" && echo "        $1 $2"
}
export -f run_peer
export folder
sets="rock mixes level-18 level-12 level+12 hold-music rooms"
for peer in rnnoise ten silero-next silero-v5 webrtc; do
  [ $peer = rnnoise ] && with=clean || with=
  for set in $sets $with; do printf '%s\0%s\0' $peer "$set"; done
done | xargs -0 -n 2 -P "$(nproc)" bash -euc 'run_peer "$0" "$1"'

step "Noise reductions"
raw=$folder/raw
apm=$(echo "$raw"/libwebrtc-audio-processing1/usr/lib/*/)
cc -O2 training/peers/speexdsp.c -o "$folder/bin/speexdsp" -lspeexdsp
c++ -O2 -DWEBRTC_AUDIO_PROCESSING_ONLY_BUILD -DWEBRTC_POSIX \
  -isystem "$raw/libwebrtc-audio-processing-dev/usr/include/webrtc_audio_processing" training/peers/webrtc_apm.cpp \
  -o "$folder/bin/webrtc_apm" "$apm/libwebrtc_audio_processing.so.1" -Wl,-rpath,"$apm"
"$python" training/compare_listening.py "$folder" --vask "$library/vask" "${last[@]}"

step "Scores"
"$python" training/compare.py "$folder" --vask "$library/vask" --events "$folder/bin/events" "${last[@]}"
step "Done: $folder/tables.md and listening.md"
