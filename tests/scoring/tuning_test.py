#!/usr/bin/env python3
"""`vask tune`, on recordings whose speakers pause within a sentence, and on those where nothing can be gained.

tuning_test.py VASK ROOM.wav
"""
import json
import os
import subprocess
import sys
import tempfile
import unittest
import wave

VASK, ROOM = (os.path.abspath(path) for path in sys.argv[1:3])
del sys.argv[1:3]
RATE = 16000
SENTENCES = [(1.01, 3.71), (5.44, 7.08), (9.04, 11.12), (12.97, 14.21), (16.23, 18.42)]  # in ROOM


def run(*arguments, status=0):
    done = subprocess.run([VASK, *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    assert done.returncode == status, (arguments, done)
    return done.stdout + done.stderr


class Tune(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        with wave.open(ROOM) as room:
            cls.room = room.readframes(room.getnframes())

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        os.chdir(folder.name)

    def piece(self, start, end):
        return self.room[round(start * RATE) * 2:round(end * RATE) * 2]

    def corpus(self, pause):
        """Six recordings of sentences, each of two that are `pause` seconds apart, or alone if that is None."""
        os.mkdir('corpus')
        for k in range(6):
            sound, truth = self.piece(0, 0.9), []
            for n in range(4):
                (a, b), (c, d) = SENTENCES[(k + n) % 5], SENTENCES[(k + n + 2) % 5]
                start = len(sound) / 2 / RATE
                sound += self.piece(a, b)
                if pause is not None:
                    sound += self.piece(0, pause) + self.piece(c, d)
                truth.append((start, len(sound) / 2 / RATE))
                sound += self.piece(18.6, 20) + self.piece(0, 0.9)
            with wave.open(f'corpus/call{k}.wav', 'wb') as file:
                file.setparams((1, 2, RATE, 0, 'NONE', ''))
                file.writeframes(sound)
            with open(f'corpus/call{k}.txt', 'w', encoding='utf-8') as file:
                file.write(''.join(f'{a:.3f}\t{b:.3f}\tsaid\n' for a, b in truth))

    def test_finds_a_pause_that_bridges_those_of_the_speakers(self):
        self.corpus(0.6)
        for detector, more in (('learned', ()), ('energy', ('--detector', 'energy'))):
            told = run('tune', 'corpus', '-o', detector, *more)
            self.assertIn(f'Written to {detector}:', told)
            self.assertEqual(run('tune', 'corpus', '-o', 'again', '-j', '1', *more), told.replace(f' {detector}:', ' again:'))
            with open(detector) as one, open('again') as other:
                text = one.read()
                self.assertEqual(text, other.read())
            if detector == 'learned':
                pause = [float(line.split()[1]) for line in text.splitlines() if line.startswith('pause')]
                self.assertGreater(pause[0], 0.35)
            usable = []
            for profile in ((), ('--profile', detector)):  # the profile brings its detector
                found = run('detect', '-f', 'jsonl', *more[:2 * (not profile)], *profile,
                            *(f'corpus/call{k}.wav' for k in range(6)))
                with open('found.jsonl', 'w') as file:
                    file.write(found)
                usable.append(json.loads(run('score', 'corpus', 'found.jsonl', '--delivered', '--json').splitlines()[-1])['usable'])
            self.assertGreater(usable[1], usable[0])
            self.assertIn(f'({usable[1]} of 24 utterances usable', told)

    def test_says_when_nothing_is_gained(self):
        self.corpus(None)
        self.assertIn('Nothing is gained', run('tune', 'corpus', '-o', 'profile'))
        self.assertFalse(os.path.exists('profile'))

    def test_refuses_too_few_recordings_and_wrong_profiles(self):
        self.corpus(None)
        for k in range(3):
            os.remove(f'corpus/call{k}.txt')
        self.assertIn('3 labelled recordings', run('tune', 'corpus', '-o', 'profile', status=1))
        for text, words in (('pause 31\n', 'line 1: pause is not 0 to 30'), ('detector loud\n', 'is not learned or energy'),
                            ('detector learned\nvad_threshold 30\n', '--profile needs --detector energy'),
                            ('probability 0.5\ndetector energy\n', '--probability needs --detector learned')):
            with open('profile', 'w') as file:
                file.write(text)
            told = run('detect', '--profile', 'profile', 'corpus/call0.wav', status=1 if 'is not' in words else 2)
            self.assertIn(words, told)


if __name__ == '__main__':
    unittest.main()
