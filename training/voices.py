"""The pools in memory, and what of a voice is speech."""
import json
import os

import numpy as np
from scipy.signal import butter, sosfilt

RATE = 16000
FRAME = 160  # samples: 10 ms

NO, YES, UNSURE = 0, 1, 255

HIGH_PASS = butter(2, 60 / (RATE / 2), "highpass", output="sos")


def spans(mask):
    """[first, one past the last] of each run of True."""
    edges = np.flatnonzero(np.diff(np.concatenate(([0], mask.view(np.int8), [0]))))
    return edges.reshape(-1, 2)


def speech_frames(samples):
    """What each 10 ms of a recording are: (speech, utterance), NO, YES or UNSURE.

    Speech is what lies within 36 dB of the loudest 10 ms, or 10 dB above the recording's own background if
    that is louder. Pauses up to 0.2 s count as speech, longer ones up to 0.35 s only as part of the utterance.
    """
    steps = len(samples) // 80
    power = (sosfilt(HIGH_PASS, samples[:steps * 80].astype(np.float32)).reshape(steps, 80) ** 2).mean(axis=1) + 1e-3
    level = 10 * np.log10(power)
    loudest = 10 * np.log10(np.convolve(power, [0.5, 0.5]).max())
    quiet = np.percentile(level[level > 0], 8) if (level > 0).any() else loudest  # zeros are no background
    threshold = np.clip(quiet + 10, loudest - 36, loudest - 24)
    loud = level > threshold
    for first, last in spans(loud):
        if last - first < 4:
            loud[first:last] = False
    frames = steps // 2
    loud = loud[:frames * 2].reshape(frames, 2)
    speech = np.where(loud.all(axis=1), YES, np.where(loud.any(axis=1), UNSURE, NO)).astype(np.uint8)
    near = (np.abs(level[:frames * 2] - threshold) < 3).reshape(frames, 2).all(axis=1)
    speech[near] = UNSURE
    utterance = speech.copy()
    heard = spans(speech == YES)
    for (_, first), (last, _) in zip(heard[:-1], heard[1:]):
        if last - first <= 20:
            speech[first:last] = YES
        elif last - first <= 35:
            speech[first:last] = UNSURE
        if last - first <= 35:
            utterance[first:last] = YES
        elif last - first <= 50:
            utterance[first:last] = UNSURE
    return speech, utterance


class Pool:
    """Recordings of one kind, each as int16 samples; a group is about a speaker."""

    def __init__(self, folder, kind, keep):
        """keep(group) says whether a group belongs to this pool."""
        self.samples = np.memmap(os.path.join(folder, f"{kind}.i16"), np.int16, "r")
        with open(os.path.join(folder, f"{kind}.json")) as index:
            self.entries = [e for e in json.load(index) if keep(e["source"] + "/" + e["group"])]
        self.groups = {}
        for i, entry in enumerate(self.entries):
            self.groups.setdefault(entry["source"] + "/" + entry["group"], []).append(i)
        self.names = sorted(self.groups)
        seconds = np.array([sum(self.entries[i]["length"] for i in self.groups[n]) for n in self.names]) / RATE
        self.weights = np.sqrt(np.minimum(seconds, 1200))
        self.weights /= self.weights.sum()
        self.frames = {}

    def get(self, i):
        entry = self.entries[i]
        return np.asarray(self.samples[entry["start"]:entry["start"] + entry["length"]], np.float32)

    def group(self, random):
        return self.names[random.choice(len(self.names), p=self.weights)]

    def member(self, random, group):
        members = self.groups[group]
        return members[random.integers(len(members))]

    def labelled(self, i):
        """Samples and (speech, utterance) of a recording; the labels are kept."""
        samples = self.get(i)
        if i not in self.frames:
            self.frames[i] = speech_frames(samples)
        return samples, *self.frames[i]
