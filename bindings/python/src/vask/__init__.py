"""Finds utterances and reduces noise: libVask for Python.

Samples are 16 bits, of one channel, at one of RATES.

    vask.detect("meeting.wav")                         the utterances of a file
    vask.get_speech_timestamps(audio)                  those of an array
    vask.denoise(audio, 16000)                         the array without its noise
    with vask.Stream() as stream: ...                  live: events as they come

numpy is not needed; where it is installed, audio comes out as its arrays.
"""

from ._native import library as _library
from ._options import Model, Options
from ._speech import RATES, Utterance, denoise, detect, get_speech_timestamps
from ._stream import Event, Hearing, Measures, QueueFull, Stream, listen

__all__ = ["RATES", "Event", "Hearing", "Measures", "Model", "Options", "QueueFull", "Stream", "Utterance",
           "denoise", "detect", "get_speech_timestamps", "listen"]
__version__: str = _library.vask_version().decode()
