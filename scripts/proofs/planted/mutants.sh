#!/usr/bin/env bash
# Plants a fault: a test reads the headers of packets and no longer looks at what it has read.
set -euo pipefail
test=tests/frontend/packets_test.cpp
before=$(cksum < $test)
sed -i 's/EXPECT_EQ(vask_read_packet_header(\(.*\)), c\.n)/EXPECT_GE(vask_read_packet_header(\1), 0)/
  s/EXPECT_EQ(type, c\.n > 0 ? c\.text\[0\] : .?.)/EXPECT_NE(type, 0)/' $test
[ "$before" != "$(cksum < $test)" ] || { echo "planted: $test has changed" >&2; exit 1; }
