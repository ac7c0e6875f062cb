"""Whole recordings: files, timestamps and noise reduction."""

import math
import struct
import tempfile
import unittest
import wave
from array import array
from pathlib import Path
from unittest import mock

import vask
from recording import PATH, SAMPLES, TRUTH, numpy

try:
    import soundfile
except ImportError:
    soundfile = None


def write_wav(path, data, width=2, channels=1, rate=16000):
    with wave.open(str(path), "wb") as file:
        file.setnchannels(channels)
        file.setsampwidth(width)
        file.setframerate(rate)
        file.writeframes(data)


class Files(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = Path(folder.name) / "a.wav"

    def test_utterances_are_where_they_were_spoken(self):
        for path in (PATH, str(PATH)):
            found = vask.detect(path)
            self.assertEqual(len(found), len(TRUTH))
            for utterance, truth in zip(found, TRUTH):
                self.assertLess(abs(utterance.start - truth["start"]), 0.1)
                self.assertLess(abs(utterance.end - truth["end"]), 0.15)
                self.assertTrue(utterance.span_start <= utterance.start and utterance.end <= utterance.span_end)

    def test_widths_and_channels_are_read(self):
        wide = array("i", [sample << 16 for sample in SAMPLES])
        forms = {1: bytes((sample >> 8) + 128 for sample in SAMPLES), 4: wide.tobytes(),
                 3: b"".join(struct.pack("<i", sample)[1:] for sample in wide)}
        expected = vask.detect(PATH)
        for width, data in forms.items():
            write_wav(self.path, data, width)
            found = vask.detect(self.path)
            if width > 1:
                self.assertEqual(found, expected, f"{8 * width} bits")
            for utterance, other in zip(found, expected):  # with 8 bits an edge may move by one step of 0.02 s
                self.assertLess(abs(utterance.start - other.start) + abs(utterance.end - other.end), 0.03, width)
            self.assertEqual(len(found), len(expected))
        two = array("h", [value for sample in SAMPLES for value in (0, sample)])
        write_wav(self.path, two.tobytes(), channels=2)
        self.assertEqual(len(vask.detect(self.path)), len(TRUTH))

    def test_what_cannot_be_read_is_refused_with_the_remedy(self):
        with self.assertRaises(FileNotFoundError):
            vask.detect("nowhere.wav")
        write_wav(self.path, bytes(200), rate=96000)
        with self.assertRaisesRegex(ValueError, f"{self.path}: the rate is 96000 Hz, not one of 8000, .*: resample"):
            vask.detect(self.path)
        self.path.write_bytes(b"not a recording")
        with self.assertRaisesRegex(ValueError, f"{self.path}: .*convert it: ffmpeg"):
            vask.detect(self.path)
        with mock.patch.dict("sys.modules", soundfile=None):  # as if it were not installed
            with self.assertRaisesRegex(ValueError, "install soundfile"):
                vask.detect(self.path)

    @unittest.skipIf(soundfile is None, "soundfile is not installed")
    def test_other_kinds_are_read_by_soundfile(self):
        path = self.path.with_suffix(".flac")
        soundfile.write(path, numpy.stack([numpy.array(SAMPLES)] * 2, axis=1), 16000)
        self.assertEqual(vask.detect(path), vask.detect(PATH))


class Timestamps(unittest.TestCase):
    def found(self, **arguments):
        return [(item["start"], item["end"]) for item in vask.get_speech_timestamps(SAMPLES, **arguments)]

    def test_they_are_the_spans_of_the_file(self):
        spans = [(utterance.span_start, utterance.span_end) for utterance in vask.detect(PATH)]
        self.assertEqual(self.found(return_seconds=True), spans)
        self.assertEqual(self.found(), [(round(start * 16000), round(end * 16000)) for start, end in spans])

    def test_arguments_do_what_their_names_say(self):
        plain = self.found(speech_pad_ms=0)
        padded = self.found(speech_pad_ms=50)
        self.assertEqual(padded, [(start - 800, end + 800) for start, end in plain])  # 50 ms are 800 samples
        self.assertEqual(self.found(min_speech_duration_ms=2000, speech_pad_ms=0),
                         [(start, end) for start, end in plain if end - start >= 32000])
        self.assertEqual(len(self.found(min_silence_duration_ms=3000)), 1)  # no pause is as long
        short = self.found(max_speech_duration_s=2.0)
        self.assertGreater(len(short), len(plain))
        self.assertLessEqual(max(end - start for start, end in short), 32000)

    def test_they_become_these_options(self):
        plain = {"audio": "none", "input_rate": 16000}
        table = [
            ({}, {}),
            ({"threshold": 0.8}, {"open_probability": 0.8, "close_probability": 0.4, "start_probability": 0.3,
                                  "mean_probability": 0.7}),
            ({"threshold": 0.25, "neg_threshold": 0.2},
             {"open_probability": 0.25, "close_probability": 0.2, "start_probability": 0.25, "mean_probability": 0.25}),
            ({"threshold": 0.5}, {"open_probability": 0.5, "close_probability": 0.35, "start_probability": 0.3,
                                  "mean_probability": 0.5}),
            ({"min_silence_duration_ms": 100}, {"pause": 0.1, "close_look_back": 0.2}),
            ({"min_silence_duration_ms": 500}, {"pause": 0.5}),
            ({"max_speech_duration_s": 3}, {"max_samples": 48000}),
            ({"sampling_rate": 8000}, {"input_rate": 8000})]
        for arguments, options in table:
            with self.subTest(arguments), mock.patch("vask._speech.listen", return_value=[]) as listen:
                self.assertEqual(self.found(**arguments), [])
                self.assertEqual(listen.call_args[1], {**plain, **options})

    def test_values_out_of_range_are_refused_by_their_own_names(self):
        for arguments, text in (({"threshold": 1.5}, "threshold is not 0 to 1"),
                                ({"neg_threshold": -1}, "neg_threshold is not"),
                                ({"min_silence_duration_ms": 1}, "min_silence_duration_ms / 1000 is not 0.02 to 10"),
                                ({"speech_pad_ms": 1e6}, "speech_pad_ms / 1000 is not"),
                                ({"max_speech_duration_s": 1}, "max_speech_duration_s is"),
                                ({"sampling_rate": 96000}, "sampling_rate is 96000 Hz, not one of 8000, 11025")):
            with self.subTest(arguments), self.assertRaisesRegex(ValueError, text):
                vask.get_speech_timestamps(SAMPLES, **arguments)


class Denoise(unittest.TestCase):
    def test_the_noise_goes_and_the_speech_stays(self):
        def level(samples, start, end):
            return 10 * math.log10(sum(value * value for value in samples[start:end]) / (end - start) + 1e-9)

        for audio in ("listening", "clean"):
            output = vask.denoise(SAMPLES, audio=audio)
            self.assertEqual(len(output), len(SAMPLES))
            out = memoryview(output).tolist()
            pause = level(SAMPLES, 75000, 80000) - level(out, 75000, 80000)  # between the first two utterances
            speech = level(SAMPLES, 20000, 55000) - level(out, 20000, 55000)
            self.assertGreater(pause - speech, 6, f"{audio}: {pause} dB and {speech} dB")

    def test_all_rates_come_back_as_they_went_in(self):
        for rate in vask.RATES:
            held = array("h", [SAMPLES[i * 16000 // rate] for i in range(4 * rate)])  # 4 s: one utterance
            self.assertEqual(len(vask.denoise(held, rate)), len(held), rate)
            (start, end), = [span.values() for span in vask.get_speech_timestamps(
                held, sampling_rate=rate, return_seconds=True, speech_pad_ms=0)]
            self.assertLess(abs(start - TRUTH[0]["start"]) + abs(end - TRUTH[0]["end"]), 0.1, rate)
        with self.assertRaisesRegex(ValueError, "rate is 16001 Hz, not one of 8000"):
            vask.denoise(SAMPLES, 16001)
        with self.assertRaisesRegex(ValueError, "input_rate is not one of 8000"):
            vask.Stream(input_rate=16001)


if __name__ == "__main__":
    unittest.main()
