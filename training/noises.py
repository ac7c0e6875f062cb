"""Backgrounds that are computed: pieces of 30 s, float32, about 0.1 rms. `random` is numpy's generator."""
import numpy as np
from scipy.signal import lfilter

RATE = 16000
LENGTH = 30 * RATE


def normalized(x):
    return (x * (0.1 / (np.sqrt(np.mean(x ** 2)) + 1e-9))).astype(np.float32)


def slow(random, rate, low, high):
    """A curve that wanders between two values, `rate` points a second."""
    points = max(int(LENGTH / RATE * rate), 2)
    return np.interp(np.arange(LENGTH), np.linspace(0, LENGTH, points), random.uniform(low, high, points)).astype(np.float32)


def coloured(random):
    """Noise with a random slope of 3 to -12 dB an octave, bumps and notches."""
    spectrum = np.fft.rfft(random.standard_normal(LENGTH).astype(np.float32))
    octave = np.log2(np.maximum(np.arange(len(spectrum)) * (RATE / LENGTH), 40) / 1000)
    gain = octave * random.uniform(-12, 3)
    for _ in range(random.integers(0, 6)):
        gain += random.uniform(-12, 15) * np.exp(-((octave - random.uniform(-4, 3)) / random.uniform(0.05, 1)) ** 2)
    x = np.fft.irfft(spectrum * 10 ** (gain / 20), LENGTH)
    if random.random() < 0.5:
        x *= 10 ** (slow(random, random.uniform(0.3, 4), -random.uniform(1, 9), 0) / 20)
    return normalized(x)


def harmonics(random, fundamental, count, slope):
    phase = 2 * np.pi * np.cumsum(fundamental) / RATE
    return sum(np.sin(k * phase + random.uniform(0, 6)) * k ** slope * random.uniform(0.2, 1) for k in range(1, count + 1))


def vehicle(random):
    engine = harmonics(random, slow(random, 0.5, 20, 20 + random.uniform(5, 160)), 20, -random.uniform(0.3, 1.5))
    road = lfilter([1], [1, -random.uniform(0.8, 0.98)], random.standard_normal(LENGTH))
    return normalized(normalized(engine) * random.uniform(0, 1) + normalized(road))


def hum(random):
    base = random.choice([50, 60, 100, 120, random.uniform(30, 400)])
    return normalized(harmonics(random, np.full(LENGTH, base), random.integers(1, 30), -random.uniform(0, 1.5)))


def events(random, sound, mean_gap):
    x = np.zeros(LENGTH, np.float32)
    at = 0
    while True:
        at += int(RATE * (random.exponential(mean_gap) + 0.02))
        piece = sound()
        if at + len(piece) >= LENGTH:
            return normalized(x)
        x[at:at + len(piece)] += piece * 10 ** random.uniform(-0.8, 0)


def decay(random, low, high):
    seconds = random.uniform(low, high)
    return np.exp(-np.arange(int(seconds * 5 * RATE)) / (seconds * RATE)).astype(np.float32)


def clicks(random):
    def one():
        envelope = decay(random, 0.001, 0.02)
        return lfilter([1], [1, random.uniform(-0.95, 0.5)], random.standard_normal(len(envelope))) * envelope
    return events(random, one, random.uniform(0.05, 1))


def bangs(random):
    def one():
        envelope = decay(random, 0.02, 0.25)
        return lfilter([1], [1, random.uniform(-0.98, 0)], random.standard_normal(len(envelope))) * envelope
    return events(random, one, random.uniform(0.3, 3))


def tone(random, low=200, high=4000):
    length = int(random.uniform(0.03, 1.5) * RATE)
    t = np.arange(length) / RATE
    bend = random.choice([0, 0, 0, random.uniform(-2000, 2000)])
    x = np.zeros(length)
    for _ in range(random.integers(1, 4)):
        f = random.uniform(low, high)
        x += np.sin(2 * np.pi * (f * t + bend * t * t / 2) + random.uniform(0, 6)) * random.uniform(0.2, 1)
    fade = np.minimum(1, np.minimum(np.arange(length), np.arange(length)[::-1]) / (0.005 * RATE))
    if random.random() < 0.3:
        x *= 1 + np.sin(2 * np.pi * random.uniform(4, 30) * t)
    return (x * fade).astype(np.float32)


def beeps(random):
    return events(random, lambda: tone(random), random.uniform(0.1, 2))


def rings(random):
    """One sound again and again, as telephones and alarms have it."""
    piece = tone(random, 300, 3000)
    period = len(piece) + int(random.uniform(0.05, 3) * RATE)
    return normalized(np.tile(np.pad(piece, (0, period - len(piece))), LENGTH // period + 1)[:LENGTH])


def gusts(random):
    x = lfilter([1], [1, -random.uniform(0.9, 0.995)], random.standard_normal(LENGTH))
    return normalized(x * slow(random, random.uniform(0.5, 3), 0, 1) ** 2)


def warbles(random):
    """Harmonic sounds with moving pitch that nobody speaks: birds, toys, sirens."""
    low = random.uniform(100, 2000)
    pitch = slow(random, random.uniform(1, 20), low, low * random.uniform(1.1, 3))
    x = harmonics(random, pitch, random.integers(1, 8), -random.uniform(0.5, 2))
    gate = slow(random, random.uniform(1, 8), -1, 1) > random.uniform(-0.8, 0.5)
    return normalized(x * lfilter([0.01], [1, -0.99], gate.astype(np.float32)))


KINDS = (coloured, coloured, coloured, coloured, vehicle, vehicle, hum, clicks, bangs, beeps, rings, gusts, warbles)


def babble(random, voices):
    """Several people at once, nobody to be understood."""
    x = np.zeros(LENGTH, np.float32)
    for _ in range(random.integers(5, 26)):
        gain = 10 ** random.uniform(-0.5, 0.1)
        group = voices.group(random)
        at = 0
        while at < LENGTH:
            piece = voices.get(voices.member(random, group))[:LENGTH - at]
            x[at:at + len(piece)] += piece * (gain / (np.sqrt(np.mean(piece ** 2)) + 1e-9))
            at += len(piece) + int(random.uniform(0, 0.4) * RATE)
    return normalized(x)


NOTES = 55 * 2 ** (np.arange(0, 40) / 12)  # Hz: A1 upwards in semitones
SCALE = np.array([0, 2, 4, 5, 7, 9, 11, 12])


def sung(random, voices):
    """What somebody said, on notes: short pieces of it are repeated at the pitch of a tune, which leaves the vowels."""
    group = voices.group(random)
    key = random.integers(8, 24)
    x = np.zeros(LENGTH, np.float32)
    at = 0
    while at < LENGTH - RATE:
        said = voices.get(voices.member(random, group))[:8 * RATE]
        stretch = random.uniform(1, 2.5)  # singing is slower than speech
        source, end = 0.0, min(LENGTH - RATE, at + int(len(said) * stretch))
        while at < end and source < len(said) - 1024:
            note = NOTES[min(key + random.choice(SCALE), len(NOTES) - 1)] * random.choice([1, 1, 2])
            until = min(end, at + int(RATE * random.uniform(0.2, 0.9)))
            depth, speed = random.uniform(0, 0.02), random.uniform(4, 7)
            while at < until and source < len(said) - 1024:
                period = RATE / (note * (1 + depth * np.sin(2 * np.pi * speed * at / RATE)))
                width = int(min(2 * period, 640))
                grain = said[int(source):int(source) + width]
                spectrum = np.abs(np.fft.rfft(grain * np.hanning(len(grain))))
                pulse = np.roll(np.fft.irfft(spectrum, len(grain)), len(grain) // 2)  # all phases alike
                x[at:at + len(pulse)] += pulse[:max(0, LENGTH - at)]
                at += max(int(period), 1)
                source += period / stretch
        at += int(random.uniform(0, 1.5) * RATE)
    return normalized(x)
