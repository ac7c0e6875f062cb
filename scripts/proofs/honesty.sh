#!/usr/bin/env bash
# Proof: the proofs can fail. Each of scripts/proofs/planted plants a fault of its kind into a copy of the tree, where the
# proof of the same name must fail, and say why.
#
#   scripts/proofs/honesty.sh [NAME...]    all, or these
set -euo pipefail
cd "$(dirname "$0")/../.."
[[ ${1:-} != -* ]] || { sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0" && exit; }
started=$SECONDS copy=$PWD/build/honesty
names=("$@")
[ $# -gt 0 ] || for script in scripts/proofs/planted/*.sh; do names+=("$(basename "$script" .sh)"); done
scripts/copy-tree.sh "$copy"
mkdir -p "$copy/build"

blind=()
for name in "${names[@]}"; do
  git -C "$copy" checkout -q .
  (cd "$copy" && "scripts/proofs/planted/$name.sh") || { echo "honesty: the fault for $name cannot be planted" >&2 && exit 1; }
  before=$SECONDS status=0
  (cd "$copy" && "scripts/proofs/$name.sh" --quick) > "$copy/build/$name.log" 2>&1 || status=$?
  # A proof that fails says so in a line of its own.
  if [ $status -eq 1 ] && said=$(grep "^$name: " "$copy/build/$name.log"); then
    echo "$name finds its fault ($((SECONDS - before)) s): $(tail -n 1 <<< "$said" | cut -c 1-150)"
  else
    echo "$name does not find its fault (status $status):"
    tail -n 20 "$copy/build/$name.log"
    blind+=("$name")
  fi
done
[ ${#blind[@]} -eq 0 ] || { echo "honesty: ${blind[*]} did not find the fault that was planted" >&2 && exit 1; }
echo "honesty: ${#names[@]} proofs found the faults that were planted for them, in $((SECONDS - started)) s"
