#!/usr/bin/env bash
# Build the Android archive.
#
#   scripts/android-archive.sh NDK_DIR       the library for every ABI, build/android/vask-VERSION.aar
#   scripts/android-archive.sh --stand-in    without an NDK: this machine's library instead, to inspect the
#                                            layout; build/android/vask-stand-in.aar does not run on Android
#
# The class comes from the release build, as does the library of the stand-in.
set -euo pipefail
cd "$(dirname "$0")/.."
ndk=${1:-}
if [ -z "$ndk" ]; then
  sed -n '2,9s/^# \{0,1\}//p' "$0" >&2
  exit 2
fi
export API=21
version=$(sed -n 's/^ *VERSION \([0-9.]*\)$/\1/p' CMakeLists.txt)
mkdir -p build/android

cmake --preset release > /dev/null
if [ "$ndk" = --stand-in ]; then
  cmake --build --preset release --target vask_shared vask_jar
  java/pack-aar.sh build/android/vask-stand-in.aar "$version" build/release/java/vask.jar \
    "$(uname -m)=build/release/libVask.so"
  echo "Packed build/android/vask-stand-in.aar, to inspect the layout only."
  exit 0
fi

cmake --build --preset release --target vask_jar
NDK_MAJOR=$(sed -n 's/^Pkg.Revision *= *\([0-9]*\).*/\1/p' "$ndk/source.properties")
export NDK_MAJOR
libraries=()
for abi in arm64-v8a armeabi-v7a x86_64 x86; do
  cmake -S . -B "build/android/$abi" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$ndk/build/cmake/android.toolchain.cmake" \
    -DANDROID_ABI=$abi -DANDROID_PLATFORM=android-$API -DANDROID_STL=c++_static -DCMAKE_BUILD_TYPE=Release > /dev/null
  cmake --build "build/android/$abi" --target vask_shared
  libraries+=("$abi=build/android/$abi/libVask.so")
done
java/pack-aar.sh "build/android/vask-$version.aar" "$version" build/release/java/vask.jar "${libraries[@]}"
echo "Packed build/android/vask-$version.aar"
