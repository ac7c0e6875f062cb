"""Compare `vask mfcc` with cepstra in double precision, straight from the formulas.

    reference.py VASK WAV     exit status 1 if a bound is missed

Bounds, and where they come from: docs/environment-and-mfcc.md.
"""
import os
import subprocess
import sys
import tempfile
import wave

import numpy as np

ENERGY_BOUND, CEPSTRUM_BOUND = 1e-4, 2e-4


def run(vask, wav, *options):
    with tempfile.TemporaryDirectory() as folder:
        out = os.path.join(folder, "out.npy")
        subprocess.run([vask, "mfcc", wav, "-o", out, *options], check=True)
        return np.load(out).astype(float)


def log_energies(samples):
    n = -(-len(samples) // 160)
    padded = np.concatenate([np.zeros(160), samples, np.zeros(n * 160 - len(samples))])
    frames = np.stack([padded[160 * t:160 * t + 320] for t in range(n)])
    window = 0.54 - 0.46 * np.cos(2 * np.pi * np.arange(320) / 319)
    magnitude = np.abs(np.fft.rfft(frames * window, 512))
    # The bank counts bins from 1: its bin k is at (k - 1) * 31.25 Hz.
    mel = lambda bins: 1127 * np.log(1 + (bins - 1) * 31.25 / 700)
    bins, centres = np.arange(2, 257), mel(257) * np.arange(25) / 24
    place = mel(bins)
    weights = np.stack([np.interp(place, centres, np.arange(25) == c) for c in range(1, 24)])
    return np.log(np.maximum(magnitude[:, 2:257] @ weights.T, 1 / 256))


def slope(rows):
    return sum(j * rows[2 + j:len(rows) - 2 + j] for j in range(-2, 3)) / np.sqrt(10)


def derivatives(rows):
    """The first row and the first slope are repeated before the start, the last row after the end."""
    first = slope(np.pad(rows, ((2, 4), (0, 0)), mode="edge"))
    return first[:-2], slope(np.pad(first, ((2, 0), (0, 0)), mode="edge"))


vask, wav = sys.argv[1:]
with wave.open(wav) as file:
    samples = np.frombuffer(file.readframes(file.getnframes()), "<i2").astype(float)

energies = log_energies(samples)
basis = np.cos(np.pi * np.outer(np.arange(13), np.arange(23) + 0.5) / 23) * np.sqrt(2 / 23)
cepstra = energies @ basis.T

status = 0
for name, options, expected, bound in [
        ("log energies", ["--log-energies"], energies, ENERGY_BOUND),
        ("cepstra", [], cepstra, CEPSTRUM_BOUND),
        ("cepstra and derivatives", ["--deltas"], np.hstack([cepstra, *derivatives(cepstra)]), CEPSTRUM_BOUND)]:
    got = run(vask, wav, *options)
    assert got.shape == expected.shape, (name, got.shape, expected.shape)
    difference = np.abs(got - expected)
    frame, column = np.unravel_index(difference.argmax(), difference.shape)
    print(f"{name}: the largest difference is {difference.max():.1e}, in frame {frame}, column {column}; "
          f"the mean is {difference.mean():.1e}; the bound is {bound}")
    status |= difference.max() > bound
sys.exit(int(status))
