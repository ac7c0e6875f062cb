#!/usr/bin/env bash
# Run clang-tidy, configured by .clang-tidy, on the core, with the compile commands of a build folder.
set -euo pipefail
cd "$(dirname "$0")/.."
log=$(mktemp)
trap 'rm -f "$log"' EXIT
# The tool prints its count of warnings in system headers to standard error.
if find src -name '*.cpp' ! -name '*_windows.cpp' -print0 | sort -z | xargs -0 -n 4 -P "$(nproc)" clang-tidy -p "$1" --quiet > "$log" 2> /dev/null; then
  echo "clang-tidy has no complaints."
else
  cat "$log"
  exit 1
fi
