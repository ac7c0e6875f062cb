#!/usr/bin/env bash
# A guard in the codec that no sample reaches.
set -euo pipefail
file=src/codec/ima_adpcm.cpp
before=$(cksum < $file)
sed -i 's|^    const int32_t least_move = part >> 3;$|    if (size > 65535) return kSign;\n&|' $file
[ "$before" != "$(cksum < $file)" ] || { echo "nothing to change in $file" >&2; exit 1; }
