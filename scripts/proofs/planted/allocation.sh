#!/usr/bin/env bash
# A high-pass filter that does not find all of its memory keeps what it has found.
set -euo pipefail
sed -i '/^    ReleaseHighPass(f);$/d' src/dsp/high_pass.cpp
! grep -q '^    ReleaseHighPass(f);$' src/dsp/high_pass.cpp
