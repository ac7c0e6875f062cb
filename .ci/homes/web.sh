#!/usr/bin/env bash
# Build the npm package and prove it.
#
#   .ci/homes/web.sh            sizes, tests, replay, the package's form, its example in an empty folder, the demo
#   .ci/homes/web.sh --replay   only build what the replay needs, and replay
set -euo pipefail
cd "$(dirname "$0")/../.."
root=$PWD home=$PWD/bindings/web
fail() { echo "web: $*" >&2; exit 2; }

bindings/web/build.sh || fail "it does not build"

replay() {
  node $home/tests/replay_node.mjs "$root/tests/replay/replay.txt" "$root/samples/room.wav"
  node $home/tests/replay_browser.mjs "$root/tests/replay/replay.txt" "$root/samples/room.wav"
}
if [ "${1:-}" = --replay ]; then
  replay
  exit
fi

echo "Sizes"
most=75000 # bytes, as servers send it
for name in vask.wasm vask-simd.wasm detector.model; do
  size=$(brotli -c "$home/dist/$name" | wc -c)
  echo "  $name: $size bytes with brotli"
  [ "$name" = detector.model ] || [ "$size" -le $most ] || fail "$name takes $size bytes with brotli, more than $most"
done

echo "Tests"
node --test "$home"/tests/*_test.mjs > build/web/tests.log 2>&1 || { cat build/web/tests.log; fail "a test failed"; }
grep -E '^# (pass|fail)' build/web/tests.log

echo "Replay"
replay

echo "The package"
npm --prefix "$home" run --silent check > build/web/check.log 2>&1 || { cat build/web/check.log; fail "its form is wrong"; }
empty=$(mktemp -d)
trap 'rm -rf "$empty"' EXIT
npm pack --silent --pack-destination "$empty" "$home" > /dev/null
echo "  packed: $(stat -c %s "$empty"/*.tgz) bytes"
# The first block of a page in that language.
block() { awk -v mark="\`\`\`$2" '$0 == mark { inside = 1; next } /^```/ && inside { exit } inside' "$1"; }
cd "$empty"
npm init --yes > /dev/null
npm install --silent --offline --no-audit --no-fund ./*.tgz
cp "$root/samples/room.wav" .
for page in "$home/README.md" "$root/docs/web.md"; do
  block "$page" js > example.mjs
  found=$(node example.mjs)
  [ "$(grep -c ended <<< "$found")" -ge 4 ] || fail "the example of $page printed: $found"
done
cp "$home/tests/types.ts" .
"$home/node_modules/.bin/tsc" --strict --noEmit --module nodenext --target es2022 types.ts ||
  fail "the types are not strict"
echo "web: all is well"
