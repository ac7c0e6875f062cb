#!/usr/bin/env bash
# Build the Android archive as with an NDK, by CMake alone, with a stand-in for the NDK's toolchain file, and look at it.
#
#   build.sh BUILD_DIR MOST_BYTES ABI...
set -euo pipefail
build=$1 most=$2
shift 2
here=$(cd "$(dirname "$0")" && pwd)
abis=$(IFS=";" && echo "$*")
cmake -S "$here/../../.." -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DVASK_AAR_ABIS="$abis" \
  -DCMAKE_TOOLCHAIN_FILE="$here/stand_in.cmake" -DANDROID_ABI="$1" -DANDROID_PLATFORM=android-21 > /dev/null
cmake --build "$build" --target vask_aar > "$build/log" || { cat "$build/log"; exit 1; }
tail -n 1 "$build/log"
bash "$here/../archive.sh" "$(echo "$build"/vask-*.aar)" "$build/archive" "$most" "$@"
for library in "$build"/archive/jni/*/libVask.so; do
  # The 32-bit compilers' own division and conversion are in the library that each of them brings.
  nm -D --undefined-only "$library" | sed 's/^ *[Uwv] //; s/@.*//; /^__aeabi_/d; /^__u*\(div\|mod\)di3$/d' > "$build/asked"
  if grep -vxFf <(grep -v '^#' "$here/bionic.txt" | tr ' ' '\n') "$build/asked"; then
    echo "$library asks for this, and $here/bionic.txt does not know whether Android 5 has it"
    exit 1
  fi
  # Newer devices have pages of 16 KiB.
  if readelf -lW "$library" | awk '$1 == "LOAD" && $NF != "0x4000"' | grep .; then exit 1; fi
done
