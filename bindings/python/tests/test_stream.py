"""Streams: options, events, the queue's bound, closing, threads and asyncio."""

import asyncio
import ctypes
import gc
import sys
import threading
import time
import unittest
import weakref

import vask
from recording import SAMPLES
from vask import Model, QueueFull, Stream
from vask._native import library
from vask._samples import address


def replies(**options):
    """The events of the recording, each with its audio."""
    with Stream(**options) as stream:
        return [(event, bytes(stream.read())) for event in stream.listen([SAMPLES])]


class Options(unittest.TestCase):
    def test_wrong_ones_are_refused_with_their_name(self):
        table = [({"pauze": 1}, TypeError, "'pauze' is not an option"), ({"size": 1}, TypeError, "'size' is not"),
                 ({"detector": "good"}, ValueError, "'good', not 'energy' or 'learned'"),
                 ({"pause": "1"}, TypeError, "pause is '1'"), ({"max_samples": 1.5}, TypeError, "max_samples is 1.5"),
                 ({"pause": 11}, ValueError, "pause is not 0.02 to 10 s"),
                 ({"model": "a.model"}, TypeError, "model is 'a.model', not a vask.Model"),
                 ({"preset": "quiet"}, ValueError, "not 'robust'"),
                 ({"detector": "energy", "audio": "listening"}, ValueError, "needs the learned detector")]
        for options, kind, text in table:
            with self.subTest(options), self.assertRaisesRegex(kind, text):
                Stream(**options)

    def test_each_of_them_reaches_its_record(self):
        """Every field of the C setup is an option, and an option that changes no event here is still checked."""
        setup = vask._options.setup_of({"detector": "energy", "pad_start": 7, "hangover_frames": 41, "pause": 0.5,
                                        "listening_mix": 0.25, "input_rate": 16000})
        self.assertEqual((setup.detector, setup.options.pad_start, setup.options.profile.hangover_frames,
                          setup.rules.pause, setup.listening_mix), (0, 7, 41, 0.5, 0.25))
        robust = vask._options.setup_of({"preset": "robust", "pad_end": 1})
        self.assertEqual((robust.options.pad_start, robust.options.pad_end), (1600, 1))  # 0.10 s of the preset

    def test_their_list_is_that_of_the_records(self):
        native = vask._native
        fields = {name for record in (native.Setup, native.Options, native.Rules, native.Profile)
                  for name, _ in record._fields_} - {"size", "options", "rules", "profile"}
        self.assertEqual(set(vask.Options.__annotations__), fields | {"preset"})

    def test_models_that_are_none_are_refused(self):
        with self.assertRaisesRegex(ValueError, "the model: it is not a model"):
            Model(b"not a model")
        with self.assertRaisesRegex(ValueError, f"{__file__}: it is not a model"):
            Model(__file__)
        with self.assertRaises(FileNotFoundError):
            Model("nowhere.model")


class Events(unittest.TestCase):
    def test_spans_are_those_of_the_audio(self):
        for detector in ("learned", "energy"):
            found = replies(detector=detector, audio="raw")
            self.assertEqual([event.kind for event, _ in found], ["started", "ended"] * (len(found) // 2))
            for (_, head), (event, tail) in zip(found[::2], found[1::2]):
                expected = SAMPLES[event.span_start:event.span_end].tobytes()
                self.assertEqual(head + tail, expected, (detector, event))

    def test_they_come_out_at_the_close_with_their_audio(self):
        with Stream(audio="raw") as stream:
            stream.write(SAMPLES[:40000])
            self.assertEqual(next(iter(stream)).kind, "started")
            head = bytes(stream.read(1000))
        head += bytes(stream.read(5))
        event, = stream
        self.assertEqual((event.kind, event.reason), ("ended", "input-end"))
        self.assertEqual(head + bytes(stream.read()), SAMPLES[event.span_start:event.span_end].tobytes())
        self.assertTrue(stream.closed)
        self.assertEqual((list(stream), len(stream.read()), stream.available), ([], 0, 0))
        stream.close()
        for call in (lambda: stream.write(b""), stream.flush, stream.measures, stream.reset):
            with self.assertRaisesRegex(ValueError, "closed"):
                call()

    def test_several_come_out_at_the_close_as_before_it(self):
        for options in ({}, {"shortest": 2.5}, {"detector": "energy", "min_samples": 30000}):
            events, audio = zip(*replies(audio="raw", **options))
            with Stream(audio="raw", **options) as stream:
                stream.write(SAMPLES)
            found = [(event, bytes(stream.read())) for event in stream]
            self.assertEqual(tuple(event for event, _ in found), events)
            self.assertEqual(b"".join(part for _, part in found), b"".join(audio), options)
        self.assertEqual({event.kind for event in events}, {"started", "ended", "rejected"})

    def test_what_is_not_read_of_an_utterance_goes_with_the_next(self):
        with Stream(audio="raw") as stream:
            stream.write(SAMPLES)
        last = list(stream)[-1]
        self.assertEqual(bytes(stream.read()), SAMPLES[last.span_start:last.span_end].tobytes())

    def test_a_long_write_is_as_many_short_ones(self):
        long = SAMPLES * 4  # 80 s, more than one call of the library takes
        short = [long[at:at + 30000] for at in range(0, len(long), 30000)]
        self.assertEqual(list(vask.listen([long])), list(vask.listen(short)))

    def test_after_an_exception_too(self):
        with self.assertRaises(ZeroDivisionError), Stream(audio="none") as stream:
            stream.write(SAMPLES[:40000])
            raise ZeroDivisionError
        self.assertEqual([event.kind for event in stream], ["started", "ended"])

    def test_a_reset_stream_begins_anew(self):
        with Stream(audio="none") as stream:
            first = list(stream.listen([SAMPLES]))
            with self.assertRaisesRegex(ValueError, "flushed"):
                stream.write(SAMPLES)
            stream.reset()
            self.assertEqual(list(stream.listen([SAMPLES[:1], SAMPLES[1:]])), first)

    def test_measures_and_hearing_follow_the_input(self):
        with Stream(audio="none") as stream:
            self.assertEqual((stream.measures().heard, stream.hearing().at), (0, -1))
            stream.write(SAMPLES[:33600])  # 2.1 s: within the first utterance
            self.assertEqual((stream.measures().heard, stream.measures().open), (33600, True))
            self.assertGreater(stream.hearing().speech_200ms_ago, 0.9)
        with Stream(detector="energy") as stream, self.assertRaisesRegex(ValueError, "learned"):
            stream.hearing()


class Conversations(unittest.TestCase):
    def test_a_pause_is_told_before_it_is_long_enough(self):
        # Two utterances, 1.7 s apart; the first starts after 1 s.
        table = [(0.6, "nobody-spoke started may-have-ended ended nobody-spoke started ended"),
                 (3.0, "nobody-spoke started may-have-ended went-on ended")]
        for pause, expected in table:
            with Stream(audio="none", pause=pause, may_end_after=0.2, start_within=0.5) as stream:
                kinds = [event.kind for event in stream.listen([SAMPLES[:100000]])]
            self.assertEqual(" ".join(kinds), expected, pause)

    def test_the_pause_can_change_while_it_lasts(self):
        heard = {}
        for change in (None, 0.04):
            with Stream(audio="none", pause=2.0) as stream:
                stream.write(SAMPLES[:62000])  # 0.16 s after the first utterance
                if change is not None:
                    stream.set_pause(change)
                heard[change] = [e.heard for e in stream.listen([SAMPLES[62000:]]) if e.kind == "ended"]
                for refused in (0.0, 10.5):
                    with self.assertRaisesRegex(ValueError, f"{refused} s is out of range"):
                        stream.set_pause(refused)
        self.assertLess(heard[0.04][0], heard[None][0] - 16000)


class Bound(unittest.TestCase):
    """A queue of 4 s, in which nothing is lost."""

    def test_a_write_says_what_was_taken(self):
        with Stream(mode="continuous", audio="raw", queue_samples=64000) as stream:
            with self.assertRaises(QueueFull) as caught:
                stream.write(SAMPLES)
            taken = caught.exception.taken
            self.assertTrue(0 < taken < len(SAMPLES))
            out = bytes(stream.read())
            stream.write(SAMPLES[taken:taken + 32000])
            out += bytes(stream.read())
        out += bytes(stream.read())
        self.assertEqual(out, SAMPLES[:taken + 32000].tobytes())

    def test_process_goes_on_while_audio_is_read(self):
        events, audio = zip(*replies(audio="raw"))
        with Stream(audio="raw", queue_samples=64000) as stream:
            found = [(event, bytes(stream.read())) for event in stream.listen([SAMPLES])]
        self.assertEqual(tuple(event for event, _ in found), events)
        self.assertEqual(b"".join(part for _, part in found), b"".join(audio))

    def test_process_stops_where_nobody_can_read(self):
        with Stream(mode="continuous", queue_samples=64000) as stream:
            with self.assertRaises(QueueFull) as caught:
                list(stream.process(SAMPLES))
            self.assertLess(0, caught.exception.taken)
            with self.assertRaises(QueueFull):
                stream.flush()
            with self.assertRaises(QueueFull):
                list(stream.listen([]))

    def test_the_close_empties_it(self):
        with Stream(audio="raw", mode="continuous", queue_samples=64000) as stream:
            with self.assertRaises(QueueFull) as caught:
                stream.write(SAMPLES)
        self.assertEqual(bytes(stream.read()), SAMPLES[:caught.exception.taken].tobytes())


class Threads(unittest.TestCase):
    def ticks_during(self, write):
        """Count the turns of this thread while another one is inside one long call."""
        inside = []
        view = memoryview(SAMPLES.tobytes() * 30).cast("h")  # 10 minutes: about 0.2 s

        def call():
            with Stream(audio="none") as stream:
                start = address(view)
                began = time.perf_counter()
                write(stream._handle, start, len(view))
                inside.extend((began, time.perf_counter()))

        thread = threading.Thread(target=call)
        ticks = []
        thread.start()
        while thread.is_alive():
            ticks.append(time.perf_counter())
            time.sleep(0.001)
        began, ended = inside
        margin = (ended - began) / 4  # what comes at the edges may lie outside the call
        return sum(began + margin < tick < ended - margin for tick in ticks)

    def test_others_run_during_a_call(self):
        self.assertGreater(self.ticks_during(library.vask_stream_write), 3)

    @unittest.skipIf(not getattr(sys, "_is_gil_enabled", lambda: True)(), "there is no lock")
    def test_none_would_run_if_the_call_kept_the_lock(self):
        write = ctypes.PyDLL(library._name).vask_stream_write
        write.argtypes = library.vask_stream_write.argtypes
        self.assertEqual(self.ticks_during(write), 0)

    def test_streams_side_by_side_are_as_one_alone(self):
        expected = replies(audio="clean")
        found = []
        threads = [threading.Thread(target=lambda: found.append(replies(audio="clean"))) for _ in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(found, [expected] * 4)

    def test_one_stream_may_be_closed_by_another_thread(self):
        refused = []

        def write(stream):
            try:
                while True:
                    stream.write(SAMPLES)
                    stream.reset()
            except ValueError as error:
                refused.append(str(error))

        for _ in range(20):
            stream = Stream(audio="none")
            thread = threading.Thread(target=write, args=(stream,))
            thread.start()
            time.sleep(0.002)
            stream.close()
            thread.join()
        self.assertEqual(refused, ["the stream is closed"] * 20)

    def test_a_stream_that_is_dropped_is_released(self):
        stream = Stream(audio="none")
        release, gone = stream._release, weakref.ref(stream)
        self.assertIs(release.peek()[1], library.vask_stream_close)
        del stream
        gc.collect()
        self.assertEqual((release.alive, gone()), (False, None))


class Asyncio(unittest.TestCase):
    def gather(self, source):
        async def collect():
            with Stream(audio="none") as stream:
                return [event async for event in stream.alisten(await source())]

        return asyncio.run(collect())

    def test_readers_and_iterators_give_the_events_of_the_whole(self):
        data = SAMPLES.tobytes()

        async def reader(cut=4097):  # pieces end in the middle of a sample
            result = asyncio.StreamReader(limit=1 << 20)

            async def feed():
                result.feed_data(data[:1])
                for at in range(1, len(data), cut):
                    await asyncio.sleep(0)
                    result.feed_data(data[at:at + cut])
                result.feed_eof()

            self.feeding = asyncio.ensure_future(feed())
            return result

        async def pieces():
            async def produce():
                for at in range(0, len(SAMPLES), 50000):  # so long that they are processed in a thread
                    yield SAMPLES[at:at + 50000]

            return produce()

        expected = list(vask.listen([SAMPLES]))
        for source in (reader, pieces):
            with self.subTest(source.__name__):
                self.assertEqual(self.gather(source), expected)


if __name__ == "__main__":
    unittest.main()
