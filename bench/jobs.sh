#!/usr/bin/env bash
# How `vask detect --jobs` scales: a thousand files of 5 s, alternately with one job and with one per core. Prints
# the speed-up of the best of five rounds and its share of the ideal for that many cores.
#
#   bench/jobs.sh [VASK [JOBS]]    (build/release/vask, one per core)
set -euo pipefail
cd "$(dirname "$0")/.."
vask=$(realpath "${1:-build/release/vask}")
jobs=${2:-$(nproc)}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

python3 - samples/room.wav "$folder" << 'END'
import sys, wave
with wave.open(sys.argv[1]) as room:
    samples = room.readframes(room.getnframes())
for k in range(1000):
    with wave.open(f"{sys.argv[2]}/{k:04}.wav", "wb") as piece:
        piece.setparams((1, 2, 16000, 0, "NONE", ""))
        start = 640 * k % 400000
        piece.writeframes(samples[start:start + 5 * 32000])
END

cd "$folder"
seconds() {
  local TIMEFORMAT=%R
  { time "$vask" detect --jobs "$1" ./*.wav > "list.$1"; } 2>&1
}
for _ in 1 2 3 4 5; do
  seconds 1 >> one
  seconds "$jobs" >> all
done
cmp list.1 "list.$jobs"
paste <(sort -n one | head -1) <(sort -n all | head -1) | awk -v jobs="$jobs" \
  '{ printf "1 job %.2f s, %d jobs %.2f s: %.2f times as fast, %.0f %% of linear\n", $1, jobs, $2, $1 / $2, 100 * $1 / $2 / jobs }'
