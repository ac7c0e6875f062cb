#!/usr/bin/env python3
"""The scorer of detectors, and the rules by which others' probabilities become segments.

score_test.py FOLDER   where score.py is
"""
import sys
import tempfile
import unittest

import numpy as np

sys.dont_write_bytecode = True
sys.path.insert(0, sys.argv.pop(1))
import compare  # noqa: E402
import peer_rules  # noqa: E402
import score  # noqa: E402


class Edges(unittest.TestCase):
    rate = 16000

    def recording(self, *bursts, seconds=3, floor_db=-90):
        """Noise at full scale in the bursts, and a floor below it."""
        random = np.random.default_rng(5)
        samples = random.standard_normal(seconds * self.rate) * 10 ** (floor_db / 20)
        for start, end, db in bursts:
            piece = slice(round(start * self.rate), round(end * self.rate))
            samples[piece] += random.standard_normal(piece.stop - piece.start) * 10 ** (db / 20)
        return samples

    def test_are_those_of_what_is_loud(self):
        start, end = score.true_edges(self.recording((0.5, 1.2, 0), (1.5, 2.0, -20)), self.rate)
        self.assertAlmostEqual(start, 0.5, delta=0.006)
        self.assertAlmostEqual(end, 2.0, delta=0.006)

    def test_are_of_what_is_within_36_db(self):
        for db, expected in ((-32, 1.53), (-39, 1.5)):
            _, end = score.true_edges(self.recording((0.5, 1.5, 0), (1.5, 1.53, db)), self.rate)
            self.assertAlmostEqual(end, expected, delta=0.006)

    def test_do_not_depend_on_a_click_or_on_rumble(self):
        samples = self.recording((0.5, 1.5, 0), (2.5, 2.51, -10))
        samples += 0.2 * np.sin(2 * np.pi * 10 * np.arange(len(samples)) / self.rate)  # 17 dB below
        start, end = score.true_edges(samples, self.rate)
        self.assertAlmostEqual(start, 0.5, delta=0.006)
        self.assertAlmostEqual(end, 1.5, delta=0.006)

    def test_are_refused_where_they_are_not_certain(self):
        self.assertIsNone(score.true_edges(self.recording((0.5, 1.0, 0), (1.4, 2.0, 0)), self.rate))     # a pause
        self.assertIsNone(score.true_edges(self.recording((0.5, 1.5, 0), (1.5, 1.6, -33)), self.rate))   # a faint end
        self.assertIsNone(score.true_edges(self.recording((0.5, 1.5, 0), floor_db=-39), self.rate))
        self.assertIsNone(score.true_edges(np.zeros(self.rate), self.rate))


class Segments(unittest.TestCase):
    def test_are_usable_within_the_tolerances_only(self):
        true = [(2.0, 3.0)]
        cases = [((1.51, 3.69), True), ((2.09, 2.86), True), ((1.49, 3.0), False), ((2.11, 3.0), False),
                 ((2.0, 2.84), False), ((2.0, 3.71), False)]
        for found, usable in cases:
            with self.subTest(found=found):
                (outcome,), false, merged = score.judge(true, [found])
                self.assertEqual((outcome['usable'], outcome['found'], false, merged), (usable, True, [], 0))

    def test_that_merge_split_or_hit_nothing_are_counted(self):
        files = [{'name': 'a', 'seconds': 20, 'noise': 'hum',
                  'utterances': [{'start': 1, 'end': 2, 'language': 'en'}, {'start': 4, 'end': 5, 'language': 'ru'},
                                 {'start': 8, 'end': 9, 'language': 'en'}, {'start': 12, 'end': 13, 'language': 'en'}]},
                 {'name': 'b', 'seconds': 9, 'utterances': []}]
        found = {'a': [[1, 5, 5.5], [8, 8.4], [8.5, 9], [12, 13.1, 13.6], [15, 17]], 'b': [[1, 1.5]]}
        row = score.score(files, found)
        expected = {'utterances': 4, 'usable': 25, 'found': 100, 'split': 1, 'merged': 1, 'false': 1, 'false_seconds': 2,
                    'files': 1, 'silent_files': 1, 'silent_false': 1, 'silent_seconds': 0.5}
        self.assertEqual({key: row[key] for key in expected}, expected)
        # Only the last segment is one utterance's alone.
        self.assertEqual([round(row[key], 6) for key in ('start', 'end', 'told')], [0, 0.1, 0.6])
        languages = score.score_by(files, found, 'language')
        self.assertEqual({name: (row['utterances'], row['usable']) for name, row in languages.items()},
                         {'en': (3, 100 / 3), 'ru': (1, 0)})
        self.assertEqual(score.score_by(files, found, 'noise')['hum']['false'], 1)
        nothing = score.score(files, {})
        self.assertEqual((nothing['usable'], nothing['found'], nothing['start']), (0, 0, None))

    def test_get_margins_that_meet_halfway(self):
        found = [(0.05, 1.0, 1.5), (1.2, 2.0), (3.0, 3.19), (4.0, 4.9)]
        self.assertEqual([[round(x, 6) for x in s] for s in score.with_margins(found, 5.0)],
                         [[0, 1.1, 1.5], [1.1, 2.25], [3.9, 5.0]])


class Frames(unittest.TestCase):
    def test_near_edges_and_in_short_pauses_are_not_scored(self):
        labels = score.frame_labels([(1.0, 1.5), (1.8, 2.0), (2.4, 2.6)], 3.0)
        self.assertEqual(len(labels), 300)
        for first, end, label in [(0, 95, 0), (95, 105, -1), (105, 145, 1), (145, 185, -1), (185, 195, 1), (205, 235, 0),
                                  (265, 300, 0)]:
            self.assertEqual(set(labels[first:end]), {label}, (first, end))

    def test_area_is_the_chance_of_the_right_order(self):
        # Of the six pairs one is in the wrong order and one is equal.
        self.assertAlmostEqual(score.auc([1, 1, 0, 0, 0, -1], [0.9, 0.3, 0.5, 0.3, 0.1, 1.0]), 4.5 / 6)
        self.assertIsNone(score.auc([1, -1], [0.5, 0.5]))
        random = np.random.default_rng(3)
        self.assertAlmostEqual(score.auc(random.integers(0, 2, 20000), random.random(20000)), 0.5, delta=0.02)

    def test_take_the_value_of_their_middle(self):
        self.assertEqual(list(score.at_frames([1, 2, 3], 0.016, 6)), [1, 1, 2, 3, 3, 3])
        files = [{'name': name, 'seconds': 2.0, 'utterances': [{'start': 0.5, 'end': 1.5}]} for name in 'ab']
        step = (np.arange(100) >= 25) & (np.arange(100) < 75)
        self.assertEqual(score.frame_auc(files, {'a': step, 'b': step}, 0.02), 1.0)
        self.assertEqual(score.frame_auc(files, {'a': step, 'b': ~step}, 0.02), 0.5)


class Rules(unittest.TestCase):
    rule = {'open': 0.5, 'close': 0.3, 'opens_after': 0.03, 'pause': 0.05, 'shortest': 0.06}

    def found(self, values, **changes):
        segments = peer_rules.segments_of(values, 0.01, {**self.rule, **changes}, len(values) * 0.01)
        return [tuple(round(time, 6) for time in segment) for segment in segments]

    def test_date_a_segment_from_its_first_to_its_last_speech(self):
        values = [0] * 10 + [0.9] * 10 + [0] * 10
        self.assertEqual(self.found(values), [(0.1, 0.2, 0.25)])
        self.assertEqual(self.found([0] * 10 + [0.9] * 2 + [0] * 10), [])                   # opens_after
        self.assertEqual(self.found([0] * 10 + [0.9] * 5 + [0] * 10), [])                   # shortest
        self.assertEqual(self.found([0] * 10 + [0.9] * 5 + [0] * 10, shortest=0), [(0.1, 0.15, 0.2)])

    def test_bridge_what_is_short_or_between_the_thresholds(self):
        speech = [0.9] * 10
        self.assertEqual(self.found([0] * 5 + speech + [0] * 4 + speech + [0] * 9), [(0.05, 0.29, 0.34)])
        self.assertEqual(self.found([0] * 5 + speech + [0] * 5 + speech + [0] * 9), [(0.05, 0.15, 0.2), (0.2, 0.3, 0.35)])
        # A value between them is neither: the count of the pause goes on after it.
        self.assertEqual(self.found([0] * 5 + speech + [0] * 3 + [0.4] * 9 + [0] * 3), [(0.05, 0.15, 0.29)])

    def test_end_what_is_open_with_the_recording(self):
        self.assertEqual(self.found([0] * 5 + [0.9] * 10), [(0.05, 0.15, 0.15)])
        self.assertEqual(self.found([0] * 5 + [0.9] * 10 + [0] * 3), [(0.05, 0.15, 0.18)])

    def test_smooth_from_the_first_value_on(self):
        self.assertEqual([round(x, 6) for x in peer_rules.smoothed([1, 1, 0, 0], 0.35)], [1, 1, 0.35, 0.1225])


class Tables(unittest.TestCase):
    files = {'mixes': [{'name': 'a', 'seconds': 9, 'snr': 5, 'utterances': [{'start': 1, 'end': 2}, {'start': 4, 'end': 5}]},
                       {'name': 'b', 'seconds': 9, 'snr': 'clean', 'utterances': [{'start': 1, 'end': 2}]}]}

    def test_have_a_column_for_each_value_of_a_label(self):
        detector = compare.Detector('this one')
        detector.wide['mixes'] = {'a': [(1, 2)], 'b': [(1, 2)]}
        self.assertEqual(compare.by_label([detector], self.files, 'mixes', 'snr'),
                         '|  | 5 (2) | clean (1) |\n| --- | --- | --- |\n| this one | 50.0 | 100.0 |')

    def test_go_to_their_places_on_a_page(self):
        with tempfile.TemporaryDirectory() as folder:
            page = f'{folder}/page.md'
            with open(page, 'w', encoding='utf-8') as file:
                file.write('# A\n\n<!-- one -->\nold\n<!-- end -->\n\n<!-- two -->\n<!-- end -->\n')
            compare.fill(page, {'one': 'new', 'two': '| \\1 |'})
            with open(page, encoding='utf-8') as file:
                self.assertEqual(file.read(), '# A\n\n<!-- one -->\nnew\n<!-- end -->\n\n<!-- two -->\n| \\1 |\n<!-- end -->\n')
            with self.assertRaises(SystemExit):
                compare.fill(page, {'three': 'new'})


if __name__ == '__main__':
    unittest.main()
