"""What a type checker must accept of a program that uses the package, and (where it is told to ignore) refuse."""

import asyncio
from typing import List, Optional

import vask


def spoken(path: str) -> List[float]:
    return [utterance.end - utterance.start for utterance in vask.detect(path, pause=0.5)]


def first_reason(data: bytes) -> Optional[str]:
    with vask.Stream(detector="energy", preset="robust", audio="raw") as stream:
        for event in stream.process(data):
            if event.kind == "ended":
                return event.reason + str(len(stream.read()))
    return None


async def starts(reader: asyncio.StreamReader) -> List[int]:
    with vask.Stream(input_rate=8000) as stream:
        return [event.start async for event in stream.alisten(reader)]


vask.Stream(detector="best")  # type: ignore[arg-type]
vask.Stream(pauze=1)  # type: ignore[call-arg]
vask.denoise("text")  # type: ignore[arg-type]
