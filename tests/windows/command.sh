#!/usr/bin/env bash
# The command for Windows beside the native one: the same bytes on standard output and in every file.
#
#   command.sh NATIVE WINDOWS RECORDING FOLDER   run from the tree; FOLDER is emptied
set -euo pipefail
native=$(realpath "$1") windows=$(realpath "$2") recording=$(realpath "$3")
rm -rf "$4"
mkdir -p "$4/native" "$4/windows"
cd "$4"
count=0

fail() {
  echo "command: $*"
  exit 1
}

# run EXPECTED_STATUS ARGUMENT...: both, each in its own folder, standard input as it is.
run() {
  local expected=$1 result=0
  shift
  input=/dev/null
  [ "${!#}" != - ] || input=room.raw
  (cd native && "$native" "$@" < $input > out 2> err) || result=$?
  [ $result -eq "$expected" ] || fail "vask $* ends with $result here: $(cat native/err)"
  result=0
  (cd windows && wine "$windows" "$@" < $input > out 2> err) || result=$?
  [ $result -eq "$expected" ] || fail "vask $* ends with $result under wine: $(cat windows/err)"
  diff -r -x .vask-detect.jsonl native windows > differences || fail "vask $*: $(head -20 differences)"
  count=$((count + 1))
}

for folder in native windows; do
  cp "$recording" $folder/room.wav
  tail -c +45 "$recording" > $folder/room.raw
  printf '{"path": "room.wav", "offset": 1, "duration": 8}\n{"path": "none"}\n{"path": "room.wav"}\n' > $folder/list.jsonl
done

run 0 detect room.wav
run 0 detect -f jsonl --verbose room.wav
run 0 detect --detector energy --preset robust room.wav
run 3 batch list.jsonl
run 3 batch -o records.jsonl --clips clips --shard-size 2 list.jsonl
run 0 batch --records records.jsonl -f rttm
run 0 detect -   # a file as standard input
run 0 env room.wav
run 0 mfcc room.wav -o room.npy
run 0 denoise room.wav -o clean.wav
run 0 denoise room.wav -o clean.wav  # in place of the first one
run 0 denoise room.wav -o clean.flac
run 0 detect clean.flac
run 0 selftest
run 0 packets room.wav -o room.packets
run 0 unpack room.packets -o unpacked.wav
run 2 detect
run 1 detect missing.wav
# The second run goes by the journal of the first, the third puts a new one in its place.
run 0 detect -o clips -f webvtt room.wav
run 0 detect -o clips -f webvtt --resume room.wav
run 0 detect -o clips -f webvtt clean.wav room.wav
! grep -rlIP '\r' windows || fail "lines end with CR"

# From a pipe, which is waited for in another way.
(cat native/room.raw; sleep 0.3) | wine "$windows" detect - > piped 2> err || fail "from a pipe: $(cat err)"
"$native" detect - < native/room.raw 2> err | diff - piped || fail "from a pipe"
# A reader that has had enough is no failure to speak of.
(cd windows && wine "$windows" detect --verbose -f jsonl room.wav 2> err | head -c 1 > out) || true
[ ! -s windows/err ] || fail "to a pipe that is closed: $(cat windows/err)"
# What only ffmpeg reads is refused in words.
head -c 5000 /dev/zero > windows/film.mkv
result=0
(cd windows && wine "$windows" detect film.mkv > out 2> err) || result=$?
if [ $result -ne 1 ] || ! grep -q 'does not start ffmpeg' windows/err; then
  fail "film.mkv ends with $result: $(cat windows/err)"
fi
echo "command: $count runs, the same bytes as here"
