#!/usr/bin/env bash
# Fuzz: replay the kept inputs of each target, look for new ones, keep the smallest set that reaches as much
# in tests/fuzz/corpus, and record the run in tests/fuzz/RUNS.md. Two targets at a time.
#
#   scripts/fuzz.sh [TARGET...] [--seconds N] [--check]
#
#   TARGET        calls, streams, ... : the files of tests/fuzz and what tests/fuzz/CMakeLists.txt adds; all
#   --seconds N   look for new inputs for N s a target (3600; 0: replay only)
#   --check       change nothing in the tree
set -euo pipefail
cd "$(dirname "$0")/.."
targets=() seconds=3600 keep=1
while [ $# -gt 0 ]; do
  case $1 in
    --seconds) seconds=$2 && shift ;;
    --check) keep= ;;
    --help) sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0" && exit ;;
    -*) echo "fuzz: $1 is not an option; --help lists them" >&2 && exit 2 ;;
    *) targets+=("$1") ;;
  esac
  shift
done

cmake --preset fuzz > /dev/null
cmake --build --preset fuzz > build/fuzz/build.log || { tail -n 30 build/fuzz/build.log && exit 1; }
programs=$PWD/build/fuzz/tests/fuzz logs=$PWD/build/fuzz/logs found=$PWD/build/fuzz/corpus faults=$PWD/build/fuzz/faults
if [ ${#targets[@]} -eq 0 ]; then
  # Folders and archives of the build have such names, too.
  for program in "$programs"/fuzz_*; do [[ $program == *.* ]] || targets+=("${program##*/fuzz_}"); done
fi
TMPDIR=$(mktemp -d)
trap 'rm -rf "$TMPDIR"' EXIT
export TMPDIR programs logs found faults seconds keep
mkdir -p "$logs" "$faults" tests/fuzz/corpus

# Run a target; its log ends with "fault" if it failed.
run() {
  local target=$1 log=$logs/$1 program=$programs/fuzz_$1 kept=tests/fuzz/corpus/$1.tar.xz
  rm -rf "${found:?}/$target" && mkdir -p "$found/$target"/{kept,new,least}
  [ ! -f "$kept" ] || tar -xJf "$kept" -C "$found/$target/kept"
  local options=(-timeout=60 "-artifact_prefix=$faults/$target-")
  "$program" "${options[@]}" -runs=0 "$found/$target/kept" > "$log" 2>&1 || { echo fault >> "$log" && return; }
  [ "$seconds" -gt 0 ] || return 0
  "$program" "${options[@]}" -max_total_time="$seconds" -max_len=4096 "$found/$target/new" "$found/$target/kept" \
    > "$log" 2>&1 || { echo fault >> "$log" && return; }
  [ -n "$keep" ] || return 0
  "$program" -merge=1 "$found/$target/least" "$found/$target/kept" "$found/$target/new" > "$log.merge" 2>&1
  # What once showed a fault stays, whatever else reaches as much.
  find "$found/$target/kept" -name 'fault-*' -exec cp -t "$found/$target/least" {} +
  XZ_OPT=-9e tar --sort=name --mtime=@0 --owner=0 --group=0 --numeric-owner -cJf "$kept" -C "$found/$target/least" .
}
export -f run
printf '%s\n' "${targets[@]}" | xargs -P 2 -I '{}' bash -euo pipefail -c 'run {}'

failed=0 inputs=0 runs=0 edges=0
[ -f tests/fuzz/RUNS.md ] || [ -z "$keep" ] || printf '# Runs of scripts/fuzz.sh\n\n%s\n%s\n' \
  '| date | target | edges | kept inputs | runs | hours | faults |' '| --- | --- | --- | --- | --- | --- | --- |' > tests/fuzz/RUNS.md
for target in "${targets[@]}"; do
  kept=$(find "$found/$target/kept" -type f | wc -l) fault=0
  read -r count reached < <(sed -n 's/^#\([0-9]*\).* cov: \([0-9]*\) .*/\1 \2/p' "$logs/$target" | tail -n 1) || true
  if [ "$(tail -n 1 "$logs/$target")" = fault ]; then
    fault=1 failed=1
    reason=$(grep -m 1 -E 'runtime error:|broken:|ERROR: [AL]' "$logs/$target" || grep -m 1 ERROR "$logs/$target" || true)
    input=$(sed -n 's/.*Test unit written to //p' "$logs/$target" | head -n 1)
    echo "fuzz: $target fails: ${reason:-see $logs/$target}; again with build/fuzz/tests/fuzz/fuzz_$target ${input#"$PWD/"}"
  elif [ -n "$keep" ] && [ "$seconds" -gt 0 ]; then
    kept=$(find "$found/$target/least" -type f | wc -l)
  fi
  [ -z "$keep" ] || [ "$seconds" = 0 ] || printf '| %s | %s | %s | %s | %s | %s | %s |\n' "$(date +%F)" "$target" "${reached:-0}" \
    "$kept" "${count:-0}" "$(awk "BEGIN { printf \"%.2f\", $seconds / 3600 }")" "$fault" >> tests/fuzz/RUNS.md
  inputs=$((inputs + kept)) runs=$((runs + ${count:-0})) edges=$((edges + ${reached:-0}))
done
[ "$failed" = 0 ] || exit 1
echo "fuzz: ${#targets[@]} targets, $edges edges, $inputs kept inputs, $runs runs, no fault"
