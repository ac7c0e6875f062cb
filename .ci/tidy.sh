#!/usr/bin/env bash
# Run clang-tidy, as .clang-tidy says, over the core with the compile commands of a build folder.
set -euo pipefail
cd "$(dirname "$0")/.."
log=$(mktemp)
trap 'rm -f "$log"' EXIT
# The tool counts the warnings of system headers on its error stream.
if find src -name '*.cpp' -print0 | sort -z | xargs -0 -n 4 -P "$(nproc)" clang-tidy -p "$1" --quiet > "$log" 2> /dev/null; then
  echo "clang-tidy has nothing to say."
else
  cat "$log"
  exit 1
fi
