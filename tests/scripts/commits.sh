#!/usr/bin/env bash
# The check of the commits' subjects, over histories made for it.
#
#   commits.sh SCRIPT WORK_DIR
set -euo pipefail
script=$1 work=$2
rm -rf "$work"
mkdir -p "$work"
cd "$work"
git() { command git -c user.name=n -c user.email=e -c init.defaultBranch=main "$@"; }

git init -q
commit() { git commit -q --allow-empty -m "$1"; }
commit "Begin"
base=$(git rev-parse HEAD)
result=0
expect() { # exit status, what is to be said, subject
  git reset -q --hard "$base"
  commit "$3"
  local status=0 said
  said=$("$script" "$base") || status=$?
  if [ "$status" -ne "$1" ] || [[ $said != *"$2"* ]]; then
    echo "exit status $status, not $1, or not \"$2\", after \"$3\": $said"
    result=1
  fi
}
longest="epd: $(printf '%095d' 0)"
expect 0 "of 1 commits" "epd: shorten the hangover"
expect 0 "of 1 commits" "epd, tools/vask: shorten the hangover"
expect 0 "of 1 commits" "$longest"
expect 1 "101 characters" "${longest}0"
for subject in "shorten the hangover" "epd:shorten the hangover" "epd,noise: shorten it" "Epd: shorten it" \
  "epd: shorten it." "epd and noise: shorten it"; do
  expect 1 "not \"room: deed\"" "$subject"
done

git reset -q --hard "$base"
git checkout -q -b side
commit "noise: forget faster"
git checkout -q main
commit "epd: shorten the hangover"
git merge -q --no-ff -m "Merge branch 'side'" side
"$script" "$base" | grep -q "of 2 commits" || { echo "merges are not left out"; result=1; }
git clone -q --depth 1 "file://$work" shallow
cd shallow
"$script" "$base" | grep -q Skipped || { echo "a shallow clone is not skipped"; result=1; }
exit $result
