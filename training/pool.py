"""Unpack the packages and gather the pools: pool.py PACKAGES VOICES OUT

PACKAGES holds the .deb files, VOICES further recordings (a folder for each source), OUT gets for each of voice,
music and noise `KIND.i16` (16 kHz, one recording behind the other) and `KIND.json` (what is where).
"""
import io
import json
import os
import re
import struct
import subprocess
import sys
import zipfile
from multiprocessing import Pool

import numpy as np
import soundfile
from scipy.signal import resample_poly

from sources import ARCHIVES, HELD_OUT, NOT_NOISE, RULES

RATE = 16000
LONGEST = {"voice": 30, "music": 100, "noise": 60}  # seconds that are taken of a recording
SOUND = r"\.(wav|ogg|oga|mp3|flac|au|gsm|opus|aiff?|raw|sln\d*|SB|pcm)$"


def unpacked(deb, folder):
    """The folder into which a package's files are unpacked."""
    target = os.path.join(folder, os.path.basename(deb).split("_")[0])
    if not os.path.isdir(target):
        os.makedirs(target)
        data = subprocess.run(["dpkg-deb", "--fsys-tarfile", deb], stdout=subprocess.PIPE, check=True).stdout
        subprocess.run(["tar", "-x", "-C", target, "--no-same-owner"], input=data, check=True)
    return target


def queen(path):
    """Speech of one adventure: a table of names, offsets and sizes in front, each an MP3 file."""
    with open(path, "rb") as file:
        data = file.read()
    count, = struct.unpack(">H", data[13:15])
    for i in range(count):
        name, offset, size = struct.unpack(">12sxII", data[15 + 21 * i:36 + 21 * i])
        name = name.split(b"\0")[0].decode("ascii", "replace")
        if name.endswith(".SB"):
            yield f"{path}/{name}", lambda o=offset, s=size: soundfile.read(io.BytesIO(data[o:o + s]), dtype="float32")


def decoded(data, name):
    if name.endswith(".gsm"):
        return soundfile.read(io.BytesIO(data), samplerate=8000, channels=1, format="RAW", subtype="GSM610",
                              dtype="float32")
    if re.search(r"\.(raw|sln\d*)$", name):
        rate = 16000 if name.endswith("16") else 8000
        return np.frombuffer(data[:len(data) // 2 * 2], "<i2").astype(np.float32) / 32768, rate
    return soundfile.read(io.BytesIO(data), dtype="float32", always_2d=False)


def recordings(root):
    """(path, function that returns samples and rate) of everything that sounds under a folder."""
    for folder, _, names in sorted(os.walk(root)):
        for name in sorted(names):
            path = os.path.join(folder, name)
            if os.path.islink(path):
                continue
            if name == "queen.1c":
                yield from queen(path)
            elif re.search(ARCHIVES, name):
                archive = zipfile.ZipFile(path)
                for member in sorted(archive.namelist()):
                    if re.search(SOUND, member):
                        yield f"{path}/{member}", lambda a=archive, m=member: decoded(a.read(m), m)
            elif re.search(SOUND, name):
                yield path, lambda p=path: decoded(open(p, "rb").read(), p)


def rule_of(package, path):
    inner = path.split(f"/{package}/", 1)[-1]
    for kind, pattern, group in RULES[package]:
        match = re.search(pattern, inner)
        if match and kind != "voice" and re.search(NOT_NOISE, os.path.basename(inner).lower()):
            return None
        if match:
            return kind, match.expand(group)
    return None


def at_16_khz(samples, rate, seconds):
    if samples.ndim == 2:
        samples = samples.mean(axis=1)
    samples = samples[:int(seconds * rate)]
    if rate != RATE and len(samples) > 0:
        divisor = np.gcd(int(rate), RATE)
        samples = resample_poly(samples, RATE // divisor, int(rate) // divisor).astype(np.float32)
    return samples


def as_16_bits(samples):
    """At 0.5 of full scale, so that all recordings use their 16 bits; None if there is nothing in it."""
    peak = np.abs(samples).max() if len(samples) > 1600 else 0
    return np.round(samples * (16384 / peak)).astype(np.int16) if peak > 1e-4 else None


def gather(job):
    """All recordings of a package or of a folder of voices: a list of (kind, group, path, samples)."""
    name, root, is_voices = job
    found = []
    for path, read in recordings(root):
        inner = os.path.relpath(path, os.path.dirname(root))
        rule = ("voice", voice_group(name, path)) if is_voices else rule_of(name, path)
        if rule is None:
            continue
        try:
            samples, rate = read()
            samples = as_16_bits(at_16_khz(np.asarray(samples, np.float32), rate, LONGEST[rule[0]] if not is_voices else 600))
        except (RuntimeError, ValueError, struct.error, zipfile.BadZipFile):
            continue  # not a sound after all
        if samples is not None:
            found.append((rule[0], rule[1], inner, samples))
    return name, found


def voice_group(source, path):
    """Files of one speaker follow each other, so a run of files is kept together."""
    digits = re.sub(r"\D", "", os.path.basename(path)) or "0"
    run = {"commands": 12, "wakewords": 20}.get(source)
    return f"{source}-{int(digits) // run}" if run else f"{source}-{digits if source == 'digits' else 0}"


def main(packages, voices, out):
    os.makedirs(out, exist_ok=True)
    raw = os.path.join(out, "raw")
    jobs = []
    for deb in sorted(os.listdir(packages)):
        name = deb.split("_")[0]
        if name.startswith(HELD_OUT):
            sys.exit(f"{deb} must not be trained on: take it out of {packages}")
        if name in RULES:
            jobs.append((name, unpacked(os.path.join(packages, deb), raw), False))
    for name in sorted(os.listdir(voices)):
        if os.path.isdir(os.path.join(voices, name)):
            jobs.append((name, os.path.join(voices, name), True))
    files = {kind: open(os.path.join(out, f"{kind}.i16"), "wb") for kind in LONGEST}
    entries = {kind: [] for kind in LONGEST}
    places = dict.fromkeys(LONGEST, 0)
    with Pool(2) as pool:
        for name, found in pool.imap(gather, jobs):
            minutes = dict.fromkeys(LONGEST, 0.0)
            for kind, group, path, samples in found:
                entries[kind].append({"source": name, "group": group, "path": path, "start": places[kind],
                                      "length": len(samples)})
                files[kind].write(samples.tobytes())
                places[kind] += len(samples)
                minutes[kind] += len(samples) / RATE / 60
            print(name, {k: round(v, 1) for k, v in minutes.items() if v}, flush=True)
    for kind, file in files.items():
        file.close()
        with open(os.path.join(out, f"{kind}.json"), "w") as index:
            json.dump(entries[kind], index)
        print(f"{kind}: {len(entries[kind])} recordings, {places[kind] / RATE / 60:.0f} minutes, "
              f"{len({e['group'] for e in entries[kind]})} groups")


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    main(*sys.argv[1:])
