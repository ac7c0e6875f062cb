#!/usr/bin/env bash
# Do the tests notice a change of one token of the library? Mutants of src/ are built and tried; 95 % must be noticed
# (scripts/mutants.py tells how).
#
#   scripts/proofs/mutants.sh                  300 of them and more
#   scripts/proofs/mutants.sh --quick          10, by one room's own tests
#   scripts/proofs/mutants.sh --in PATH ...    those of some sources, and the other options of scripts/mutants.py
set -euo pipefail
cd "$(dirname "$0")/../.."
if [ "${1:-}" = --help ]; then sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"; exit; fi
targets=(all)
if [ "${1:-}" = --quick ]; then
  set -- --quick --in src/frontend/packing.cpp --count 10
  targets=(vask_core vask_jni frontend_frontend_test frontend_packets_test)
fi
mkdir -p build/mutants
{ cmake --preset release && cmake --build --preset release --target "${targets[@]}"; } > build/mutants/log 2>&1 ||
  { tail -n 20 build/mutants/log; echo "mutants: the tests do not build" >&2; exit 1; }
exec scripts/mutants.py "$@"
