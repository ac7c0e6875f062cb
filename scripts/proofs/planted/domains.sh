#!/usr/bin/env bash
# ADPCM's prediction stops one short of the lowest sample.
set -euo pipefail
sed -i 's/std::clamp(value_ + move, -32768, 32767)/std::clamp(value_ + move, -32767, 32767)/' src/codec/ima_adpcm.cpp
grep -q -- '-32767, 32767)' src/codec/ima_adpcm.cpp
