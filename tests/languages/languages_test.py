#!/usr/bin/env python3
"""vask detect finds what a synthetic voice says in many languages, in silence and in noise, where it says it.

    languages_test.py VASK TRAINING_DIR
"""
import json
import os
import subprocess
import sys
import tempfile
import unittest
import wave

import numpy as np

sys.dont_write_bytecode = True
VASK, TRAINING = (os.path.abspath(path) for path in sys.argv[1:3])
del sys.argv[1:3]
sys.path.insert(0, TRAINING)
import score  # noqa: E402

SAID = {
    'en-us': 'The train to the city leaves at nine.',
    'de': 'Der Zug in die Stadt verlässt uns um neun.',
    'fr': 'Le train pour la ville part à neuf heures.',
    'es': 'El tren a la ciudad sale a las nueve.',
    'it': 'Il treno per la città parte alle nove.',
    'pl': 'Pociąg do miasta odjeżdża o dziewiątej.',
    'ru': 'Поезд в город отправляется в девять.',
    'tr': 'Şehre giden tren saat dokuzda kalkıyor.',
    'hi': 'शहर की गाड़ी नौ बजे चलती है।',
    'ar': 'يغادر القطار إلى المدينة في التاسعة.',
    'sw': 'Treni ya mjini inaondoka saa tatu.',
    'cmn': '进城的火车九点开。',
}
SNRS_DB = (None, 15)  # None: no noise


def spoken(language, folder):
    """Samples, 1 = full scale, and their rate."""
    path = os.path.join(folder, 'said.wav')
    subprocess.run(['espeak-ng', '-v', language, '-s', '150', '-w', path, SAID[language]], check=True)
    with wave.open(path) as file:
        return np.frombuffer(file.readframes(file.getnframes()), '<i2') / 32768, file.getframerate()


def recording(said, rate, snr_db, random):
    """One second before it, two after it; and where it begins and ends."""
    samples = np.concatenate([np.zeros(rate), said, np.zeros(2 * rate)]) * (0.1 / said.std())
    first = score.loud_runs(score.without_rumble(samples, rate), rate, score.RULE_DB)
    if snr_db is not None:
        samples = samples + random.standard_normal(len(samples)) * 0.1 * 10 ** (-snr_db / 20)
    return samples, (first[0][0], first[-1][1])


def found_in(samples, rate, path):
    with wave.open(path, 'wb') as file:
        file.setparams((1, 2, rate, 0, 'NONE', ''))
        file.writeframes(np.clip(np.rint(samples * 16000), -32768, 32767).astype('<i2').tobytes())
    lines = subprocess.run([VASK, 'detect', '-f', 'jsonl', path], stdout=subprocess.PIPE, check=True).stdout
    return [(s['span_start'], s['span_end']) for s in map(json.loads, lines.splitlines()) if 'span_start' in s]


class Languages(unittest.TestCase):
    def test_each_is_one_utterance_where_it_was_said(self):
        random = np.random.default_rng(3)
        with tempfile.TemporaryDirectory() as folder:
            for language in SAID:
                said, rate = spoken(language, folder)
                for snr_db in SNRS_DB:
                    with self.subTest(language=language, snr_db=snr_db):
                        samples, true = recording(said, rate, snr_db, random)
                        found = found_in(samples, rate, os.path.join(folder, 'in.wav'))
                        outcomes, false, _ = score.judge([true], found)
                        self.assertTrue(outcomes[0]['usable'], f'said {true}, found {found}')
                        self.assertEqual(false, [])


if __name__ == '__main__':
    unittest.main()
