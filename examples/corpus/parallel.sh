#!/usr/bin/env bash
# A corpus on the cores of one machine with GNU parallel; with its option --sshlogin, on those of several that share
# the folder.
#
#   parallel.sh MANIFEST FOLDER [SHARDS [OPTIONS OF PARALLEL]]
#
# If a worker dies, parallel starts it again, up to three times, and it goes on where its records end. If this script
# dies, run it again: shards that are finished cost nothing. The result is FOLDER/records.jsonl, sorted.
set -euo pipefail
export manifest=$1 folder=$2 shards=${3:-$(($(nproc) * 4))}
mkdir -p "$folder"

listen() {
  # 3: some inputs failed, and their records say why.
  vask batch "$manifest" --shard "$1/$shards" -j1 -o "$folder/shard-$1.jsonl" --resume || [ $? -eq 3 ]
}
export -f listen

seq 0 $((shards - 1)) | parallel --env listen,manifest,folder,shards --retries 3 "${@:4}" listen
LC_ALL=C sort "$folder"/shard-*.jsonl > "$folder/records.part"
mv "$folder/records.part" "$folder/records.jsonl"
