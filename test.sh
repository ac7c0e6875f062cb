#!/usr/bin/env bash
# Build everything and run all tests.
#
#   ./test.sh            with gcc, optimised
#   ./test.sh PRESET     another preset of CMakePresets.json: debug, sanitize, clang
set -euo pipefail
cd "$(dirname "$0")"
preset=${1:-release}
say() { printf '\n== %s\n' "$*"; }

say "Installing missing packages"
scripts/install-deps.sh

say "Building (build/$preset)"
cmake --preset "$preset" > /dev/null
cmake --build --preset "$preset"

say "Testing (build/$preset)"
if ctest --preset "$preset"; then
  say "All tests passed ($preset)"
else
  say "TESTS FAILED ($preset): see above; run one again with: ctest --preset $preset -R NAME"
  exit 1
fi
