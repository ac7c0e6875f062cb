"""Judge a model on speakers left out of training, and choose its rules: tune.py POOLS EAR FOLDER MODEL [--search]

Makes the tuning recordings in FOLDER the first time: utterances of the speakers that are kept out, with backgrounds
that are kept out as well, at several SNRs, levels and in rooms; recordings without speech; music. They are scored as
the held-out ones are (score.py). With --search the rules are varied, and the best sets printed.
"""
import argparse
import itertools
import json
import os
import subprocess

import numpy as np

import mix
import rooms
import score
from voices import RATE

SECONDS = 24
LENGTH = SECONDS * RATE
SNRS = (40, 20, 15, 10, 10, 5, 5, 0)
STEP = 0.02
OUTPUTS = {"now": (0, 0), "100": (1, 5), "200": (2, 10), "utterance": (3, 20)}  # column, steps back

RULES = {"open": 0.7, "open_steps": 3, "open_by": "200", "start": 0.3, "close": 0.4, "close_steps": 4, "close_by": "utterance",
         "shortest": 0.2, "mean": 0.7}


def certain(material, random, group):
    """A recording of a speaker whose edges are certain, with them; None if there is none."""
    for _ in range(12):
        samples = material.voices.get(material.voices.member(random, group)) / 32768
        edges = score.true_edges(samples, RATE) if len(samples) < 8 * RATE else None
        if edges is not None and edges[1] - edges[0] > 0.35:
            return samples, edges
    return None


def recording(material, random, number):
    x = np.zeros(LENGTH, np.float32)
    truth = []
    at = random.uniform(0.8, 2)
    group = material.voices.group(random)
    while len(truth) < 4:
        found = certain(material, random, group)
        if found is None:
            group = material.voices.group(random)
            continue
        samples, (start, end) = found
        first = int(at * RATE)
        if first + len(samples) > LENGTH - RATE:
            break
        x[first:first + len(samples)] += samples / mix.rms(samples[int(start * RATE):int(end * RATE)])
        truth.append({"start": first / RATE + start, "end": first / RATE + end, "voice": group})
        at = truth[-1]["end"] + random.uniform(1.0, 2.5)
    x *= 0.1
    room = "none"
    if number % 3 == 0:
        response, rt60 = rooms.room(random)
        x = rooms.reverberate(x, response)
        room = f"{rt60:.1f}"
    snr = SNRS[number % len(SNRS)]
    added, is_music = mix.background(material, random, LENGTH)
    x = x + added * 10 ** (-snr / 20)
    level = (-26, -44, -14)[number // len(SNRS) % 3]
    x *= 10 ** ((level + 20) / 20)
    return x, {"utterances": truth, "snr": snr, "room": room, "level": level, "background": "music" if is_music else "other"}


def other(material, random, number):
    x, is_music = mix.background(material, random, LENGTH)
    return x * 10 ** (random.uniform(-25, 5) / 20), {"utterances": [], "background": "music" if is_music else "other"}


def make(folder, pools):
    material = mix.Material(pools, 9, True)
    files, clips = [], []
    for number in range(360):
        random = np.random.default_rng([77, number])
        x, labels = (recording if number < 240 else other)(material, random, number)
        clips.append(np.clip(np.round(x * 32768), -32768, 32767).astype(np.int16))
        files.append({"name": str(number), "seconds": SECONDS, **labels})
    os.makedirs(folder, exist_ok=True)
    np.stack(clips).tofile(os.path.join(folder, "clips.i16"))
    with open(os.path.join(folder, "clips.json"), "w") as file:
        json.dump(files, file)


def probabilities(ear, clips, length, model):
    raw = subprocess.run([ear, "probabilities", str(length), model], input=clips, stdout=subprocess.PIPE, check=True).stdout
    return np.frombuffer(raw, np.int16).reshape(-1, length // 320, 5).astype(np.float32) / 32768


def track(said, rules):
    """The segments that the rules make of one recording's probabilities: [start, end, told], in seconds.

    As src/stream/tracker.cpp does it.
    """
    open_column, open_back = OUTPUTS[rules["open_by"]]
    close_column, close_back = OUTPUTS[rules["close_by"]]
    steps = len(said)
    opening = np.concatenate([said[open_back:, open_column], np.zeros(open_back, np.float32)])
    closing = np.concatenate([said[close_back:, close_column], np.zeros(close_back, np.float32)])
    probable, possible = opening >= rules["open"], opening >= rules["start"]
    quiet = ~probable & (closing <= rules["close"])
    found = []
    at = floor = 0
    while at >= 0:
        first = first_run(probable, at, rules["open_steps"])
        if first < 0:
            break
        start = first
        while start > max(floor, first - 25) and possible[start - 1]:
            start -= 1
        end = first_run(quiet, first, rules["close_steps"])
        told = (end + rules["close_steps"] + close_back) if end >= 0 else steps
        at = floor = end + rules["close_steps"] if end >= 0 else -1
        end = end if end >= 0 else steps
        if (end - start) * STEP >= rules["shortest"] - 1e-9 and opening[start:end].mean() >= rules["mean"]:
            found.append([start * STEP, end * STEP, told * STEP])
    return found


def first_run(mask, first, length):
    """Where the first run of `length` or more begins, from `first` on; -1: nowhere."""
    edges = np.flatnonzero(np.diff(np.concatenate(([0], mask[first:].view(np.int8), [0])))).reshape(-1, 2)
    long = edges[edges[:, 1] - edges[:, 0] >= length]
    return first + int(long[0, 0]) if len(long) else -1


def scored(files, said, rules):
    found = {f["name"]: score.with_margins(track(p, rules), f["seconds"]) for f, p in zip(files, said)}
    return score.score(files, found), found


def search(files, said):
    results = []
    names = ("open", "open_steps", "start", "close", "close_steps", "mean")
    for values in itertools.product((0.5, 0.6, 0.7, 0.8), (2, 3, 5), (0.2, 0.3, 0.4), (0.3, 0.4, 0.5), (2, 4, 6), (0.5, 0.6, 0.7)):
        rules = {**RULES, **dict(zip(names, values))}
        row, _ = scored(files, said, rules)
        results.append((row["usable"] - 0.3 * (row["false"] + row["silent_false"]), row, rules))
    results.sort(key=lambda r: -r[0])
    for value, row, rules in results[:12]:
        print(f"{value:.2f}", score.row_text("", row), rules)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    for name in ("pools", "ear", "folder", "model"):
        parser.add_argument(name)
    parser.add_argument("--search", action="store_true")
    options = parser.parse_args()
    if not os.path.exists(os.path.join(options.folder, "clips.json")):
        make(options.folder, options.pools)
    with open(os.path.join(options.folder, "clips.json")) as file:
        files = json.load(file)
    with open(os.path.join(options.folder, "clips.i16"), "rb") as file:
        said = probabilities(options.ear, file.read(), LENGTH, options.model)
    for name, (column, back) in OUTPUTS.items():
        values = {f["name"]: p[back:, column] for f, p in zip(files, said)}
        print(f"ROC-AUC by {name}: {score.frame_auc(files, values, STEP):.4f}")
    row, found = scored(files, said, RULES)
    print(score.HEAD)
    print(score.row_text("all", row))
    for label in ("snr", "room", "level", "background"):
        for value, part in sorted(score.score_by(files, found, label).items()):
            print(score.row_text(f"{label} {value}", part))
    if options.search:
        search(files, said)


if __name__ == "__main__":
    main()
