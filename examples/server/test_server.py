"""Drives the server through its three protocols and into each of its limits, on the loopback address only."""

import asyncio
import contextlib
import io
import json
import struct
import sys
import unittest
import uuid
import wave
from pathlib import Path

import vask
from websockets.exceptions import ConnectionClosed
from websockets.legacy.client import connect

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))
import server  # noqa: E402

with wave.open(str(HERE.parents[1] / "samples" / "room.wav"), "rb") as _file:
    SOUND = _file.readframes(8 * _file.getframerate())  # 8 s: two utterances

EXPECTED = list(vask.listen([SOUND]))
CALL = uuid.UUID(int=7)
LOOPBACK = "127.0.0.1"


def pieces(data, size=6400):
    return [data[at:at + size] for at in range(0, len(data), size)]


def frame(kind, payload=b""):
    """A message of AudioSocket."""
    return struct.pack(">BH", kind, len(payload)) + payload


def header(kind, data=None, payload=b"", apart=False):
    """A message of Wyoming, its data in the header or after it."""
    after = json.dumps(data).encode() if apart else b""
    record = {"type": kind, "data_length": len(after), "payload_length": len(payload)}
    if data is not None and not apart:
        record["data"] = data
    return json.dumps(record).encode() + b"\n" + after + payload


class Running:
    """A server on free ports, as `async with`; what it prints is collected."""

    def __init__(self, *options):
        ports = [word for name in ("websocket", "wyoming", "audiosocket") for word in (f"--{name}", "0")]
        self.server = server.Server(server.arguments([*ports, "--bytes-per-second", "100000000", *options]))
        self.printed = io.StringIO()

    async def __aenter__(self):
        self.servers = await self.server.listen()
        self.websocket, self.wyoming, self.audiosocket = (s.sockets[0].getsockname()[1] for s in self.servers)
        self.redirect = contextlib.redirect_stdout(self.printed)
        self.redirect.__enter__()
        return self

    async def __aexit__(self, *unused):
        self.redirect.__exit__(None, None, None)
        for one in self.servers:
            one.close()
            await one.wait_closed()

    def web(self):
        return connect(f"ws://{LOOPBACK}:{self.websocket}")

    async def plain(self, port, data, end=True):
        """Send data over a plain socket and return what comes back until the server closes."""
        reader, writer = await asyncio.open_connection(LOOPBACK, port)
        writer.write(data)
        if end:
            writer.write_eof()
        answer = await asyncio.wait_for(reader.read(), 20)
        writer.close()
        return answer

    async def web_refusal(self, *messages):
        """Send messages and return code and text of the close."""
        async with self.web() as socket:
            with contextlib.suppress(ConnectionClosed):
                for message in messages:
                    await socket.send(message)
            with contextlib.suppress(ConnectionClosed):
                while True:
                    await asyncio.wait_for(socket.recv(), 20)
            return socket.close_code, socket.close_reason


class Protocols(unittest.IsolatedAsyncioTestCase):
    async def test_websocket_sends_the_events_as_json(self):
        async with Running() as running, running.web() as socket:
            await socket.send(json.dumps({"input_rate": 16000}))
            for piece in pieces(SOUND):
                await socket.send(piece)
            await socket.send(json.dumps({"end": True}))
            found = [json.loads(text) async for text in socket]
            self.assertEqual(found, [{**e._asdict(), "seconds": e.start / 16000} for e in EXPECTED])

    async def test_wyoming_says_when_voices_start_and_stop(self):
        expected = [{"type": "voice-started" if e.kind == "started" else "voice-stopped",
                     "data": {"timestamp": (e.start if e.kind == "started" else e.end) // 16}} for e in EXPECTED]
        layout = {"rate": 16000, "width": 2, "channels": 1}
        for apart in (False, True):
            one = header("audio-start", {**layout, "timestamp": 0}, apart=apart)
            one += b"".join(header("audio-chunk", layout, piece, apart) for piece in pieces(SOUND, 2048))
            one += header("audio-stop", {"timestamp": 8000}, apart=apart)
            async with Running() as running:  # unknown messages are skipped; a second sound begins anew
                answer = await running.plain(running.wyoming, header("describe") + one + one)
            self.assertEqual([json.loads(line) for line in answer.splitlines()], expected * 2, apart)

    async def test_audiosocket_prints_the_events_of_a_call(self):
        sound = struct.pack(f"<{len(SOUND) // 4}h", *struct.unpack(f"<{len(SOUND) // 2}h", SOUND)[::2])  # at 8 kHz
        expected = [{"call": str(CALL), **e._asdict(), "seconds": e.start / 8000}
                    for e in vask.listen([sound], input_rate=8000)]
        self.assertEqual(len(expected), 4)
        call = frame(0x01, CALL.bytes) + b"".join(frame(0x10, piece) for piece in pieces(sound, 320))
        for ending in (frame(0x00), frame(0xff, b"\1"), b""):
            async with Running() as running:
                self.assertEqual(await running.plain(running.audiosocket, call + ending), b"")
                self.assertEqual(list(map(json.loads, running.printed.getvalue().splitlines())), expected)


    async def test_the_client_of_the_manual_runs(self):
        text = (HERE.parents[1] / "docs" / "server.md").read_text(encoding="utf-8")
        async with Running() as running:
            code = text.split("```python\n")[1].split("```")[0].replace("8765", str(running.websocket))
            client = await asyncio.create_subprocess_exec(sys.executable, "-c", code, cwd=str(HERE.parents[1]),
                                                          stdout=asyncio.subprocess.PIPE)
            printed, _ = await client.communicate()
        kinds = [json.loads(line)["kind"] for line in printed.splitlines()]
        self.assertEqual(kinds, ["started", "ended"])


class Limits(unittest.IsolatedAsyncioTestCase):
    async def refusals(self, options, sound, text, end=True):
        """Send sound by each protocol and expect the same refusal."""
        async with Running(*options) as running:
            code, reason = await running.web_refusal(*sound)
            self.assertEqual((code, reason), (1008, text))
            answer = await running.plain(running.wyoming, b"".join(header("audio-chunk", {}, s) for s in sound), end)
            self.assertEqual(json.loads(answer.splitlines()[-1]), {"type": "error", "data": {"text": text}})
            call = frame(0x01, CALL.bytes) + b"".join(frame(0x10, s) for s in sound)
            answer = await running.plain(running.audiosocket, call, end)
            self.assertEqual(answer, frame(0xff, text.encode()) + frame(0x00))
            await asyncio.sleep(0.05)
            self.assertEqual(running.server.connections, 0)

    async def test_bytes_in_all(self):
        await self.refusals(["--bytes", "20000"], [bytes(6400)] * 4, "over 20000 bytes in all")

    async def test_bytes_a_second(self):
        await self.refusals(["--bytes-per-second", "10000"], [bytes(6400)] * 4, "over 10000 bytes a second")

    async def test_idle_time(self):
        text = "nothing was sent or taken for 0.2 s"
        await self.refusals(["--idle", "0.2"], [bytes(6400)], text, end=False)
        async with Running("--idle", "0.2") as running:
            self.assertEqual(await running.plain(running.websocket, b"GET / HTTP/1.1\r\n", end=False), b"")
            answer = await running.plain(running.wyoming, b'{"type"', end=False)
            self.assertIn(text, answer.decode())

    async def test_size_of_a_message(self):
        async with Running("--message", "1000") as running:
            code, _ = await running.web_refusal(bytes(1002))
            self.assertEqual(code, 1009)  # the protocol's own code for it
            text = "a message of over 1000 bytes"
            for data in (header("audio-chunk", {}, bytes(1002)), b" " * 5000 + b"\n",
                         b'{"payload_length": 2000000000}\n'):
                self.assertIn(text, (await running.plain(running.wyoming, data)).decode())
            answer = await running.plain(running.audiosocket, frame(0x01, CALL.bytes) + frame(0x10, bytes(1002)))
            self.assertIn(text.encode(), answer)

    async def test_streams(self):
        text = "2 streams are open: try again later"
        async with Running("--streams", "2") as running, running.web(), running.web():
            self.assertEqual(await running.web_refusal(), (1008, text))
            self.assertIn(text, (await running.plain(running.wyoming, b"")).decode())
            self.assertIn(text.encode(), await running.plain(running.audiosocket, b""))
            self.assertEqual(running.server.connections, 2)
            waiting = [await asyncio.open_connection(LOOPBACK, running.websocket) for _ in range(4)]
            for port in (running.websocket, running.wyoming):  # more than twice as many: closed at once
                self.assertEqual(await running.plain(port, b""), b"")
            for _, writer in waiting:
                writer.close()

    async def test_what_breaks_a_protocol_is_refused_and_harms_nobody(self):
        async with Running() as running, running.web() as bystander:
            for message, text in ((b"123", "3 bytes are not whole samples of 16 bits"), ("{", "not a JSON object"),
                                  ("[1]", "not a JSON object"), ("[" * 60000, "not a JSON object"),
                                  ('{"input_rate": "fast"}', "input_rate is not a whole number")):
                code, reason = await running.web_refusal(message)
                self.assertEqual((code, text in reason), (1008, True), reason)
            for data, text in ((b"{}\n[]\n", "JSON object"), (b'{"data": [1]}\n', "JSON object"),
                               (b'{"payload_length": -1}\n', "payload_length is not"),
                               (header("audio-start", {"rate": 16000, "width": 4}), "width is not 2"),
                               (header("audio-chunk", {}, b"123"), "3 bytes")):
                self.assertIn(text, (await running.plain(running.wyoming, data)).decode())
            for data, text in ((frame(0x10, bytes(320)), b"before the call"), (frame(0x01, b"short"), b"of kind 1"),
                               (frame(0x77), b"kind 119")):
                self.assertIn(text, await running.plain(running.audiosocket, data))
            for piece in pieces(SOUND):
                await bystander.send(piece)
            await bystander.send('{"end": true}')
            self.assertEqual(len([text async for text in bystander]), len(EXPECTED))


if __name__ == "__main__":
    unittest.main()
