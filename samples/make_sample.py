#!/usr/bin/env python3
"""Makes room.wav and room.json: recorded sentences in a noisy, slightly reverberant room.

    apt-get download asterisk-core-sounds-en-g722 && dpkg -x asterisk-core-sounds-en-g722_*.deb voices
    python3 make_sample.py voices/usr/share/asterisk/sounds/en_US_f_Allison

Needs Python 3.8 or later and ffmpeg (it decodes the G.722 recordings, integers only). The mixing uses nothing
but +, -, *, / and square roots of doubles in a fixed order, so that every machine gives the same bytes.
"""

import array
import hashlib
import json
import math
import pathlib
import random
import subprocess
import sys
import wave

RATE = 16000  # Hz
FRAME = 160  # samples, 10 ms
SEED = 20160
LEAD = 1.0  # s of room noise before the first sentence
PAUSES = [1.7, 1.9, 1.8, 2.0]  # s between the sentences
TAIL = 1.5  # s after the last one
SPEECH_RMS = 2200.0  # of the frames in which somebody speaks, full scale 32768
SNR = 31.6227766  # 15 dB: the power of the speech above to that of the noise
SPEECH_FLOOR = 1e-4  # a frame 40 dB below the loudest of its sentence is no longer speech

# Recording, SHA-256 of its file, what is said.
SENTENCES = [
    ("tt-weasels",
     "5649c76eff816eba52859dc0de27d0aa478300f67df128e3820a97ebb4b2147a",
     "Weasels have eaten our phone system."),
    ("all-circuits-busy-now",
     "6b2a04cc92a8a8ff8b0437ba6c6ab1a7d06cd09a3995253de28fbdce783b23d2",
     "All circuits are busy now."),
    ("check-number-dial-again",
     "86181b3aa8e5e505a5976b40a74631e5142b2d7dcede8096a53d901bfdd5ca68",
     "Please check the number and dial again."),
    ("hello-world",
     "940b3bc4ce7ada71378cb0eb2091a94b16200373a27f3a9a7647d5d069be270c",
     "Hello world."),
    ("demo-echodone",
     "c7ad42415c7c9968a0dd965ebdb0e3e31328ad5d5b8d37bd989c0026b1719d4f",
     "The echo test has been completed."),
]


def decode(path, digest):
    """16-bit samples of a G.722 file; the digest makes sure that it is the same recording."""
    found = hashlib.sha256(path.read_bytes()).hexdigest()
    if found != digest:
        sys.exit(f"{path}: not the recording that the sample is made of (SHA-256 {found})")
    command = ["ffmpeg", "-v", "error", "-f", "g722", "-i", str(path), "-f", "s16le", "-ac", "1", "-"]
    samples = array.array("h", subprocess.run(command, check=True, capture_output=True).stdout)
    if sys.byteorder == "big":
        samples.byteswap()
    return samples


def frame_powers(samples):
    """Mean square of each whole frame, from integer sums."""
    frames = range(0, len(samples) - FRAME + 1, FRAME)
    return [sum(x * x for x in samples[i:i + FRAME]) / FRAME for i in frames]


def trim(samples):
    """The sentence, cut to its speech and with its level set, and its frames that are above the noise."""
    powers = frame_powers(samples)
    floor = max(powers) * SPEECH_FLOOR
    speech = [t for t, power in enumerate(powers) if power > floor]
    mean = math.fsum(powers[t] for t in speech) / len(speech)
    gain = SPEECH_RMS / math.sqrt(mean)
    first, last = speech[0], speech[-1]
    heard = [t - first for t in speech if powers[t] > mean / SNR]
    return [gain * x for x in samples[first * FRAME:(last + 1) * FRAME]], heard


def comb(x, delay, keep):
    """Echo after `delay` samples that repeats with the factor `keep`."""
    y = x[:]
    for i in range(delay, len(y)):
        y[i] += keep * y[i - delay]
    return y


def all_pass(x, delay, keep):
    """Spreads the echoes in time without colouring them."""
    y = [0.0] * len(x)
    for i, value in enumerate(x):
        y[i] = -keep * value + (x[i - delay] + keep * y[i - delay] if i >= delay else 0.0)
    return y


def reverberate(dry):
    """A small furnished room: four combs and two all-passes; the echoes die away by 60 dB in about 0.25 s."""
    wet = [0.0] * len(dry)
    for delay, keep in ((475, 0.44), (593, 0.36), (659, 0.32), (701, 0.30)):
        for i, value in enumerate(comb(dry, delay, keep)):
            wet[i] += 0.25 * (value - dry[i])
    for delay, keep in ((80, 0.6), (27, 0.6)):
        wet = all_pass(wet, delay, keep)
    return [d + 0.5 * w for d, w in zip(dry, wet)]


def room_noise(n):
    """Pink noise (three low-passes of white noise) and the hum of 50 Hz mains with one overtone."""
    draw = random.Random(SEED).random
    low = [0.0, 0.0, 0.0]
    hum = [(1.0, 0.0), (0.4, 0.0)]
    # cos and sin of 2 pi f / 16000 for 50 and 100 Hz
    turn = [(0.9998072404, 0.0196336942), (0.9992290362, 0.0392598158)]
    noise = []
    for _ in range(n):
        white = draw() + draw() + draw() + draw() - 2.0  # close to normal, deviation 0.58
        low[0] = 0.99765 * low[0] + 0.0990460 * white
        low[1] = 0.96300 * low[1] + 0.2965164 * white
        low[2] = 0.57000 * low[2] + 1.0526913 * white
        hum = [(c * a - s * b, s * a + c * b) for (a, b), (c, s) in zip(hum, turn)]
        noise.append(low[0] + low[1] + low[2] + 0.1848 * white + 0.5 * (hum[0][1] + hum[1][1]))
    return noise


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    source = pathlib.Path(sys.argv[1])
    here = pathlib.Path(__file__).resolve().parent

    dry, truth = [0.0] * int(LEAD * RATE), []
    for (name, digest, text), pause in zip(SENTENCES, PAUSES + [TAIL]):
        samples, heard = trim(decode(source / (name + ".g722"), digest))
        start = len(dry) // FRAME
        dry += samples
        truth.append({"start": (start + heard[0]) / 100, "end": (start + heard[-1] + 1) / 100, "text": text})
        dry += [0.0] * int(pause * RATE)

    noise = room_noise(len(dry))
    power = math.fsum(x * x for x in noise) / len(noise)
    gain = SPEECH_RMS / math.sqrt(SNR * power)
    mixed = [s + gain * x for s, x in zip(reverberate(dry), noise)]
    pcm = array.array("h", (max(-32768, min(32767, math.floor(x + 0.5))) for x in mixed))
    if sys.byteorder == "big":
        pcm.byteswap()
    with wave.open(str(here / "room.wav"), "wb") as out:
        out.setparams((1, 2, RATE, len(pcm), "NONE", "not compressed"))
        out.writeframes(pcm.tobytes())
    report = {"rate": RATE, "samples": len(pcm), "utterances": truth}
    (here / "room.json").write_text(json.dumps(report, indent=2) + "\n")


main()
