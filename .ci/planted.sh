#!/usr/bin/env bash
# One constant of the library is changed in a copy of the tree: the replay of every home must notice.
#
#   .ci/planted.sh [HOME...]     all homes, or these: c python ...
#
# The constant is in the middle of a window that the noise reduction and the learned detector share. A home that
# does not build, or stops before it compares, does not pass: it must name a case that differs.
set -euo pipefail
cd "$(dirname "$0")/.."
copy=$PWD/build/planted
table=src/dsp/tables/windows.h
fail() { echo "planted: $*" >&2; exit 1; }

homes=("$@")
[ $# -gt 0 ] || for script in .ci/homes/*.sh; do homes+=("$(basename "$script" .sh)"); done

scripts/copy-tree.sh "$copy"

# One of the two in the middle of 400 values: 1073725265 is nearly 1, Q30.
grep -q '\<1073725265\>' "$copy/$table" || fail "$table does not have the constant to change"
sed -i '0,/\<1073725265\>/s//536862632/' "$copy/$table"
# Packages are made of what is committed.
git -C "$copy" -c user.name=planted -c user.email=planted@localhost commit -qam "dsp: change a window"

unnoticed=()
for home in "${homes[@]}"; do
  log=$copy/build/$home.log result=0
  mkdir -p "$copy/build"
  started=$SECONDS
  (cd "$copy" && ".ci/homes/$home.sh" --replay) > "$log" 2>&1 || result=$?
  if [ $result -eq 1 ] && grep -q 'replay: case .* differs: expected ' "$log" && ! grep -q 'the same bits' "$log"; then
    echo "$home notices it ($((SECONDS - started)) s): $(grep -m 1 -o 'replay: case [^ ]* differs' "$log")"
  else
    echo "$home does not notice it, or fails for another reason (status $result):"
    tail -n 20 "$log"
    unnoticed+=("$home")
  fi
done
[ ${#unnoticed[@]} -eq 0 ] || fail "not noticed by ${unnoticed[*]}"
echo "planted: noticed by ${#homes[@]} homes"
