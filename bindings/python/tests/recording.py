"""The recording that the tests hear: five utterances in a room, 16 kHz."""

import json
import wave
from array import array
from pathlib import Path

FOLDER = Path(__file__).resolve().parents[3] / "samples"
PATH = FOLDER / "room.wav"
TRUTH = json.loads((FOLDER / "room.json").read_text())["utterances"]  # start and end of each, in seconds

with wave.open(str(PATH), "rb") as _file:
    SAMPLES = array("h", _file.readframes(_file.getnframes()))

try:
    import numpy
except ImportError:
    numpy = None
