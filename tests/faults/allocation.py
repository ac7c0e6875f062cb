"""Every allocation fails once, and all from then on: in each entry of the library and in each job of the command.

allocation.py BUILD RECORDING.wav [--quick]
"""
import signal
import subprocess
import sys
import tempfile
from pathlib import Path

import faults

BUILD, RECORDING = (Path(arg).resolve() for arg in sys.argv[1:3])
SHIM, LIBRARY, VASK = (BUILD / name for name in ("tests/faults/libvask-faults.so", "tests/faults/vask-faults-library",
                                                 "vask"))
QUICK = "--quick" in sys.argv
WAYS = ("once", "ever")
# Of each subcommand the first tries all allocations; the others skip what they take before they read.
JOBS = [
    "detect {0}.wav", "detect --detector energy -f jsonl {0}.wav", "detect -j1 -f csv -o out --resume {0}.wav",
    "detect {0}.flac", "detect {0}.ogg", "detect {0}.mp3", "trim {0}.wav -o out.wav", "trim {0}.wav -o out.flac",
    "denoise {0}.wav -o out.wav", "denoise {0}-44100.wav -o out.wav",
    "packets {0}.wav -o packets", "unpack {0}.packets -o out.wav", "mfcc --deltas {0}-second.wav -o out.npy",
    "env {0}.wav", "report {0}.wav -o page.html", "score {0}.rttm {0}.rttm", "tables kb", "batch -j1 {0}.paths"]
# These do not always ask whether there was memory, which ends the process: like a kill, it leaves no part of a file.
UNCHECKED = ("libsndfile.so", "libsoxr.so", "libvorbis.so")
# libsndfile does not ask whether this one had memory, and goes on without what it lost.
UNNOTICED = "libogg.so"


def make_inputs(folder):
    """The first utterance of the recording in all kinds; the part of the names before the endings."""
    stem = Path(folder) / "a"
    make = lambda *args: subprocess.run(args, check=True, stdout=subprocess.PIPE, stdin=subprocess.DEVNULL)
    ffmpeg = ("ffmpeg", "-v", "error")
    make(*ffmpeg, "-ss", "1", "-t", "2.7", "-i", RECORDING, "-bitexact", f"{stem}.wav")
    make(*ffmpeg, "-i", f"{stem}.wav", f"{stem}.flac", f"{stem}.ogg", f"{stem}.mp3", "-ar", "44100",
         f"{stem}-44100.wav", "-t", "1", f"{stem}-second.wav")
    if QUICK:
        return stem
    Path(f"{stem}.paths").write_text(f"{stem}.wav\n{stem}-second.wav\n")
    make(VASK, "packets", f"{stem}.wav", "-o", f"{stem}.packets")
    Path(f"{stem}.rttm").write_bytes(make(VASK, "detect", "-f", "rttm", f"{stem}.wav").stdout)
    return stem


def entry(name, stem, way, share):
    """Each run says FIRST SECOND LEFT, or ends as the library says it does without memory for its histories."""
    wrong, tried = [], 0
    with faults.Program(SHIM, [LIBRARY, name, f"{stem}.wav"]) as program:
        whole = program.run()
        digest = whole.out.split()[-2]
        for number in range(1 + share, whole.count + 1, 2):
            run = program.run(way, number)
            tried += 1
            last = (run.out.splitlines() or [""])[-1]
            good = last in (f"{digest} {digest} 0", f"failed {digest} 0") or last.startswith("Not enough memory : ")
            if run.exit != 0 or not good:
                wrong.append(f"{name}: {run.fault}: status {run.exit}, {last!r} instead of {digest}")
    return tried, wrong


def job(line, stem, way, share):
    """Each run gives all that it should, or status 1, lines of its own and no part of a file."""
    wrong, tried = [], 0
    skipped = 0
    if line not in {first.split()[0]: first for first in reversed(JOBS)}.values():
        with faults.Program(SHIM, [VASK, *line.format("missing").split()]) as program:
            skipped = max(program.run().count - 100, 0)
    with faults.Program(SHIM, [VASK, *line.format(stem).split()]) as program:
        whole = program.run()
        if whole.exit != 0:
            return 0, [f"{line}: {whole.err}"]
        for number in range(1 + share + skipped, whole.count + 1, 2):
            run = program.run(way, number)
            tried += 1
            if run.exit == 0 and (run.out, run.files) == (whole.out, whole.files) or run.records(whole):
                continue
            died = run.exit == -signal.SIGSEGV and run.where.startswith(UNCHECKED)
            written = {name: data for name, data in run.files.items() if not name.endswith(".vask-detect.jsonl")
                       and not (died and faults.hidden(name))}
            lost = run.exit == 0 and run.where.startswith(UNNOTICED) and run.files == whole.files
            is_whole = written.items() <= whole.files.items()
            if is_whole and (died or lost):
                wrong.append(faults.Known(f"{line}: {run.fault}"))
            elif not is_whole or not run.said():
                wrong.append(f"{line}: {run.fault}: status {run.exit}, {run.err[:100]!r}, {sorted(written)}")
    return tried, wrong


def main():
    names = subprocess.run([LIBRARY], check=True, capture_output=True, text=True).stdout.splitlines()
    lines = JOBS
    if QUICK:
        names, lines = [name for name in names if name not in ("front end", "files")], []
    with tempfile.TemporaryDirectory(prefix="vask-faults-") as folder:
        stem = make_inputs(folder)
        tasks = [(kind, what, stem, way, share) for kind, whats in ((job, lines), (entry, names))
                 for what in whats for way in WAYS for share in (0, 1)]
        tried, wrong = faults.on_all_cores(tasks)
    faults.conclude("allocation", wrong,
                    f"{tried} failed allocations in {len(names)} entries of the library and {len(lines)} jobs")


if __name__ == "__main__":
    main()
