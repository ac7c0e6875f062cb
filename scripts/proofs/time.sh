#!/usr/bin/env bash
# Proof: no frame takes long, and none much stack. Each frame of the recording, of sudden, loud and constant signals and
# of the kept inputs of the fuzz targets goes through each entry that takes sound, its instructions counted under qemu.
# None may take more than 5 times the median of its entry, nor any entry 64 KB of stack.
#
#   scripts/proofs/time.sh           all
#   scripts/proofs/time.sh --quick   the front end alone
set -euo pipefail
cd "$(dirname "$0")/../.."
entries=6
case ${1:-} in
  '') ;;
  --quick) entries=1 ;;
  *) sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0" && exit ;;
esac
started=$SECONDS work=$PWD/build/time log=build/time/log
fail() { echo "time: $*" >&2; exit 1; }
rm -rf "$work" && mkdir -p "$work"
cmake --preset release > $log 2>&1 && cmake --build --preset release --target vask-frames > $log 2>&1 ||
  fail "the build fails: $(grep -im 1 error $log)"
gcc -O2 -shared -fPIC -fvisibility=hidden bench/counted/plugin.c -o "$work/plugin.so"
# The bytes of the kept inputs, as samples: 6 s of each target.
inputs=()
for kept in tests/fuzz/corpus/*.tar.xz; do
  [ -f "$kept" ] && [ $entries != 1 ] || continue
  inputs+=("$work/$(basename "$kept" .tar.xz)")
  { tar -xJOf "$kept" 2> /dev/null || true; } | head -c 192000 > "${inputs[-1]}"
done
# One instruction that clears or copies a block would count once for each byte: the C library has other ways.
qemu-x86_64 -cpu max,erms=off,fsrm=off -d plugin -plugin "$work/plugin.so" build/release/tests/soak/vask-frames \
  $entries samples/room.wav "${inputs[@]}" > "$work/frames" 2> /dev/null || fail "vask-frames ends with status $?"

# Entry, instructions, signal and frame: the largest of each entry comes last.
awk '/ [|] / { split($0, at, " [|] "); n = 0 }
  sub(/^instructions /, "") { print at[1] "\t" $0 "\t" at[2] ", frame " n++ }' "$work/frames" |
  LC_ALL=C sort -t $'\t' -k 1,1 -k 2,2n > "$work/counts"
[ "$(cut -f 1 "$work/counts" | uniq | wc -l)" = $entries ] || fail "not all entries were counted, see $work/frames"
awk -F '\t' '{ count[$1]++; value[$1, count[$1]] = $2; where[$1] = $3 }
  END {
    for (entry in count) {
      n = count[entry]; median = value[entry, int((n + 1) / 2)]; most = value[entry, n]
      printf "%.2f times the median of %d instructions: %s, %s\n", most / median, median, entry, where[entry]
    }
  }' "$work/counts" | sort -rn > "$work/largest"
cat "$work/largest"
stack=$(sed -n 's/^stack //p' "$work/frames" | sort -n | tail -n 1)
[ "$stack" -gt 4096 ] && [ "$stack" -lt 65536 ] || fail "$stack bytes of stack are used"
awk '{ exit $1 > 5 }' "$work/largest" || fail "a frame takes $(head -n 1 "$work/largest")"
echo "time: of $(wc -l < "$work/counts") frames none takes more than $(cut -d ' ' -f 1 "$work/largest" | head -n 1) times the" \
  "median of its entry, and none more than $stack bytes of stack, in $((SECONDS - started)) s"
