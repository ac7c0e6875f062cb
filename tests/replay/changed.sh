#!/bin/sh
# A replayer names the case that differs, the line that was expected and the one that came, and fails:
#
#   changed.sh REPLAYER REPLAY.txt ROOM.wav
#
# Three lists, each with one change in its last case: another audio, an event too many, and no audio.
set -eu
replayer=$1 list=$2 room=$3
changed=$(mktemp)
trap 'rm -f "$changed"' EXIT
name=$(sed -n 's/^case //p' "$list" | tail -n 1)
last=$(grep -n '^audio' "$list" | tail -n 1 | cut -d: -f1)

expect() {
  said=$("$replayer" "$changed" "$room") && { echo "not noticed: $1"; exit 1; }
  case $said in
    "replay: case $name differs: expected $1, got $2") ;;
    *) echo "expected the difference of $1, got: $said"; exit 1 ;;
  esac
}

audio=$(sed -n "${last}p" "$list")
sed "${last}s/.*/audio 0 12345678/" "$list" > "$changed"
expect "audio 0 12345678" "$audio"
sed "${last}i\\
event started" "$list" > "$changed"
expect "event started" "$audio"
sed "${last}d" "$list" > "$changed"
expect "end" "$audio"
