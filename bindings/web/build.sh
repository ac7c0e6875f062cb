#!/usr/bin/env bash
# Build the npm package's files into bindings/web/dist: two modules, the learned detector's model, the scripts.
# The demo page comes into build/web/demo: any server of files will do.
#
#   bindings/web/build.sh              all
#   bindings/web/build.sh --modules    the modules and the model alone
set -euo pipefail
cd "$(dirname "$0")/../.."
home=bindings/web

# module NAME SIMD FEATURE...
module() {
  local name=$1 simd=$2 folder=build/web/$1
  shift 2
  cmake -S $home -B "$folder" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchains/wasm32-wasi.cmake" \
    -DCMAKE_BUILD_TYPE=Release -DVASK_WEB_SIMD="$simd" > "$folder.log" 2>&1 || { cat "$folder.log" >&2; exit 1; }
  cmake --build "$folder" -j2 --target vask > "$folder.log" 2>&1 || { cat "$folder.log" >&2; exit 1; }
  wasm-opt "$@" -O3 --low-memory-unused --strip-debug --strip-producers "$folder/vask.wasm" -o "$home/dist/$name.wasm"
}

mkdir -p build/web $home/dist
module vask OFF
module vask-simd ON --enable-simd --enable-bulk-memory --enable-sign-ext --enable-nontrapping-float-to-int
python3 training/embed.py --extract src/gate/tables/model.inc > $home/dist/detector.model
[ "${1:-}" = --modules ] && exit
[ -d $home/node_modules ] || npm --prefix $home ci --ignore-scripts --loglevel error > /dev/null
node $home/build.mjs build/web/demo
cp LICENSE $home/ # a package holds no links
