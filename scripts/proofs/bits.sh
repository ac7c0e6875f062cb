#!/usr/bin/env bash
# Proof: the same bits. The digests of the output from builds with other compilers, flags and maths functions, at every
# level of the machine, and under valgrind. The builds are in build/bits; other machines' are those of .ci/run.
#
#   scripts/proofs/bits.sh           all
#   scripts/proofs/bits.sh --quick   gcc alone, not optimised and with an unsigned char
set -euo pipefail
cd "$(dirname "$0")/../.."
case ${1:-} in
  '' | --quick) ;;
  *) sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0" && exit ;;
esac
started=$SECONDS runs=() tried=()
fail() { echo "bits: $*" >&2; exit 1; }

# compare NAME PROGRAM...: in the background; what the program gives is expected.
compare() {
  local name=$1 log=build/bits/run-${#runs[@]}
  shift
  {
    result=0
    "$@" check tests/digest/expected.txt samples/room.wav > "$log" 2> /dev/null || result=$?
    case $result in
      0 | 77) ;; # 77: this machine does not have the level
      *) echo "$name: $(grep -m 1 'not expected' "$log" || echo "stops with $result")" > "$log.failed" ;;
    esac
  } &
  runs+=($!)
}

# build COMPILER FLAGS [SETTING...]
build() {
  local compiler=$1 flags=$2 level
  folder=build/bits/$compiler${flags// /}
  shift 2
  cmake --preset digest -B "$folder" -DCMAKE_C_COMPILER="$compiler" -DCMAKE_CXX_COMPILER="${compiler/gcc/g}++" \
    -DCMAKE_C_FLAGS_DEBUG="$flags" -DCMAKE_CXX_FLAGS_DEBUG="$flags" "$@" > build/bits/log 2>&1 &&
    cmake --build "$folder" --target vask-digest >> build/bits/log 2>&1 ||
    fail "$compiler $flags: $(grep -im 1 error build/bits/log)"
  for level in plain portable avx2 neon; do
    compare "$compiler $flags, level $level" "$folder/tests/digest/vask-digest" --cpu $level
  done
  tried+=("$compiler $flags")
}

mkdir -p build/bits
rm -f build/bits/run-*
build gcc "-O0 -funsigned-char"
if [ "${1:-}" != --quick ]; then
  # This build calls a function for each step of mathematics. With musl's objects it needs no other library for them.
  musl=/usr/lib/$(uname -m)-linux-musl/libc.a
  objects=(floor frexp ldexp lrintf lround round scalbn sqrt fenv fesetround)
  [ -f "$musl" ] || fail "musl's functions are missing: scripts/install-deps.sh --ci installs them"
  (mkdir -p build/bits/musl && cd build/bits/musl && ar x "$musl" "${objects[@]/%/.lo}")
  g++ "$folder"/tests/digest/CMakeFiles/vask-digest.dir/*.o build/bits/musl/*.lo "$folder/libVask.a" \
    -Wl,--as-needed -o build/bits/musl/vask-digest
  ! readelf -d build/bits/musl/vask-digest | grep -q libm ||
    fail "the library calls functions of mathematics that are not in the list of musl's objects in $0"
  compare "musl's functions" build/bits/musl/vask-digest
  tried+=("musl's functions")

  build clang "-O0 -funsigned-char"
  for flags in "-O3 -march=native" "-Os -march=x86-64-v3"; do
    grep -qw avx2 /proc/cpuinfo || flags=${flags/-march=x86-64-v3/}
    build gcc "$flags -flto=auto" -DCMAKE_AR="$(command -v gcc-ar)" -DCMAKE_RANLIB="$(command -v gcc-ranlib)"
    build clang "$flags -flto=thin" -DCMAKE_AR="$(command -v llvm-ar)" -DCMAKE_RANLIB="$(command -v llvm-ranlib)" \
      -DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld
  done
  # Valgrind has one mode of rounding, and keeps what a processor may flush to zero: neither is in the digests.
  compare "valgrind" valgrind -q --tool=none "$folder/tests/digest/vask-digest"
  tried+=(valgrind)
fi
wait "${runs[@]}"
failed=$(cat build/bits/run-*.failed 2> /dev/null | head -n 1) || true
[ -z "$failed" ] || fail "$failed"
digests=$(awk '/digests compared/ { sum += $1 } END { print sum }' build/bits/run-*)
echo "bits: $digests digests, 0 different, in $((SECONDS - started)) s: $(printf '%s; ' "${tried[@]}")"
