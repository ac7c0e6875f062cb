"""What happens to sound on its way into a recording: rooms, microphones, telephones, codecs."""
import subprocess

import numpy as np
from scipy.signal import butter, fftconvolve, lfilter, sosfilt

RATE = 16000


def room(random):
    """An impulse response: direct sound, early reflections, a diffuse tail that darkens; and its RT60 in s."""
    rt60 = random.uniform(0.1, 0.9)
    n = int(rt60 * RATE)
    t = np.arange(n) / RATE
    tail = random.standard_normal(n) * 10 ** (-3 * t / rt60)
    darkness = random.uniform(0, 0.9)
    dark = lfilter([1 - darkness], [1, -darkness], tail)
    mix = np.minimum(t / rt60 * 2, 1)
    tail = tail * (1 - mix) + dark * mix
    tail[:int(random.uniform(0.002, 0.02) * RATE)] = 0
    for _ in range(random.integers(3, 14)):
        at = int(random.uniform(0.001, 0.06) * RATE)
        if at < n:
            tail[at] += random.choice([-1, 1]) * random.uniform(1, 6) * 10 ** (-3 * at / RATE / rt60)
    direct_db = random.uniform(-8, 14)
    tail *= 10 ** (-direct_db / 20) / (np.sqrt(np.sum(tail ** 2)) + 1e-9)
    tail[0] = 1
    return tail.astype(np.float32), rt60


def reverberate(x, response):
    return fftconvolve(x, response)[:len(x)].astype(np.float32)


def coloration(random):
    """A microphone's colour: a few broad peaks and dips, as a filter of 65 taps."""
    f = np.linspace(0, 1, 129)
    gain = np.zeros(129)
    for _ in range(random.integers(1, 5)):
        gain += random.uniform(-10, 10) * np.exp(-((f - random.uniform(0, 1) ** 2) / random.uniform(0.02, 0.4)) ** 2)
    gain += random.uniform(-8, 8) * (f - 0.3)
    return (np.roll(np.fft.irfft(10 ** (gain / 20), 256), 32)[:65] * np.hanning(65)).astype(np.float32)


def colour(x, taps):
    return np.convolve(x, taps)[32:32 + len(x)].astype(np.float32)


def band(x, low, high):
    kinds = []
    if low:
        kinds.append(butter(2, low / (RATE / 2), "highpass", output="sos"))
    if high and high < RATE / 2:
        kinds.append(butter(4, high / (RATE / 2), "lowpass", output="sos"))
    for sos in kinds:
        x = sosfilt(sos, x)
    return x.astype(np.float32)


def mu_law(x):
    """x within -1 .. 1."""
    y = np.sign(x) * np.log1p(255 * np.abs(x)) / np.log(256)
    y = np.round(y * 127) / 127
    return (np.sign(y) * np.expm1(np.abs(y) * np.log(256)) / 255).astype(np.float32)


def ride(x, random):
    """A slow automatic gain: up in pauses, down when it is loud."""
    frame = 1600
    power = np.sqrt(np.convolve(x ** 2, np.ones(frame) / frame, "same")[::frame] + 1e-9)
    wanted = np.clip(np.log10(power.max() / power), 0, random.uniform(0.3, 1.2)) * random.uniform(0.3, 0.9)
    gain = lfilter([0.1], [1, -0.9], wanted, zi=[0.9 * wanted[0]])[0]
    return (x * 10 ** np.interp(np.arange(len(x)), np.arange(len(gain)) * frame, gain)).astype(np.float32)


CODECS = (  # of ffmpeg: rate, encoder and its options, container
    (16000, ["libopus", "-b:a", "9k", "-application", "voip"], "ogg"),
    (16000, ["libopus", "-b:a", "16k", "-application", "voip"], "ogg"),
    (16000, ["libopus", "-b:a", "24k"], "ogg"),
    (16000, ["libmp3lame", "-b:a", "24k"], "mp3"),
    (16000, ["libmp3lame", "-b:a", "40k"], "mp3"),
    (8000, ["libgsm"], "gsm"),
    (8000, ["libspeex"], "ogg"),
    (8000, ["pcm_alaw"], "wav"),
    (16000, ["g722"], "wav"),
    (16000, ["adpcm_ima_wav"], "wav"),
    (16000, ["aac", "-b:a", "24k"], "adts"),
)


def through_codec(samples, codec):
    """int16 samples through an encoder and back, without its delay; None if this ffmpeg does not have it."""
    rate, encoder, container = codec
    raw = ["-f", "s16le", "-ar", str(RATE), "-ac", "1"]
    quiet = ["ffmpeg", "-v", "quiet", "-nostdin"]
    coded = subprocess.run([*quiet, *raw, "-i", "pipe:0", "-ar", str(rate), "-c:a", *encoder, "-f", container, "pipe:1"],
                           input=samples.tobytes(), stdout=subprocess.PIPE).stdout
    pcm = subprocess.run([*quiet, "-f", {"adts": "aac"}.get(container, container), "-i", "pipe:0", *raw, "pipe:1"],
                         input=coded, stdout=subprocess.PIPE).stdout
    out = np.frombuffer(pcm[:len(pcm) // 2 * 2], np.int16)
    if len(out) < len(samples) // 2:
        return None
    n = min(len(samples), len(out), 1 << 19)
    spectrum = np.fft.rfft(out[:n].astype(np.float32), 2 * n) * np.conj(np.fft.rfft(samples[:n].astype(np.float32), 2 * n))
    lag = int(np.argmax(np.abs(np.fft.irfft(spectrum)[:4000])))
    return np.pad(out[lag:], (0, max(0, len(samples) - len(out) + lag)))[:len(samples)].astype(np.int16)
