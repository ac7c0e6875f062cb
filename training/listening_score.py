"""Scores of noise reduction for listeners. All take mono arrays at 16 kHz, aligned to the sample: whoever calls
has taken off the delay of the filter (`aligned` does that)."""
import numpy as np

RATE = 16000
FRAME = RATE // 50  # 20 ms
SPEECH_DB = 40  # a frame of speech is within this of the loudest frame of the clean recording
LEAST_DB, MOST_DB = -10, 35  # what the SNR of a frame is held to
SETTLED = RATE  # the background counts from here on: 1 s


def aligned(processed, delay, length):
    """`length` samples without the delay, filled up with silence."""
    out = np.zeros(length)
    part = np.asarray(processed, float)[delay:delay + length]
    out[:len(part)] = part
    return out


def powers(samples):
    """Mean square of each whole frame."""
    whole = len(samples) // FRAME * FRAME
    return (np.asarray(samples[:whole], float).reshape(-1, FRAME) ** 2).mean(1)


def is_speech(clean):
    power = powers(clean)
    return power > power.max() * 10 ** (-SPEECH_DB / 10)


def segmental_snr(clean, other):
    """Mean over the frames of speech of the SNR of `other` against the clean recording, in dB."""
    speech = is_speech(clean)
    error = powers(np.asarray(other, float) - np.asarray(clean, float))[speech]
    snr = 10 * np.log10(powers(clean)[speech] / np.maximum(error, 1e-9))
    return float(np.clip(snr, LEAST_DB, MOST_DB).mean())


def segmental_snr_gain(clean, noisy, processed):
    """How many dB the segmental SNR rose."""
    return segmental_snr(clean, processed) - segmental_snr(clean, noisy)


def background_cut(clean, noisy, processed):
    """Level before over level after outside speech, in dB; nan where nothing is to be heard there."""
    outside = ~is_speech(clean)
    outside[:SETTLED // FRAME] = False
    before, after = powers(noisy)[outside], powers(processed)[outside]
    if before.sum() == 0:
        return float('nan')
    return float(10 * np.log10(before.sum() / max(after.sum(), 1e-9)))


def clean_kept(clean, processed):
    """Segmental SNR of a clean recording that was filtered: 35 is all of it."""
    return segmental_snr(clean, processed)
