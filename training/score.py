#!/usr/bin/env python3
"""Score found segments against true ones, and probabilities against true frames. Times in seconds.

    score.py TRUTH.json FOUND.json [--without-margins] [--by LABEL]...
    score.py --auc TRUTH.json PROBABILITIES.npz

TRUTH.json   a list of files: {"name", "seconds", "utterances": [{"start", "end", …}], …}; what else a file or
             an utterance holds is a label
FOUND.json   {name: [[start, end, told], …]}: told is the time at which the end was known; it may be left out
PROBABILITIES.npz   "hop": seconds between values; and for each name its values, the first one from 0 on

An utterance is usable when exactly one segment overlaps it, that segment overlaps no other utterance, it begins
between 0.5 s before and 0.1 s after the utterance, and ends between 0.15 s before and 0.7 s after it. A segment
is false when it overlaps no utterance.
"""
import argparse
import json

import numpy as np

START_EARLY, START_LATE = 0.5, 0.1
END_EARLY, END_LATE = 0.15, 0.7
MARGIN_START, MARGIN_END, SHORTEST = 0.10, 0.25, 0.2

STEP = 0.005              # edges are found in steps of this
RUN = 4                   # steps that are loud one after the other
RULE_DB = 36              # loud: within this of the loudest 10 ms
LOOSE_DB, STRICT_DB = 42, 30
MOVES = 0.040             # by this much the edges may differ between the loose and the strict rule
LONGEST_PAUSE = 0.35

FRAME = 0.010             # the ROC is of frames
NEAR_EDGE = 0.050         # what is this near to an edge is not scored


# The true edges of a clean recording.

def without_rumble(samples, rate):
    """High-pass at 60 Hz: the magnitude of a Butterworth filter of second order, applied forth and back."""
    size = len(samples) + rate // 4  # what rings at the end does not come back at the start
    hertz = np.fft.rfftfreq(size, 1 / rate)
    gain = hertz ** 4 / (hertz ** 4 + 60.0 ** 4)
    return np.fft.irfft(np.fft.rfft(samples, size) * gain, size)[:len(samples)]


def loud_runs(samples, rate, rule_db):
    """Where RUN or more steps are loud one after the other: [(start, end)]."""
    step = round(rate * STEP)
    power = np.asarray(samples, float)[:len(samples) // step * step].reshape(-1, step) ** 2
    power = power.mean(axis=1)
    if len(power) < 2:
        return []
    loudest = (power[1:] + power[:-1]).max() / 2
    loud = (power >= loudest * 10 ** (-rule_db / 10)) & (power > 0)
    turns = np.flatnonzero(np.diff(np.concatenate(([0], loud.astype(int), [0]))))
    return [(start * step / rate, end * step / rate) for start, end in turns.reshape(-1, 2) if end - start >= RUN]


def true_edges(samples, rate):
    """Start and end of what is said in a clean recording, or None if they are not certain.

    They are if the edges hardly depend on the rule and no pause is so long that it may be the end.
    """
    high = without_rumble(samples, rate)
    runs = loud_runs(high, rate, RULE_DB)
    loose, strict = loud_runs(high, rate, LOOSE_DB), loud_runs(high, rate, STRICT_DB)
    if not runs or not strict:
        return None
    moves = max(strict[0][0] - loose[0][0], loose[-1][1] - strict[-1][1])
    pauses = [after[0] - before[1] for before, after in zip(runs, runs[1:])]
    if moves > MOVES + 1e-9 or max(pauses, default=0) >= LONGEST_PAUSE - 1e-9:
        return None
    return runs[0][0], runs[-1][1]


# Segments.

def with_margins(segments, seconds, before=MARGIN_START, after=MARGIN_END, shortest=SHORTEST):
    """What is delivered of found segments: the short ones dropped, the others longer by the margins.

    Where the margins of two segments would overlap, they meet halfway.
    """
    kept = [list(segment) for segment in segments if segment[1] - segment[0] >= shortest - 1e-9]
    wide = [[max(0, start - before), min(seconds, end + after), *told] for start, end, *told in kept]
    for left, right, a, b in zip(wide, wide[1:], kept, kept[1:]):
        if left[1] > right[0]:
            left[1] = right[0] = max(a[1], (a[1] + b[0]) / 2)
    return wide


def judge(true, found):
    """Compare the segments of one file: an outcome for each utterance, the false segments, the merging ones.

    true    [(start, end)], in order
    found   [(start, end)] or [(start, end, told)]

    An outcome has found, split, usable and, for a segment that is this utterance's alone, start and end (what was
    found less what is true) and told (after the true end).
    """
    hits = [[k for k, (start, end, *_) in enumerate(found) if start < u_end and end > u_start] for u_start, u_end in true]
    owners = np.bincount([k for own in hits for k in own], minlength=len(found)) if found else []
    outcomes = []
    for (u_start, u_end), own in zip(true, hits):
        outcome = {'found': len(own) > 0, 'split': len(own) > 1, 'usable': False}
        if len(own) == 1 and owners[own[0]] == 1:
            start, end, *told = found[own[0]]
            outcome['start'], outcome['end'] = start - u_start, end - u_end
            if told:
                outcome['told'] = told[0] - u_end
            outcome['usable'] = bool(-START_EARLY <= outcome['start'] <= START_LATE and
                                     -END_EARLY <= outcome['end'] <= END_LATE)
        outcomes.append(outcome)
    false = [segment for segment, count in zip(found, owners) if count == 0]
    return outcomes, false, int(sum(count > 1 for count in owners))


def spread(values):
    """Mean and 90th percentile of the magnitude, or Nones."""
    if not values:
        return None, None
    return float(np.mean(values)), float(np.percentile(np.abs(values), 90))


def summary(outcomes, false, merged):
    """Numbers of one row: shares in percent, times in seconds."""
    count = len(outcomes)
    share = lambda key: 100 * sum(o[key] for o in outcomes) / count if count else None
    row = {'utterances': count, 'usable': share('usable'), 'found': share('found'),
           'split': sum(o['split'] for o in outcomes), 'merged': merged,
           'false': len(false), 'false_seconds': float(sum(s[1] - s[0] for s in false))}
    for key in ('start', 'end', 'told'):
        row[key], row[key + '_90'] = spread([o[key] for o in outcomes if key in o])
    return row


def spans(file):
    return [(u['start'], u['end']) for u in file['utterances']]


def score(files, found):
    """One row over all files, with false segments counted apart where nobody speaks."""
    outcomes, false, silent, merged = [], [], [], 0
    for file in files:
        of_file, wrong, joined = judge(spans(file), found.get(file['name'], []))
        outcomes += of_file
        (false if file['utterances'] else silent).extend(wrong)
        merged += joined
    row = summary(outcomes, false, merged)
    row.update(files=sum(1 for f in files if f['utterances']), silent_files=sum(1 for f in files if not f['utterances']),
               silent_false=len(silent), silent_seconds=float(sum(s[1] - s[0] for s in silent)))
    return row


def score_by(files, found, label):
    """{value: row} for each value of a label. A label of a file holds for its utterances."""
    rows = {}
    for file in files:
        outcomes, false, merged = judge(spans(file), found.get(file['name'], []))
        if label in file:
            group = rows.setdefault(str(file[label]), ([], [], 0))
            rows[str(file[label])] = (group[0] + outcomes, group[1] + false, group[2] + merged)
            continue
        for utterance, outcome in zip(file['utterances'], outcomes):
            if label in utterance:
                rows.setdefault(str(utterance[label]), ([], [], 0))[0].append(outcome)
    return {value: summary(*group) for value, group in rows.items()}


# Frames.

def frame_labels(true, seconds):
    """For each frame 1 speech, 0 none, -1 not scored: pauses under LONGEST_PAUSE and what is near an edge."""
    middle = (np.arange(int(seconds / FRAME + 1e-6)) + 0.5) * FRAME
    labels = np.zeros(len(middle), int)
    for start, end in true:
        labels[(middle >= start) & (middle < end)] = 1
    for (_, end), (start, _) in zip(true, true[1:]):
        if start - end < LONGEST_PAUSE:
            labels[(middle >= end) & (middle < start)] = -1
    for edge in np.ravel(true):
        labels[np.abs(middle - edge) <= NEAR_EDGE] = -1
    return labels


def at_frames(values, hop, count):
    """The value that holds in the middle of each of `count` frames; before the first and after the last these."""
    index = ((np.arange(count) + 0.5) * FRAME / hop).astype(int)
    return np.asarray(values, float)[np.minimum(index, len(values) - 1)]


def auc(labels, values):
    """Area under the ROC: the chance that a frame of speech has the larger value; equal ones count half."""
    labels, values = np.asarray(labels), np.asarray(values, float)
    speech, none = np.sort(values[labels == 1]), np.sort(values[labels == 0])
    if not len(speech) or not len(none):
        return None
    below = np.searchsorted(none, speech, 'left') + np.searchsorted(none, speech, 'right')
    return float(below.mean() / 2 / len(none))


def frame_auc(files, probabilities, hop):
    """The area over the frames of all files together."""
    labels = [frame_labels(spans(file), file['seconds']) for file in files]
    values = [at_frames(probabilities[file['name']], hop, len(label)) for file, label in zip(files, labels)]
    return auc(np.concatenate(labels), np.concatenate(values)) if files else None


# The command.

def cell(value, scale=1, digits=1):
    return '-' if value is None else f'{value * scale:.{digits}f}'


def row_text(name, row):
    cells = [name, str(row['utterances']), cell(row['usable']), cell(row['found']), str(row['split']), str(row['merged']),
             f'{row["false"]} ({row["false_seconds"]:.1f} s)']
    if 'silent_false' in row:
        cells[-1] += f' / {row["silent_false"]} ({row["silent_seconds"]:.1f} s)'
    cells += [f'{cell(row[key], 1000, 0)} ({cell(row[key + "_90"], 1000, 0)})' for key in ('start', 'end', 'told')]
    return '| ' + ' | '.join(cells) + ' |'


HEAD = ('| | utterances | usable % | found % | split | merged | false | start ms (90 % within) | end ms | told ms |\n'
        '| --- | --- | --- | --- | --- | --- | --- | --- | --- | --- |')


def order(value):
    """Numbers by size, then words."""
    try:
        return 0, float(value), ''
    except ValueError:
        return 1, 0.0, value


def main():
    parser = argparse.ArgumentParser(description='Score found segments or probabilities.')
    parser.add_argument('truth')
    parser.add_argument('found')
    parser.add_argument('--auc', action='store_true', help='the second file holds probabilities')
    parser.add_argument('--without-margins', action='store_true', help='score the segments as they are')
    parser.add_argument('--by', action='append', default=[], metavar='LABEL', help='also a row for each value')
    options = parser.parse_args()
    with open(options.truth, encoding='utf-8') as file:
        files = json.load(file)
    if options.auc:
        values = np.load(options.found)
        print(f'ROC-AUC {frame_auc(files, values, float(values["hop"])):.4f}')
        return
    with open(options.found, encoding='utf-8') as file:
        found = json.load(file)
    if not options.without_margins:
        seconds = {file['name']: file['seconds'] for file in files}
        found = {name: with_margins(segments, seconds[name]) for name, segments in found.items() if name in seconds}
    print(HEAD)
    print(row_text('all', score(files, found)))
    for label in options.by:
        rows = score_by(files, found, label)
        for value in sorted(rows, key=order):
            print(row_text(f'{label} {value}', rows[value]))


if __name__ == '__main__':
    main()
