#!/usr/bin/env bash
# C and C++: the replay here and on 64-bit ARM, and the selftest at every level.
#
#   .ci/homes/c.sh [--replay]     with --replay nothing but that; here both are the same
#
# All of them run, whatever the others say.
set -euo pipefail
cd "$(dirname "$0")/../.."
status=0

# What a command says after its name. Only a difference lets the others go on.
say() {
  local name=$1 result=0
  shift
  printf '%s: ' "$name"
  "$@" || result=$?
  [ $result -le 1 ] || exit $result
  [ $result -eq 0 ] || status=1
}

# replay PRESET WHERE [EMULATOR...]
replay() {
  local preset=$1 where=$2 log=build/$1.log
  shift 2
  mkdir -p build
  { cmake --preset "$preset" && cmake --build --preset "$preset" --target vask-replay vask-replay-cpp; } > "$log" 2>&1 ||
    { cat "$log"; exit 2; }
  say "C, $where" "$@" "build/$preset/tests/replay/vask-replay" tests/replay/replay.txt samples/room.wav
  say "C++, $where" "$@" "build/$preset/tests/replay/vask-replay-cpp" tests/replay/replay.txt samples/room.wav
}

replay release here
replay arm64 "64-bit ARM" qemu-aarch64
cmake --build --preset release --target vask > build/release.log 2>&1 || { cat build/release.log; exit 2; }
for level in plain portable avx2 neon; do
  ! build/release/vask --cpu $level --version > /dev/null 2>&1 ||
    say "selftest" build/release/vask --cpu $level selftest --quiet
done
exit $status
