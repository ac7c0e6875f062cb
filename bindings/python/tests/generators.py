"""The signals of the replay, as the head of its list defines them."""

from itertools import count, islice

VOWELS = ((7735, 7294, 4565), (7890, 6014, 4462), (8019, 4988, 3009), (7863, 7585, 4641), (8008, 7554, 5060))
DECAYS = (3969, 3923, 3847)


class Random:
    def __init__(self, seed):
        self.random = seed

    def next(self):
        self.random = self.random * 16807 % 2147483647
        return self.random

    def noise(self, peak):
        return self.next() // 256 % (2 * peak + 1) - peak


def silence(length):
    return [0] * length


def constant(length, value):
    return [value] * length


def square(length, half, peak):
    return [peak if i // half % 2 == 0 else -1 - peak for i in range(length)]


def clicks(length, period, peak):
    return [peak if i % period == period - 1 else 0 for i in range(length)]


def noise(length, peak, seed):
    random = Random(seed)
    return [random.noise(peak) for _ in range(length)]


def chirp(length, peak, first, last):
    samples, phase = [], 0
    for i in range(length):
        x = phase % 32768
        height = x * (32768 - x) * peak // 268435456
        samples.append(height if phase < 32768 else -height)
        phase = (phase + first + (last - first) * i // length) % 65536
    return samples


def voiced(seed):
    random, breath, last, before = Random(seed), 0, [0, 0, 0], [0, 0, 0]
    for j in count():
        t = j % 3200
        v = t - 600
        swell, x = v * (2600 - v), 0
        if t == 0:
            vowel, period, wait = random.next() // 256 % 5, 90 + random.next() // 256 % 60, 0
        if v >= 0:
            if wait == 0:
                x, wait = swell, period + v // 128 + random.next() // 256 % 9
            else:
                wait -= 1
        breath += (x - breath) // 4
        x = breath
        for k, (a, b) in enumerate(zip(VOWELS[vowel], DECAYS)):
            x = ((4096 - a + b) * x + a * last[k] - b * before[k]) // 4096
            before[k], last[k] = last[k], x
        yield max(-32768, min(32767, x // 64 + random.noise(600 if v < 0 else 12 + swell // 8192)))


def voice(rate, length, seed):
    made = list(islice(voiced(seed), length * 16000 // rate + 1))
    return [made[i * 16000 // rate] for i in range(length)]


def room_of(samples):
    def room(rate, first, length):
        return [samples[first + i * 16000 // rate] for i in range(length)]

    return room


def generators(room):
    """Return the generators by name. room: the samples of the recording."""
    made = {f.__name__: f for f in (silence, constant, square, clicks, noise, chirp, voice)}
    return {**made, "room": room_of(room)}
