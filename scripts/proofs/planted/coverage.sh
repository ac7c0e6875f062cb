#!/usr/bin/env bash
# The codec takes the largest step down for none, a case that no test gives it.
set -euo pipefail
file=src/codec/ima_adpcm.cpp
before=$(cksum < $file)
sed -i 's|^    const int32_t least_move = part >> 3;$|    if (size == 65535 \&\& index_ == 17) return kSign;\n&|' $file
[ "$before" != "$(cksum < $file)" ] || { echo "nothing to change in $file" >&2; exit 1; }
