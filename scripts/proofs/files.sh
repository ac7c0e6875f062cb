#!/usr/bin/env bash
# Proof: where a system call of a job that keeps files fails, or the process is killed at it, each file is the old one
# or the new one, and the next run completes them; a thread that does not start changes nothing, and signals end
# a job that waits for a pipe. Linux on x86-64.
#
#   scripts/proofs/files.sh           half a minute on two cores
#   scripts/proofs/files.sh --quick   one job, without room and with short transfers
set -euo pipefail
cd "$(dirname "$0")/../.."
[[ ${1:-} =~ ^(--quick)?$ ]] || { sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0" && exit; }
cmake --preset release > /dev/null
cmake --build --preset release --target vask vask-faults > /dev/null
python3 tests/faults/files.py build/release samples/room.wav "$@"
