#!/usr/bin/env bash
# The library of streams alone: what it exports and needs, its size, and a program built against it where it is installed
# into an empty folder; and before all that the replay, in C, against its archive.
#
#   .ci/homes/streams.sh [--replay]     with --replay nothing but that
set -euo pipefail
cd "$(dirname "$0")/../.."
build=build/streams
most_kb=346 # the shared library without symbols: 77 KB of weights of the learned detector, 5 KB of landing pads and stack checks
fail() { echo "streams: $*" >&2; exit 2; }

cmake -S . -B $build -G Ninja -DVASK_STREAMS_ONLY=ON -DCMAKE_BUILD_TYPE=Release -DVASK_WERROR=ON > /dev/null
cmake --build $build > $build/log || { cat $build/log; exit 2; }
rm -rf $build/installed
cmake --install $build --prefix "$PWD/$build/installed" --strip > /dev/null
library=$build/installed/lib/libVaskStreams

gcc -std=c11 -O2 -Iinclude -Itools tests/replay/replay.c tools/replay/*.c $library.a -lm -o $build/replay
$build/replay tests/replay/replay.txt samples/room.wav
[ "${1:-}" != --replay ] || exit 0

for kind in so a; do
  flags=
  [ $kind = a ] || flags=-D
  names=$(nm $flags -g --defined-only $library.$kind | awk 'NF == 3 { sub(/@.*/, "", $3); print $3 }' | grep -v '^VASK_0$' | sort)
  [ "$names" = "$(grep -v '^#' cmake/exports_streams.txt | sort)" ] || fail "$library.$kind exports other names than the list"
  needs=$(nm $flags -u $library.$kind | awk 'NF == 2 { sub(/@.*/, "", $2); print $2 }' | sort | xargs)
  [ -z "$(tr ' ' '\n' <<< "$needs" | grep -vxE '_ITM_.*|__gmon_start__|__cxa_finalize|__cpu_model|__stack_chk_fail|[cm]alloc|free|mem(cpy|move|set|cmp)|fe[gs]etround|frexp|ldexp|lround' || true)" ] ||
    fail "$library.$kind needs more of the system than memory and the rounding mode: $needs"
done
size=$(stat -Lc %s $library.so)
[ "$size" -le $((most_kb * 1000)) ] || fail "$library.so has $size bytes, over $most_kb KB"
[ "$(ls $build/installed/include/vask | xargs)" = "export.h model.h profile.h stream.h stream.hpp" ] || fail "other headers are installed"

# The five lines of the page, with its program.
sed -n '/^```cpp/,/^```/{/^```/!p;}' docs/streams.md > $build/program.cpp
sed -n '/^```sh/,/^```/{/^```/!p;}; /^```$/q' docs/streams.md | sed "s#program#$build/program#g" > $build/lines
[ "$(wc -l < $build/lines)" -eq 5 ] || fail "docs/streams.md does not start with five lines"
(bash -e $build/lines) > $build/printed || fail "the lines of docs/streams.md fail"
rm -f ./[1-5].raw
tail -n 1 $build/printed | grep -q '^5: ' || fail "the program of docs/streams.md does not find the five sentences"
echo "streams: $size bytes; the lines of docs/streams.md run"
