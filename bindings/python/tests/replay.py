#!/usr/bin/env python3
"""Replay a list of inputs through the package: the same events and the same audio, to the bit.

    replay.py REPLAY.txt ROOM.wav
"""

import struct
import sys
import wave
import zlib
from array import array

from generators import generators

from vask import Stream

WORDS = {"detector": ("energy", "learned"), "mode": ("", "continuous", "utterances"),
         "audio": ("clean", "raw", "none", "listening")}


class Differs(Exception):
    pass


def value_of(name, text):
    if name in WORDS:
        return WORDS[name][int(text)]
    try:
        return int(text)
    except ValueError:
        return float(text)


def line_of(event):
    """Write an event as the list does; the two floats by their bits."""
    bits = [struct.pack(">f", value).hex() for value in (event.voiced, event.level_db)]
    numbers = (event.segment, int(event.continues), event.start, event.end, event.span_start, event.span_end,
               event.heard, event.voiced_frames)
    return " ".join(["event", event.kind, event.reason or "none", *map(str, numbers), *bits])


class Case:
    """One case: how a stream is set up, written and read, and what comes out of it."""

    def __init__(self, name, signals):
        self.name, self.signals = name, signals
        self.options = {"detector": "energy"}
        self.input = array("h")
        self.pieces = []
        self.pauses = []
        self.expected = []

    def add(self, word, *rest):
        if word == "input":
            self.input.extend(self.signals[rest[0]](*map(int, rest[1:])))
        elif word == "set":
            name = rest[0].split(".")[-1]
            self.options[name] = value_of(name, rest[1])
        elif word == "pieces":
            self.pieces = list(map(int, rest))
        elif word == "pause":
            self.pauses.append((int(rest[0]), float(rest[1])))
        else:
            self.expected.append(" ".join([word, *rest]))

    def written(self, stream):
        """Write the input piece by piece; yields after each, and after the flush."""
        samples, at, turn = memoryview(self.input), 0, 0
        pauses = list(self.pauses)
        while at < len(samples):
            while pauses and at >= pauses[0][0]:
                stream.set_pause(pauses.pop(0)[1])
            piece = samples[at:at + self.pieces[turn % len(self.pieces)]]
            stream.write(piece)
            at += len(piece)
            turn += 1
            yield
        stream.flush()
        yield

    def lines(self):
        """Run the case. Yields its lines."""
        continuous = self.options.get("mode") == "continuous"
        crc = count = 0
        with Stream(**self.options) as stream:
            for _ in self.written(stream):
                for event in stream:
                    yield line_of(event)
                    audio = bytes(stream.read())
                    crc, count = zlib.crc32(audio, crc), count + len(audio) // 2
                if continuous:
                    audio = bytes(stream.read())
                    crc, count = zlib.crc32(audio, crc), count + len(audio) // 2
        yield f"audio {count} {crc:08x}"
        yield "end"

    def check(self):
        expected = iter(self.expected)
        for line in self.lines():
            wanted = next(expected)
            if line != wanted:
                raise Differs(f"replay: case {self.name} differs: expected {wanted}, got {line}")


def cases(path, signals):
    case = None
    with open(path, encoding="ascii") as file:
        for line in file:
            words = line.split()
            if not words or words[0].startswith("#"):
                continue
            if words[0] == "case":
                case = Case(words[1], signals)
                continue
            case.add(*words)
            if words[0] == "end":
                yield case


def main(path, room):
    with wave.open(room, "rb") as file:
        samples = array("h", file.readframes(file.getnframes()))
    count = 0
    try:
        for case in cases(path, generators(samples)):
            case.check()
            count += 1
    except Differs as difference:
        print(difference)
        sys.exit(1)
    if count == 0:
        sys.exit(f"{path}: no cases")
    print(f"replay: {count} cases, the same bits")


if __name__ == "__main__":
    main(*sys.argv[1:])
