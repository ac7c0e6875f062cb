#!/usr/bin/env bash
# 64-bit Windows: cross-built with mingw-w64, run under wine.
#
#   .ci/homes/windows.sh            the replay, the digests, what the DLL exports, and the command beside the native one
#   .ci/homes/windows.sh --replay   the replay alone, through the DLL
set -euo pipefail
cd "$(dirname "$0")/../.."
build=build/windows
mkdir -p build
export WINEPREFIX=$PWD/$build/prefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" DISPLAY=

# quietly COMMAND...: what it says only if it fails.
quietly() {
  "$@" > build/windows.log 2>&1 || {
    cat build/windows.log
    exit 2
  }
}

fail() {
  echo "windows: $*"
  exit 1
}

options=()
[ "${1:-}" = --replay ] || {
  quietly scripts/windows-libraries.sh
  options=(-DVASK_BUILD_COMMAND=ON)
}
quietly cmake --preset windows "${options[@]}"
quietly cmake --build --preset windows --target vask-replay-dll
# The first run makes the folders of a Windows installation.
quietly wine cmd /c ver
wine $build/vask-replay-dll.exe tests/replay/replay.txt samples/room.wav || exit $?
[ "${1:-}" != --replay ] || exit 0

quietly cmake --build --preset windows --target vask vask-digest vask-variables
quietly cmake --preset release
quietly cmake --build --preset release --target vask vask_shared
wine $build/vask-variables.exe || fail "the variables of the DLL are not those of the program"

# The DLL exports what the other libraries do: the list, and what begins with vask_.
names() { x86_64-w64-mingw32-objdump -p "$1" | sed -n 's/^\t\[ *[0-9]*\] \([^ ]*\)$/\1/p' | sort; }
names $build/libVask.dll > $build/exported
nm -D --defined-only build/release/libVask.so | sed 's/.* //; s/@.*//' | grep -v '^\(Java_\|JNI_\|VASK_[0-9]\)' | sort > $build/wanted
diff $build/wanted $build/exported || fail "the DLL does not export the same names"
echo "exports: $(wc -l < $build/exported) names, those of the other libraries"
quietly cmake --preset windows -B $build-streams -DVASK_STREAMS_ONLY=ON
quietly cmake --build $build-streams --target vask_shared
names $build-streams/libVaskStreams.dll | diff <(grep -v '^#' cmake/exports_streams.txt | sort) - ||
  fail "the DLL of streams alone does not export its list"
needed=$(x86_64-w64-mingw32-objdump -p $build/libVask.dll $build-streams/libVaskStreams.dll $build/vask.exe | sed -n 's/.*DLL Name: //p' | sort -u)
! grep -viE '^(kernel32|msvcrt|advapi32|shell32|user32|ntdll|ole32|shlwapi)\.dll$' <<< "$needed" ||
  fail "DLLs are needed that Windows does not have"

for level in plain portable avx2; do
  result=0
  wine $build/tests/digest/vask-digest.exe --cpu $level check tests/digest/expected.txt samples/room.wav \
    > $build/said 2> /dev/null || result=$?
  case $result in
    0) echo "digests at level $level: $(cat $build/said)" ;;
    77) echo "digests at level $level: not on this machine" ;;
    *) fail "digests at level $level: $(cat $build/said)" ;;
  esac
done
said=$(wine $build/tests/digest/vask-digest.exe check tests/digest/expected.txt samples/room.wav 1 80 160 161 4096 16000 \
  2> /dev/null) || fail "digests in pieces: $said"
echo "digests in six sizes of pieces: $said"

tests/windows/command.sh build/release/vask $build/vask.exe samples/room.wav $build/command
