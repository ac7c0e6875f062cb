#!/usr/bin/env bash
# The sink of the messages is read before its lock is taken.
set -euo pipefail
sed -i '/pthread_mutex_lock(&sink_lock);/{N;s/\(.*\)\n\(.*\)/\2\n\1/}' src/dsp/message.cpp
grep -A 1 'Sink before = sink_in_force;' src/dsp/message.cpp | grep -q pthread_mutex_lock
