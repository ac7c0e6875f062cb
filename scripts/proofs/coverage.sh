#!/usr/bin/env bash
# Coverage of the library by its tests and the vectors, counted with clang, without the Java binding: at least 98 % of
# its lines, 95 % of the sides of its branches and 84 % of the conditions (MC/DC). What is not reached stands in
# tests/coverage/library.txt, with its reason. The build is build/coverage; what it printed is in its *.log.
#
#   scripts/proofs/coverage.sh           all
#   scripts/proofs/coverage.sh --quick   the codec, by two tests
set -euo pipefail
cd "$(dirname "$0")/../.."
case ${1:-} in
  '') targets=(all vask_at_plain vask_at_portable) ;;
  --quick) targets=(codec_adpcm_test process_doorways_test) ;;
  *)
    sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"
    exit
    ;;
esac
started=$SECONDS build=$PWD/build/coverage
fail() { echo "coverage: $*" >&2; exit 1; }
mkdir -p "$build/counts"
rm -f "$build"/counts/*

# figures NAME LIST BARS OBJECTS FOLDER...: what the counts of these objects say of the sources in the folders.
figures() {
  local name=$1 list=$2 bars=$3 objects=$4
  shift 4
  llvm-profdata-19 merge --sparse "$build"/counts/*.profraw -o "$build/$name.profdata"
  # shellcheck disable=SC2086  # one -object for each
  (cd "$build" && llvm-cov-19 export -instr-profile "$name.profdata" $objects > "$name.json")
  scripts/proofs/unreached.py "$build/$name.json" "$list" "$bars" "$@"
}

export LLVM_PROFILE_FILE=$build/discarded.profraw # the tests run while they are built, to say their names
cmake --preset coverage > "$build/configure.log" 2>&1 || fail "see $build/configure.log"
cmake --build --preset coverage --target "${targets[@]}" > "$build/build.log" 2>&1 || fail "see $build/build.log"
export LLVM_PROFILE_FILE=$build/counts/%4m.profraw
if [ "${1:-}" = --quick ]; then
  for test in "${targets[@]}"; do "$build/tests/$test" > "$build/test.log" 2>&1 || fail "see $build/test.log"; done
  figures codec tests/coverage/library.txt 100,98,84 tests/codec_adpcm_test src/codec
  exit
fi

# The vectors' children end by _exit(), which writes no counts.
clang-19 -shared -fPIC -xc - -o "$build/exits.so" <<< 'void exit(int); void _exit(int status) { exit(status); }'
for library in libVask.so tests/levels/libvask_at_{plain,portable}.so; do
  RUN="env LD_PRELOAD=$build/exits.so" .ci/vectors.sh "$build/$library" > "$build/vectors.log" ||
    fail "see $build/vectors.log"
done
ctest --preset coverage -R '^(codec|digest\.at|dsp|ecd|engine|epd|fast|frontend|gate|kb|listening|mfcc|noise|process|resample|stream)' \
  > "$build/test.log" || fail "see $build/test.log"
mapfile -t rooms < <(printf '%s\n' src/*/ | grep -v /jni/ | sed 's|/$||')
failed=0
figures library tests/coverage/library.txt 98,95,84 "libVask.so -object tests/stream_stream_test" "${rooms[@]}" include || failed=1
echo "coverage: $((SECONDS - started)) s"
exit $failed
