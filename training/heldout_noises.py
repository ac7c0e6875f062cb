"""Backgrounds and rooms of the held-out mixes. Float, 16 kHz; a background has a mean square of 1."""
import numpy as np

from heldout_sources import RATE

FADE = RATE // 20  # where a short recording is repeated


def normal(samples):
    power = np.mean(samples ** 2)
    return samples / np.sqrt(power) if power > 0 else samples


def coloured(random, size, slope_db):
    """Noise whose power falls by so many dB an octave, from 30 Hz."""
    spectrum = np.fft.rfft(random.standard_normal(size))
    hertz = np.maximum(np.fft.rfftfreq(size, 1 / RATE), 30)
    return normal(np.fft.irfft(spectrum * (hertz / 30) ** (-slope_db / 6.0206), size))


def slow(random, size, seconds):
    """A curve between -1 and 1 that turns about every so many seconds."""
    points = random.uniform(-1, 1, int(size / RATE / seconds) + 3)
    return np.interp(np.arange(size) / RATE / seconds, np.arange(len(points)), points)


def vehicle(random, size):
    """A car from inside: rumble, tyres, and an engine whose speed wanders."""
    turns = random.uniform(20, 45) * (1 + 0.15 * slow(random, size, 4))
    phase = 2 * np.pi * np.cumsum(turns) / RATE
    engine = sum(np.sin(k * phase + random.uniform(0, 6)) / k ** random.uniform(0.8, 1.5) for k in range(1, 12))
    rumble = coloured(random, size, 9) * (1 + 0.3 * slow(random, size, 1))
    tyres = np.fft.rfft(random.standard_normal(size))
    hertz = np.fft.rfftfreq(size, 1 / RATE)
    tyres = normal(np.fft.irfft(tyres / (1 + (hertz / 700) ** 2) * (hertz > 100), size))
    return normal(rumble + 0.4 * normal(engine) + 0.2 * tyres)


def hum(random, size):
    time = np.arange(size) / RATE
    tones = sum(random.uniform(0.1, 1) / k * np.sin(2 * np.pi * 50 * k * time + random.uniform(0, 6)) for k in range(1, 20))
    return normal(tones + 0.02 * random.standard_normal(size))


def dialled(random, size):
    """Keys of a telephone."""
    out = np.zeros(size)
    time = np.arange(int(0.15 * RATE)) / RATE
    for at in range(RATE // 2, size - len(time), int(random.uniform(0.25, 0.5) * RATE)):
        low, high = random.choice((697, 770, 852, 941)), random.choice((1209, 1336, 1477))
        out[at:at + len(time)] = np.sin(2 * np.pi * low * time) + np.sin(2 * np.pi * high * time)
    return normal(out)


def repeated(random, sound, size):
    """A recording from a random place on, again and again, faded over into itself."""
    if len(sound) >= size + FADE:
        at = random.integers(len(sound) - size)
        return normal(sound[at:at + size])
    fade = min(FADE, len(sound) // 4)
    ramp = np.sqrt((np.arange(fade) + 0.5) / fade)
    sound = sound.copy()
    sound[:fade] *= ramp
    sound[-fade:] *= ramp[::-1]
    step = len(sound) - fade
    out = np.zeros(size + 2 * len(sound))
    for at in range(0, size + step, step):
        out[at:at + len(sound)] += sound
    at = random.integers(step)
    return normal(out[at:at + size])


def scattered(random, sounds, size, shortest, longest):
    """Sounds after pauses of random lengths."""
    out = np.zeros(size)
    at = int(random.uniform(0, longest) * RATE)
    while at < size:
        sound = sounds[random.integers(len(sounds))]
        piece = sound[:size - at] * random.uniform(0.5, 1)
        out[at:at + len(piece)] += piece
        at += int(random.uniform(shortest, longest) * RATE)
    return normal(out)


def babble(random, material, size, without, talkers=24):
    """A crowd near and far: voices other than `without`, each talking with short pauses."""
    voices = [voice for voice in material.voices if voice != without]
    out = np.zeros(size)
    for talker in range(talkers):
        paths = material.voices[voices[talker % len(voices)]]
        loud = 10 ** (random.uniform(-8, 0) / 20)
        at = -int(random.uniform(0, 4) * RATE)
        while at < size:
            sound, _, _ = material.utterance(paths[random.integers(len(paths))])
            first, last = max(0, at), min(size, at + len(sound))
            if last > first:
                out[first:last] += loud * sound[first - at:last - at]
            at += len(sound) + int(random.uniform(0, 0.3) * RATE)
    return normal(out)


def background(kind, random, material, size, voice=None):
    if kind in ('white', 'pink', 'faint'):
        return coloured(random, size, 0 if kind == 'white' else 3)
    if kind in ('vehicle', 'hum', 'dialled'):
        return {'vehicle': vehicle, 'hum': hum, 'dialled': dialled}[kind](random, size)
    if kind == 'babble':
        return babble(random, material, size, voice)
    if kind == 'rock':
        folder = material.songs[random.integers(len(material.songs))]
        return repeated(random, material.song(folder, True), size)
    paths = material.recordings(kind)
    if kind == 'keyboard':
        return scattered(random, [material.recording(path) for path in paths], size, 0.05, 0.3)
    if kind in ('bangs', 'ringing', 'instruments'):
        return scattered(random, [normal(material.recording(path)) for path in paths], size, 0.8, 3)
    return repeated(random, material.recording(paths[random.integers(len(paths))]), size)


def room(random, reverberation):
    """Response of a room from a talker to a microphone, by its mirror images; its first sample is the direct sound.

    reverberation   seconds to -60 dB (Eyring)
    """
    sides = random.uniform((3.5, 3, 2.4), (8, 6, 3.2))
    listener = random.uniform(0.5, sides - 0.5)
    away = random.standard_normal(3)
    talker = np.clip(listener + away / np.linalg.norm(away) * random.uniform(0.7, 2.5), 0.3, sides - 0.3)
    volume, surface = sides.prod(), 2 * (sides[0] * sides[1] + sides[1] * sides[2] + sides[2] * sides[0])
    kept = np.exp(-0.161 * volume / (surface * 0.85 * reverberation))  # of the power, at each wall; 0.85 as measured
    speed, reach = 343.0, reverberation * 343.0
    axes = []
    for k in range(3):
        count = int(reach / (2 * sides[k])) + 1
        cells = np.arange(-count, count + 1)
        axes.append((np.concatenate((2 * cells * sides[k] + talker[k], 2 * cells * sides[k] - talker[k])) - listener[k],
                     np.concatenate((np.abs(2 * cells), np.abs(2 * cells - 1)))))
    (x, nx), (y, ny), (z, nz) = axes
    flat, walls = np.add.outer(x ** 2, y ** 2).ravel(), np.add.outer(nx, ny).ravel()
    response = np.zeros(int(reverberation * RATE) + 1)
    for height, more in zip(z, nz):
        distance = np.sqrt(flat + height ** 2)
        near = distance < reach
        distance, bounces = distance[near], (walls + more)[near]
        # Walls are not flat: each image is a little off, which takes the sweeping echoes away.
        offset = distance + random.uniform(-0.05, 0.05, len(distance)) * np.minimum(bounces, 4)
        at = np.rint(np.maximum(offset, 0) / speed * RATE).astype(int)
        gain = kept ** (bounces / 2) / np.maximum(distance, 0.1)
        inside = at < len(response)
        response += np.bincount(at[inside], gain[inside] * np.where(bounces[inside] % 2, -1, 1), len(response))[:len(response)]
    direct = round(np.linalg.norm(talker - listener) / speed * RATE)
    response = response[direct:]
    return response / np.abs(response[0])
