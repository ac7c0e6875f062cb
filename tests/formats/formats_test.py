#!/usr/bin/env python3
"""Each format of `vask detect -f`, and the audio of -o, read by a program made for it and compared with jsonl.

    formats_test.py VASK ROOM.wav WEB_DIR [test...]
"""
import array
import csv
import functools
import io
import json
import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest
import wave

import srt

VASK, ROOM, WEB = (os.path.abspath(path) for path in sys.argv[1:4])
HERE = os.path.dirname(os.path.abspath(__file__))
RTTM_VALIDATOR = '/usr/lib/sctk/bin/rttmValidator.pl'
MD_EVAL = '/usr/lib/sctk/bin/md-eval.pl'
OF_ONE = {'labels': '.txt', 'webvtt': '.vtt', 'srt': '.srt', 'textgrid': '.TextGrid'}
# Options, and whether they pad the start and the end.
CASES = {
    'plain': ([], False, False),
    'split': (['--max-segment', '1.5'], False, False),
    'rejecting': (['--min-speech', '1.6', '--verbose', '--pad-start', '0.2'], True, False),
    'padded': (['--pad-start', '0.2', '--pad-end', '0.3'], True, True),
    'padded end': (['--pad-end', '0.9'], False, True),
    'robust': (['--preset', 'robust'], True, True),
}


def run(*command, status=0, **options):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, **options)
    if status is not None and done.returncode != status:
        raise AssertionError(f'{command}: status {done.returncode}\n{done.stdout}\n{done.stderr}')
    return done.stdout


FORMATS = re.search(r'--format NAME:\{(.*)\}', run(VASK, 'detect', '--help').decode())[1].split(',')


def detect(form, inputs, *options, **more):
    return run(VASK, 'detect', '--detector', 'energy', '-f', form, *options, '--', *inputs, **more)


def segments(jsonl):
    """Without the record of each recording."""
    return [record for record in map(json.loads, jsonl.splitlines()) if 'start' in record]


@functools.cache
def reference(inputs, *options):
    """The segments that jsonl lists: a list per file, by the name in jsonl."""
    found = {}
    for segment in segments(detect('jsonl', inputs, *options).decode()):
        found.setdefault(segment['file'], []).append(segment)
    return found


def intervals(segments, case, rejected=False):
    """What the interval formats show: intervals in whole milliseconds, with their text."""
    _, pad_start, pad_end = CASES[case]
    shown, before = [], 0
    for s in segments:
        if s['rejected'] and not rejected:
            continue
        start = s['span_start'] if pad_start and not s['rejected'] else s['start']
        end = s['span_end'] if pad_end and not s['rejected'] else s['end']
        start, end = max(ms(start), before), ms(end)
        shown.append((start, end, f"rejected {s['rejected']}" if s['rejected'] else str(s['number'])))
        before = end
    return shown


def ms(seconds):
    return int(float(seconds) * 1000 + 0.5)


def text_of(name):
    return name.decode('utf-8', 'replace')


def token(name):
    return re.sub(r'[\s\x9b\u202e]', '_', os.path.splitext(os.path.basename(text_of(name)))[0])


class Formats(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        for tool, package in (('praat', 'praat'), ('node', 'nodejs'), ('sox', 'sox'), ('perl', 'perl'),
                              (RTTM_VALIDATOR, 'sctk'), ('localedef', 'locales'), ('flac', 'flac'),
                              ('oggdec', 'vorbis-tools'), ('opusdec', 'opus-tools'), ('mpg123', 'mpg123')):
            if not shutil.which(tool):
                raise AssertionError(f'{tool} is missing: scripts/install-deps.sh installs it (package {package})')
        if not os.path.isdir(os.path.join(WEB, 'node_modules', 'webvtt-parser')):
            raise AssertionError('webvtt-parser is missing: scripts/install-deps.sh installs it with npm')
        cls.folder = tempfile.TemporaryDirectory()
        os.chdir(cls.folder.name)
        os.environ['HOME'] = cls.folder.name  # Praat writes its settings there
        with wave.open(ROOM) as room:
            frames = room.readframes(room.getnframes())
        cls.inputs = []
        # Names that break lines, columns, quotes and encodings; each starts at a different place in the recording.
        for k, name in enumerate((b'room.wav', b'a b.wav', b'q"u\'o,te.wav', b'tab\tline\nend.wav', b'caf\xc3\xa9.wav',
                                  b'caf\xe9 \xff.wav', b'-o.wav', b'wide\xe3\x80\x80space.wav', b'x.y,z.wav',
                                  b'csi\xc2\x9brlo\xe2\x80\xae.wav')):
            with open(name, 'wb') as file, wave.open(file) as copy:
                copy.setparams((1, 2, 16000, 0, 'NONE', ''))
                copy.writeframes(frames[32000 * k:])
            cls.inputs.append(name)
        run('sox', ROOM, '-r', '44100', '-c', '2', 'other rate.flac')
        run('sox', '-n', '-r', '16000', '-b', '16', 'silence.wav', 'trim', '0', '3.14159')
        cls.inputs = (*cls.inputs, b'other rate.flac', b'silence.wav')

    @classmethod
    def tearDownClass(cls):
        os.chdir('/')
        cls.folder.cleanup()

    def each_case(self):
        for case, (options, _, _) in CASES.items():
            with self.subTest(case):
                found = reference(self.inputs, *options)
                self.assertGreaterEqual(sum(map(len, found.values())), 20)
                yield case, options, found

    def each_file(self, form, read):
        """Each recording's listing, as read(paths) returns it: case, name, segments, what was read."""
        for case, options, found in self.each_case():
            shutil.rmtree('listings', ignore_errors=True)
            detect(form, self.inputs, '-o', 'listings', *options)
            paths = []
            for k, name in enumerate(self.inputs):  # not every reader accepts every name
                paths.append(f'listings/{k}')
                os.rename(b'listings/' + os.path.splitext(name)[0] + OF_ONE[form].encode(), paths[-1])
            with open(paths[0], 'rb') as file:
                self.assertEqual(detect(form, self.inputs[:1], *options), file.read())
            for name, listing in zip(self.inputs, read(paths), strict=True):
                yield case, name, found.get(text_of(name), []), listing

    def test_the_cases_cover_what_they_are_for(self):
        for case, _, found in self.each_case():
            segments = [s for one in found.values() for s in one]
            self.assertEqual(any(s['ended'] == 'split' for s in segments), case == 'split')
            self.assertEqual(any(s['rejected'] for s in segments), case == 'rejecting')

    def test_every_format_has_its_own_reader(self):
        for form in FORMATS:
            self.assertTrue(form == 'jsonl' or hasattr(self, 'test_' + form),
                            f'add test_{form} here: read it with a program that people use; '
                            'a format that holds one recording also goes into OF_ONE')

    def test_csv(self):
        for _, options, found in self.each_case():
            listing = detect('csv', self.inputs, *options).decode('utf-8', 'surrogateescape')
            rows = list(csv.DictReader(io.StringIO(listing, newline=''), strict=True))
            segments = [(name, s) for name in self.inputs for s in found.get(text_of(name), [])]
            for row, (name, s) in zip([row for row in rows if row['start']], segments, strict=True):
                self.assertEqual(row['file'].encode('utf-8', 'surrogateescape'), name)
                for key in ('start', 'end', 'span_start', 'span_end', 'voiced', 'level_db', 'snr_db', 'clipped'):
                    self.assertEqual(float(row[key]), s[key], (name, key))
                self.assertFalse(row['duration'] + row['error'])
                self.assertEqual([int(row['first']), int(row['last'])], s['samples'])
                for key in ('number', 'ended', 'rejected'):
                    self.assertEqual(row[key], '' if s[key] is None else str(s[key]))

            about = [row for row in rows if not row['start']]
            records = [o for o in map(json.loads, detect('jsonl', self.inputs, *options).splitlines())
                       if 'duration' in o]
            for row, record, name in zip(about, records, self.inputs, strict=True):
                self.assertEqual(row['file'].encode('utf-8', 'surrogateescape'), name)
                self.assertEqual(record['file'], text_of(name))
                for key in ('duration', 'rate', 'channels', 'utterances', 'speech'):
                    self.assertEqual(float(row[key]), record[key], (name, key))
                for key in ('version', 'settings'):
                    self.assertEqual(row[key], record[key])
                spoken = [s for s in found.get(text_of(name), []) if not s['rejected']]
                self.assertEqual(record['utterances'], len(spoken))
                self.assertAlmostEqual(record['speech'], sum(s['end'] - s['start'] for s in spoken), places=5)
            self.assertEqual((about[-2]['rate'], about[-2]['channels']), ('44100', '2'))
            self.assertEqual((about[-1]['utterances'], about[-1]['duration']), ('0', '3.141563'))

    def test_text(self):
        for _, options, found in self.each_case():
            lines = [line.split('\t') for line in detect('text', self.inputs, *options).decode('latin-1').splitlines()]
            segments = [s for name in self.inputs for s in found.get(text_of(name), [])]
            for line, s in zip(lines, segments, strict=True):
                self.assertEqual(line[1], '-' if s['rejected'] else str(s['number']))
                for text, key in zip(line[2:6], ('start', 'end', 'span_start', 'span_end')):
                    self.assertEqual(ms(text), ms(s[key]))

    def test_labels(self):
        def read(paths):
            for path in paths:
                with open(path) as file:
                    yield file.read()
        for case, name, segments, listing in self.each_file('labels', read):
            lines = re.findall(r'(\d+\.\d+)\t(\d+\.\d+)\t([^\t\n]+)\n', listing)
            self.assertEqual(''.join('\t'.join(line) + '\n' for line in lines), listing)
            self.assertEqual([(ms(a), ms(b), text) for a, b, text in lines], intervals(segments, case, True), name)

    def test_webvtt(self):
        def read(paths):
            return json.loads(run('node', WEB + '/read_webvtt.mjs', *paths))
        for case, name, segments, file in self.each_file('webvtt', read):
            self.assertEqual(file['errors'], [], name)
            cues = [(ms(start), ms(end), number) for number, start, end in file['cues']]
            self.assertEqual(cues, intervals(segments, case), name)

    def test_srt(self):
        def read(paths):
            for path in paths:
                with open(path) as file:
                    yield list(srt.parse(file.read()))
        for case, name, segments, subtitles in self.each_file('srt', read):
            shown = [(ms(s.start.total_seconds()), ms(s.end.total_seconds()), s.content) for s in subtitles]
            self.assertEqual(shown, [(start, end, 'Utterance ' + number)
                                     for start, end, number in intervals(segments, case)], name)
            self.assertEqual([s.index for s in subtitles], list(range(1, len(subtitles) + 1)))

    def test_textgrid(self):
        def read(paths):
            listed = run('praat', '--run', HERE + '/read_textgrids.praat', os.path.abspath('listings'), str(len(paths)))
            return listed.decode().split('file\n')[1:]
        for case, name, segments, listing in self.each_file('textgrid', read):
            length, *lines = listing.splitlines()
            rows = [(ms(start), ms(end), text) for start, end, text in (line.split('\t') for line in lines)]
            self.assertEqual([row for row in rows if row[2]], intervals(segments, case), name)
            self.assertEqual([start for start, _, _ in rows] + [ms(length)], [0] + [end for _, end, _ in rows], name)
            self.assertTrue(all(start < end for start, end, _ in rows), name)
            shutil.copy(name, 'same')
            self.assertAlmostEqual(float(length), float(run('soxi', '-D', 'same')), delta=0.0006)

    def test_rttm(self):
        for case, options, found in self.each_case():
            listing = detect('rttm', self.inputs, *options)
            with open('all.rttm', 'wb') as file:
                file.write(listing)
            said = run('perl', RTTM_VALIDATOR, '-f', '-i', 'all.rttm')
            self.assertNotIn(b'ERROR', said)
            expected, seconds = [], 0
            for name in self.inputs:
                for start, end, _ in intervals(found.get(text_of(name), []), case):
                    expected.append((token(name), start, end - start))
                    seconds += end - start
            rows = [line.split() for line in listing.decode().splitlines()]
            self.assertEqual([(row[1], ms(row[3]), ms(row[4])) for row in rows if row[0] == 'SPEAKER'], expected)
            self.assertEqual([row[1] for row in rows if row[0] == 'SPKR-INFO'], [token(n) for n in self.inputs])
            scored = run('perl', MD_EVAL, '-r', 'all.rttm', '-s', 'all.rttm').decode()
            self.assertAlmostEqual(float(re.search(r'SCORED SPEAKER TIME =\s*([\d.]+)', scored)[1]), seconds / 1000,
                                   delta=0.01)

    def test_kaldi(self):
        os.makedirs('again', exist_ok=True)
        shutil.copy('room.wav', 'again/a b.wav')  # the same name again
        shutil.copy('room.wav', 'again/a_b.wav')
        for case, options, _ in self.each_case():
            inputs = (*self.inputs, b'again/a b.wav', b'again/a_b.wav')
            found = reference(inputs, *options)
            listing = detect('kaldi', inputs, *options)
            run('sort', '-c', input=listing, env=dict(os.environ, LC_ALL='C'))
            rows = [line.split(' ') for line in listing.decode().splitlines()]
            self.assertEqual(len({row[0] for row in rows}), len(rows))
            names = {b'again/a b.wav': 'a_b_2', b'again/a_b.wav': 'a_b_3'}
            expected = {(names.get(name, token(name)), start, end) for name in inputs
                        for start, end, _ in intervals(found.get(text_of(name), []), case)}
            self.assertEqual({(name, ms(start), ms(end)) for _, name, start, end in rows}, expected)
            for utterance, name, _, _ in rows:
                self.assertRegex(utterance, '^' + re.escape(name) + r'-\d{6}$')

    def test_audio(self):
        for flags, ending, coding in ([], '.wav', 'Signed Integer PCM'), (['--flac'], '.flac', 'FLAC'):
            for _, options, found in self.each_case():
                shutil.rmtree('utterances', ignore_errors=True)
                detect('jsonl', [b'room.wav', b'other rate.flac'], '-o', 'utterances', *flags, *options)
                utterances = [(s['samples'], rate, f"utterances/{stem}-{s['number']:03d}{ending}")
                              for stem, form, rate in (('room', '.wav', 16000), ('other rate', '.flac', 44100))
                              for s in found[stem + form] if not s['rejected']]
                paths = [path for _, _, path in utterances]
                self.assertEqual(sorted('utterances/' + name for name in os.listdir('utterances') if name[0] != '.'),
                                 sorted(paths))
                for flag, expected in ('-r', '16000'), ('-c', '1'), ('-b', '16'), ('-e', coding):
                    self.assertEqual(set(run('soxi', flag, *paths).decode().splitlines()), {expected})
                counts = map(int, run('soxi', '-s', *paths).split())
                for ((first, last), rate, path), count in zip(utterances, counts, strict=True):
                    self.assertAlmostEqual(count, (last - first) * 16000 / rate, msg=path,
                                           delta=0 if rate == 16000 else 1)
                run('sox', *paths, '-n', 'stat')  # they decode to the end

    def test_denoise_writes_what_its_name_says(self):
        """Each kind by its owner's decoder: as long as the WAV and aligned with it; without loss the same samples."""
        run('sox', ROOM, '-r', '44100', '-c', '2', 'two.wav', 'trim', '0', '4')
        run(VASK, 'denoise', 'two.wav', '-o', 'clean.wav')

        def samples(path, rate=44100):
            return array.array('h', run('sox', path, '-t', 's16', '-r', str(rate), '-'))
        wanted = {rate: samples('clean.wav', rate) for rate in (44100, 48000)}
        decoders = {'flac': ['flac', '-s', '-d', '-f', '-o', 'decoded.wav'], 'ogg': ['oggdec', '-Q', '-o', 'decoded.wav'],
                    'oga': ['oggdec', '-Q', '-o', 'decoded.wav'],
                    'mp3': ['mpg123', '-q', '-w', 'decoded.wav'], 'opus': ['opusdec', '--quiet']}
        for kind in ('WAV', 'flac', 'aiff', 'aif', 'au', 'caf', 'w64', 'ogg', 'oga', 'opus', 'mp3'):
            with self.subTest(kind):
                run(VASK, 'denoise', 'two.wav', '-o', 'clean.' + kind)
                out = ['decoded.wav'] if kind == 'opus' else []
                if kind in decoders:
                    run(*decoders[kind], 'clean.' + kind, *out)
                lossy = kind in ('ogg', 'oga', 'opus', 'mp3')
                rate = 48000 if kind == 'opus' else 44100
                got, want = samples('decoded.wav' if kind in decoders else 'clean.' + kind, rate), wanted[rate]
                self.assertEqual(len(got), len(want))
                difference = sum((a - b) ** 2 for a, b in zip(got, want))
                # An offset of a millisecond would make the difference as loud as the sound.
                self.assertLessEqual(difference, sum(a * a for a in want) / 10 if lossy else 0)

    @unittest.skipUnless(shutil.which('ffmpeg'), 'ffmpeg is missing: scripts/install-deps.sh installs it')
    def test_recordings_of_every_kind(self):
        """What ffmpeg makes of the recording has its utterances, from a file and, where that can be, from a pipe."""
        os.makedirs('kinds', exist_ok=True)
        all_six = 'pan=5.1|' + '|'.join(f'c{k}=c0' for k in range(6))
        raw = ['--rate', '8000', '--encoding', 'mulaw']
        kinds = [('a.m4a', [], [], False), ('a.mkv', [], [], True), ('a.webm', [], [], True), ('-a.mka', [], [], True),
                 ('a.mp4', ['-f', 'lavfi', '-i', 'testsrc=s=64x64:r=5', '-shortest'], [], False),
                 ('a.opus', [], [], True), ('a.ogg', [], [], True), ('a.mp3', [], [], True), ('a.wv', [], [], False),
                 ('mulaw.wav', ['-c:a', 'pcm_mulaw', '-ar', '8000'], [], True),
                 ('adpcm.wav', ['-c:a', 'adpcm_ima_wav'], [], True),
                 ('six.flac', ['-af', all_six], [], True), ('center.flac', ['-ac', '6'], ['--channels', '3'], True),
                 ('fast.flac', ['-ar', '96000', '-ac', '2'], [], True),
                 ('a.aif', ['-c:a', 'pcm_f32be', '-ar', '44100'], [], True),
                 ('a.ul', ['-f', 'mulaw', '-ar', '8000'], raw, True)]
        wanted = [s for one in reference((b'room.wav',)).values() for s in one]
        self.assertEqual(len(wanted), 5)
        for name, made, options, through_a_pipe in kinds:
            path = 'kinds/' + name
            run('ffmpeg', '-v', 'error', '-y', '-i', 'room.wav', *made, path)
            for piped in (False, True) if through_a_pipe else (False,):
                with self.subTest(name, piped=piped), open(path, 'rb') as file:
                    where, source = ('.', '-') if piped else ('kinds', name)
                    found = segments(detect('jsonl', [source], *options, cwd=where, stdin=file))
                    self.assertEqual(len(found), len(wanted))
                    for got, want in zip(found, wanted):
                        for edge in 'start', 'end':
                            self.assertAlmostEqual(got[edge], want[edge], delta=0.0201)

    def test_channels_keep_their_place(self):
        """Two speakers of a call: each channel as it is alone, in every format that has a place for it."""
        run('sox', 'room.wav', 'late.wav', 'pad', '2', '0')
        run('sox', '-M', 'room.wav', 'late.wav', 'call.wav')
        alone = [[s for one in reference((name,)).values() for s in one] for name in (b'room.wav', b'late.wav')]

        def each(form, *options):
            return detect(form, ['call.wav'], '--channels', 'each', *options).decode()
        rows = csv.DictReader(io.StringIO(each('csv'), newline=''))
        for found in [row for row in rows if row['start']], segments(each('jsonl')):
            self.assertEqual([(int(s['channel']), float(s['start'])) for s in found],
                             [(k + 1, s['start']) for k in (0, 1) for s in alone[k]])
        with open('call.rttm', 'w') as file:
            file.write(each('rttm'))
        self.assertNotIn(b'ERROR', run('perl', RTTM_VALIDATOR, '-f', '-i', 'call.rttm'))
        rows = [line.split() for line in each('rttm').splitlines() if line.startswith('SPEAKER')]
        expected = [('call', k + 1, ms(s['start'])) for k in (0, 1) for s in alone[k]]
        self.assertEqual([(row[1], int(row[2]), ms(row[3])) for row in rows], expected)
        rows = [line.split() for line in each('kaldi').splitlines()]  # the fifth field counts channels from 0
        self.assertEqual([(row[1], int(row[4]) + 1, ms(row[2])) for row in rows], expected)
        for row in rows:
            self.assertRegex(row[0], f'^call-ch{int(row[4]) + 1}-\\d{{6}}$')
        each('webvtt', '-o', 'calls')
        for k in (1, 2):
            with open(f'calls/call_ch{k}.vtt') as file:
                self.assertEqual(file.read().count(f'<v Channel {k}>Utterance'), len(alone[k - 1]))
            cues = json.loads(run('node', WEB + '/read_webvtt.mjs', f'calls/call_ch{k}.vtt'))[0]
            self.assertEqual((len(cues['cues']), cues['errors']), (len(alone[k - 1]), []))
        for form in ('textgrid', 'labels'):
            run('bash', '-c', '! "$@" 2>/dev/null', '-', VASK, 'detect', '-f', form, '--channels', 'each', 'call.wav')

    def test_webvtt_beyond_an_hour(self):
        hour = 3600 * 16000 * 2
        with open('room.wav', 'rb') as room, open('hour.wav', 'wb') as long:
            head, sound = room.read(44), room.read()
            size = hour + len(sound)
            long.write(head[:4] + struct.pack('<I', size + 36) + head[8:40] + struct.pack('<I', size))
            long.seek(44 + hour)
            long.write(sound)
        early, late = (re.findall(r'0(\d)(:\S+)', detect('webvtt', [name]).decode())
                       for name in ('room.wav', 'hour.wav'))
        self.assertEqual([('1', rest) for _, rest in early], late)
        self.assertGreater(len(late), 4)

    def test_numbers_have_a_full_stop_in_every_locale(self):
        os.makedirs('locales', exist_ok=True)
        run('localedef', '-i', 'de_DE', '-f', 'UTF-8', './locales/de_DE.UTF-8')
        german = dict(os.environ, LOCPATH=os.path.abspath('locales'), LC_ALL='de_DE.UTF-8')
        self.assertEqual(run('bash', '-c', 'printf %.1f 1,5', env=german), b'1,5')  # the locale is in effect
        for form in FORMATS:
            one = self.inputs[:1]
            self.assertEqual(detect(form, one, '--pad-end', '0.25', env=german),
                             detect(form, one, '--pad-end', '0.25'))

    def test_a_recording_that_fails_leaves_the_others(self):
        for form in 'text', 'csv', 'rttm', 'kaldi':
            with_it = detect(form, [b'room.wav', b'none.wav', b'a b.wav'], status=1)
            if form == 'csv':
                with_it = with_it.replace(b'none.wav' + 22 * b',' + b'no such file: check the name\r\n', b'')
            self.assertEqual(with_it, detect(form, [b'room.wav', b'a b.wav']))

    def test_formats_for_one_recording_need_a_folder_for_more(self):
        for form in OF_ONE:
            self.assertEqual(detect(form, [b'room.wav', b'a b.wav'], status=None), b'')
            run('bash', '-c', '! "$@"', '-', VASK, 'detect', '--detector', 'energy', '-f', form, 'room.wav', 'a b.wav')


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
