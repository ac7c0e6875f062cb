#!/usr/bin/env bash
# Build what is released into an empty folder: the sources; the libraries and the command for this machine; the jar, the
# wheel, the npm package and the archive for Android; the list of what they hold (SPDX 2.3); and the sums of all, signed.
# The same sources and tools give the same bytes, whoever builds them, where and when. Builds are in build/dist.
#
#   scripts/release.sh FOLDER [--key FILE] [--android TOOLCHAIN [--abis LIST]] [--only PART]
#
#   --key FILE            sign the sums with this private key of ssh-keygen
#   --android TOOLCHAIN   the NDK's toolchain file; without it there is no archive for Android
#   --abis LIST           the ABIs in that, as in "arm64-v8a;x86_64"; all four by default
#   --only PART           this alone: sources, jar, wheel, web, android or machine
#
# Who has the public key checks: ssh-keygen -Y check-novalidate -n libvask -s SHA256SUMS.sig < SHA256SUMS && sha256sum -c SHA256SUMS
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "${1:-}" = --help ] || [ $# -eq 0 ]; then sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"; exit; fi
fail() { echo "release: $*" >&2; exit 1; }
quietly() { "$@" > build/dist/log 2>&1 || { tail -n 20 build/dist/log >&2; fail "failed: $*"; }; }

out=$(realpath -m "$1") key='' toolchain='' abis="arm64-v8a;armeabi-v7a;x86_64;x86" only=''
shift
while [ $# -gt 0 ]; do
  [ $# -ge 2 ] || fail "$1 needs a value: --help says which"
  case $1 in
    --key) key=$2 ;;
    --android) toolchain=$(realpath "$2") ;;
    --abis) abis=$2 ;;
    --only) only=$2 ;;
    *) fail "there is no $1: --help says what there is" ;;
  esac
  shift 2
done
umask 022
[ -z "$(ls -A "$out" 2> /dev/null)" ] || fail "$out is not empty: name another folder"
mkdir -p "$out" build/dist
version=$(sed -n 's/^ *VERSION \([0-9.]*\)$/\1/p' CMakeLists.txt)
name=libvask-$version
# The time in the list of contents; the archives have one that never changes.
export SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}

# pack FILE TAR_ARGUMENT...: nothing of this machine or of today.
pack() {
  local file=$1
  shift
  LC_ALL=C tar --sort=name --mtime=@315532802 --owner=0 --group=0 --numeric-owner --mode=u=rwX,go=rX \
    --format=gnu -c "$@" | gzip -9n > "$out/$file"
}

sources() { git ls-files -z | pack "$name.tar.gz" --null --transform "s|^|$name/|" --no-recursion --files-from=-; }

configure_machine() {
  quietly cmake --preset release -B build/dist/machine -DCMAKE_INSTALL_LIBDIR=lib \
    -DVASK_BUILD_TESTS=OFF -DVASK_BUILD_BENCH=OFF -DVASK_BUILD_TABLES=OFF -DVASK_BUILD_TRAINING=OFF
}

machine() {
  configure_machine
  quietly cmake --build build/dist/machine
  rm -rf build/dist/installed
  quietly cmake --install build/dist/machine --prefix build/dist/installed --strip
  pack "$name-linux-$(uname -m).tar.gz" -C build/dist --transform "s|^installed|$name|" installed
}

jar() {
  configure_machine
  quietly cmake --build build/dist/machine --target vask_jar
  cp build/dist/machine/java/vask.jar "$out/$name.jar"
}

wheel() { quietly /usr/bin/python3 -m build --wheel --no-isolation --outdir "$out" bindings/python; }

web() {
  quietly bindings/web/build.sh
  quietly npm pack --silent --pack-destination "$out" ./bindings/web
}

android() {
  [ -n "$toolchain" ] || return 0
  local folder=build/dist/android
  quietly cmake -S . -B $folder -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
    -DANDROID_ABI="${abis%%;*}" -DANDROID_PLATFORM=android-21 -DVASK_AAR_ABIS="$abis"
  quietly cmake --build $folder --target vask_aar
  cp $folder/vask-"$version".aar "$out/$name.aar"
}

for part in sources jar wheel web android machine; do
  [ "${only:-$part}" != $part ] || $part
done
[ -n "$only" ] || /usr/bin/python3 scripts/spdx.py "$out" "$version" build/dist/installed/bin/vask
(cd "$out" && LC_ALL=C; sums=$(sha256sum -- *); echo "$sums" > SHA256SUMS)
[ -z "$key" ] || quietly ssh-keygen -Y sign -n libvask -f "$key" "$out/SHA256SUMS"
echo "release: $(wc -l < "$out/SHA256SUMS") files in $out$([ -z "$key" ] || echo ", signed")"
