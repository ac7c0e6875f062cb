#!/usr/bin/env bash
# `vask batch` on very many short files: records and lines, the time with two jobs against one, the most memory for a
# tenth of the files and for all of them, and how much of the list had been sent when the first record came.
#
#   bench/batch.sh [VASK [FILES]]    (build/release/vask, 10000 files of 5 s)
set -euo pipefail
cd "$(dirname "$0")/.."
vask=$(realpath "${1:-build/release/vask}") files=${2:-10000}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

bench/short_files.py samples/room.wav "$folder" "$files"
cd "$folder"
python3 - "$files" "$vask" << 'END'
import os, subprocess, sys, threading, time
files, vask = int(sys.argv[1]), sys.argv[2]
lines = [f'{k:05}.wav\n' for k in range(files)]

def run(count, jobs):
    """Seconds, KiB, records."""
    start = time.monotonic()
    process = subprocess.Popen([vask, 'batch', f'-j{jobs}', '-o', 'out', '-'], stdin=subprocess.PIPE, text=True)
    process.stdin.writelines(lines[:count])
    process.stdin.close()
    _, status, used = os.wait4(process.pid, 0)
    assert status == 0
    with open('out') as out:
        return time.monotonic() - start, used.ru_maxrss, sum(1 for _ in out)

tenth = run(files // 10, 2)
one = min(run(files, 1) for _ in range(2))
two = min(run(files, 2) for _ in range(2))
assert one[2] == two[2] == files
print(f'{files} lines, {two[2]} records')
print(f'two jobs: {one[0] / two[0]:.2f} times as fast as one, {50 * one[0] / two[0]:.0f} % of linear')
print(f'{tenth[1]} KiB for {files // 10} files, {two[1]} KiB for {files}')
print(f'{files * 5 / 3600 / one[0] * 3600:.0f} hours of sound in an hour of one core')

process = subprocess.Popen([vask, 'batch'], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
sent = 0
def send():
    global sent
    for line in lines:
        process.stdin.write(line)
        process.stdin.flush()
        sent += 1
    process.stdin.close()
sender = threading.Thread(target=send)
sender.start()
process.stdout.readline()
print(f'the first record came after {sent} lines')
for _ in process.stdout:
    pass
sender.join()
assert process.wait() == 0
END
