#!/usr/bin/env bash
# Copy the tree, as git would commit it, and what npm has installed to a folder below build/, for a change that is not to
# be made here. The copy is a repository of its own with one commit. Builds in it are kept, and so are times.
#
#   scripts/copy-tree.sh FOLDER
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd) copy=$1
mkdir -p "$copy"
copy=$(cd "$copy" && pwd)
find "$copy" -mindepth 1 -maxdepth 1 ! -name build -exec rm -rf {} +
cd "$root"
git ls-files -z --cached --others --exclude-standard | tar --null --files-from=- --ignore-failed-read -c 2> /dev/null |
  tar -x -C "$copy"
git ls-files -z --others --ignored --exclude-standard --directory | tr '\0' '\n' | { grep 'node_modules/$' || true; } |
  while read -r folder; do ln -s "$root/${folder%/}" "$copy/${folder%/}"; done
git -C "$copy" init -q
printf 'node_modules\nbuild\n' >> "$copy/.git/info/exclude"
git -C "$copy" add -A
git -C "$copy" -c user.name=copy -c user.email=copy@localhost commit -qm "copy: the tree as it was"
