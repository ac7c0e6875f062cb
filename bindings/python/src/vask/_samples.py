"""Samples in and out: views of the caller's memory as int16, and read-only arrays."""

from __future__ import annotations

import array
import ctypes
import math
import sys
from functools import lru_cache
from typing import TYPE_CHECKING, Any, Union

if TYPE_CHECKING:
    from typing import Protocol

    import numpy  # type: ignore  # optional
    import numpy.typing  # type: ignore

    class SupportsArray(Protocol):
        """What numpy.asarray takes: its own arrays, and those of other packages that lie in the CPU's memory."""

        def __array__(self) -> Any: ...

    Samples = Union[bytes, bytearray, memoryview, "array.array[int]", "array.array[float]", SupportsArray]
    Audio = Union[memoryview, numpy.typing.NDArray[numpy.int16]]


class _PyBuffer(ctypes.Structure):
    """Py_buffer of CPython's stable interface."""

    buf: int
    _fields_ = [("buf", ctypes.c_void_p), ("obj", ctypes.c_void_p), ("len", ctypes.c_ssize_t),
                ("itemsize", ctypes.c_ssize_t), ("readonly", ctypes.c_int), ("ndim", ctypes.c_int),
                ("format", ctypes.c_char_p), ("shape", ctypes.c_void_p), ("strides", ctypes.c_void_p),
                ("suboffsets", ctypes.c_void_p), ("internal", ctypes.c_void_p)]


_NATIVE = "@=<" if sys.byteorder == "little" else "@=>"  # byte orders that are this machine's

_get_buffer = ctypes.PYFUNCTYPE(ctypes.c_int, ctypes.py_object, ctypes.POINTER(_PyBuffer), ctypes.c_int)(
    ("PyObject_GetBuffer", ctypes.pythonapi))
_release_buffer = ctypes.PYFUNCTYPE(None, ctypes.POINTER(_PyBuffer))(("PyBuffer_Release", ctypes.pythonapi))


def address(view: memoryview) -> int:
    """Return where the memory of a contiguous view is, for as long as the view lives.

    ctypes itself tells this of writable memory only.
    """
    buffer = _PyBuffer()
    _get_buffer(view, buffer, 0)
    result = buffer.buf
    _release_buffer(buffer)
    return result


@lru_cache(maxsize=None)
def numpy_if_installed() -> Any:
    try:
        import numpy
    except ImportError:
        return None
    return numpy


def read_only(memory: Union[bytes, bytearray]) -> Audio:
    """Return 16-bit samples as a read-only array: numpy's, if that is installed, else a memoryview."""
    view = memoryview(memory).toreadonly().cast("h")
    np = numpy_if_installed()
    return view if np is None else np.frombuffer(view, dtype=np.int16)


def _from_float(view: memoryview) -> memoryview:
    """Convert floats from -1 to 1 to 16 bits: 1.0 is 32768, rounded to even, limited; what is not a number is 0."""
    np = numpy_if_installed()
    if np is not None:
        scaled = np.nan_to_num(np.asarray(view) * 32768.0, posinf=32767, neginf=-32768)
        return memoryview(np.clip(np.rint(scaled), -32768, 32767).astype(np.int16))
    limited = (0.0 if math.isnan(value) else max(-32768.0, min(32767.0, value * 32768)) for value in view)
    return memoryview(array.array("h", [round(value) for value in limited]))


def as_int16(samples: Samples) -> memoryview:
    """Return a view of samples as int16, of their own memory if that is int16 or bytes without gaps.

    samples  n samples of one channel: int16, or bytes that hold them in this machine's byte order; float32
             and float64 from -1 to 1, and whatever has gaps between its samples, are copied

    Raises TypeError for other types, ValueError for several channels or half a sample.
    """
    try:
        view = memoryview(samples)  # type: ignore[arg-type]
    except TypeError:
        np = numpy_if_installed()
        if np is None or not hasattr(samples, "__array__"):
            kind = type(samples).__name__
            raise TypeError(f"samples are {kind}, not bytes or an array of int16 or float32") from None
        view = memoryview(np.asarray(samples))
    if view.ndim != 1:
        shape = view.shape or ()
        if len(shape) != 2 or 1 not in shape:
            raise ValueError(f"samples have the shape {shape}: give one channel, as in samples[:, 0]")
        view = memoryview(view.tobytes()).cast("B").cast(view.format.lstrip(_NATIVE))
    kind = view.format.lstrip(_NATIVE)
    if kind in ("f", "d"):
        return _from_float(view)
    if kind not in ("h", "b", "B", "c"):
        raise TypeError(f"samples are of type {view.format!r}: convert them to int16 or float32 first")
    if view.nbytes % 2 != 0:
        raise ValueError(f"{view.nbytes} bytes are not whole samples of 16 bits")
    if not view.contiguous or view.format not in ("h", "b", "B", "c"):
        view = memoryview(view.tobytes())
    return view if view.format == "h" else view.cast("B").cast("h")
