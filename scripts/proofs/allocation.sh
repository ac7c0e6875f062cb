#!/usr/bin/env bash
# Proof: with every allocation failing once, and with all failing from it on, each entry of the library says so, keeps
# nothing and starts again with the same output, and each job of the command ends with a line about it and no part of
# a file. Linux on x86-64. (Java's test is VaskWithoutMemoryTest.)
#
#   scripts/proofs/allocation.sh           about a minute on two cores
#   scripts/proofs/allocation.sh --quick   most entries of the library only
set -euo pipefail
cd "$(dirname "$0")/../.."
[[ ${1:-} =~ ^(--quick)?$ ]] || { sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0" && exit; }
cmake --preset release > /dev/null
targets=(vask-faults-library)
[ -n "${1:-}" ] || targets+=(vask)
cmake --build --preset release --target "${targets[@]}" > /dev/null
python3 tests/faults/allocation.py build/release samples/room.wav "$@"
