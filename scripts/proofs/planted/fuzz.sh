#!/usr/bin/env bash
# The queue of a stream only doubles when it grows, however much a long pause needs.
set -euo pipefail
sed -i 's/std::min(std::max(capacity_, needed), bound_)/std::min(capacity_, bound_)/' src/stream/outbox.cpp
grep -q '2 \* std::min(capacity_, bound_)' src/stream/outbox.cpp
