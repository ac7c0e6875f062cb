#!/usr/bin/env bash
# Proof: whole domains. ADPCM does what its rule says from every state, and the functions of one 32-bit argument give
# what tests/domains/expected.txt records, at every level of the machine.
#
#   scripts/proofs/domains.sh          all of ADPCM; of the functions one argument in 499, and about each power of two
#   scripts/proofs/domains.sh --full   every argument, 2^32 for each function
#   scripts/proofs/domains.sh --quick  ADPCM alone
set -euo pipefail
cd "$(dirname "$0")/../.."
step=499
case ${1:-} in
  '' | --quick) ;;
  --full) step=1 ;;
  *) sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0" && exit ;;
esac
started=$SECONDS log=build/domains.log
fail() { echo "domains: $*" >&2; exit 1; }
mkdir -p build
cmake --preset release > $log 2>&1 && cmake --build --preset release --target codec_adpcm_test vask-domains > $log 2>&1 ||
  fail "the build fails: $(grep -im 1 error $log)"
build/release/tests/codec_adpcm_test > $log || fail "ADPCM: $(grep -m 1 '^index\|^sample' $log || grep -m 1 Failure $log)"
found="93323264 states of the decoder and 11665319 of the encoder"
if [ "${1:-}" != --quick ]; then
  build/release/tests/domains/vask-domains check tests/domains/expected.txt $step > $log || fail "$(head -n 1 $log)"
  found+=", $(tail -n 1 $log)"
fi
echo "domains: $found, in $((SECONDS - started)) s"
