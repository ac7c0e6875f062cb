#!/usr/bin/env bash
# Proof: no sanitizer reports anything, and nothing is hidden from one. The thread sanitizer watches the streams, the
# messages and the command's threads; clang's sanitizers of undefined behaviour and conversions watch the digests and
# the functions of one argument at every level. Unsigned sums may wrap; here they are meant to.
#
#   scripts/proofs/sanitizers.sh          all
#   scripts/proofs/sanitizers.sh --quick  the messages with the thread sanitizer
set -euo pipefail
cd "$(dirname "$0")/../.."
case ${1:-} in
  '' | --quick) ;;
  *) sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0" && exit ;;
esac
started=$SECONDS runs=0 folder=build/sanitizers log=build/sanitizers/log room=samples/room.wav
rm -rf $folder
mkdir -p $folder
fail() { echo "sanitizers: $*" >&2; exit 1; }

# watch NAME COMMAND...: it ends well, which a sanitizer does not let it if there is something to report.
watch() {
  local name=$1 result=0
  shift
  "$@" > $log 2>&1 < /dev/null || result=$?
  [ $result -ne 77 ] || return 0 # a level that this machine does not have
  [ $result -eq 0 ] || fail "$name: $(grep -aEm 1 'runtime error|WARNING: |ERROR: |Failure' $log || tail -n 1 $log)"
  runs=$((runs + 1))
}

# build PRESET TARGET...
build() {
  local preset=$1
  shift
  cmake --preset "$preset" > $log 2>&1 && cmake --build --preset "$preset" --target "$@" > $log 2>&1 ||
    fail "the preset $preset does not build: $(grep -im 1 error $log)"
}

hidden=$(git grep -nIE 'no_sanitize|fno-sanitize=|default_suppressions|suppressions=' -- . ':!scripts/proofs' || true)
[ -z "$hidden" ] || fail "hidden from a sanitizer: $(head -n 1 <<< "$hidden")"
listed=$(git grep -hE '^(src|fun|mainfile):' -- ':(glob)**/*system_headers.txt' ':(glob)**/*ignorelist*' | grep -v '^src:/usr/' || true)
[ -z "$listed" ] || fail "hidden from a sanitizer by a list: $(head -n 1 <<< "$listed")"

build thread process_message_test
watch "messages in threads" build/thread/tests/process_message_test
if [ "${1:-}" != --quick ]; then
  build thread stream_threads_test vask
  watch "streams in threads" build/thread/tests/stream_threads_test
  vask=build/thread/vask
  for name in a b c d e f; do cp $room $folder/$name.wav; done
  watch "vask detect --jobs 4" $vask detect --jobs 4 --flac --overwrite -o $folder/found $folder/?.wav
  watch "vask detect from a pipe" sh -c "cat $folder/found/a-001.flac | $vask detect -"
  printf '%s\n' $folder/?.wav > $folder/list
  watch "vask batch --jobs 4" $vask batch --manifest paths --jobs 4 -o $folder/records.jsonl $folder/list
  watch "vask report" $vask report -o $folder/page.html $room

  build undefined vask-digest vask-domains
  for level in plain portable avx2 neon; do
    watch "the digests at the level $level" build/undefined/tests/digest/vask-digest --cpu $level check \
      tests/digest/expected.txt $room
  done
  watch "the functions of one argument" build/undefined/tests/domains/vask-domains print 4999
fi
echo "sanitizers: $runs runs, 0 reports, 0 suppressions, in $((SECONDS - started)) s"
