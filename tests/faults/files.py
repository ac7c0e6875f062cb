"""Each system call fails once in each way, and the process is killed at each: afterwards every file is the old one
or the new one, and a run without faults gives what one run gives.

files.py BUILD RECORDING.wav [--quick]
"""
import os
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import faults

BUILD, RECORDING = (Path(arg).resolve() for arg in sys.argv[1:3])
SHIM, VASK = BUILD / "tests/faults/libvask-faults.so", BUILD / "vask"
KINDS = ("EIO", "ENOSPC", "EINTR", "short", "kill")
# The job, and an earlier one over the same files.
JOBS = {
    "detect -j1 -o out --resume {0}.wav": "detect --pad-end 0.1 -j1 -o out {0}.wav {0}-second.wav",
    "detect -j1 -o out --resume {0}.wav {0}-second.wav": "detect -j1 -o out {0}-second.wav",
    "mfcc --kb kb {0}.wav -o out.npy": "tables kb",
    "tables kb": "",
    "batch -j1 -o records.jsonl --resume {0}.paths": "",
}


def make_inputs(folder):
    """Two parts of the recording; the part of their names before the endings."""
    stem = Path(folder) / "a"
    for name, start in (("", "1"), ("-second", "4")):
        subprocess.run(["ffmpeg", "-v", "error", "-ss", start, "-t", "2.7", "-i", RECORDING, "-bitexact",
                        f"{stem}{name}.wav"], check=True, stdin=subprocess.DEVNULL)
    Path(f"{stem}.paths").write_text(f"{stem}.wav\n{stem}-second.wav\n")
    return stem


def kept(files):
    """All but the ledger, whose lines may come one by one, and what an unfinished run leaves."""
    return {name: data for name, data in files.items() if not faults.hidden(name) and not name.endswith(".jsonl")}


def job(line, earlier, stem, kind):
    wrong, tried = [], 0
    with tempfile.TemporaryDirectory(prefix="vask-faults-") as before:
        if earlier:
            subprocess.run([VASK, *earlier.format(stem).split()], cwd=before, check=True, capture_output=True)
        old = kept(faults.content(before))
        with faults.Program(SHIM, [VASK, *line.format(stem).split()], before) as program:
            whole = program.run(kind)
            new = kept(whole.files)
            for number in range(1, whole.count + 1):
                run = program.run(kind, number)
                tried += 1
                if run.records(whole):
                    continue
                found = kept(run.files)
                failures = [f"{name} is neither old nor new" for name in old | new
                            if found.get(name) not in (old.get(name), new.get(name))]
                if run.exit == 0 and (run.out != whole.out or found != new):
                    failures.append("status 0 with something else")
                elif run.exit != 0 and not run.said() and (run.exit != -signal.SIGKILL or kind != "kill"):
                    failures.append(f"status {run.exit}, {run.err[:300]!r}")
                if found != new or run.files != whole.files:
                    again = program.run(kind, 0, again=True)
                    if again.exit != 0 or kept(again.files) != new or any(map(faults.hidden, again.files)):
                        failures.append(f"again: status {again.exit}, {again.err[:300]!r}, {sorted(again.files)}")
                if failures:
                    wrong.append(f"{line}: {run.fault}: {'; '.join(failures)}")
    return tried, wrong


def threads(stem):
    """Where a thread does not start, the others do its work."""
    wrong, tried = [], 0
    for line in ("detect -j4" + f" {stem}.wav {stem}-second.wav" * 3, f"report {stem}.wav -o page.html"):
        with faults.Program(SHIM, [VASK, *line.split()]) as program:
            whole = program.run("thread")
            if whole.count == 0:
                wrong.append(f"{line}: starts no thread")
            for number in range(1, whole.count + 1):
                run = program.run("thread", number)
                tried += 1
                if (run.exit, run.out, run.files) != (0, whole.out, whole.files):
                    wrong.append(f"{line}: {run.fault}: status {run.exit}, {run.err!r}")
    return tried, wrong


def silence(stem):
    """A signal ends a job that waits for a pipe: one that is full, one that stays empty, one that nobody opens."""
    wrong, tried = [], 0
    lines = (f"detect {stem}.wav -o out", "denoise - -o out.wav", f"trim {stem}.wav -o fifo")
    with tempfile.TemporaryDirectory(prefix="vask-faults-") as folder:
        empty_out, empty_in = os.pipe()
        full_out, full_in = os.pipe()
        os.set_blocking(full_in, False)
        try:
            while os.write(full_in, bytes(4096)):
                pass
        except BlockingIOError:
            os.set_blocking(full_in, True)
        os.mkfifo(Path(folder) / "fifo")
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            for line, pipes in zip(lines, ({"stdout": full_in}, {"stdin": empty_out}, {})):
                with subprocess.Popen([VASK, *line.split()], cwd=folder, stderr=subprocess.PIPE, text=True,
                                      **pipes) as process:
                    time.sleep(0.3)  # more than it takes to come to the pipe
                    process.send_signal(number)
                    try:
                        status = process.wait(timeout=10)
                    except subprocess.TimeoutExpired:
                        process.kill()
                        status = "none in 10 s"
                    tried += 1
                    left = [path.name for path in Path(folder).rglob("*") if faults.hidden(path.name)]
                    if status != -number or left:
                        wrong.append(f"{line}: {number.name}: status {status}, {process.stderr.read()!r}, {left}")
        for fd in (empty_out, empty_in, full_out, full_in):
            os.close(fd)
    return tried, wrong


def main():
    quick = "--quick" in sys.argv
    jobs, kinds = (list(JOBS.items())[:1], ("ENOSPC", "short")) if quick else (list(JOBS.items()), KINDS)
    with tempfile.TemporaryDirectory(prefix="vask-faults-") as folder:
        stem = make_inputs(folder)
        tasks = [(job, line, earlier, stem, kind) for line, earlier in jobs for kind in kinds]
        if not quick:
            tasks += [(threads, stem), (silence, stem)]
        tried, wrong = faults.on_all_cores(tasks)
    faults.conclude("files", wrong, f"{tried} failed system calls, threads and signals in {len(jobs)} jobs")


if __name__ == "__main__":
    main()
