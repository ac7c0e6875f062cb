#!/usr/bin/env bash
# Compare a shared library with the vectors, if they are there.
#
#   .ci/vectors.sh LIBRARY
#
# VASK_VECTORS names their folder. CC, CFLAGS and RUN go to the make of the program that compares.
# Every scenario must run and match exactly, except those that LEFT_OUT names.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
library=$(realpath "$1")
vectors=${VASK_VECTORS:-$root/../shared/vectors}
if [ ! -d "$vectors" ]; then
  echo "Skipped: there are no vectors in $vectors (VASK_VECTORS names another folder)."
  exit 0
fi

scenarios=()
for tape in "$vectors"/tapes/*.tape; do
  name=$(basename "$tape" .tape)
  case " ${LEFT_OUT:-} " in *" $name "*) continue ;; esac
  scenarios+=("$name")
done

build=$(mktemp -d)
trap 'rm -rf "$build"' EXIT
settings=(LIB="$library" BUILD="$build" SCENARIOS="${scenarios[*]}")
for variable in CC CFLAGS RUN; do
  [ -n "${!variable:-}" ] && settings+=("$variable=${!variable}")
done
make --no-print-directory -C "$vectors" check "${settings[@]}" > "$build/log" 2>&1 || true
closing=$(tail -n 20 "$build/log" | grep -E '^[0-9]+ passed' || true)
echo "${#scenarios[@]} scenarios: ${closing:-the comparison did not finish}"
read -r passed _ failed _ skipped _ <<< "${closing:-0 passed, 1 failed, 0 skipped}"
if [ "$passed" -ne ${#scenarios[@]} ] || [ "$failed" -ne 0 ] || [ "${skipped:-0}" -ne 0 ]; then
  grep -vE '^[^ ]+ +ok \(' "$build/log" | head -n 200
  echo "The library differs from the vectors."
  exit 1
fi
