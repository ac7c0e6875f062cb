#!/usr/bin/env python3
"""`vask score` against NIST's md-eval.pl and against the scorer that the learned detector was trained with.

scoring_test.py VASK TRAINING_DIR
"""
import json
import os
import random
import re
import subprocess
import sys
import tempfile
import unittest

import numpy as np

sys.dont_write_bytecode = True
VASK = os.path.abspath(sys.argv[1])
sys.path.insert(0, sys.argv[2])
del sys.argv[1:3]
import score as reference  # noqa: E402

MD_EVAL = '/usr/lib/sctk/bin/md-eval.pl'
SECONDS = 60


def run(*command):
    return subprocess.run(command, stdout=subprocess.PIPE, check=True, text=True).stdout


def intervals(source, count):
    """Some, apart from each other, in whole milliseconds."""
    edges = sorted(source.sample(range(SECONDS * 1000), 2 * count))
    return [(a / 1000, b / 1000) for a, b in zip(edges[::2], edges[1::2])]


def shaken(source, speech):
    """Speech as a detector finds it: edges off, some of it missed, joined or split, some false."""
    found = []
    for start, end in speech:
        if source.random() < 0.1:
            continue
        start, end = start + source.gauss(0, 0.15), end + source.gauss(0.2, 0.2)
        if source.random() < 0.2 and end - start > 1:
            found.append((start, (start + end) / 2 - 0.1))
            start = (start + end) / 2 + 0.1
        found.append((start, end))
    found += [(t, t + 0.4) for t in (source.uniform(0, SECONDS - 1) for _ in range(3))]
    apart, before = [], 0
    for start, end in sorted(found):
        start, end = round(max(start, before), 3), round(min(end, SECONDS), 3)
        if end > start:
            apart.append((start, end))
            before = end
    return apart


def rttm(name, speech):
    return f'SPKR-INFO {name} 1 <NA> <NA> <NA> unknown speech <NA> <NA>\n' + ''.join(
        f'SPEAKER {name} 1 {start:.3f} {end - start:.3f} <NA> <NA> speech <NA> <NA>\n' for start, end in speech)


class Scores(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        os.chdir(folder.name)
        source = random.Random(7)
        self.truth = {f'talk{k}': intervals(source, source.randrange(5, 25)) for k in range(8)}
        self.truth['silent'] = []
        self.found = {name: shaken(source, speech) for name, speech in self.truth.items()}
        for side, lists in (('truth', self.truth), ('found', self.found)):
            self.write(f'{side}.rttm', ''.join(rttm(name, speech) for name, speech in lists.items()))
        self.write('scored.uem', ''.join(f'{name} 1 3.000 41.500\n{name} 1 44.000 {SECONDS}.000\n' for name in self.truth))

    def write(self, name, text):
        with open(name, 'w', encoding='utf-8') as file:
            file.write(text)

    def score(self, *arguments):
        return [json.loads(line) for line in run(VASK, 'score', '--json', *arguments).splitlines()]

    def test_time_is_that_of_md_eval(self):
        for collar in ('0', '0.1', '0.25'):
            told = run('perl', MD_EVAL, '-r', 'truth.rttm', '-s', 'found.rttm', '-u', 'scored.uem', '-c', collar)
            all_files = told[told.index('for ALL ***'):]
            expected = {name: float(re.search(rf'{words} =\s*([\d.]+) secs', all_files)[1]) for name, words in (
                ('scored', 'SCORED TIME'), ('speech', 'SCORED SPEECH'), ('missed', 'MISSED SPEECH'),
                ('false', 'FALARM SPEECH'))}
            rows = self.score('truth.rttm', 'found.rttm', '--uem', 'scored.uem', '--collar', collar)[:-1]
            for name, seconds in expected.items():  # that one leaves out recordings in which nobody speaks
                own = sum(row[name] for row in rows if row['file'] != 'silent')
                self.assertAlmostEqual(own, seconds, delta=0.0051, msg=(collar, name))

    def test_utterances_are_those_of_the_reference(self):
        rows = self.score('truth.rttm', 'found.rttm')
        starts, usable = [], 0
        for row in rows[:-1]:
            outcomes, wrong, merging = reference.judge(self.truth[row['file']], self.found[row['file']])
            self.assertEqual([row[name] for name in ('utterances', 'found', 'split', 'usable', 'wrong', 'merging')],
                             [len(outcomes), *(sum(o[name] for o in outcomes) for name in ('found', 'split', 'usable')),
                              len(wrong), merging], row['file'])
            starts += [o['start'] for o in outcomes if 'start' in o]
            usable += row['usable']
        self.assertGreater(usable, 20)
        self.assertEqual(rows[-1]['usable'], usable)
        for percent in (10, 50, 90, 95):
            self.assertAlmostEqual(rows[-1]['start_error'][f'p{percent}'], np.percentile(starts, percent), places=6)

    def test_every_kind_of_list_says_the_same(self):
        os.makedirs('labels')
        os.makedirs('grids')
        records, batch = '', ''
        for name, speech in self.truth.items():
            self.write(f'labels/{name}.txt', ''.join(
                f'{a:.3f}\t{b:.3f}\t{k}\n\\\t100\t900\n{a:.3f}\t{a + 9:.3f}\trejected tones\n' for k, (a, b) in enumerate(speech)))
            edges = [(0, 'gap')] + [(t, text) for a, b in speech for t, text in ((a, 'gap'), (b, 'said'))]
            tier = ''.join(f'intervals [{k}]:\n xmin = {a}\n xmax = {b}\n text = "{"" if text == "gap" else "1 2"}"\n'
                           for k, ((a, _), (b, text)) in enumerate(zip(edges, edges[1:])))
            self.write(f'grids/{name}.TextGrid', f'xmin = 0\nxmax = {SECONDS}\nclass = "IntervalTier"\n{tier}'
                       'item [2]:\nclass = "IntervalTier"\n xmin = 0\n xmax = 9\n text = "another tier"\n')
            records += ''.join(json.dumps({'file': f'/calls/{name}.wav', 'start': a, 'end': b, 'rejected': None}) + '\n'
                               for a, b in speech) + json.dumps({'file': f'{name}.wav', 'duration': SECONDS}) + '\n'
            batch += json.dumps({'id': name, 'channel': None, 'segments': [{'start': a, 'end': b} for a, b in speech]}) + '\n'
        self.write('records.jsonl', records)
        self.write('batch.jsonl', batch)
        expected = self.score('truth.rttm', 'found.rttm', '--uem', 'scored.uem')
        for truth in ('labels', 'grids', 'records.jsonl', 'batch.jsonl'):
            self.assertEqual(self.score(truth, 'found.rttm', '--uem', 'scored.uem'), expected, truth)

    def test_wrong_lists_are_refused_with_their_place(self):
        self.write('bad.rttm', 'SPEAKER a 1 0 1\nSPEAKER a 1 zero 1\n')
        self.write('bad.jsonl', '{"file": "a"}\n{"file": "a", "start": 1}\n')
        self.write('bad.uem', 'a 1 5 3\n')
        for arguments, words in ((('bad.rttm', 'found.rttm'), 'bad.rttm:2: has no start'),
                                 (('bad.jsonl', 'found.rttm'), 'bad.jsonl:2: has no start'),
                                 (('truth.rttm', 'found.rttm', '--uem', 'bad.uem'), 'bad.uem:1: is not NAME'),
                                 (('truth.rttm', 'none.rttm'), 'none.rttm')):
            done = subprocess.run([VASK, 'score', *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
            self.assertEqual((done.returncode, done.stdout, done.stderr.count('\n')), (1, '', 1), done.stderr)
            self.assertIn(words, done.stderr)


if __name__ == '__main__':
    unittest.main()
