#!/usr/bin/env bash
# Build the plugin for GStreamer and prove it.
#
#   .ci/homes/gstreamer.sh            inspect, test, look for leaks, run the documentation's examples, replay
#   .ci/homes/gstreamer.sh --replay   only build what the replay needs, and replay
set -euo pipefail
cd "$(dirname "$0")/../.."
root=$PWD build=$PWD/build/gstreamer
tests=$build/bindings/gstreamer/tests
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export GST_REGISTRY=$scratch/registry.bin GST_REGISTRY_FORK=no GST_PLUGIN_PATH=$build/bindings/gstreamer

cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DVASK_WERROR=ON -DVASK_STREAMS_ONLY=ON \
  -DVASK_BUILD_GSTREAMER=ON > /dev/null
if [ "${1:-}" = --replay ]; then
  cmake --build "$build" --target gstvask gst_replay
  exec "$tests/gst_replay" tests/replay/replay.txt
fi
cmake --build "$build" --target gstvask gst_replay gst_elements_test

# The first block of the page in that language.
block() { awk -v mark="\`\`\`$1" '$0 == mark { inside = 1; next } /^```/ && inside { exit } inside' docs/gstreamer.md; }
fail() { echo "gstreamer: $*" >&2; exit 1; }

echo "Names that the plugin exports"
names=$(nm -D --defined-only "$build/bindings/gstreamer/libgstvask.so" | awk '{ print $NF }' | sort | xargs)
[ "$names" = "gst_plugin_vask_get_desc gst_plugin_vask_register" ] || fail "exported are $names"

echo "Inspection"
for what in vask vaskdetect vaskdenoise; do
  G_DEBUG=fatal-warnings GST_DEBUG='*:2' gst-inspect-1.0 $what > "$scratch/$what" 2> "$scratch/complaints" || fail "no $what"
  [ ! -s "$scratch/complaints" ] || { cat "$scratch/complaints" >&2; fail "gst-inspect-1.0 $what complains"; }
done
for line in 'Klass  *Filter/Analyzer/Audio' 'Author  *libVask' 'License  *MIT/X11'; do
  grep -q "$line" "$scratch/vaskdetect" || fail "gst-inspect-1.0 vaskdetect does not say '$line'"
done

echo "Tests, with the tracer of leaks"
GST_TRACERS=leaks GST_DEBUG=GST_TRACER:7 GST_DEBUG_NO_COLOR=1 "$tests/gst_elements_test" > "$scratch/log" 2> "$scratch/trace" ||
  { cat "$scratch/log"; fail "a test failed"; }
tail -n 1 "$scratch/log"
grep -q 'object-alive\.class' "$scratch/trace" || fail "the tracer of leaks did not run"
! grep -v 'format string' "$scratch/trace" | grep 'object-alive, ' >&2 || fail "objects were left"

echo "Tests, under valgrind"
G_SLICE=always-malloc valgrind -q --error-exitcode=9 --leak-check=full --errors-for-leak-kinds=definite \
  --show-leak-kinds=definite "$tests/gst_elements_test" --gtest_brief=1 || fail "valgrind has complaints, or a test failed"

echo "The documentation's examples, with an installed plugin"
cmake --install build/gstreamer --component gstreamer --prefix "$scratch/installed" > /dev/null
plugin=$(find "$scratch/installed" -name libgstvask.so)
GST_PLUGIN_PATH=$(dirname "$plugin")
rm -f "$GST_REGISTRY"
block sh | grep '^gst-launch' > "$scratch/lines"
[ "$(wc -l < "$scratch/lines")" = 2 ] || fail "docs/gstreamer.md does not have its two lines"
mkdir "$scratch/here"
ln -s "$root/samples" "$scratch/here/samples"
(cd "$scratch/here" && bash -e -o pipefail "$scratch/lines") > "$scratch/messages"
[ "$(grep -c 'kind=(string)ended' "$scratch/messages")" = 5 ] || fail "vaskdetect does not find the five utterances"
size() { stat -c %s "$1"; }
[ $(($(size "$scratch/here/clean.wav") - $(size samples/room.wav))) -lt 100 ] || fail "clean.wav is not as long as room.wav"
block python > "$scratch/example.py"
/usr/bin/python3 "$scratch/example.py" | tee "$scratch/spoken"
[ "$(grep -c ' s to ' "$scratch/spoken")" = 5 ] || fail "the example does not find the five utterances"

GST_PLUGIN_PATH=$build/bindings/gstreamer
rm -f "$GST_REGISTRY"
"$tests/gst_replay" tests/replay/replay.txt
