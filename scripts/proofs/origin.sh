#!/usr/bin/env bash
# What is released repeats: built here and again from a copy in another folder, a year later, by another user with another
# umask, locale and time zone, all files have the same sums. The signature and the list of contents are checked, too.
#
#   scripts/proofs/origin.sh               all files; diffoscope explains a difference
#   scripts/proofs/origin.sh --only PART   one of them, by release.sh's name for it
#   scripts/proofs/origin.sh --quick       the jar alone
#
# The copy has builds of its own, in build/origin, without a compiler's cache.
set -euo pipefail
cd "$(dirname "$0")/../.."
if [ "${1:-}" = --help ]; then sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"; exit; fi
started=$SECONDS work=$PWD/build/origin
copy=$work/a-folder-of-another-length/copy
fail() { echo "origin: $*" >&2; exit 1; }
options=(--key "$work/key" --android tests/jni/android/stand_in.cmake --abis arm64-v8a)
[ "${1:-}" != --quick ] || set -- --only jar
options+=("$@")

mkdir -p "$copy/build/home"
[ "$(id -u)" -ne 0 ] || chown -R 0:0 "$work" # the copy belongs to somebody else since the last time
rm -rf "$work/here" "$work/key" "$work/key.pub" "$copy/build/there"
ssh-keygen -q -t ed25519 -N '' -C throw-away -f "$work/key"
find "$copy" -mindepth 1 -maxdepth 1 ! -name build -exec rm -rf {} +
git ls-files -z | tar --null --files-from=- -c |
  (umask 077 && tar -x --no-same-permissions -C "$copy")
ln -s "$PWD/bindings/web/node_modules" "$copy/bindings/web/"
cp "$work/key" "$copy/build/key"
export SOURCE_DATE_EPOCH=1700000000

# Another user, where this one may become it and it may read the folder.
as=()
nobody=(setpriv --reuid=65534 --regid=65534 --clear-groups)
git -C "$copy" init -q
echo node_modules >> "$copy/.git/info/exclude"
git -C "$copy" add -A
if [ "$(id -u)" -eq 0 ]; then
  chown -R 65534:65534 "$work/a-folder-of-another-length"
  if "${nobody[@]}" test -r "$copy/CMakeLists.txt"; then as=("${nobody[@]}"); fi
fi
mkdir -p "$work/locale"
[ -d "$work/locale/tr_TR.UTF-8" ] || localedef -i tr_TR -f UTF-8 "$work/locale/tr_TR.UTF-8"

scripts/release.sh "$work/here" "${options[@]}" > "$work/log" 2>&1 || { cat "$work/log"; fail "it does not build here"; }
(
  cd "$copy"
  umask 077
  options=("${options[@]/$work\/key/build/key}")
  unset CMAKE_C_COMPILER_LAUNCHER CMAKE_CXX_COMPILER_LAUNCHER
  export HOME=$copy/build/home USER=somebody LOGNAME=somebody TZ=Asia/Kathmandu
  "${as[@]}" env LOCPATH="$work/locale" LC_ALL=tr_TR.UTF-8 DONT_FAKE_MONOTONIC=1 faketime -m -f +400d scripts/release.sh build/there "${options[@]}" > build/log 2>&1
) || { cat "$copy/build/log"; fail "it does not build in the copy"; }

there=$copy/build/there
for file in "$work"/here/*; do
  [[ $file != *SHA256SUMS* ]] || continue
  cmp -s "$file" "$there/${file##*/}" || {
    diffoscope --max-report-size 4000 "$file" "$there/${file##*/}" || true
    fail "${file##*/} differs when it is built elsewhere"
  }
done
cmp -s "$work/here/SHA256SUMS" "$there/SHA256SUMS" || fail "other files are built elsewhere"
[ $# -gt 0 ] || scripts/spdx.py --check "$work/here"
verify() { ssh-keygen -Y check-novalidate -n libvask -s "$work/here/SHA256SUMS.sig" > /dev/null 2>&1; }
verify < "$work/here/SHA256SUMS" || fail "the signature is wrong"
! sed '1s/^./x/' "$work/here/SHA256SUMS" | verify || fail "the signature does not notice another sum"
echo "origin: $(wc -l < "$work/here/SHA256SUMS") files with the same bytes, $((SECONDS - started)) s"
