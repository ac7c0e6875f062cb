"""The C library: its records, and its functions as ctypes calls them.

The records mirror vask/stream.h field by field. During every call other Python threads run.
"""

from __future__ import annotations

import ctypes
from ctypes import POINTER, c_char_p, c_float, c_int32, c_int64, c_uint32, c_void_p
from pathlib import Path
from typing import Any, Dict

FULL, NO_MEMORY = -2, -3  # what a write and a flush return when the queue has no room

MODES = {"continuous": 1, "utterances": 2}
AUDIO = {"clean": 0, "raw": 1, "none": 2, "listening": 3}
DETECTORS = {"energy": 0, "learned": 1}
MODEL_REASONS = ("", "it cannot be read", "it is not a model, or of an unknown version", "it is damaged or cut",
                 "it is too large", "there is no memory")


class Profile(ctypes.Structure):
    _fields_ = [(name, c_int32) for name in (
        "hangover_frames", "voiced_check_frames", "long_speech_frames", "max_unvoiced_run", "vad_threshold",
        "sample_shift", "energy_shift", "h2l_ratio_max", "yin_min", "amdf_low", "amdf_high", "pv_low", "pv_high",
        "tonality_min", "entropy_max", "uv_vote_min", "uv_energy_offset")]


class Options(ctypes.Structure):
    profile: Profile
    _fields_ = [("mode", c_int32), ("audio", c_int32), ("profile", Profile), ("pad_start", c_int32),
                ("pad_end", c_int32), ("min_samples", c_int32), ("max_samples", c_int32),
                ("min_voiced_frames", c_int32), ("max_tone_percent", c_int32), ("tone_tonality", c_int32),
                ("queue_samples", c_int32)]


class Rules(ctypes.Structure):
    _fields_ = [(name, c_float) for name in (
        "open_probability", "open", "open_look_back", "start_probability", "close_probability", "pause",
        "close_look_back", "shortest", "mean_probability", "margin_start", "margin_end")]


class Setup(ctypes.Structure):
    size: int
    detector: int
    options: Options
    rules: Rules
    model: c_void_p
    _fields_ = [("size", c_uint32), ("detector", c_int32), ("options", Options), ("rules", Rules),
                ("model", c_void_p), ("listening_floor_db", c_float), ("listening_mix", c_float),
                ("input_rate", c_int32), ("audio_rate", c_int32), ("may_end_after", c_float),
                ("start_within", c_float)]


class Event(ctypes.Structure):
    kind: int
    reason: int
    continues: int
    _fields_ = [("kind", c_int32), ("reason", c_int32), ("segment", c_int32), ("continues", c_int32),
                ("start", c_int64), ("end", c_int64), ("span_start", c_int64), ("span_end", c_int64),
                ("heard", c_int64), ("voiced_frames", c_int32), ("voiced", c_float), ("level_db", c_float)]


class Measures(ctypes.Structure):
    _fields_ = [("heard", c_int64), ("detector_at", c_int64), ("level_db", c_float), ("energy_db", c_float),
                ("noise_db", c_float), ("speech", c_int32), ("voiced", c_int32), ("open", c_int32)]


class Hearing(ctypes.Structure):
    _fields_ = [("size", c_uint32), ("at", c_int64), ("speech", c_float), ("speech_100ms_ago", c_float),
                ("speech_200ms_ago", c_float), ("utterance", c_float), ("music", c_float), ("high_gain", c_float)]


_FUNCTIONS = {
    "vask_version": (c_char_p,),
    "vask_model_read": (c_void_p, c_char_p, c_uint32, POINTER(c_int32)),
    "vask_model_close": (None, c_void_p),
    "vask_model_digest": (c_uint32, c_void_p),
    "vask_stream_setup_defaults": (None, POINTER(Setup), c_uint32),
    "vask_stream_setup_complaint": (c_char_p, POINTER(Setup)),
    "vask_stream_robust": (None, POINTER(Options)),
    "vask_stream_open_setup": (c_void_p, POINTER(Setup)),
    "vask_stream_write": (c_int32, c_void_p, c_void_p, c_int32),
    "vask_stream_flush": (c_int32, c_void_p),
    "vask_stream_next": (c_int32, c_void_p, POINTER(Event)),
    "vask_stream_read": (c_int32, c_void_p, c_void_p, c_int32),
    "vask_stream_available": (c_int32, c_void_p),
    "vask_stream_measure": (c_int32, c_void_p, POINTER(Measures)),
    "vask_stream_hear": (c_int32, c_void_p, POINTER(Hearing)),
    "vask_stream_reset": (None, c_void_p),
    "vask_stream_close": (None, c_void_p),
    "vask_stream_set_pause": (c_int32, c_void_p, c_float),
    "vask_stream_kind_name": (c_char_p, c_int32),
    "vask_stream_reason_name": (c_char_p, c_int32),
}


def _load() -> ctypes.CDLL:
    """Load the library beside this file, or else the one that the system has."""
    bundled = Path(__file__).with_name("libVaskStreams.so")
    names = [str(bundled)] if bundled.exists() else ["libVaskStreams.so.0", "libVask.so.0"]
    for name in names:
        try:
            library = ctypes.CDLL(name)
            break
        except OSError as error:
            problem = error
    else:
        raise ImportError(f"vask: {problem}; install a wheel for this machine, or libVask itself") from problem
    for name, (result, *arguments) in _FUNCTIONS.items():
        function = getattr(library, name)
        function.restype, function.argtypes = result, arguments
    return library


def _names(name_of: Any, numbers: range) -> Dict[int, str]:
    return {number: name_of(number).decode() for number in numbers}


library = _load()
KINDS = _names(library.vask_stream_kind_name, range(1, 7))
REASONS = {0: "", **_names(library.vask_stream_reason_name, range(1, 14))}
