#!/usr/bin/env bash
# Proof: the kept inputs of all fuzz targets break nothing, nor do new ones of a minute a target.
#
#   scripts/proofs/fuzz.sh           about a minute for each two targets
#   scripts/proofs/fuzz.sh --quick   the kept inputs only
set -euo pipefail
cd "$(dirname "$0")/../.."
case ${1:-} in
  '') scripts/fuzz.sh --check --seconds 60 ;;
  --quick) scripts/fuzz.sh --check --seconds 0 ;;
  *) sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0" ;;
esac
