#!/usr/bin/env bash
# What streams take in WebAssembly beside the native library, which build/release has. Prints ratios.
#
#   bench/web/compare.sh [SECONDS]    of sound in each run; 20 by default
set -euo pipefail
cd "$(dirname "$0")/../.."
[ -f build/release/libVask.a ] || { echo "compare.sh: build the preset release first" >&2; exit 1; }
[ -f bindings/web/dist/node.js ] || bindings/web/build.sh
mkdir -p build/web
cc -O2 -Iinclude bench/web/streams.c -o build/web/streams build/release/libVask.a -lstdc++ -lm
node bench/web/streams.mjs build/web/streams "${1:-20}" samples/room.wav
