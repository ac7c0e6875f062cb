"""Recordings in pieces: WAV through the standard library, other kinds through soundfile where it is installed."""

from __future__ import annotations

import os
import sys
import wave
from array import array
from contextlib import contextmanager
from typing import TYPE_CHECKING, Iterator, NamedTuple, Union

if TYPE_CHECKING:
    from ._samples import Samples

_PIECE = 1 << 16  # samples of each channel
_CONVERT = "ffmpeg -i IN -ac 1 -ar 16000 OUT.wav"
_SIGNED = bytes(value ^ 0x80 for value in range(256))  # 8-bit WAV is unsigned


class Recording(NamedTuple):
    """A recording that is open: `pieces` yields int16 samples, the mean of all channels."""

    rate: int  # Hz
    pieces: Iterator[Samples]


def _to_16_bits(data: bytes, width: int) -> array[int]:
    """Take the upper 16 bits of little-endian samples of 1 to 4 bytes."""
    upper = bytearray(len(data) // width * 2)
    if width == 1:
        upper[1::2] = data.translate(_SIGNED)
    else:
        upper[0::2] = data[width - 2::width]
        upper[1::2] = data[width - 1::width]
    samples = array("h", bytes(upper))
    if sys.byteorder == "big":
        samples.byteswap()
    return samples


def _mean(samples: array[int], channels: int) -> array[int]:
    if channels == 1:
        return samples
    return array("h", [sum(frame) // channels for frame in zip(*[iter(samples)] * channels)])


def _from_wave(file: wave.Wave_read) -> Iterator[Samples]:
    while True:
        data = file.readframes(_PIECE)
        if not data:
            return
        yield _mean(_to_16_bits(data, file.getsampwidth()), file.getnchannels())


@contextmanager
def open_recording(path: Union[str, "os.PathLike[str]"]) -> Iterator[Recording]:
    """Open a recording.

    Raises OSError if it cannot be read, ValueError if its kind needs soundfile or is unknown.
    """
    name = os.fspath(path)
    try:
        file = wave.open(name, "rb")
    except (wave.Error, EOFError) as error:
        with _open_other(name, error) as recording:
            yield recording
        return
    with file:
        yield Recording(file.getframerate(), _from_wave(file))


@contextmanager
def _open_other(name: str, problem: Exception) -> Iterator[Recording]:
    try:
        import soundfile  # type: ignore  # optional
    except ImportError:
        raise ValueError(f"{name}: {problem}; install soundfile to read it, or convert it: {_CONVERT}") from None
    try:
        file = soundfile.SoundFile(name)
    except soundfile.LibsndfileError as error:
        raise ValueError(f"{name}: {error}; convert it: {_CONVERT}") from None
    with file:
        blocks = file.blocks(_PIECE, dtype="int16", always_2d=True)
        means = ((block.sum(1, dtype="int32") // file.channels).astype("int16") for block in blocks)
        yield Recording(file.samplerate, means)
