#!/usr/bin/env bash
# The instructions that the engine takes on each platform beside those of SpeexDSP's preprocessor over the same speech,
# counted under qemu, so that every run gives the same numbers.
#
#   bench/counted/compare.sh [--seconds N] [--functions N] [--check] [ROW...]
#
#   --seconds N    length of the material; 900 by default
#   --functions N  list the N functions that take most
#   --check        fail if a row is above its bar
#   ROW            x86-64, arm64, armv7 (with NEON), each also with -o2 behind it, and arm64-clang; all by default
#
# A row with -o2 is built as distributions do, with -O2 and no build type, and compared with the row without it;
# arm64-clang with arm64. SpeexDSP is built from Debian's source package at -O2, which is Debian's level, and at -O3.
set -euo pipefail
cd "$(dirname "$0")/../.."
here=bench/counted
work=$PWD/build/counted
mkdir -p "$work"

fail() {
  echo "compare.sh: $*" >&2
  exit 1
}

# Each row's bar with --check, in 100 s: to SpeexDSP at -O2, or to the row that it is compared with.
declare -A bars=([x86-64]=0.53 [arm64]=0.69 [armv7]=1.10 [x86-64-o2]=1.02 [arm64-o2]=1.02 [armv7-o2]=1.02
  [arm64-clang]=1.08)

seconds=900 functions=0 check="" rows=()
while [ $# -gt 0 ]; do
  case $1 in
    --seconds) seconds=$2 && shift ;;
    --functions) functions=$2 && shift ;;
    --check) check=1 ;;
    *) [ -n "${bars[$1]:-}" ] || fail "there is no row $1: take one of ${!bars[*]}" && rows+=("$1") ;;
  esac
  shift
done
[ ${#rows[@]} -gt 0 ] || rows=(x86-64 x86-64-o2 arm64 arm64-o2 arm64-clang armv7 armv7-o2)

# Debian's source of SpeexDSP, from the archive that its binary package comes from.
speexdsp=$work/speexdsp
fetch_speexdsp() {
  [ ! -f "$speexdsp/libspeexdsp/preprocess.c" ] || return 0
  local apt=$work/apt archive
  mkdir -p "$apt/lists/partial" "$speexdsp/include"
  archive=$(cd "$apt" && apt-get download --print-uris libspeexdsp-dev | sed -n "s|^'\(.*\)/pool/.*|\1|p")
  # shellcheck source=/dev/null
  echo "deb-src $archive $(. /etc/os-release && echo "$VERSION_CODENAME") main" > "$apt/sources.list"
  local options=(-qq -o Dir::Etc::sourcelist="$apt/sources.list" -o Dir::Etc::sourceparts=-
    -o Dir::State::lists="$apt/lists" -o Dir::Cache="$apt")
  if ! (cd "$apt" && apt-get "${options[@]}" update && apt-get "${options[@]}" source --download-only speexdsp) \
    > "$apt/log" 2>&1; then
    cat "$apt/log" >&2
    fail "the source of SpeexDSP cannot be fetched with apt-get source, see above"
  fi
  tar -xzf "$apt"/speexdsp_*.orig.tar.gz -C "$speexdsp" --strip-components 1
  # What its configure script would write.
  sed 's/@INCLUDE_STDINT@/#include <stdint.h>/; s/@SIZE\(..\)@/int\1_t/; s/@USIZE\(..\)@/uint\1_t/' \
    "$speexdsp/include/speex/speexdsp_config_types.h.in" > "$speexdsp/include/speex/speexdsp_config_types.h"
}

# Sets what belongs to a row: the compilers, their flags, the emulator.
row_settings() {
  options=() flags="" run=""
  case $1 in
    x86-64*) cc=gcc cxx=g++ run="qemu-x86_64 -cpu max" system=x86_64 ;;
    arm64*) cc=aarch64-linux-gnu-gcc cxx=aarch64-linux-gnu-g++ run=qemu-aarch64 system=aarch64 ;;
    armv7*) cc=arm-linux-gnueabihf-gcc cxx=arm-linux-gnueabihf-g++ run=qemu-arm system=armv7-a flags=-mfpu=neon ;;
  esac
  case $1 in
    *-clang)
      cc=clang cxx=clang++
      options=(-DCMAKE_C_COMPILER_TARGET=aarch64-linux-gnu -DCMAKE_CXX_COMPILER_TARGET=aarch64-linux-gnu) ;;
  esac
  [ "$system" = x86_64 ] || options+=(-DCMAKE_SYSTEM_NAME=Linux "-DCMAKE_SYSTEM_PROCESSOR=$system")
  case $1 in
    *-o2) options+=(-DCMAKE_BUILD_TYPE=None) && engine_flags="$flags -O2 -g" ;;
    *) options+=(-DCMAKE_BUILD_TYPE=Release) && engine_flags=$flags ;;
  esac
}

build() {
  local row=$1 folder=$work/$1 part level parts=() target=()
  row_settings "$row"
  options+=("-DCMAKE_C_COMPILER=$cc" "-DCMAKE_CXX_COMPILER=$cxx" "-DCMAKE_C_FLAGS=$engine_flags"
    "-DCMAKE_CXX_FLAGS=$engine_flags")
  for part in JNI BUILD_{COMMAND,JAVA,TABLES,BENCH,TRAINING,TESTS}; do options+=("-DVASK_$part=OFF"); done
  if ! { cmake -S . -B "$folder" -G Ninja "${options[@]}" && cmake --build "$folder" --target vask_static; } \
    > "$folder.log" 2>&1; then
    cat "$folder.log" >&2
    fail "$row cannot be built, see above"
  fi
  for part in preprocess mdf fftwrap smallft filterbank; do parts+=("$speexdsp/libspeexdsp/$part.c"); done
  [ "$cc" != clang ] || target=(--target=aarch64-linux-gnu)
  for level in 2 3; do
    # shellcheck disable=SC2086  # the flags are several words
    $cc "${target[@]}" $flags -std=gnu11 -O$level -w -ffunction-sections -static -Wl,--gc-sections \
      -DFLOATING_POINT -DUSE_SMALLFT -DEXPORT= -Iinclude -I"$speexdsp/include" $here/frames.c "${parts[@]}" \
      "$folder/libVask.a" -lm -o "$folder/frames-o$level"
  done
}

# Sets `instructions` to the count of a run, and lists its functions. Every build of a program has the same output.
declare -A checks
count() {
  local output check
  # shellcheck disable=SC2086  # the emulator and its options
  output=$($run -d plugin -plugin "$work/plugin.so,functions=$functions" "$1" "$2" "$seconds" samples/room.wav \
    2> /dev/null) || fail "$run $1 $2 failed"
  instructions=$(sed -n 's/^instructions //p' <<< "$output")
  [ "$functions" = 0 ] || { echo "${1#"$work/"} $2" && grep ' % ' <<< "$output" | c++filt -p; }
  check=$(sed -n 's/^frames .* check //p' <<< "$output")
  [ "$2" != engine ] || [ "${checks[$2]:=$check}" = "$check" ] || fail "$1: the output differs from the rows before"
}

# Sets engine[ROW].
declare -A engine
build_and_count() {
  [ -z "${engine[$1]:-}" ] || return 0
  build "$1"
  count "$work/$1/frames-o2" engine
  engine[$1]=$instructions
}

above=()
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.3f", a / b }'; }
report() { # row, what it is compared with, its instructions
  local share
  share=$(ratio "${engine[$1]}" "$3")
  printf '%-12s %8.0f a frame, %s to %s (bar %s)\n' "$1" "$(ratio "${engine[$1]}" $((seconds * 100)))" "$share" "$2" \
    "${bars[$1]}"
  awk -v a="$share" -v b="${bars[$1]}" 'BEGIN { exit a > b }' || above+=("$1")
}

fetch_speexdsp
gcc -O2 -Wall -Wextra -shared -fPIC -fvisibility=hidden $here/plugin.c -o "$work/plugin.so"
for row in "${rows[@]}"; do
  build_and_count "$row"
  case $row in
    *-o2 | *-clang)
      build_and_count "${row%-*}"
      report "$row" "${row%-*}" "${engine[${row%-*}]}" ;;
    *)
      count "$work/$row/frames-o2" speexdsp
      report "$row" "SpeexDSP" "$instructions"
      count "$work/$row/frames-o3" speexdsp
      printf '%30s%s to SpeexDSP at -O3\n' "" "$(ratio "${engine[$row]}" "$instructions")" ;;
  esac
  [ "$row" = x86-64 ] || continue
  for level in 2 3; do
    printf '%14suser time, SpeexDSP at -O%s: ' "" $level
    "$work/$row/frames-o$level" time "$seconds" samples/room.wav 2> /dev/null
  done
done
if [ -n "$check" ] && [ ${#above[@]} -gt 0 ]; then
  fail "above the bar: ${above[*]}; --functions 20 lists what takes most"
fi
