#!/usr/bin/env bash
# `vask detect` on very many short files in one process: the time against that of another build, run alternately, and
# the most memory for a tenth of the files and for all of them.
#
#   bench/many.sh VASK OTHER_VASK [FILES]    (10000 files of 5 s)
set -euo pipefail
cd "$(dirname "$0")/.."
vask=$(realpath "$1") other=$(realpath "$2") files=${3:-10000}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

bench/short_files.py samples/room.wav "$folder" "$files"

cd "$folder"
ls ./*.wav > all
head -n $((files / 10)) all > tenth
# Seconds of processor time and peak memory in KiB.
measure() {
  python3 - "$@" << 'END'
import resource, subprocess, sys
with open("list", "wb") as out:
    subprocess.run([sys.argv[1], "detect", "-j1", "-f", "jsonl", "--files-from", sys.argv[2]], stdout=out, check=True,
                   stderr=subprocess.DEVNULL)
used = resource.getrusage(resource.RUSAGE_CHILDREN)
print(f"{used.ru_utime + used.ru_stime:.2f} {used.ru_maxrss}")
END
}
measure "$vask" tenth > warm
for _ in 1 2 3; do
  measure "$vask" tenth >> this
  measure "$other" tenth >> that
done
measure "$vask" all > whole
paste <(sort -n this | head -1) <(sort -n that | head -1) whole | awk -v files="$files" \
  '{ printf "%d files: %.2f s and %.2f s with the other, %.3f times as long; %d KiB, %d KiB for %d files\n",
     files / 10, $1, $3, $1 / $3, $2, $6, files }'
