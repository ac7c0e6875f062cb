"""Mix clips for training: mix.py POOLS EAR OUT COUNT SEED PART [tuning|plain]

Writes COUNT clips of 12 s as OUT.features.npy (what the library's analysis makes of them: int16, clips x steps x
inputs) and OUT.labels.npy (uint8, clips x frames x 3: speech, utterance, music; NO, YES or UNSURE). PART picks the
seed's part, so that parts can be mixed side by side. With `tuning`, of the groups that are kept out of training; with
`plain`, of those among them that spoke through their own
microphones, one voice and one recorded background in each clip and nothing else done.
"""
import os
import subprocess
import sys

import numpy as np

import noises
import rooms
from voices import FRAME, NO, RATE, UNSURE, YES, Pool

SECONDS = 12
LENGTH = SECONDS * RATE
FRAMES = LENGTH // FRAME


def is_kept_out(group):
    """A tenth of the speakers, always the same ones."""
    return sum(ord(c) * (i % 7 + 1) for i, c in enumerate(group)) % 10 == 8


class Material:
    def __init__(self, folder, seed, tuning):
        random = np.random.default_rng([seed, 1, tuning])
        self.voices = Pool(folder, "voice", lambda g: is_kept_out(g) == tuning)
        self.music = Pool(folder, "music", lambda g: True)
        self.noise = Pool(folder, "noise", lambda g: True)
        # Recordings of music and noise are split within their groups: every tenth file is kept out.
        for pool in (self.music, self.noise):
            for name in pool.names:
                members = [i for i in pool.groups[name] if (i % 10 == 3) == tuning]
                pool.groups[name] = members or pool.groups[name]
        count = 3 if tuning else 7
        self.computed = [kind(random) for kind in noises.KINDS for _ in range(count)]
        self.songs = [noises.sung(random, self.voices) for _ in range(8 * count)]
        self.babbles = [noises.babble(random, self.voices) for _ in range(4 * count)]


def rms(x):
    return float(np.sqrt(np.mean(np.square(x)) + 1e-12))


def faster(x, ratio):
    """As if played `ratio` times as fast."""
    n = int(len(x) / ratio)
    return np.interp(np.arange(n) * ratio, np.arange(len(x)), x).astype(np.float32)


def piece_of(material, group, random):
    """A recording of a speaker, or part of a long one, with its labels; about 0.1 rms where it is speech."""
    for _ in range(10):
        samples, speech, utterance = material.voices.labelled(material.voices.member(random, group))
        if len(speech) > 900:
            first = random.integers(0, len(speech) - 400)
            quiet = np.flatnonzero(speech[first:first + 300] == NO)
            first += int(quiet[0]) if len(quiet) else 0
            last = first + random.integers(150, 800)
            quiet = np.flatnonzero(speech[last:last + 300] == NO)
            last = min(last + int(quiet[0]) + 5 if len(quiet) else last, len(speech))
            samples, speech, utterance = samples[first * FRAME:last * FRAME], speech[first:last], utterance[first:last]
        loud = speech == YES
        if loud.sum() >= 8:
            break
    frames = len(speech)
    samples = samples[:frames * FRAME]
    level = rms(samples.reshape(frames, FRAME)[loud]) if loud.any() else rms(samples)
    samples = samples * (0.1 / (level + 1e-6))
    if random.random() < 0.6:
        ratio = random.uniform(0.84, 1.22)
        samples = faster(samples, ratio)
        frames = len(samples) // FRAME
        at = np.minimum((np.arange(frames) * ratio + 0.5 * ratio).astype(int), len(speech) - 1)
        samples, speech, utterance = samples[:frames * FRAME], speech[at], utterance[at]
    return samples, speech, utterance


def merge(labels, at, new):
    """Lay new labels over old ones: speech wins, then doubt."""
    old = labels[at:at + len(new)]
    new = new[:len(old)]
    labels[at:at + len(new)] = np.where((old == YES) | (new == YES), YES, np.where((old == UNSURE) | (new == UNSURE), UNSURE, NO))


def speech_track(material, random):
    """Somebody speaks, or several: samples and labels."""
    x = np.zeros(LENGTH, np.float32)
    speech, utterance = np.zeros(FRAMES, np.uint8), np.zeros(FRAMES, np.uint8)
    talk = random.choice(["one", "one", "one", "several", "meeting"])
    group = material.voices.group(random)
    people = {}
    at = int(random.uniform(0, 3) * 100) if talk != "meeting" else 0
    spread = {"one": 3, "several": 6, "meeting": 10}[talk]
    while at < FRAMES - 30:
        if talk != "one" and random.random() < 0.6:
            group = material.voices.group(random)
        if group not in people:
            taps = rooms.coloration(random) if random.random() < 0.5 else None
            people[group] = (taps, random.uniform(-spread, spread))
        taps, gain_db = people[group]
        samples, piece_speech, piece_utterance = piece_of(material, group, random)
        if taps is not None:
            samples = rooms.colour(samples, taps)
        samples = samples * 10 ** ((gain_db + random.uniform(-3, 3)) / 20)
        end = min(len(samples), LENGTH - at * FRAME)
        fade = min(80, end // 2)
        samples[:fade] *= np.linspace(0, 1, fade)
        samples[end - fade:end] *= np.linspace(1, 0, fade)
        x[at * FRAME:at * FRAME + end] += samples[:end]
        merge(speech, at, piece_speech)
        merge(utterance, at, piece_utterance)
        at += len(piece_speech)
        if talk == "meeting":
            at += int(random.uniform(-0.4, 1.0) * 100)
        else:
            at += int(100 * (random.uniform(0.4, 3.5) if random.random() < 0.75 else random.uniform(0.05, 0.4)))
        at = max(at, 0)
    # Pauses between recordings are judged as those within them.
    heard = np.flatnonzero(speech == YES)
    for first, last in zip(heard[:-1], heard[1:]):
        if 1 < last - first - 1 <= 20:
            speech[first + 1:last] = YES
        elif 20 < last - first - 1 <= 35:
            speech[first + 1:last] = UNSURE
        if 1 < last - first - 1 <= 35:
            utterance[first + 1:last] = YES
        elif 35 < last - first - 1 <= 50:
            utterance[first + 1:last] = UNSURE
    return x, speech, utterance


def tail_is_unsure(speech, utterance, rt60):
    """What rings on after speech in a room is neither speech nor not."""
    frames = int(min(rt60 * 60, 40))
    for labels in (speech, utterance):
        ends = np.flatnonzero((labels[:-1] == YES) & (labels[1:] != YES))
        for end in ends:
            after = labels[end + 1:end + 1 + frames]
            after[after == NO] = UNSURE


def stretch_of(x, random, length=LENGTH):
    """`length` samples of a longer piece, or a shorter one again and again."""
    if len(x) >= length:
        at = random.integers(0, len(x) - length + 1)
        return x[at:at + length]
    return np.roll(np.tile(x, length // len(x) + 1)[:length], random.integers(0, length))


def recorded_noise(material, random, length=LENGTH):
    """Recorded sounds: one that goes on, or several now and then."""
    pool = material.noise
    x = np.zeros(length, np.float32)
    if random.random() < 0.5:
        sound = pool.get(pool.member(random, pool.group(random)))
        if len(sound) > RATE:
            return stretch_of(sound / (rms(sound) * 10 + 1e-9), random, length).copy()
    at = int(random.uniform(0, 2) * RATE)
    while at < length:
        sound = pool.get(pool.member(random, pool.group(random)))[:6 * RATE]
        sound = faster(sound, random.uniform(0.7, 1.4))[:length - at]
        x[at:at + len(sound)] += sound * (10 ** random.uniform(-1.5, -0.7) / (rms(sound) + 1e-9))
        at += int(len(sound) * random.uniform(0.3, 1)) + int(random.exponential(0.7) * RATE)
    return x / (rms(x) * 10 + 1e-9)


KINDS = ["computed", "recorded", "babble", "music", "song"]
SHARES = [0.33, 0.25, 0.10, 0.24, 0.08]


def background(material, random, length=LENGTH):
    """A background of about 0.1 rms, and whether it is music: (samples, is_music)."""
    kind = random.choice(KINDS, p=SHARES)
    if kind in ("music", "song"):
        pool = material.music
        sound = pool.get(pool.member(random, pool.group(random)))
        x = stretch_of(faster(sound, random.uniform(0.85, 1.15)), random, length)
        if kind == "song":
            voice = stretch_of(material.songs[random.integers(len(material.songs))], random, length)
            x = x / (rms(x) * 10 + 1e-9) + voice * 10 ** (random.uniform(-8, 6) / 20)
        return x / (rms(x) * 10 + 1e-9), True
    if kind == "recorded":
        return recorded_noise(material, random, length), False
    bank = material.babbles if kind == "babble" else material.computed
    return stretch_of(bank[random.integers(len(bank))], random, length).copy(), False


def curve(random, most_db):
    """A gain that steps or ramps during the clip."""
    points = np.sort(random.uniform(0, LENGTH, random.integers(1, 4)))
    levels = random.uniform(-most_db, 0, len(points) + 1)
    if random.random() < 0.5:
        return 10 ** (np.interp(np.arange(LENGTH), np.concatenate(([0], points)), levels) / 20)
    return 10 ** (levels[np.searchsorted(points, np.arange(LENGTH))] / 20)


def frame_power(x):
    return (x.reshape(FRAMES, FRAME) ** 2).mean(axis=1)


def channel(x, random):
    """x through a microphone and what follows it, within -1 .. 1 of its own peak."""
    if random.random() < 0.5:
        x = rooms.colour(x, rooms.coloration(random))
    kind = random.random()
    if kind < 0.12:
        x = rooms.band(x, random.uniform(150, 350), random.uniform(3000, 3700))
    elif kind < 0.30:
        x = rooms.band(x, 0, random.uniform(3500, 7500))
    if random.random() < 0.2:
        x = rooms.band(x, random.uniform(60, 300), 0)
    if random.random() < 0.1:
        x = rooms.ride(x, random)
    peak = np.abs(x).max() + 1e-9
    x = x / peak
    kind = random.random()
    if kind < 0.08:
        drive = 10 ** random.uniform(0, 1.2)
        x = np.tanh(x * drive) / np.tanh(drive)
    elif kind < 0.12:
        x = np.clip(x * 10 ** random.uniform(0, 0.8), -1, 1)
    elif kind < 0.16:
        x = rooms.mu_law(x)
    return x.astype(np.float32)


def clip(material, random):
    """One clip: int16 samples and its labels."""
    has_speech = random.random() < 0.74
    x = np.zeros(LENGTH, np.float32)
    speech, utterance, music = (np.zeros(FRAMES, np.uint8) for _ in range(3))
    if has_speech:
        x, speech, utterance = speech_track(material, random)
        if random.random() < 0.45:
            response, rt60 = rooms.room(random)
            x = rooms.reverberate(x, response)
            tail_is_unsure(speech, utterance, rt60)
    loud = speech == YES
    level = np.sqrt(frame_power(x)[loud].mean()) if loud.any() else 0.1
    noise = np.zeros(LENGTH, np.float32)
    music_power = np.zeros(FRAMES, np.float32)
    if not has_speech or random.random() < 0.88:
        for number in range(random.choice([1, 1, 1, 2, 2, 3])):
            snr = random.triangular(-4, 6, 40) if number == 0 else random.triangular(5, 15, 40)
            if not has_speech:
                snr = random.uniform(0, 12) if number == 0 else random.uniform(0, 30)
            added, is_music = background(material, random)
            if random.random() < 0.3:
                added = added * curve(random, random.uniform(6, 30))
            if random.random() < 0.2:
                added = rooms.reverberate(added, rooms.room(random)[0])
                added = added / (rms(added) * 10 + 1e-9)
            added = (added * (level / 0.1 * 10 ** (-snr / 20))).astype(np.float32)
            noise += added
            if is_music:
                music_power += frame_power(added)
    x = x + noise
    if random.random() < 0.6:
        x = x + random.standard_normal(LENGTH).astype(np.float32) * (level * 10 ** (-random.uniform(25, 60) / 20))
    share = np.convolve(music_power, np.ones(30) / 30, "same") / (np.convolve(frame_power(x), np.ones(30) / 30, "same") + 1e-12)
    music[:] = np.where(share > 0.05, YES, np.where(share < 0.004, NO, UNSURE))

    x = channel(x, random)
    if random.random() < 0.08:
        # Some devices send zeros until they hear something.
        for _ in range(random.integers(1, 4)):
            first = random.integers(0, FRAMES)
            last = min(first + random.integers(20, 300), FRAMES)
            x[first * FRAME:last * FRAME] = 0
            for labels in (speech, utterance, music):
                labels[first:last] = np.where(labels[first:last] == YES, UNSURE, labels[first:last])
            music[first:last] = NO
    peak_db = -random.uniform(0.3, 20) if random.random() < 0.6 else -random.uniform(15, 50)
    x = x * (32767 * 10 ** (peak_db / 20))
    if random.random() < 0.7:
        x = x + random.uniform(-0.5, 0.5, LENGTH).astype(np.float32)
    return np.clip(np.round(x), -32768, 32767).astype(np.int16), np.stack([speech, utterance, music], axis=1)


def plain_clip(material, random):
    """A voice as it was recorded, before a recorded background at 0 to 20 dB."""
    x = np.zeros(LENGTH, np.float32)
    speech, utterance = np.zeros(FRAMES, np.uint8), np.zeros(FRAMES, np.uint8)
    group = material.voices.group(random)
    at = int(random.uniform(0, 1) * 100)
    while at < FRAMES - 30:
        samples, piece_speech, piece_utterance = material.voices.labelled(material.voices.member(random, group))
        end = min(len(piece_speech), FRAMES - at)
        x[at * FRAME:(at + end) * FRAME] += samples[:end * FRAME]
        speech[at:at + end], utterance[at:at + end] = piece_speech[:end], piece_utterance[:end]
        at += end + int(random.uniform(0.3, 2) * 100)
    loud = speech == YES
    level = np.sqrt(frame_power(x)[loud].mean()) if loud.any() else 1000
    x += recorded_noise(material, random) * (10 * level * 10 ** (-random.uniform(0, 20) / 20))
    x *= 10 ** random.uniform(-1.2, 0)
    labels = np.stack([speech, utterance, np.full(FRAMES, UNSURE, np.uint8)], axis=1)
    return np.clip(np.round(x), -32768, 32767).astype(np.int16), labels


def code_some(clips, random):
    """Send an eighth of the clips through codecs, one behind the other."""
    order = random.permutation(len(clips))[:len(clips) // 8]
    for codec, chosen in zip(rooms.CODECS, np.array_split(order, len(rooms.CODECS))):
        if len(chosen) == 0:
            continue
        coded = rooms.through_codec(clips[chosen].reshape(-1), codec)
        if coded is not None:
            clips[chosen] = coded.reshape(len(chosen), LENGTH)


def features_of(clips, ear):
    raw = subprocess.run([ear, "features", str(LENGTH)], input=clips.tobytes(), stdout=subprocess.PIPE, check=True).stdout
    return np.frombuffer(raw, np.int16).reshape(len(clips), LENGTH // (2 * FRAME), -1)


def main(folder, ear, out, count, seed, part, kind=""):
    count, seed, part = int(count), int(seed), int(part)
    material = Material(folder, seed, kind != "")
    if kind == "plain":
        material.voices = Pool(folder, "voice", lambda g: is_kept_out(g) and g.startswith(("commands", "wakewords")))
    make = plain_clip if kind == "plain" else clip
    for shard in range((count + 499) // 500):
        random = np.random.default_rng([seed, 2, len(kind), part, shard])
        made = [make(material, random) for _ in range(min(500, count - shard * 500))]
        clips = np.stack([c for c, _ in made])
        if kind != "plain":
            code_some(clips, random)
        labels = np.stack([l for _, l in made])
        name = f"{out}-{part}-{shard:03}"
        np.save(name + ".labels.npy", labels)
        np.save(name + ".tmp.npy", features_of(clips, ear))
        os.rename(name + ".tmp.npy", name + ".features.npy")  # whoever waits for it finds it whole
        print(name, f"{(labels[..., 0] == YES).mean():.2f} speech", flush=True)


if __name__ == "__main__":
    if len(sys.argv) not in (7, 8):
        sys.exit(__doc__)
    main(*sys.argv[1:])
