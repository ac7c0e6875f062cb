"""Options by keyword, and what the C library makes of them."""

from __future__ import annotations

import ctypes
import os
import weakref
from typing import Any, Dict, Literal, Mapping, Optional, TypedDict, Union

from . import _native
from ._native import library


class Options(TypedDict, total=False):
    """Options of a stream, named as in vask/stream.h, which says more of each.

    What is left out has its default value: utterances with cleaned audio by the learned detector, at 16 kHz.
    """

    detector: Literal["learned", "energy"]
    mode: Literal["utterances", "continuous"]
    audio: Literal["clean", "raw", "none", "listening"]
    preset: Literal["robust"]  # values for noisy rooms, with the detector "energy"
    model: Model
    input_rate: int  # Hz, of what is written: one of RATES
    audio_rate: int  # Hz, of what is read
    may_end_after: float  # s without speech until "may-have-ended"; 0: none
    start_within: float  # s until "nobody-spoke"; 0: none
    max_samples: int  # samples at 16 kHz; utterances are split beyond; 0: no limit
    queue_samples: int  # samples of audio that wait to be read; 0: 10 minutes
    listening_floor_db: float
    listening_mix: float
    # The learned detector's rules: probabilities, and lengths in seconds.
    open_probability: float
    open: float
    open_look_back: float
    start_probability: float
    close_probability: float
    pause: float
    close_look_back: float
    shortest: float
    mean_probability: float
    margin_start: float
    margin_end: float
    # Of the detector "energy": lengths in samples at 16 kHz.
    pad_start: int
    pad_end: int
    min_samples: int
    min_voiced_frames: int
    max_tone_percent: int
    tone_tonality: int
    # And its profile: lengths in frames of 10 ms, other units as in vask/profile.h.
    hangover_frames: int
    voiced_check_frames: int
    long_speech_frames: int
    max_unvoiced_run: int
    vad_threshold: int
    sample_shift: int
    energy_shift: int
    h2l_ratio_max: int
    yin_min: int
    amdf_low: int
    amdf_high: int
    pv_low: int
    pv_high: int
    tonality_min: int
    entropy_max: int
    uv_vote_min: int
    uv_energy_offset: int


class Model:
    """A model of the learned detector, for the option `model` of any number of streams.

    source  the path of a model file, or its bytes

    Raises OSError if the file cannot be read, ValueError if it is not a model that this library knows.
    """

    def __init__(self, source: Union[str, "os.PathLike[str]", bytes]) -> None:
        if isinstance(source, bytes):
            contents, name = source, "the model"
        else:
            name = os.fspath(source)
            with open(source, "rb") as file:
                contents = file.read()
        reason = ctypes.c_int32()
        self._handle: Optional[int] = library.vask_model_read(contents, len(contents), reason)
        if self._handle is None:
            raise ValueError(f"{name}: {_native.MODEL_REASONS[reason.value]}")
        weakref.finalize(self, library.vask_model_close, self._handle)

    @property
    def digest(self) -> int:
        """CRC-32 of what follows the header of the file."""
        return int(library.vask_model_digest(self._handle))


_CHOICES = {"detector": _native.DETECTORS, "mode": _native.MODES, "audio": _native.AUDIO}


def _chosen(name: str, value: Any) -> int:
    choices = _CHOICES[name]
    if value not in choices:
        raise ValueError(f"{name} is {value!r}, not " + " or ".join(map(repr, choices)))
    return choices[value]


def setup_of(options: Mapping[str, Any]) -> _native.Setup:
    """Return the C record for options.

    Raises TypeError for unknown options and wrong types, ValueError for values out of range.
    """
    setup = _native.Setup()
    library.vask_stream_setup_defaults(setup, ctypes.sizeof(setup))
    setup.detector = _native.DETECTORS["learned"]
    if "preset" in options:
        if options["preset"] != "robust":
            raise ValueError(f"preset is {options['preset']!r}, not 'robust'")
        library.vask_stream_robust(setup.options)
    owners: Dict[str, ctypes.Structure] = {
        name: record for record in (setup, setup.options, setup.rules, setup.options.profile)
        for name, kind, *_ in record._fields_ if not issubclass(kind, ctypes.Structure)}
    for name, value in options.items():
        if name == "preset":
            continue
        if name not in owners or name == "size":
            raise TypeError(f"{name!r} is not an option of a stream")
        if name == "model":
            if not isinstance(value, Model):
                raise TypeError(f"model is {value!r}, not a vask.Model")
            value = value._handle
        elif name in _CHOICES:
            value = _chosen(name, value)
        try:
            setattr(owners[name], name, value)
        except TypeError:
            raise TypeError(f"{name} is {value!r}, not a number of its type") from None
    complaint = library.vask_stream_setup_complaint(setup)
    if complaint is not None:
        raise ValueError(complaint.decode())
    return setup
