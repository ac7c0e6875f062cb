#!/usr/bin/env bash
# Check the subjects of the commits since BASE, except merges: "room: deed" or "room, room: deed", at most 100 characters,
# without a full stop.
#
#   .ci/commits.sh [BASE]
set -euo pipefail
base=${1:-cf55f51}
longest=100
room='[a-z0-9][a-z0-9._/-]*'

if ! git merge-base --is-ancestor "$base" HEAD 2> /dev/null; then
  echo "Skipped: there is no history here that goes back to $base."
  exit 0
fi
count=0 wrong=0
while read -r commit subject; do
  count=$((count + 1))
  if ! [[ $subject =~ ^$room(, $room)*:\ [^\ ].*[^.]$ ]]; then
    echo "$commit: not \"room: deed\": $subject"
  elif [ ${#subject} -gt $longest ]; then
    echo "$commit: ${#subject} characters, more than $longest: $subject"
  else
    continue
  fi
  wrong=$((wrong + 1))
done < <(git log --no-merges --format='%h %s' "$base..HEAD")
if [ $wrong -ne 0 ]; then
  echo "$wrong of $count commits since $base lack a subject \"room: deed\" of at most $longest characters."
  exit 1
fi
echo "The subjects of $count commits since $base are well formed."
