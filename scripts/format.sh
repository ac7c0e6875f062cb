#!/usr/bin/env bash
# Format the C and C++ sources in place, or with --check report which lines are not formatted. The generated tables are
# left alone.
set -euo pipefail
cd "$(dirname "$0")/.."
mode=(-i)
[ "${1:-}" = --check ] && mode=(--dry-run -Werror)
find include src tools bench tests training bindings \( -path "src/*/tables" -o -path "*/node_modules" \) -prune -o \
  \( -name '*.cpp' -o -name '*.h' -o -name '*.hpp' -o -name '*.c' -o -name '*.inc' \) -print0 |
  sort -z | xargs -0 clang-format "${mode[@]}"
