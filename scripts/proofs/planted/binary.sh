#!/usr/bin/env bash
# Two fields of the measures in another order: all that is compiled here agrees with itself.
set -euo pipefail
header=include/vask/stream.h
sed -i '/^  int32_t voiced; /{h;d;}; /^  int32_t open; /G' $header
grep -A 1 '^  int32_t open; ' $header | grep -q '^  int32_t voiced; ' || { echo "$header has other fields" >&2; exit 1; }
