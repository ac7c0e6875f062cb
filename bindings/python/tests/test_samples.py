"""What a stream takes as samples, and what it gives back."""

import ctypes
import math
import mmap
import unittest
from array import array

from recording import SAMPLES, numpy
from vask import Stream
from vask._samples import address, as_int16


class Array:
    """As arrays of other packages are: no buffer, but numpy.asarray takes them."""

    def __init__(self, values):
        self.values = values

    def __array__(self, *unused, **unused_too):
        return self.values


def heard(samples):
    with Stream(audio="none") as stream:
        return list(stream.listen([samples]))


class Input(unittest.TestCase):
    def test_all_forms_of_the_same_samples_give_the_same_events(self):
        data = SAMPLES[:80000].tobytes()
        mapped = mmap.mmap(-1, len(data))
        mapped.write(data)
        native = (ctypes.c_int16 * 80000).from_buffer_copy(data)
        forms = {"array": SAMPLES[:80000], "bytes": data, "bytearray": bytearray(data), "map": mapped,
                 "read-only": memoryview(data).cast("h"), "a part": memoryview(SAMPLES)[:80000], "ctypes": native,
                 "every second": memoryview(array("h", [v for v in SAMPLES[:80000] for _ in "12"]))[::2],
                 "float32": array("f", [v / 32768 for v in SAMPLES[:80000]]),
                 "float64": array("d", [v / 32768 for v in SAMPLES[:80000]])}
        if numpy is not None:
            values = numpy.array(SAMPLES[:80000], dtype=numpy.int16)
            stereo = numpy.stack([values, values], axis=1)
            frozen = values.copy()
            frozen.setflags(write=False)
            forms.update({"numpy": values, "frozen": frozen, "a channel": stereo[:, 0], "a column": values[:, None],
                          "numpy float32": (values / 32768).astype("f"), "another package": Array(values)})
        expected = heard(SAMPLES[:80000])
        self.assertEqual([event.kind for event in expected], ["started", "ended"])
        for name, form in forms.items():
            with self.subTest(name):
                self.assertEqual(heard(form), expected)

    def test_memory_is_read_where_it_is(self):
        forms = [array("h", [1, 2, 3, 4]), b"12345678", bytearray(8)]
        if numpy is not None:
            forms.append(numpy.zeros(4, numpy.int16))
        for form in forms:
            view = as_int16(form)
            self.assertIs(memoryview(view).obj, form)
            # Slots of the same object: the part's address is the whole's and 3 samples.
            self.assertEqual(address(view[3:]), address(view) + 6)
        memory = bytearray(8)
        exported = (ctypes.c_char * 8).from_buffer(memory)
        self.assertEqual(address(as_int16(memory)), ctypes.addressof(exported))

    def test_floats_are_rounded_to_even_and_limited(self):
        # 32768 times the value; halves go to the even neighbour.
        table = {0.0: 0, 0.5: 16384, -1.0: -32768, 1.0: 32767, 7.0: 32767, -math.inf: -32768, math.inf: 32767,
                 math.nan: 0, 0.5 / 32768: 0, 1.5 / 32768: 2, -1.5 / 32768: -2, 32766.5 / 32768: 32766}
        for code in "fd":
            self.assertEqual(list(as_int16(array(code, table))), list(table.values()), code)

    def test_what_is_not_samples_is_refused_with_the_remedy(self):
        refused = [("text", TypeError, "not bytes or an array of int16"), (7, TypeError, "int, not bytes"),
                   (array("i", [1]), TypeError, "convert them to int16"), (b"123", ValueError, "3 bytes are not whole"),
                   (memoryview(bytes(8)).cast("B", (2, 4)), ValueError, r"samples\[:, 0\]")]
        for form, kind, text in refused:
            with self.subTest(form=form), self.assertRaisesRegex(kind, text):
                Stream().write(form)


class Output(unittest.TestCase):
    def test_audio_is_read_only(self):
        with Stream(mode="continuous", audio="raw") as stream:
            stream.write(SAMPLES[:3200])
            audio = stream.read(1000)
            rest = stream.read()
        self.assertEqual(bytes(audio) + bytes(rest) + bytes(stream.read()), SAMPLES[:3200].tobytes())
        self.assertEqual(len(audio), 1000)
        self.assertTrue(memoryview(audio).readonly)
        self.assertEqual(type(audio), memoryview if numpy is None else numpy.ndarray)
        with self.assertRaises((TypeError, ValueError)):
            audio[0] = 1


if __name__ == "__main__":
    unittest.main()
