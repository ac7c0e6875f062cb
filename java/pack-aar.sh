#!/usr/bin/env bash
# Pack an Android archive: the class, the libraries, the rules for R8, and the headers and libraries again where native
# builds look for them (Prefab).
#
#   pack-aar.sh OUT.aar VERSION VASK.jar ABI=LIBRARY...
#
# JAR names the jar tool. NDK_MAJOR and API are those with which the libraries were built.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
out=$(realpath -m "$1") version=$2 jar=$3
shift 3

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$here/android/AndroidManifest.xml" "$work/"
cp "$jar" "$work/classes.jar"
cp "$here/keep-rules.pro" "$work/proguard.txt"
: > "$work/R.txt" # no resources

module="$work/prefab/modules/Vask"
mkdir -p "$module/include"
cp -r "$here/../include/vask" "$module/include/"
rm -f "$module/include/vask/.clang-format"
printf '{"schema_version": 2, "name": "vask", "version": "%s", "dependencies": []}\n' "$version" \
  > "$work/prefab/prefab.json"
printf '{"export_libraries": [], "library_name": "libVask", "android": {}}\n' > "$module/module.json"

for pair in "$@"; do
  abi=${pair%%=*} library=${pair#*=}
  for folder in "$work/jni/$abi" "$module/libs/android.$abi"; do
    mkdir -p "$folder"
    cp "$library" "$folder/libVask.so"
  done
  # No C++ crosses the interface, so it works with any C++ library in the application.
  printf '{"abi": "%s", "api": %d, "ndk": %d, "stl": "none", "static": false}\n' \
    "$abi" "${API:-21}" "${NDK_MAJOR:-0}" > "$module/libs/android.$abi/abi.json"
done

rm -f "$out"
"${JAR:-jar}" cMf "$out" -C "$work" .
