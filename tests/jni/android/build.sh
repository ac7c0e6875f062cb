#!/usr/bin/env bash
# Build the Android archive and the streams alone as with an NDK, by CMake alone, with a stand-in for the NDK's toolchain
# file, and look at them.
#
#   build.sh BUILD_DIR MOST_BYTES ABI...
set -euo pipefail
build=$1 most=$2
shift 2
here=$(cd "$(dirname "$0")" && pwd)
abis=$(IFS=";" && echo "$*")
make() { # folder, target, option of CMake
  cmake -S "$here/../../.." -B "$1" -G Ninja -DCMAKE_BUILD_TYPE=Release "$3" -DANDROID_ABI="$abi" \
    -DCMAKE_TOOLCHAIN_FILE="$here/stand_in.cmake" -DANDROID_PLATFORM=android-21 > /dev/null
  cmake --build "$1" --target "$2" > "$1/log" || { cat "$1/log"; exit 1; }
  tail -n 1 "$1/log"
}
abi=$1
make "$build/streams" all -DVASK_STREAMS_ONLY=ON
make "$build" vask_aar "-DVASK_AAR_ABIS=$abis"
bash "$here/../archive.sh" "$(echo "$build"/vask-*.aar)" "$build/archive" "$most" "$@"
for library in "$build"/archive/jni/*/libVask.so "$build/streams/libVaskStreams.so"; do
  # The 32-bit compilers' own division and conversion are in the library that each of them brings.
  nm -D --undefined-only "$library" | sed 's/^ *[Uwv] //; s/@.*//; /^__aeabi_/d; /^__u*\(div\|mod\)di3$/d' > "$build/asked"
  if grep -vxFf <(grep -v '^#' "$here/bionic.txt" | tr ' ' '\n') "$build/asked"; then
    echo "$library asks for this, and $here/bionic.txt does not know whether Android 5 has it"
    exit 1
  fi
  # Newer devices have pages of 16 KiB.
  if readelf -lW "$library" | awk '$1 == "LOAD" && $NF != "0x4000"' | grep .; then exit 1; fi
done
