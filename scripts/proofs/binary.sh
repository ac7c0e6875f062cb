#!/usr/bin/env bash
# The built files: hardened, loaded by glibc as old as promised, and with the binary interface that tests/abi describes.
#
#   scripts/proofs/binary.sh            all
#   scripts/proofs/binary.sh --quick    the interface of streams alone, for 64 bits
#   scripts/proofs/binary.sh --update   describe the interface as it is now
set -euo pipefail
cd "$(dirname "$0")/../.."
if [ "${1:-}" = --help ]; then sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"; exit; fi
started=$SECONDS hardened=0 interfaces=0
mkdir -p build/abi
fail() { echo "binary: $*" >&2; exit 1; }
quietly() { "$@" > build/abi/log 2>&1 || { tail -n 20 build/abi/log >&2; fail "failed: $*"; }; }

# file PATH KIND MARKS GLIBC: it is hardened, KIND is checksec's word for it; MARKS are those of the processor, and
# GLIBC is the newest version that it may need.
file() {
  local path=$1 kind=$2 marks=$3 bar=$4 said property found newest
  said=$(checksec --format=json --file="$path") || fail "checksec fails with $path"
  for property in '"relro":"full"' '"canary":"yes"' '"nx":"yes"' "\"pie\":\"$kind\"" '"rpath":"no"' '"runpath":"no"'; do
    grep -qF "$property" <<< "$said" || fail "$path lacks $property: $said"
  done
  # Those that print or copy what is not of fixed length do it with checks.
  [[ $path == *Streams* ]] || grep -qF '"fortify_source":"yes"' <<< "$said" || fail "$path is not fortified: $said"
  found=$(readelf -nW "$path" 2> /dev/null | sed -n 's/.*Properties: .*feature: \([A-Z, ]*[A-Z]\).*/\1/p')
  [ "$found" = "$marks" ] || fail "$path is marked with '$found', not '$marks': a part of it may be without"
  newest=$(readelf --version-info "$path" | grep -o 'GLIBC_[0-9.]*' | sort -Vu | tail -1)
  [ "$(printf '%s\n' "$newest" "GLIBC_$bar" | sort -V | tail -1)" = "GLIBC_$bar" ] || fail "$path needs $newest, not GLIBC_$bar"
  hardened=$((hardened + 1))
}

# interface LIBRARY MACHINE FOLDER SETTING...: what a program compiled against the description may call and use is there as it
# was; more may be there.
interface() {
  local library=$1 machine=$2 folder=$3 kept=tests/abi/$1-$2.abi result=0
  shift 3
  quietly cmake "$@" -DCMAKE_BUILD_TYPE=Debug -B "$folder"
  quietly cmake --build "$folder" --target vask_shared
  abidw --headers-dir include --drop-private-types --drop-undefined-syms --exported-interfaces-only \
    --no-corpus-path --no-comp-dir-path --no-show-locs --no-elf-needed --no-parameter-names --type-id-style hash \
    --suppressions tests/abi/suppressions.ini "$folder/$library.so" > build/abi/now
  [ -z "$update" ] || cp build/abi/now "$kept"
  abidiff --no-added-syms "$kept" build/abi/now > build/abi/log || result=$?
  [ $result -eq 0 ] ||
    { cat build/abi/log; fail "the interface of $library, $machine, has changed; where that is meant: $0 --update"; }
  interfaces=$((interfaces + 1))
}

update=
[ "${1:-}" != --update ] || update=1
interface libVaskStreams x86-64 build/abi/streams --preset debug -DVASK_STREAMS_ONLY=ON
if [ "${1:-}" != --quick ]; then
  interface libVask x86-64 build/debug --preset debug
  interface libVask i686 build/abi/i686 --preset i686
  interface libVaskStreams i686 build/abi/streams-i686 --preset i686 -DVASK_STREAMS_ONLY=ON
fi
if [ $# -eq 0 ]; then
  quietly cmake --preset release
  quietly cmake --build --preset release --target vask_shared vask
  quietly cmake --preset release -B build/streams -DVASK_STREAMS_ONLY=ON
  quietly cmake --build build/streams --target vask_shared
  for preset in arm64 i686; do
    quietly cmake --preset $preset
    quietly cmake --build --preset $preset --target vask_shared
  done
  file build/release/libVask.so dso "IBT, SHSTK" 2.28
  file build/release/vask yes SHSTK 2.36 # which has the start-up code of the C library in it: without landing pads
  file build/streams/libVaskStreams.so dso "IBT, SHSTK" 2.14
  file build/arm64/libVask.so dso "BTI, PAC" 2.28
  file build/i686/libVask.so dso "" 2.28
fi
echo "binary: $hardened files hardened, $interfaces interfaces as described, $((SECONDS - started)) s"
