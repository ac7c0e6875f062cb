#!/usr/bin/env python3
"""Measure our noise reductions beside others on the held-out mixes, and write their table of docs/quality.md.

    compare_listening.py FOLDER --vask COMMAND [--model FILE] [--page PAGE]

FOLDER holds what heldout.py made, the programs of the others in bin/, and what RNNoise made in denoised/.
"""
import argparse
import json
import os
import subprocess

import numpy as np
import soundfile

from compare import fill, table
from listening_score import aligned, background_cut, clean_kept, segmental_snr_gain

LONGEST_LAG = 1600  # samples
OURS = {'libVask, for listening': [], "libVask, for recognition": ['--for', 'recognition']}
PROGRAMS = {'SpeexDSP': 'speexdsp', 'WebRTC APM, high': 'webrtc_apm'}


def load(path):
    return soundfile.read(path, dtype='int16')[0]


def by_command(command, arguments, path, out):
    subprocess.run([command, 'denoise', *arguments, path, '-o', out], check=True, capture_output=True)
    return load(out)


def by_program(program, samples):
    said = subprocess.run([program], input=samples.astype('<i2').tobytes(), check=True, capture_output=True).stdout
    return np.frombuffer(said, '<i2')


def makers(folder, command, model):
    """{title: function from a set and a file to what is made of it}."""
    made = {}
    for title, arguments in OURS.items():
        if model and not arguments:
            arguments = ['--model', model]
        made[title] = lambda name, file, a=arguments: by_command(command, a, f'{folder}/{name}/{file["name"]}.wav',
                                                                 f'{folder}/denoised/ours.wav')
    for title, program in PROGRAMS.items():
        made[title] = lambda name, file, p=program: by_program(f'{folder}/bin/{p}', file[name])
    made['RNNoise'] = lambda name, file: load(f'{folder}/denoised/rnnoise-{name}/{file["name"]}.wav')
    return made


def lag_of(before, after):
    """By how many samples the second is behind the first."""
    size = len(before) + LONGEST_LAG
    product = np.fft.rfft(after.astype(float), size) * np.conj(np.fft.rfft(before.astype(float), size))
    return int(np.argmax(np.fft.irfft(product, size)[:LONGEST_LAG]))


def row_of(title, files, make):
    """The scores of one noise reduction: on the mixes, and what it leaves of the speech alone."""
    of_clean = [make('clean', file) for file in files]
    lag = int(np.median([lag_of(file['clean'], made) for file, made in zip(files[:15], of_clean)]))
    gains, cuts, kept = {}, [], []
    for file, made in zip(files, of_clean):
        clean, noisy = file['clean'], file['mixes']
        kept.append(clean_kept(clean, aligned(made, lag, len(clean))))
        if file['snr'] == 'clean':
            continue
        processed = aligned(make('mixes', file), lag, len(noisy))
        gains.setdefault(file['snr'], []).append(segmental_snr_gain(clean, noisy, processed))
        cuts.append(background_cut(clean, noisy, processed))
    every = [gain for group in gains.values() for gain in group]
    cells = [f'{np.mean(every):+.2f}'] + [f'{np.mean(gains[snr]):+.2f}' for snr in sorted(gains, reverse=True)]
    return [title, *cells, f'{np.median(cuts):.1f}', f'{np.mean(kept):.1f}', f'{lag / 16:.0f}']


def main():
    parser = argparse.ArgumentParser(description='Measure noise reductions.')
    parser.add_argument('folder')
    parser.add_argument('--vask', required=True)
    parser.add_argument('--model', help='of the learned detector, instead of the built-in one')
    parser.add_argument('--page')
    options = parser.parse_args()
    folder = options.folder
    with open(f'{folder}/mixes.json', encoding='utf-8') as file:
        files = [file for file in json.load(file) if file['utterances']]
    for file in files:
        for name in ('mixes', 'clean'):
            file[name] = load(f'{folder}/{name}/{file["name"]}.wav')
    rows = []
    for title, make in makers(folder, options.vask, options.model).items():
        try:
            rows.append(row_of(title, files, make))
        except (OSError, subprocess.CalledProcessError) as error:
            print(f'{title} is left out: {error}')
    levels = sorted({file['snr'] for file in files} - {'clean'}, reverse=True)
    head = ['', 'gain, dB'] + [f'at {level} dB' for level in levels] + ['background cut, dB', 'clean speech kept, dB', 'delay, ms']
    tables = {'listening': table(head, rows)}
    with open(os.path.join(folder, 'listening.md'), 'w', encoding='utf-8') as file:
        file.write(tables['listening'] + '\n')
    if options.page:
        fill(options.page, tables)


if __name__ == '__main__':
    main()
