"""Whole recordings: where speech is in them, and without their noise."""

from __future__ import annotations

import math
import os
from typing import TYPE_CHECKING, Any, Dict, Iterator, List, NamedTuple, Optional, Union

from ._files import open_recording
from ._options import Model
from ._samples import as_int16, read_only
from ._stream import QueueFull, Stream, listen

if TYPE_CHECKING:
    from typing import Literal

    from typing_extensions import Unpack

    from ._options import Options
    from ._samples import Audio, Samples

RATES = (8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000)  # Hz
_PIECE = 1 << 16  # samples


class Utterance(NamedTuple):
    """An utterance in a recording. Times are seconds."""

    start: float  # where it was detected
    end: float
    span_start: float  # with its margins
    span_end: float
    voiced: float  # share of its frames that are voiced, 0 to 1
    level_db: float  # mean level from start to end, dB full scale
    reason: str  # why it ended, as in Event


def _checked(rate: int, name: str) -> int:
    if rate not in RATES:
        rates = ", ".join(map(str, RATES))
        raise ValueError(f"{name} is {rate} Hz, not one of {rates}: resample the audio first, for example by "
                         f"scipy.signal.resample_poly or ffmpeg -i IN -ar 48000 OUT.wav")
    return rate


def _cut(samples: Samples) -> Iterator[memoryview]:
    view = as_int16(samples)
    return (view[start:start + _PIECE] for start in range(0, len(view), _PIECE))


def detect(path: Union[str, "os.PathLike[str]"], **options: Unpack[Options]) -> List[Utterance]:
    """Find the utterances in a recording, in constant memory.

    path     a WAV file of 8 to 32 bits; other kinds need the package soundfile. Several channels are averaged
    options  as for Stream

    Raises OSError if it cannot be read; ValueError, with the remedy, for a kind or a rate that is not supported.
    """
    with open_recording(path) as recording:
        rate = _checked(recording.rate, f"{os.fspath(path)}: the rate")
        options["input_rate"] = rate
        return [Utterance(event.start / rate, event.end / rate, event.span_start / rate, event.span_end / rate,
                          event.voiced, event.level_db, event.reason)
                for event in listen(recording.pieces, **options) if event.kind == "ended"]


def get_speech_timestamps(
    audio: Samples,
    model: Optional[Model] = None,
    *,
    sampling_rate: int = 16000,
    threshold: Optional[float] = None,
    neg_threshold: Optional[float] = None,
    min_speech_duration_ms: Optional[float] = None,
    max_speech_duration_s: float = math.inf,
    min_silence_duration_ms: Optional[float] = None,
    speech_pad_ms: Optional[float] = None,
    return_seconds: bool = False,
) -> List[Dict[str, Any]]:
    """Find speech by the learned detector.

    audio                    n samples of one channel: int16, bytes of them, or float32 from -1 to 1
    model                    a model of the detector; None: the built-in one
    sampling_rate            Hz, one of RATES
    threshold                speech starts where it is this probable or more, 0 to 1; None: 0.7
    neg_threshold            and ends where it is this probable or less; None: 0.4, or 0.15 below a lower threshold
    min_speech_duration_ms   shorter speech is left out; None: 200
    max_speech_duration_s    longer speech is split where it is quietest: 2 s or more
    min_silence_duration_ms  pauses shorter than this do not end it, 20 to 10000; None: about 350
    speech_pad_ms            added at both sides, 0 to 10000; None: 100 before and 250 after it. It never reaches into
                             the speech before or after
    return_seconds           True: times are seconds, not samples

    Returns a list of {"start": …, "end": …}: the first sample, and one past the last.

    >>> get_speech_timestamps(bytes(32000))
    []
    """
    options: Options = {"audio": "none", "input_rate": _checked(sampling_rate, "sampling_rate")}
    if model is not None:
        options["model"] = model
    if threshold is not None:
        options["open_probability"] = threshold
        options["close_probability"] = max(min(0.4, threshold - 0.15), min(0.01, threshold / 2))
        options["start_probability"] = min(0.3, threshold)
        options["mean_probability"] = min(0.7, threshold)
    if neg_threshold is not None:
        options["close_probability"] = neg_threshold
    if min_speech_duration_ms is not None:
        options["shortest"] = min_speech_duration_ms / 1000
    if min_silence_duration_ms is not None:
        options["pause"] = min_silence_duration_ms / 1000
        if min_silence_duration_ms < 350:
            options["close_look_back"] = 0.2  # what is judged 0.4 s afterwards takes such pauses for speech
    if speech_pad_ms is not None:
        options["margin_start"] = options["margin_end"] = speech_pad_ms / 1000
    if max_speech_duration_s != math.inf:
        options["max_samples"] = round(max_speech_duration_s * 16000)
    try:
        events = [event for event in listen(_cut(audio), **options) if event.kind == "ended"]
    except ValueError as error:
        raise ValueError(_with_our_names(str(error))) from None
    spans = [{"start": event.span_start, "end": event.span_end} for event in events]
    if not return_seconds:
        return spans
    return [{edge: position / sampling_rate for edge, position in span.items()} for span in spans]


def _with_our_names(complaint: str) -> str:
    """Replace the options of a stream in a complaint by the arguments of get_speech_timestamps."""
    for theirs, ours in (("open_probability", "threshold"), ("close_probability", "neg_threshold"),
                         ("shortest", "min_speech_duration_ms / 1000"), ("pause", "min_silence_duration_ms / 1000"),
                         ("margin_start", "speech_pad_ms / 1000"), ("max_samples", "max_speech_duration_s")):
        complaint = complaint.replace(theirs, ours)
    return complaint


def denoise(samples: Samples, rate: int = 16000, **options: Unpack[Options]) -> Audio:
    """Take the noise out of a recording.

    samples  n samples of one channel: int16, bytes of them, or float32 from -1 to 1
    rate     Hz, one of RATES
    options  as for Stream: audio is "listening", for people, or "clean", as a recogniser hears it; and
             listening_floor_db and listening_mix say how far the first goes

    Returns n samples at the same rate, int16, read-only; what is above 8 kHz is cut off.

    >>> len(denoise(bytes(32000)))
    16000
    """
    options["input_rate"] = options["audio_rate"] = _checked(rate, "rate")
    options["mode"] = "continuous"
    options.setdefault("audio", "listening")
    output = bytearray()
    with Stream(**options) as stream:
        for piece in _cut(samples):
            stream.write(piece)
            output += bytes(stream.read())
    return read_only(output + bytes(stream.read()))
