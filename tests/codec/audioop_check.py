"""Compare the codec, bit for bit, with the independent one of Python's standard library.

    audioop_check.py LIBRARY RECORDING.wav

Exit status 77: this Python has no audioop (removed in 3.13).
"""
import array
import ctypes
import random
import sys
import warnings

warnings.simplefilter("ignore")
try:
    import audioop
except ImportError:
    print("skipped: no audioop in this Python")
    sys.exit(77)


class State(ctypes.Structure):
    _fields_ = [("valprev", ctypes.c_int16), ("index", ctypes.c_uint8)]


library = ctypes.CDLL(sys.argv[1])
seed = 11
rng = random.Random(seed)
speech = array.array("h", open(sys.argv[2], "rb").read()[44:])
signals = {
    "speech": speech,
    "loud speech": array.array("h", (max(-32768, min(32767, 6 * x)) for x in speech)),
    "noise": array.array("h", (rng.randint(-32768, 32767) for _ in range(300000))),
    "quiet noise": array.array("h", (int(rng.gauss(0, 40)) for _ in range(100001))),
    "full-scale squares": array.array("h", (
        (32767, -32768)[i // half % 2] for half in (1, 2, 3, 7, 50, 400) for i in range(20000))),
    "silence": array.array("h", bytes(40000)),
}
total = 0
for name, samples in signals.items():
    n = len(samples) // 2 * 2
    pcm = samples[:n].tobytes()
    for start in ((0, 0), (-1234, 56), (32767, 88)):
        encoder, decoder = State(*start), State(*start)
        codes, heard = ctypes.create_string_buffer(n // 2), ctypes.create_string_buffer(2 * n)
        value = library.adpcm_coder(pcm, codes, n, ctypes.byref(encoder))
        library.adpcm_decoder(codes, heard, n, ctypes.byref(decoder))
        wanted, after = audioop.lin2adpcm(pcm, 2, start)
        decoded, decoded_after = audioop.adpcm2lin(wanted, 2, start)
        where = "%s from state %s, seed %d" % (name, start, seed)
        for what, got, expected in (
                ("codes", codes.raw, wanted), ("state", (encoder.valprev, encoder.index), after),
                ("result", value, after[0]), ("decoded", heard.raw, decoded),
                ("decoder's state", (decoder.valprev, decoder.index), decoded_after)):
            if got != expected:
                at = next((i for i, (a, b) in enumerate(zip(got, expected)) if a != b), 0) \
                    if isinstance(got, bytes) else 0
                sys.exit("%s: the %s differ, first at byte %d" % (where, what, at))
        total += n
print("%d samples, bit for bit" % total)
