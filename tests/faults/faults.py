"""Runs a program again and again under shim.cpp, each time with another fault."""
import concurrent.futures
import os
import shutil
import socket
import subprocess
import sys
import tempfile
from pathlib import Path

# Of x86-64, for messages.
CALLS = {"0": "read", "1": "write", "2": "open", "3": "close", "4": "stat", "5": "fstat", "6": "lstat", "7": "poll",
         "8": "lseek", "16": "ioctl", "17": "pread", "18": "pwrite", "21": "access", "72": "fcntl", "73": "flock",
         "74": "fsync", "75": "fdatasync", "77": "ftruncate", "79": "getcwd", "82": "rename", "83": "mkdir",
         "87": "unlink", "89": "readlink", "91": "fchmod", "217": "getdents", "257": "openat", "262": "newfstatat",
         "293": "pipe2", "332": "statx"}


def content(folder):
    """The files below a folder; of a ledger what is not the process's own."""
    files = {}
    for path in Path(folder).rglob("*"):
        name = str(path.relative_to(folder))
        if path.is_dir():
            files[name + "/"] = b""
        else:
            files[name] = path.read_bytes()[64 if path.name == ".vask-detect.jsonl" else 0:]
    return files


def hidden(name):
    """Whether it is a file of a run that has not finished."""
    return Path(name).name.startswith(".vask-") and not name.endswith(".jsonl") or name.endswith((".new", ".part"))


class Run:
    """What one run did."""

    def __init__(self, program, kind, number, answer):
        self.exit = os.waitstatus_to_exitcode(int(answer[0]))
        self.count = int(answer[1])
        self.where = CALLS.get(answer[2], answer[2])
        self.fault = f"{kind} {number} ({self.where})"
        self.out = (program.base / "stdout").read_text(errors="replace")
        self.err = (program.base / "stderr").read_text(errors="replace")
        self.files = content(program.folder)

    def records(self, whole):
        """Whether a batch says of some inputs that they failed, and of the others what it should."""
        texts = [run.files.get("records.jsonl", b"").decode() + run.out for run in (self, whole)]
        lines, wanted = (text.splitlines() for text in texts)
        return (self.exit == 3 and len(lines) == len(wanted) and
                all(line == other or '"error":' in line for line, other in zip(lines, wanted)))

    def said(self):
        """Whether the program failed as it should: by its status, and with a line or more of its own."""
        lines = self.err.splitlines()
        return self.exit in (1, 2) and lines and all(line.startswith("vask: ") for line in lines)


class Program:
    """A program that is started once and forks for each fault, in a folder that is as `before` each time."""

    def __init__(self, shim, args, before=None):
        self.base = Path(tempfile.mkdtemp(prefix="vask-faults-"))
        self.folder = self.base / "run"
        self.before = before
        self.folder.mkdir()
        ours, its = socket.socketpair()
        with its:
            self.process = subprocess.Popen(args, cwd=self.folder, pass_fds=[its.fileno()], env=os.environ | {
                "LD_PRELOAD": str(shim), "VASK_FAULTS": str(its.fileno())})
        self.line = ours.makefile("rw")
        ours.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.line.close()
        self.process.wait()
        shutil.rmtree(self.base)

    def clear(self):
        for path in self.folder.iterdir():
            shutil.rmtree(path) if path.is_dir() else path.unlink()
        if self.before:
            shutil.copytree(self.before, self.folder, dirs_exist_ok=True)

    def run(self, kind="once", number=0, again=False):
        if not again:
            self.clear()
        self.line.write(f"{kind} {number}\n")
        self.line.flush()
        return Run(self, kind, number, self.line.readline().split())


class Known(str):
    """A complaint about a library that is not ours."""


def conclude(name, complaints, figures):
    known = sum(isinstance(complaint, Known) for complaint in complaints)
    if known:
        figures += f", {known} of them in other libraries, which do not look"
    complaints = [complaint for complaint in complaints if not isinstance(complaint, Known)]
    for complaint in complaints[:20]:
        print(complaint)
    if complaints:
        sys.exit(f"{name}: {len(complaints)} faults have a wrong result, the first: {complaints[0]}")
    print(f"{name}: {figures}")


def call(task):
    """A function and its arguments, as on_all_cores() takes them."""
    function, *arguments = task
    return function(*arguments)


def on_all_cores(tasks):
    """How many faults the tasks tried, and all complaints."""
    tried, complaints = 0, []
    with concurrent.futures.ProcessPoolExecutor() as pool:
        for count, wrong in pool.map(call, tasks):
            tried += count
            complaints += wrong
    return tried, complaints
