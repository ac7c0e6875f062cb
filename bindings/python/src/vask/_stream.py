"""Streams: the handle of vask/stream.h as an object, with iterators of its events."""

from __future__ import annotations

import asyncio
import ctypes
import threading
import weakref
from collections import deque
from typing import (
    TYPE_CHECKING, AsyncIterable, AsyncIterator, Deque, Iterable, Iterator, NamedTuple, Optional, Tuple, Union)

from . import _native
from ._native import library
from ._options import setup_of
from ._samples import address, as_int16, read_only

if TYPE_CHECKING:
    from typing_extensions import Unpack

    from ._options import Options
    from ._samples import Audio, Samples

_MOST = 1 << 20  # samples a call: between calls Python sees signals
_LONG = 16000  # samples; what is longer is written in a thread by asyncio


class Event(NamedTuple):
    """What happened, and where: positions are samples of the input, from 0."""

    kind: str  # "started", "ended", "rejected", "may-have-ended", "went-on" or "nobody-spoke"
    reason: str  # "silence", "long-noise", "input-end", "split", "too-short", "too-little-voice" or "tones"; else ""
    segment: int  # number of the segment from 1; 0: nobody spoke
    continues: bool  # it continues where the previous segment was split
    start: int  # detected start
    end: int  # one past the detected end; -1: not yet known
    span_start: int  # first sample that is delivered
    span_end: int  # one past the last; -1: not yet known
    heard: int  # samples of the input that had been processed when this was decided
    voiced_frames: int  # frames of 10 ms
    voiced: float  # the same as a share, 0 to 1
    level_db: float  # mean level of the input, dB full scale


class Measures(NamedTuple):
    """The newest frame, for meters and traces."""

    heard: int  # samples of the input that have been processed
    detector_at: int  # position of the frame that the detector's values belong to; -1: none yet
    level_db: float  # dB full scale
    energy_db: float  # dB above the detector's own silence; 0 with the learned one
    noise_db: float  # the noise floor on the same scale
    speech: bool
    voiced: bool
    open: bool  # a segment has started and is open


class Hearing(NamedTuple):
    """What the learned detector makes of the newest step of 0.02 s, and of those before it: probabilities."""

    at: int  # position of the newest step; -1: none yet
    speech: float
    speech_100ms_ago: float
    speech_200ms_ago: float
    utterance: float  # the step 0.4 s ago is in an utterance: pauses under 0.35 s are speech
    music: float  # music 0.2 s ago
    high_gain: float


class QueueFull(Exception):
    """The queue of audio and events has reached its bound: take some of both, then write the rest.

    taken  samples of the write that have been taken before that
    """

    def __init__(self, taken: int = 0) -> None:
        super().__init__(f"the queue is full after {taken} samples: read audio and take events, then write the rest")
        self.taken = taken


def _event(record: _native.Event) -> Event:
    values = Event(*(getattr(record, name) for name in Event._fields))
    return values._replace(kind=_native.KINDS[record.kind], reason=_native.REASONS[record.reason],
                           continues=record.continues == 1)


class Stream:
    """A stream of samples, and the utterances in it.

    options  as Options lists them; without any: utterances by the learned detector, with cleaned audio

    >>> with Stream(audio="none", input_rate=16000) as stream:
    ...     for event in stream.listen([bytes(32000), bytes(32000)]):
    ...         print(event.kind, event.start / 16000)

    Streams share nothing. One stream may be used from several threads: a lock lets one call in at a time.

    Raises TypeError for unknown options, ValueError for values out of range, MemoryError.
    """

    def __init__(self, **options: Unpack[Options]) -> None:
        setup = setup_of(options)
        self._model = options.get("model")  # lives as long as the stream
        self._lock = threading.Lock()
        self._continuous = setup.options.mode == _native.MODES["continuous"]
        self._left: Deque[Tuple[Event, bytes]] = deque()  # events that came out at the close, with their audio
        self._unread = b""  # audio that came out at the close and belongs to the event that was taken last
        self._handle: Optional[int] = library.vask_stream_open_setup(setup)
        if self._handle is None:
            raise MemoryError("no memory for a stream")
        self._release = weakref.finalize(self, library.vask_stream_close, self._handle)

    def __enter__(self) -> Stream:
        return self

    def __exit__(self, *unused: object) -> None:
        self.close()

    def _opened(self) -> int:
        if self._handle is None:
            raise ValueError("the stream is closed")
        return self._handle

    def _write(self, view: memoryview) -> int:
        """Write what there is room for. Returns the samples taken."""
        with self._lock:
            handle, start = self._opened(), address(view)
            for taken in range(0, len(view), _MOST):
                count = min(_MOST, len(view) - taken)
                result: int = library.vask_stream_write(handle, start + 2 * taken, count)
                if result == _native.NO_MEMORY:
                    raise MemoryError("no memory for the queue of a stream")
                if result < 0 and result != _native.FULL:
                    raise ValueError("the stream is flushed: reset it first")
                if result != count:
                    return taken + max(result, 0)
        return len(view)

    def write(self, samples: Samples) -> None:
        """Write input.

        samples  n samples of one channel at input_rate, any n: int16, or bytes that hold them; their memory is
                 read where it is, also if it is read-only. float32 from -1 to 1 is converted

        Raises QueueFull, which says how many samples have been taken; ValueError for a stream that is flushed.
        """
        view = as_int16(samples)
        taken = self._write(view)
        if taken < len(view):
            raise QueueFull(taken)

    def process(self, samples: Samples) -> Iterator[Event]:
        """Write input and yield the events that it brings; audio may be read after each.

        samples  as for write; all are taken, as long as the audio is read

        Raises QueueFull if that stands still because nobody reads the audio.
        """
        view = as_int16(samples)
        total = 0
        while True:
            total += self._write(view[total:])
            event = None
            for event in self:
                yield event
            if total == len(view):
                return
            if event is None:  # nobody could read audio since the write
                raise QueueFull(total)

    def listen(self, pieces: Iterable[Samples]) -> Iterator[Event]:
        """Write pieces of input one by one, flush at their end, and yield the events as they come."""
        for piece in pieces:
            yield from self.process(piece)
        yield from self._finish()

    async def alisten(self, source: Union[asyncio.StreamReader, AsyncIterable[Samples]]) -> AsyncIterator[Event]:
        """Do the same with what comes from a reader, or an asynchronous iterator of pieces.

        source  bytes of 16-bit samples in this machine's byte order, or pieces as for write. Pieces of over
                16000 samples are processed in a thread, so that the loop goes on
        """
        pieces = _pieces(source) if isinstance(source, asyncio.StreamReader) else source
        async for piece in pieces:
            view = as_int16(piece)
            events = self.process(view)
            while True:
                if len(view) > _LONG:
                    event = await asyncio.get_running_loop().run_in_executor(None, _next, events)
                else:
                    event = _next(events)
                if event is None:
                    break
                yield event
        for event in self._finish():
            yield event

    def _finish(self) -> Iterator[Event]:
        while True:
            code = self._flush()
            event = None
            for event in self:
                yield event
            if code == 0:
                return
            if event is None:
                raise QueueFull

    def flush(self) -> None:
        """End the input: what was held back comes out, and an open segment becomes an utterance or is rejected.

        Raises QueueFull: take audio and events, then call again.
        """
        if self._flush() != 0:
            raise QueueFull

    def _flush(self) -> int:
        with self._lock:
            result: int = library.vask_stream_flush(self._opened())
        if result == _native.NO_MEMORY:
            raise MemoryError("no memory for the queue of a stream")
        return result

    def next(self) -> Optional[Event]:
        """Take the next event, or None if there is none now.

        When a "started" is taken, what has not been read of the previous utterance is dropped.
        """
        record = _native.Event()
        with self._lock:
            if self._handle is not None:
                return _event(record) if library.vask_stream_next(self._handle, record) == 1 else None
            if not self._left:
                return None
            event, audio = self._left.popleft()
            self._unread = audio if event.kind == "started" else self._unread + audio
            return event

    def __iter__(self) -> Iterator[Event]:
        """Yield the events that have come and not been taken; after the close, those that came at the close."""
        while True:
            event = self.next()
            if event is None:
                return
            yield event

    def read(self, most: int = -1) -> Audio:
        """Take audio.

        most  samples at most; -1: all there are

        Returns a read-only int16 array, of numpy if that is installed, else a memoryview: in mode "utterances"
        audio of the segment whose event was taken last (after "started" what is certain so far, after "ended"
        the rest), at audio_rate.
        """
        with self._lock:
            if self._handle is not None:
                return read_only(self._read(most))
            bytes_taken = len(self._unread) if most < 0 else 2 * most
            audio, self._unread = self._unread[:bytes_taken], self._unread[bytes_taken:]
            return read_only(audio)

    def _read(self, most: int = -1) -> bytearray:
        count = library.vask_stream_available(self._handle)
        count = count if most < 0 else min(most, count)
        memory = bytearray(2 * count)
        if count > 0:
            room = (ctypes.c_int16 * count).from_buffer(memory)
            count = library.vask_stream_read(self._handle, ctypes.addressof(room), count)
            del room  # so that the memory may be cut
            del memory[2 * count:]
        return memory

    @property
    def available(self) -> int:
        """Samples that read could take now."""
        with self._lock:
            if self._handle is not None:
                return int(library.vask_stream_available(self._handle))
            return len(self._unread) // 2

    def measures(self) -> Measures:
        """Return the measures of the newest frame."""
        record = _native.Measures()
        with self._lock:
            library.vask_stream_measure(self._opened(), record)
        values = Measures(*(getattr(record, name) for name in Measures._fields))
        return values._replace(speech=bool(values.speech), voiced=bool(values.voiced), open=bool(values.open))

    def hearing(self) -> Hearing:
        """Return what the learned detector makes of the newest step.

        Raises ValueError for a stream with the other detector.
        """
        record = _native.Hearing(size=ctypes.sizeof(_native.Hearing))
        with self._lock:
            result = library.vask_stream_hear(self._opened(), record)
        if result != 0:
            raise ValueError("the stream does not have the learned detector")
        return Hearing(*(getattr(record, name) for name in Hearing._fields))

    def set_pause(self, seconds: float) -> None:
        """Change the pause that ends an utterance, while the stream runs.

        seconds  0.02 to 10 with the learned detector, 0 to 30 with the other

        Raises ValueError if that is out of range.
        """
        with self._lock:
            result = library.vask_stream_set_pause(self._opened(), seconds)
        if result != 0:
            raise ValueError(f"a pause of {seconds} s is out of range, or the queue has no room for it")

    def reset(self) -> None:
        """Put the stream back in the state in which it was opened; queue and events are dropped."""
        with self._lock:
            library.vask_stream_reset(self._opened())

    def close(self) -> None:
        """Flush, keep the events and the audio that come out for next and read, and release the rest.

        So every "started" is followed by an "ended" or a "rejected". A second call does nothing.
        """
        with self._lock:
            if self._handle is None:
                return
            try:
                self._keep_rest()
            finally:
                self._handle = self._model = None
                self._release()

    @property
    def closed(self) -> bool:
        return self._handle is None

    def _keep_rest(self) -> None:
        record = _native.Event()
        while True:
            result = library.vask_stream_flush(self._handle)
            progress = self._keep_audio()
            while library.vask_stream_next(self._handle, record) == 1:
                self._left.append((_event(record), b""))
                self._keep_audio()
                progress = True
            if result == 0:
                return
            if not progress:
                raise MemoryError("no memory for the queue of a stream")

    def _keep_audio(self) -> bool:
        """Keep what can be read now with the event that was taken last. Returns whether there was some."""
        audio = bytes(self._read())
        if self._left:
            event, before = self._left.pop()
            self._left.append((event, before + audio))
        else:
            self._unread += audio
        return len(audio) > 0


def _next(events: Iterator[Event]) -> Optional[Event]:
    return next(events, None)


async def _pieces(reader: asyncio.StreamReader) -> AsyncIterator[bytes]:
    """Yield whole samples from a reader; half a sample waits for the rest."""
    half = b""
    while True:
        data = await reader.read(1 << 16)
        if not data:
            return
        data = half + data
        whole = len(data) & ~1
        half = data[whole:]
        yield data[:whole]


def listen(pieces: Iterable[Samples], **options: Unpack[Options]) -> Iterator[Event]:
    """Yield the events of a recording that comes in pieces.

    pieces   samples, as for Stream.write
    options  as for Stream; no audio is delivered

    >>> list(listen([bytes(32000)]))
    []
    """
    options.setdefault("audio", "none")
    with Stream(**options) as stream:
        yield from stream.listen(pieces)
