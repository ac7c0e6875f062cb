#!/usr/bin/env bash
# What a short write leaves over is not written.
set -euo pipefail
sed -i 's/bytes = bytes.subspan(static_cast<size_t>(n));/bytes = {};/' tools/vask/terminal/writing.cpp
grep -q 'bytes = {};' tools/vask/terminal/writing.cpp
