#!/usr/bin/env python3
"""`vask batch`: a record for each line whatever is in it, and the same bytes however it is run and interrupted.

batch_test.py VASK ROOM_WAV SCHEMA
"""
import gzip
import json
import os
import signal
import subprocess
import sys
import tarfile
import tempfile
import time
import unittest
import wave

import jsonschema

VASK, ROOM, SCHEMA = (os.path.abspath(path) for path in sys.argv[1:4])
del sys.argv[1:4]
with open(SCHEMA, encoding='utf-8') as schema:
    CHECK = jsonschema.Draft202012Validator(json.load(schema))


def batch(*arguments, lines=None, status=0):
    """The records, or what else is printed; each record fits the schema."""
    done = subprocess.run([VASK, 'batch', *arguments], input=lines, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    assert done.returncode == status, (arguments, done.returncode, done.stderr)
    if '-f' in arguments:
        return done.stdout.decode()
    records = [json.loads(line) for line in done.stdout.splitlines()]
    for record in records:
        CHECK.validate(record)
    return records


def text(*objects):
    return ''.join(json.dumps(one) + '\n' for one in objects).encode()


def read(path):
    with open(path, 'rb') as file:
        return file.read()


def write(path, content):
    with open(path, 'wb') as file:
        file.write(content)


class Batch(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        os.chdir(self.folder.name)
        self.addCleanup(os.chdir, '/')
        with wave.open(ROOM) as room:
            self.room = room.readframes(room.getnframes())
        for k in range(8):
            self.sound(f'{k}.wav', self.room[6400 * k:][:5 * 32000])

    @staticmethod
    def sound(name, samples, channels=1):
        with wave.open(name, 'wb') as out:
            out.setparams((channels, 2, 16000, 0, 'NONE', ''))
            out.writeframes(samples)

    def corpus(self, count):
        lines = text(*({'id': f'u{k}', 'path': f'{k % 8}.wav'} for k in range(count)), {'id': 'gone', 'path': 'no.wav'})
        write('corpus.jsonl', lines)
        return 'corpus.jsonl'

    def test_hostile_lines_have_one_record_each(self):
        os.symlink('/etc/passwd', 'link.wav')
        write('empty.wav', b'')
        write('text.wav', b'no sound')
        write('torn.wav', read('1.wav')[:90000])
        hostile = [
            ('missing', b'{"path": "nowhere.wav"}'), ('manifest', b''), ('manifest', b'   '),
            ('manifest', b'{"path": "a\0b"}'), ('manifest', b'{"path": "' + b'x' * 10 ** 6 + b'"}'),
            ('manifest', b'{"path": "\xff\xfe.wav"}'), ('manifest', b'{"path": "1.wav", "offset": -1}'),
            ('manifest', b'{"path": "1.wav", "duration": 1e99}'), ('manifest', b'{"path": "1.wav", "channel": 0}'),
            ('manifest', b'{"path": ["1.wav"]}'), ('manifest', b'["1.wav"]'), ('manifest', b'{"path": "1.wav"'),
            ('manifest', b'[' * 5000), ('manifest', b'{"recording_id": "r", "start": 0, "duration": 1}'),
            ('span', b'{"path": "1.wav", "offset": 2, "duration": 9}'), ('span', b'{"path": "1.wav", "offset": 6}'),
            ('span', b'{"path": "1.wav", "duration": 0}'), ('refused', b'{"path": "../../etc/passwd"}'),
            ('refused', b'{"path": "/etc/passwd"}'), ('refused', b'{"path": "link.wav"}'), ('refused', b'{"path": "-"}'),
            ('refused', b'{"sources": [{"type": "command", "source": "cat 1.wav"}]}'),
            ('manifest', b'{"sources": [{"type": "url", "source": "http://a/b.wav"}]}'),
            ('audio', b'{"path": "."}'), ('audio', b'{"path": "empty.wav"}'), ('audio', b'{"path": "text.wav"}'),
            ('audio', b'{"path": "1.wav", "channel": 2}'), ('incomplete', b'{"path": "torn.wav"}')]
        good = {'id': 'good', 'path': '1.wav'}
        lines = text({'id': 'first', 'path': '1.wav'}) + b'\n'.join(line for _, line in hostile) + b'\r\n' + text(good)
        records = batch('--root', '.', lines=lines, status=3)
        self.assertEqual([record.get('kind') for record in records], [None, *(kind for kind, _ in hostile), None])
        self.assertEqual(records[0]['segments'], records[-1]['segments'])
        self.assertEqual(len(records[-2]['segments']), 1, 'what was found before the damage stands')
        # The same without order, and in shards, of which each line is in one.
        whole = sorted(map(json.dumps, records))
        self.assertEqual(sorted(map(json.dumps, batch('--root', '.', '--unordered', lines=lines, status=3))), whole)
        parts = []
        for k in range(5):
            done = subprocess.run([VASK, 'batch', '--root', '.', '--shard', f'{k}/5'], input=lines,
                                  stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            parts += [json.dumps(json.loads(line)) for line in done.stdout.splitlines()]
        self.assertEqual(sorted(parts), whole)

    def test_manifests_of_every_kind_say_the_same(self):
        span = {'offset': 0.5, 'duration': 3}
        whole, part = batch(lines=text({'path': '3.wav'}, {'path': '3.wav', **span}))
        write('wav.scp', b'a 3.wav\nb cat 3.wav |\n')
        write('segments', b'a-1 a 0.5 3.5\na-2 b 0 -1\n')
        write('rec.jsonl.gz', gzip.compress(text(
            {'id': 'a', 'sources': [{'type': 'file', 'channels': [0], 'source': '3.wav'}], 'duration': 5})))
        write('sup.jsonl', text({'id': 's', 'recording_id': 'a', 'start': 0.5, 'duration': 3, 'channel': 0, 'x': [1]}))
        write('list.csv', b'\xef\xbb\xbfpath,offset,duration,speaker\n"3.wav",0.5,3,"a ""b"", c"\n3.wav,,,\n3.wav,1\n')
        write('nemo.json', text({'audio_filepath': '3.wav', **span, 'text': 'hi'}))
        for arguments, expected, status in [
                (['wav.scp', '--allow-commands'], [whole, whole], 0),
                (['segments', '--recordings', 'wav.scp', '--allow-commands'], [part, whole], 0),
                (['sup.jsonl', '--recordings', 'rec.jsonl.gz'], [part], 0), (['rec.jsonl.gz'], [whole], 0),
                (['list.csv'], [part, whole, None], 3), (['nemo.json'], [part], 0)]:
            records = batch(*arguments, status=status)
            self.assertEqual([record.get('segments') for record in records],
                             [one and one['segments'] for one in expected], arguments)
        self.assertEqual(batch('list.csv', status=3)[0]['given'], {'speaker': 'a "b", c'})
        self.assertEqual(batch('sup.jsonl', '--recordings', 'rec.jsonl.gz')[0]['given'], {'x': [1]})
        write('cut.jsonl.gz', read('rec.jsonl.gz')[:-20])
        batch('cut.jsonl.gz', status=1)
        failing = batch('--manifest', 'scp', '--allow-commands', lines=b'a echo no >&2; exit 3 |\n', status=3)[0]
        self.assertEqual(failing['kind'], 'command')

    def test_parts_are_heard_as_recordings_of_their_own(self):
        stereo = b''.join(self.room[i:i + 2] + b'\0\0' for i in range(0, len(self.room), 2))
        self.sound('stereo.wav', stereo, 2)
        spans = [(k * 0.25, 4 + k % 3) for k in range(40)]  # more at once than are heard in one reading
        lines = [{'path': 'stereo.wav', 'offset': start, 'duration': length, 'channel': 1} for start, length in spans]
        records = batch('-j1', lines=text(*lines))
        for (start, length), record in zip(spans, records):
            self.sound('cut.wav', self.room[int(start * 16000) * 2:][:length * 32000])
            alone = batch(lines=b'cut.wav\n')[0]
            self.assertEqual([[round(segment[key] - start, 6) for key in ('start', 'end', 'span_start', 'span_end')] +
                              [segment['level_db'], segment['snr_db']] for segment in record['segments']],
                             [[segment[key] for key in ('start', 'end', 'span_start', 'span_end', 'level_db', 'snr_db')]
                              for segment in alone['segments']], (start, length))

    def test_a_run_that_is_killed_is_gone_on_with(self):
        corpus = self.corpus(60)
        common = [corpus, '--clips']
        batch(*common, 'whole', '--shard-size', '8', '-o', 'whole.jsonl', status=3)
        for pause in [0, 0.02, 0.05, 0.1]:
            run = subprocess.Popen([VASK, 'batch', *common, 'killed', '--shard-size', '8', '-o', 'killed.jsonl',
                                    '--resume'], stderr=subprocess.DEVNULL)
            before = os.path.getsize('killed.jsonl.part') if os.path.exists('killed.jsonl.part') else 0
            for _ in range(500):  # until it has gone on
                if os.path.exists('killed.jsonl.part') and os.path.getsize('killed.jsonl.part') > before:
                    break
                time.sleep(0.01)
            time.sleep(pause)
            run.send_signal(signal.SIGKILL)
            run.wait()
        with open('killed.jsonl.part', 'a') as part:
            part.write('{"id": "torn')
        for _ in range(2):  # the second time there is nothing to do
            batch(*common, 'killed', '--shard-size', '8', '-o', 'killed.jsonl', '--resume', status=3)
        self.assertEqual(read('killed.jsonl'), read('whole.jsonl'))
        self.assertEqual(sorted(os.listdir('killed')), sorted(os.listdir('whole')))
        for name in os.listdir('whole'):
            self.assertEqual(read('killed/' + name), read('whole/' + name), name)
        with tarfile.open('whole/clips-000000.tar') as tar:
            names = tar.getnames()
            self.assertEqual(len(names), 16)
            self.assertEqual(json.load(tar.extractfile(names[1]))['segment']['clip'], names[0])
            write('clip.flac', tar.extractfile(names[0]).read())
        self.assertEqual(batch('--clips', 'alone', lines=b'clip.flac\nclip.flac\n', status=3)[1]['kind'], 'duplicate')

    def test_resuming_refuses_what_is_another_run(self):
        corpus = self.corpus(20)
        batch(corpus, '-o', 'a.jsonl', status=3)
        lines = read('a.jsonl').splitlines(True)
        write('b.jsonl.part', b''.join(lines[:5]))
        batch(corpus, '-o', 'b.jsonl', status=1)  # without --resume
        batch(corpus, '-o', 'b.jsonl', '--resume', '--pause', '1', status=1)
        write('b.jsonl.part', lines[1])
        batch(corpus, '-o', 'b.jsonl', '--resume', status=1)
        write('b.jsonl.part', b''.join(lines[::2]))
        batch(corpus, '-o', 'b.jsonl', '--resume', '--unordered', status=3)
        self.assertEqual(sorted(read('b.jsonl').splitlines(True)), sorted(lines))
        write('longer.jsonl.part', b''.join(lines) + lines[0])
        batch(corpus, '-o', 'longer.jsonl', '--resume', status=1)
        write('locked.jsonl.part', b'')
        with subprocess.Popen(['flock', '--no-fork', 'locked.jsonl.part', 'sleep', '60']) as holder:
            time.sleep(0.3)
            batch(corpus, '-o', 'locked.jsonl', status=1)
            holder.kill()

    def test_exit_status_tells_inputs_from_the_run(self):
        some = text({'path': '1.wav'}, {'path': 'no.wav'}, {'path': '2.wav'}, {'path': 'no.wav'})
        for arguments, status in [([], 3), (['--max-failures', '2'], 3), (['--max-failures', '1'], 1),
                                  (['--max-failures', '50%'], 3), (['--max-failures', '49%'], 1), (['nowhere'], 1),
                                  (['--shard', '2/2'], 2), (['--resume'], 2), (['-o', '/dev/full'], 1),
                                  (['--manifest', 'segments'], 3)]:
            batch(*arguments, lines=some, status=status)
        write('list', b'1.wav\n')
        batch('list', '-o', 'list', status=1)
        self.assertEqual(read('list'), b'1.wav\n')
        self.assertEqual(batch('--shard', '7/1000', lines=text({'path': '1.wav'})), [])
        self.assertEqual(batch(lines=b''), [])

    def test_records_come_while_lines_still_do(self):
        with subprocess.Popen([VASK, 'batch'], stdin=subprocess.PIPE, stdout=subprocess.PIPE) as run:
            for k in (1, 2):
                run.stdin.write(f'{k}.wav\n'.encode())
                run.stdin.flush()
                self.assertEqual(json.loads(run.stdout.readline())['id'], f'{k}.wav')
            run.stdout.close()  # nobody reads any more, and the next line does not come
            run.stdin.write(b'3.wav\n')
            run.stdin.flush()
            self.assertEqual(run.wait(30), -signal.SIGPIPE)

    def test_other_forms_are_made_from_records(self):
        batch('-o', 'r.jsonl', lines=text({'path': '3.wav'}, {'id': 'x y', 'path': '1.wav'}, {'path': 'no'}), status=3)
        forms = {form: batch('--records', 'r.jsonl', '-f', form).splitlines()
                 for form in ('rttm', 'uem', 'kaldi', 'nemo', 'lhotse-supervisions', 'lhotse-recordings')}
        self.assertEqual(forms['uem'], ['3 1 0.000 5.000', 'x_y 1 0.000 5.000'])
        self.assertRegex(forms['rttm'][1], r'^SPEAKER 3 1 \d\.\d{3} \d\.\d{3} <NA> <NA> speech <NA> <NA>$')
        self.assertRegex(forms['kaldi'][1], r'^x_y-000001 x_y \d\.\d{3} \d\.\d{3}$')
        recording, supervision = (json.loads(forms['lhotse-' + kind][0]) for kind in ('recordings', 'supervisions'))
        self.assertEqual((recording['num_samples'], recording['id']), (80000, supervision['recording_id']))
        write('nemo.jsonl', '\n'.join(forms['nemo']).encode())
        write('recordings.jsonl', '\n'.join(forms['lhotse-recordings']).encode())
        write('supervisions.jsonl', '\n'.join(forms['lhotse-supervisions']).encode())
        self.assertEqual(len(batch('nemo.jsonl')), 2)
        self.assertEqual(len(batch('supervisions.jsonl', '--recordings', 'recordings.jsonl')), 2)
        write('found.rttm', '\n'.join(forms['rttm']).encode())
        write('found.jsonl', read('r.jsonl').replace(b'x y', b'x_y'))
        score = subprocess.run([VASK, 'score', 'found.rttm', 'found.jsonl'], stdout=subprocess.PIPE, check=True)
        self.assertEqual(score.stdout.split(b'\n')[-2].split(b'\t')[4:6], [b'0.00', b'0.00'])


if __name__ == '__main__':
    unittest.main()
