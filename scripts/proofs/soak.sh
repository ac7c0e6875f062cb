#!/usr/bin/env bash
# Proof: hours change nothing. In one process the front end with its packets and streams with either detector hear the
# same minute again and again: each time they give the same to the bit, positions count on, and memory stays as it was.
#
#   scripts/proofs/soak.sh             12.5 hours in each of five parts, so that positions at 48 kHz pass 2^31
#   scripts/proofs/soak.sh --hours N   so many; from 75 on they pass 2^32 at every rate
#   scripts/proofs/soak.sh --quick     20 minutes
set -euo pipefail
cd "$(dirname "$0")/../.."
hours=12.5
case ${1:-} in
  '') ;;
  --quick) hours=0.34 ;;
  --hours) hours=$2 ;;
  *) sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0" && exit ;;
esac
started=$SECONDS log=build/soak.log
fail() { echo "soak: $*" >&2; exit 1; }
mkdir -p build
cmake --preset release > $log 2>&1 && cmake --build --preset release --target vask-soak > $log 2>&1 ||
  fail "the build fails: $(grep -im 1 error $log)"
build/release/tests/soak/vask-soak "$hours" samples/room.wav > $log 2> /dev/null || fail "$(grep -m 1 '^vask-soak: ' $log || echo "vask-soak ends with status $?")"
echo "soak: $(tail -n 1 $log), in $((SECONDS - started)) s"
