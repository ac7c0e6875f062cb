#!/usr/bin/env python3
"""Score our detectors beside others on the held-out recordings, and write the tables of docs/quality.md.

    compare.py FOLDER --vask COMMAND --events PROGRAM [--model FILE] [--page PAGE]

FOLDER holds what heldout.py made and, in peers/, what peers/run.mjs found. The tables are written to
FOLDER/tables.md, and with --page also in place of what stands between that page's marks.
"""
import argparse
import glob
import json
import os
import re
import resource
import subprocess

import score
from peer_rules import PEERS, segments_of

SETS = ('mixes', 'rooms', 'level-18', 'level-12', 'level+12', 'hold-music', 'rock')
OURS = {  # arguments of vask detect, and of the program events
    'libVask, learned': (['--detector', 'learned'], 'learned'),
    'libVask, energy, robust preset': (['--detector', 'energy', '--preset', 'robust'], 'robust'),
    'libVask, energy, as given': (['--detector', 'energy'], 'energy'),
}


class Detector:
    """What one detector found, by set and file: with margins, without, and how probable speech was."""

    def __init__(self, title):
        self.title, self.wide, self.bare, self.values = title, {}, {}, {}
        self.hop = self.cost = None

    def row(self, files, name, margins=True):
        return score.score(files[name], (self.wide if margins else self.bare)[name])


def margins_of(found, files):
    seconds = {file['name']: file['seconds'] for file in files}
    return {name: score.with_margins(segments, seconds[name]) for name, segments in found.items()}


def peer(folder, module, title, rule, files):
    detector = Detector(title)
    for name in SETS:
        with open(f'{folder}/peers/{module}.{name}.json', encoding='utf-8') as file:
            run = json.load(file)
        seconds = {file['name']: file['seconds'] for file in files[name]}
        detector.bare[name] = {key: segments_of(values, run['hop'], rule, seconds[key]) for key, values in run['values'].items()}
        detector.wide[name] = margins_of(detector.bare[name], files[name])
        detector.values[name], detector.hop = run['values'], run['hop']
        if name == 'mixes':
            detector.cost = run['cost']
    return detector


def detect(command, arguments, paths):
    """The list of vask detect, and its processor time in seconds."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    said = subprocess.run([command, 'detect', '-f', 'jsonl', '-j', '1', *arguments, *paths], check=True, capture_output=True)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    spent = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
    return [s for s in map(json.loads, said.stdout.splitlines()) if 'start' in s], spent


def stem(path):
    return os.path.splitext(os.path.basename(path))[0]


def ours(folder, title, files, command, program, model):
    """One of our detectors, or None if this build lacks it. What the command lists must be what streams report."""
    detector = Detector(title)
    arguments, kind = OURS[title]
    chosen = kind
    if model and kind == 'learned':
        arguments, chosen = [*arguments, '--model', model], f'learned={model}'
    for name in SETS:
        paths = sorted(glob.glob(f'{folder}/{name}/*.wav'))
        try:
            listed, spent = detect(command, arguments, paths)
            streamed = subprocess.run([program, chosen, *paths], check=True, capture_output=True).stdout.splitlines()
        except subprocess.CalledProcessError as error:
            print(f'{title} is left out: {error.stderr.decode(errors="replace").strip()}')
            return None
        told = {}
        for line in map(json.loads, streamed):
            told[line['name']] = [event[4] for event in line['events']]
            # The first values belong to what was before the recording.
            detector.values.setdefault(name, {})[line['name']] = [value for at, value in line['values'] if at >= -1e-6]
        bare, wide = {}, {}
        for segment in listed:
            key = stem(segment['file'])
            when = told[key][len(bare.get(key, []))]
            bare.setdefault(key, []).append((segment['start'], segment['end'], when))
            wide.setdefault(key, []).append((segment['span_start'], segment['span_end'], when))
        if {key: len(when) for key, when in told.items() if when} != {key: len(found) for key, found in bare.items()}:
            raise SystemExit(f'{title}: {name}: streams report other utterances than the command lists')
        # What is delivered of the energy detector as given is longer than any margin.
        detector.bare[name], detector.wide[name] = bare, margins_of(bare, files[name]) if kind == 'energy' else wide
        if name == 'mixes':
            detector.cost = spent / sum(file['seconds'] for file in files[name]) * 1e4
    if kind == 'learned':
        detector.hop = 0.02
    return detector


# Tables.

def table(head, rows):
    lines = ['| ' + ' | '.join(head) + ' |', '|' + ' --- |' * len(head)]
    return '\n'.join(lines + ['| ' + ' | '.join(row) + ' |' for row in rows])


def falses(row):
    return f'{row["false"]} / {row["silent_false"]}'


def summary_table(detectors, files):
    head = ['', 'usable %', 'without margins', 'false, in files with / without speech', 'found %', 'merged', 'split', 'ROC-AUC',
            'start, ms', 'end, ms', 'end told after, ms', 'µs a frame']
    rows = []
    for detector in detectors:
        row = detector.row(files, 'mixes')
        area = score.frame_auc(files['mixes'], detector.values['mixes'], detector.hop) if detector.hop else None
        times = [f'{score.cell(row[key], 1000, 0)} ({score.cell(row[key + "_90"], 1000, 0)})' for key in ('start', 'end', 'told')]
        rows.append([detector.title, score.cell(row['usable']), score.cell(detector.row(files, 'mixes', False)['usable']),
                     falses(row), score.cell(row['found']), str(row['merged']), str(row['split']), score.cell(area, 1, 3), *times,
                     score.cell(detector.cost, 1, 1)])
    return table(head, rows)


def by_label(detectors, files, name, label):
    """Usable utterances by the values of a label."""
    counts = {value: row['utterances'] for value, row in score.score_by(files[name], {}, label).items() if row['utterances']}
    values = sorted(counts, key=score.order)
    rows = []
    for detector in detectors:
        found = score.score_by(files[name], detector.wide[name], label)
        rows.append([detector.title] + [score.cell(found[value]['usable']) for value in values])
    return table([''] + [f'{value} ({counts[value]})' for value in values], rows)


def level_table(detectors, files):
    levels = {'level-18': '-18 dB', 'level-12': '-12 dB', 'mixes': '0 dB', 'level+12': '+12 dB'}
    rows = []
    for detector in detectors:
        found = [detector.row(files, name) for name in levels]
        rows.append([detector.title] + [f'{score.cell(row["usable"])}, {falses(row)}' for row in found])
    return table([''] + list(levels.values()), rows)


def room_table(detectors, files):
    lines = by_label(detectors, files, 'rooms', 'room').split('\n')
    cells = ['all (130), false segments', '---']
    for detector in detectors:
        row = detector.row(files, 'rooms')
        cells.append(f'{score.cell(row["usable"])}, {row["false"]}')
    return '\n'.join(f'{line} {cell} |' for line, cell in zip(lines, cells))


def music_table(detectors, files):
    names = {'hold-music': 'hold music', 'rock': 'rock with singing'}
    head = [f'{title}, {sum(file["seconds"] for file in files[name]) / 60:.0f} minutes' for name, title in names.items()]
    rows = []
    for detector in detectors:
        found = [detector.row(files, name) for name in names]
        rows.append([detector.title] + [f'{row["silent_false"]} ({row["silent_seconds"]:.1f} s)' for row in found])
    return table([''] + head, rows)


def fill(page, tables):
    """Put each table between <!-- NAME --> and <!-- end -->."""
    with open(page, encoding='utf-8') as file:
        text = file.read()
    for name, content in tables.items():
        text, count = re.subn(rf'(<!-- {name} -->\n).*?(<!-- end -->)', lambda m: f'{m[1]}{content}\n{m[2]}', text, flags=re.DOTALL)
        if count != 1:
            raise SystemExit(f'{page} has {count} places for {name}')
    with open(page, 'w', encoding='utf-8') as file:
        file.write(text)


def main():
    parser = argparse.ArgumentParser(description='Score our detectors beside others.')
    parser.add_argument('folder')
    parser.add_argument('--vask', required=True)
    parser.add_argument('--events', required=True)
    parser.add_argument('--model', help='of the learned detector, instead of the built-in one')
    parser.add_argument('--page')
    options = parser.parse_args()
    files = {}
    for name in SETS:
        with open(f'{options.folder}/{name}.json', encoding='utf-8') as file:
            files[name] = json.load(file)
    found = [ours(options.folder, title, files, options.vask, options.events, options.model) for title in OURS]
    detectors = [found[0]] + [peer(options.folder, *other, files) for other in
                              ((module, *described) for module, described in PEERS.items())] + found[1:]
    detectors = [detector for detector in detectors if detector]
    tables = {
        'detectors': summary_table(detectors, files),
        'snr': by_label(detectors, files, 'mixes', 'snr'),
        'background': by_label(detectors, files, 'mixes', 'background'),
        'language': by_label(detectors, files, 'mixes', 'language'),
        'level': level_table(detectors, files),
        'room': room_table(detectors, files),
        'music': music_table(detectors, files),
    }
    with open(f'{options.folder}/tables.md', 'w', encoding='utf-8') as file:
        file.write('\n\n'.join(f'<!-- {name} -->\n{content}\n<!-- end -->' for name, content in tables.items()) + '\n')
    if options.page:
        fill(options.page, tables)


if __name__ == '__main__':
    main()
