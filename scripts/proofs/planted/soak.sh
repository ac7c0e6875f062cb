#!/usr/bin/env bash
# Positions at other rates are computed in single precision, which has whole samples for 17 minutes.
set -euo pipefail
sed -i 's/std::min(at \* rate_ \/ kSampleRate, taken_)/std::min(static_cast<int64_t>(static_cast<float>(at) * static_cast<float>(rate_) \/ kSampleRate), taken_)/' \
  src/stream/input.cpp
grep -q 'static_cast<float>(at)' src/stream/input.cpp
