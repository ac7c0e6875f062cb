#!/usr/bin/env python3
"""Make the held-out recordings: mixes of voices, noises, rooms and music that training never uses.

    heldout.py FOLDER

Fetches Debian packages into FOLDER and writes there for each set SET/NAME.wav (16 kHz, 16 bits) and SET.json, as
score.py reads it; for the mixes also clean/NAME.wav, what the speech alone is. Seeded: the same packages give the
same samples.

mixes                70 files with 130 utterances, 19 without speech
level-18 -12 +12     the same, softer and louder (+12 dB clips)
rooms                the same utterances in rooms of 0.3 to 0.8 s
hold-music rock      without speech; rock has singing in it
"""
import argparse
import json
import os
import sys
import zlib

import numpy as np
import soundfile
from scipy.signal import fftconvolve

from heldout_noises import background, room
from heldout_sources import RATE, SPOKEN, RECORDED, Material, fetch, language_of

SEED = 20130613
UTTERANCES = (1, 2, 3, 2, 1, 2, 2)  # of each file, again and again: 130 in 70
SPEECH_DB = -26                     # mean square of the speech, below full scale
# Background and SNR of the files with speech.
WITH_SPEECH = (
    [('none', None)] * 4 + [('faint', 40)] * 6 +
    [('babble', snr) for snr in (20, 15, 15, 10, 10, 10, 5, 5, 5, 0, 0)] +
    [('white', snr) for snr in (20, 15, 10, 10, 5, 5, 0, 0)] +
    [('pink', snr) for snr in (20, 15, 15, 10, 10, 5, 5, 0, 0)] +
    [('vehicle', snr) for snr in (15, 10, 10, 5, 5, 0, 0)] +
    [('engine', snr) for snr in (20, 15, 10, 10, 5, 5, 0)] +
    [('outdoors', snr) for snr in (15, 10, 5, 0)] + [('works', snr) for snr in (10, 5)] +
    [('keyboard', snr) for snr in (15, 10, 5, 0)] +
    [('hold music', snr) for snr in (15, 10, 5, 0)] + [('rock', snr) for snr in (20, 15, 10, 5)])
# And level of those without, dB below full scale.
WITHOUT = (('none', 0), ('faint', -65), ('white', -30), ('pink', -25), ('vehicle', -20), ('engine', -20), ('engine', -35),
           ('outdoors', -25), ('outdoors', -35), ('works', -25), ('keyboard', -35), ('bangs', -25), ('ringing', -20),
           ('dialled', -20), ('hum', -30), ('instruments', -25), ('beats', -20), ('hold music', -30), ('rock', -25))
SHIFTS = (-18, -12, 12)


def seeded(*name):
    return np.random.default_rng([SEED, zlib.crc32('/'.join(map(str, name)).encode())])


def db(value):
    return 10 ** (value / 20)


def plans():
    """Name, voice, background and SNR of each file with speech."""
    random = seeded('plans')
    # The synthetic voices speak together as often as a recorded one.
    groups = [[voice] for voice in RECORDED if 'fish' not in voice] + [['fish', 'large fish']]
    groups += [[voice for voice in SPOKEN if SPOKEN[voice][0] == program] for program in ('flite', 'espeak-ng')]
    voices = [groups[k % len(groups)][k // len(groups) % len(groups[k % len(groups)])] for k in range(len(WITH_SPEECH))]
    backgrounds = [WITH_SPEECH[k] for k in random.permutation(len(WITH_SPEECH))]
    return [(f'speech-{k:02}', voice, *other) for k, (voice, other) in enumerate(zip(voices, backgrounds))]


def spoken(name, voice, count, material):
    """The utterances of a file, with silence around them, mean square 1."""
    random = seeded(name, 'speech')
    paths = material.voices[voice]
    pieces, truth = [], []
    at = random.uniform(1.0, 2.0)
    for path in (paths[k] for k in random.choice(len(paths), count, replace=False)):
        samples, start, end = material.utterance(path)
        first = round(at * RATE)
        truth.append({'start': first / RATE + start, 'end': first / RATE + end, 'voice': voice, 'language': language_of(voice)})
        pieces.append((first, samples))
        at = truth[-1]['end'] + random.uniform(1.0, 2.5)
    out = np.zeros(round((truth[-1]['end'] + random.uniform(1.5, 2.5)) * RATE))
    for first, samples in pieces:
        out[first:first + len(samples)] += samples
    return out, truth


def power_in(samples, truth):
    return np.mean(np.concatenate([samples[round(u['start'] * RATE):round(u['end'] * RATE)] for u in truth]) ** 2)


class Writer:
    """Writes the recordings of one set and its list."""

    def __init__(self, folder, name):
        self.folder, self.name, self.files = folder, name, []
        os.makedirs(os.path.join(folder, name), exist_ok=True)

    def add(self, name, samples, utterances=(), **labels):
        self.write(os.path.join(self.name, name), samples)
        self.files.append({'name': name, 'seconds': len(samples) / RATE, 'utterances': list(utterances), **labels})

    def write(self, path, samples):
        rounded = np.clip(np.rint(samples * 32768), -32768, 32767).astype(np.int16)
        soundfile.write(os.path.join(self.folder, path + '.wav'), rounded, RATE)

    def finish(self):
        with open(os.path.join(self.folder, self.name + '.json'), 'w', encoding='utf-8') as file:
            json.dump(self.files, file, indent=1)


def make_mixes(folder, material):
    """The mixes, at their levels and in their rooms."""
    sets = {0: Writer(folder, 'mixes'), **{shift: Writer(folder, f'level{shift:+}') for shift in SHIFTS}}
    rooms, clean = Writer(folder, 'rooms'), Writer(folder, 'clean')
    for k, (name, voice, kind, snr) in enumerate(plans()):
        speech, truth = spoken(name, voice, UTTERANCES[k % len(UTTERANCES)], material)
        random = seeded(name, 'background')
        level = db(SPEECH_DB + random.uniform(-4, 4))
        noise = background(kind, random, material, len(speech), voice) * db(-snr) if snr is not None else np.zeros(len(speech))
        labels = {'background': kind, 'snr': 'clean' if snr is None or snr > 30 else snr}
        for shift, writer in sets.items():
            writer.add(name, (speech + noise) * level * db(shift), truth, **labels)
        clean.write(f'clean/{name}', speech * level)
        seconds = round(0.3 + 0.5 * (k * 29 % len(WITH_SPEECH)) / (len(WITH_SPEECH) - 1), 3)
        wet = fftconvolve(speech, room(seeded(name, 'room'), seconds))[:len(speech)]
        wet /= np.sqrt(power_in(wet, truth))
        rooms.add(name, (wet + noise) * level, truth, **labels, room=('0.3 to 0.45' if seconds < 0.45 else '0.45 to 0.65'
                                                                     if seconds < 0.65 else '0.65 to 0.8') + ' s')
    for k, (kind, level) in enumerate(WITHOUT):
        name = f'other-{k:02}'
        size = 25 * RATE
        noise = np.zeros(size) if kind == 'none' else background(kind, seeded(name), material, size) * db(level)
        for shift, writer in sets.items():
            writer.add(name, noise * db(shift), background=kind)
    for writer in (*sets.values(), rooms):
        writer.finish()


def make_music(folder, material):
    hold = Writer(folder, 'hold-music')
    for path in material.recordings('hold music'):
        hold.add(os.path.splitext(os.path.basename(path))[0], material.recording(path))
    hold.finish()
    rock = Writer(folder, 'rock')
    for path in material.songs:
        name = os.path.basename(os.path.dirname(path)).replace(' ', '_')
        rock.add(name, material.song(path, True) * 0.5)
        if '-sectoid/' in path:  # once more without the leading guitar: 40 minutes in all
            rock.add(name + '-2', material.song(path, False) * 0.5)
    rock.finish()


def main():
    parser = argparse.ArgumentParser(description='Make the held-out recordings.')
    parser.add_argument('folder')
    folder = parser.parse_args().folder
    os.makedirs(folder, exist_ok=True)
    fetch(folder)
    material = Material(folder)
    make_mixes(folder, material)
    make_music(folder, material)


if __name__ == '__main__':
    sys.exit(main())
