#!/usr/bin/env python3
"""Changes one token of src/ at a time, and counts the changes that the tests notice.

  scripts/mutants.py [--count N] [--in PATH...] [--quick] [--equivalent]

The mutants are drawn by a digest of their place and their line, so the set stays the same where the code does. Each is
compiled with traps for undefined behaviour and linked into the library that the tests of build/release then load. Those
of its room come first, the quickest of them before the others, and the first that fails ends it. The mutants of
tests/mutants/equivalent.txt, which no input can tell from the original, are not drawn.

  --count N    as many mutants; the shares of the kinds are those of QUOTAS
  --in PATH... in these sources alone: src/epd/, src/epd/vad.cpp or src/epd/vad.cpp:62
  --quick      noticed by the tests of the room alone
  --equivalent the listed ones instead: none of them may be noticed

Verdicts are in build/mutants/verdicts.txt as they come.
"""
import argparse
import collections
import concurrent.futures
import contextlib
import glob
import json
import os
import shlex
import shutil
import signal
import subprocess
import sys
import time

from mutants_sites import drawn, equivalents, listed, sites_of

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
RELEASE, BUILD = f"{ROOT}/build/release", f"{ROOT}/build/mutants"
CHECKED = ["-fsanitize=undefined", "-fsanitize-undefined-trap-on-error", "-D_GLIBCXX_ASSERTIONS"]
QUOTAS = {"constant": 0.32, "comparison": 0.18, "guard": 0.18, "sum": 0.16, "logic": 0.08, "shift": 0.08}
REACH = 95.0  # per cent


def fail(message):
    sys.exit(f"mutants: {message}")


class Compiler:
    """What build/release compiles, at -O1 and with every name visible to the tests."""

    def __init__(self):
        self.launcher = ["ccache"] if shutil.which("ccache") else []
        self.commands = {}  # object: (source, command without its output)
        with open(f"{RELEASE}/compile_commands.json") as file:
            for entry in json.load(file):
                words = shlex.split(entry["command"])
                words = words[words.index("ccache") + 1:] if "ccache" in words else words
                at = words.index("-o")
                obj = words[at + 1]
                kept = [w for w in words[:at] if not w.startswith(("-O", "-g", "-W", "-fvisibility"))]
                self.commands[obj] = (entry["file"], kept + ["-O1", "-w"])
        self.core = [o for o in self.commands if "/vask_core.dir/" in f"/{o}" or "/vask_jni.dir/" in f"/{o}"]
        self.users = collections.defaultdict(set)  # file: the objects that depend on it
        deps = subprocess.run(["ninja", "-C", RELEASE, "-t", "deps"], capture_output=True, text=True, check=True)
        for line in deps.stdout.splitlines():
            if line.startswith(" "):
                self.users[os.path.normpath(os.path.join(RELEASE, line.strip()))].add(obj)
            elif line:
                obj = line.split(":")[0]

    def compile(self, obj, to, sources=None, flags=()):
        """Compile an object, from the copy of src/ in `sources` if it is given. True if that succeeds."""
        source, command = self.commands[obj]
        words = command + list(flags) + ["-o", to, "-c", source]
        if sources:
            words = [w.replace(f"{ROOT}/src", sources) for w in words]
        os.makedirs(os.path.dirname(to), exist_ok=True)
        launcher = [] if sources else self.launcher  # a mutant is compiled once
        return subprocess.run(launcher + words, cwd=RELEASE, capture_output=True).returncode == 0


def link(objects, to, *options):
    os.makedirs(os.path.dirname(to), exist_ok=True)
    linker = ["-fuse-ld=lld"] if shutil.which("ld.lld") else []
    subprocess.run(["c++", *linker, "-o", to, *objects, *options], check=True)


def link_library(objects, to):
    link(objects, to, "-shared", "-Wl,-Bsymbolic-functions")


class Program:
    """A program that notices: its arguments and what it is linked from."""

    def __init__(self, name, objects=(), arguments=(), command=None, libraries=()):
        self.name, self.objects, self.arguments, self.command = name, list(objects), list(arguments), command
        self.libraries = list(libraries)
        self.room = "jni" if name.startswith("java.") else name.split("_")[0]
        self.wraps_malloc = name.endswith("allocation_test")  # which it can only do to what is linked into it
        self.seconds = 0.0

    def link(self, folder, core, objects):
        to = f"{folder}/{self.name}"
        if self.wraps_malloc:
            link(objects + core, to, "-Wl,--wrap=malloc,--wrap=calloc", *self.libraries)
        else:
            link(objects, to, f"-L{BUILD}/base", "-lVask", *self.libraries)
        return to


def programs(compiler, java):
    """All that can notice; `java`: the tests of the binding, too."""
    found = []
    objects_of = lambda folder: sorted(o for o in compiler.commands if f"{folder}.dir/" in o)
    for path in sorted(glob.glob(f"{ROOT}/tests/*/*_test.cpp")):
        name = os.path.relpath(path, f"{ROOT}/tests")[:-4].replace("/", "_")
        if not name.endswith("command_test"):
            found.append(Program(name, objects_of(f"/{name}"), libraries=["-lgtest", "-lgtest_main"]))
    room = f"{ROOT}/samples/room.wav"
    found.append(Program("vask-digest", objects_of("/vask-digest"), ["check", f"{ROOT}/tests/digest/expected.txt", room]))
    found.append(Program("vask-replay", objects_of("/vask-replay") + objects_of("/vask_player"),
                         [f"{ROOT}/tests/replay/replay.txt", room]))
    vectors = os.path.abspath(os.environ.get("VASK_VECTORS", f"{ROOT}/../shared/vectors"))
    if os.path.isdir(vectors):
        replay = f"{BUILD}/vectors/replay"
        subprocess.run(["make", "-s", "-C", vectors, f"BUILD={BUILD}/vectors", replay], check=True)
        found.append(Program("vectors", command=[replay, "check", "@/libVask.so", f"{vectors}/tapes"]))
    if not java:
        return found
    subprocess.run(["ctest", "-R", "^java.set_up_what_c_gives$"], cwd=RELEASE, stdout=subprocess.DEVNULL, check=True)
    tests = subprocess.run(["ctest", "--show-only=json-v1"], cwd=RELEASE, capture_output=True, text=True, check=True)
    for test in json.loads(tests.stdout)["tests"]:
        if test["name"].startswith("java.Vask") and "WithoutMemory" not in test["name"]:
            words = ["-Djava.library.path=@" if w.startswith("-Djava.library.path=") else w for w in test["command"]]
            found.append(Program(test["name"], command=words))
    return found


def run(words, folder, library, seconds):
    """Run with limits of processor time and memory. True if the program succeeds."""
    limits = ["prlimit", f"--cpu={int(5 * seconds) + 3}"]
    if "java" not in words[0]:
        limits.append(f"--as={4 << 30}")
    environment = dict(os.environ, LD_LIBRARY_PATH=library, TMPDIR=folder)
    child = subprocess.Popen(limits + words, cwd=folder, env=environment, stdin=subprocess.DEVNULL,
                             stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
    try:
        return child.wait(timeout=60 + 20 * seconds) == 0
    except subprocess.TimeoutExpired:
        return False
    finally:
        try:
            os.killpg(child.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        child.wait()


class Worker:
    """A folder with a copy of src/, in which one mutant after the other is built and tried."""

    def __init__(self, number, compiler):
        self.folder, self.compiler = f"{BUILD}/worker{number}", compiler
        shutil.rmtree(self.folder, ignore_errors=True)
        shutil.copytree(f"{ROOT}/src", f"{self.folder}/src")
        os.makedirs(f"{self.folder}/run")

    def build(self, objects):
        built = {}
        for obj in objects:
            built[obj] = f"{self.folder}/objects/{os.path.basename(obj)}.{len(built)}.o"
            if not self.compiler.compile(obj, built[obj], f"{self.folder}/src", CHECKED):
                return None
        return built

    def verdict(self, mutant, to_try):
        """The program that notices, "" if none does, None if it does not compile."""
        users = self.compiler.users[f"{ROOT}/{mutant.file}"]
        changed = self.build(o for o in self.compiler.core if o in users)
        if changed is None:
            return None
        core = [changed.get(o, f"{BUILD}/base/{o}") for o in self.compiler.core]
        link_library(core, f"{self.folder}/libVask.so")
        for program in to_try:
            own = [o for o in program.objects if o in users]
            if program.command:
                words = [w.replace("@", self.folder) for w in program.command]
            elif own or program.wraps_malloc:
                changed = self.build(own)
                if changed is None:
                    return program.name
                objects = [changed.get(o, f"{RELEASE}/{o}") for o in program.objects]
                words = [program.link(self.folder, core, objects)]
            else:
                words = [f"{BUILD}/programs/{program.name}"]
            if not run(words + program.arguments, f"{self.folder}/run", self.folder, program.seconds):
                return program.name
        return ""

    def try_one(self, mutant, to_try):
        path = f"{self.folder}/{mutant.file}"
        with open(path) as file:
            original = file.read()
        try:
            with open(path, "w") as file:
                file.write(mutant.applied(original))
            return self.verdict(mutant, to_try)
        finally:
            with open(path, "w") as file:
                file.write(original)


def prepare(compiler, pool, found):
    """The library without a change; each program passes with it, and its time is taken."""
    if not all(pool.map(lambda o: compiler.compile(o, f"{BUILD}/base/{o}"), compiler.core)):
        fail("the library does not compile; scripts/proofs/mutants.sh builds what is needed")
    base = [f"{BUILD}/base/{o}" for o in compiler.core]
    link_library(base, f"{BUILD}/base/libVask.so")
    os.makedirs(f"{BUILD}/run", exist_ok=True)

    def first(program):
        if program.command:
            words = [w.replace("@", f"{BUILD}/base") for w in program.command]
        else:
            words = [program.link(f"{BUILD}/programs", base, [f"{RELEASE}/{o}" for o in program.objects])]
        started = time.monotonic()
        if not run(words + program.arguments, f"{BUILD}/run", f"{BUILD}/base", 20):
            fail(f"{program.name} fails without a mutant")
        program.seconds = time.monotonic() - started

    list(pool.map(first, found))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--count", type=int, default=330)
    parser.add_argument("--in", dest="paths", nargs="+", default=["src/"])
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--equivalent", action="store_true")
    arguments = parser.parse_args()
    started = time.monotonic()
    os.makedirs(BUILD, exist_ok=True)
    compiler, workers = Compiler(), os.cpu_count()
    keys = listed(f"{ROOT}/tests/mutants/equivalent.txt")
    begins = tuple(p.split(":")[0] for p in arguments.paths)
    sites = sites_of(ROOT, compiler, begins)
    left_out = equivalents([k for k in keys if k[0].startswith(begins)], sites)
    inside = [s for s in sites if f"{s.file}:{s.line}:".startswith(tuple(arguments.paths)) and s not in left_out]
    chosen = sorted(left_out) if arguments.equivalent else drawn(inside, QUOTAS, arguments.count)
    free = [Worker(n, compiler) for n in range(workers)]
    with contextlib.ExitStack() as stack:
        pool = stack.enter_context(concurrent.futures.ThreadPoolExecutor(workers))
        rooms = {m.room for m in chosen}
        found = [p for p in programs(compiler, "jni" in rooms) if p.room in rooms or p.room != "jni" and not arguments.quick]
        prepare(compiler, pool, found)
        log = stack.enter_context(open(f"{BUILD}/verdicts.txt", "w", buffering=1))

        def attempt(mutant):
            to_try = [p for p in found if p.room == mutant.room or {p.room, mutant.room}.isdisjoint({"jni"})]
            worker = free.pop()
            # After the room's own the digests, which notice most; then the quickest.
            order = sorted(to_try, key=lambda p: (p.room != mutant.room, p.name != "vask-digest", p.seconds))
            verdict = worker.try_one(mutant, order)
            free.append(worker)
            log.write(f"{'does not compile' if verdict is None else verdict or 'SURVIVES'}: {mutant}\n")
            return verdict

        verdicts = list(pool.map(attempt, chosen))
    if arguments.equivalent:
        noticed = [f"{v or 'does not compile'}: {m}" for m, v in zip(chosen, verdicts) if v != ""]
        kept = len(chosen) - len(noticed)
        print(*noticed, f"mutants: {kept} of {len(chosen)} listed as equivalent are not noticed", sep="\n")
        sys.exit(1 if noticed else 0)
    alive = [m for m, v in zip(chosen, verdicts) if v == ""]
    counted = sum(v is not None for v in verdicts)
    for mutant in alive:
        print(f"survives: {mutant}")
    rate = 100 * (counted - len(alive)) / max(counted, 1)
    print(f"mutants: {counted - len(alive)} of {counted} noticed ({rate:.1f} %), besides {len(chosen) - counted} that do "
          f"not compile and {len(left_out)} equivalent ones, in {time.monotonic() - started:.0f} s")
    if counted == 0 or rate < REACH:
        fail(f"{rate:.1f} % is less than {REACH:.0f} %: write a test for the ones above, or say in "
             "tests/mutants/equivalent.txt why no input can tell them from the original")


if __name__ == "__main__":
    main()
