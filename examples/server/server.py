#!/usr/bin/env python3
"""Says where the utterances are in sound that comes by WebSocket, Wyoming or AudioSocket.

Sound is 16-bit PCM of one channel, little-endian; docs/server.md says what each protocol sends. Needs the packages
vask and websockets. There is neither encryption nor a password: put a proxy in front of it.
"""
import argparse
import asyncio
import json
import struct
import time
import uuid

import vask
from websockets.exceptions import ConnectionClosed
from websockets.legacy.server import WebSocketServerProtocol, serve


class Refused(Exception):
    """What a client is told that reaches a limit or breaks its protocol."""


def fields(value):
    """Return a JSON object, also from its text."""
    if not isinstance(value, dict):
        try:
            value = json.loads(value)
        except (ValueError, TypeError, RecursionError):
            value = None
    if not isinstance(value, dict):
        raise Refused("a message is not a JSON object")
    return value


def number(record, name, default=0):
    value = default if record.get(name) is None else record[name]
    if type(value) is not int or not 0 <= value < 1 << 31:
        raise Refused(f"{name} is not a whole number")
    return value


class Server:
    def __init__(self, limits):
        self.limits, self.connections = limits, 0

    def crowded(self):
        """Return whether so many are waiting to be refused that no more are told why."""
        return self.connections > 2 * self.limits.streams

    def meter(self):
        """Return a function that counts the sizes of one connection's messages, with two seconds' worth in hand."""
        limits, total, credit, counted = self.limits, 0, 2 * self.limits.bytes_per_second, time.monotonic()

        def count(size):
            nonlocal total, credit, counted
            now = time.monotonic()
            credit = min(2 * limits.bytes_per_second, credit + (now - counted) * limits.bytes_per_second)
            cost = size + 1000  # so that many small messages cost too
            credit, total, counted = credit - cost, total + cost, now
            for over, text in ((size > limits.message, f"a message of over {limits.message} bytes"),
                               (total > limits.bytes, f"over {limits.bytes} bytes in all"),
                               (credit < 0, f"over {limits.bytes_per_second} bytes a second")):
                if over:
                    raise Refused(text)

        return count

    async def converse(self, commands, send, refuse):
        """Carry out ("start", rate), ("audio", bytes) and ("end", None); send the events that they bring."""
        stream, kind = None, None
        try:
            if self.connections > self.limits.streams:
                raise Refused(f"{self.limits.streams} streams are open: try again later")
            while kind != "gone":
                try:
                    kind, value = await asyncio.wait_for(commands.__anext__(), self.limits.idle)
                except (StopAsyncIteration, asyncio.IncompleteReadError):
                    kind = "gone"
                events = ()
                if kind == "audio":
                    stream = stream or vask.Stream(audio="none")
                    events = stream.process(value)
                elif stream is not None:
                    stream.close()  # what is still open ends
                    stream, events = None, stream
                if kind == "start":
                    stream = vask.Stream(audio="none", input_rate=value)
                for event in events:
                    await asyncio.wait_for(send(event), self.limits.idle)
        except (Refused, ValueError, asyncio.TimeoutError) as error:
            text = str(error) or f"nothing was sent or taken for {self.limits.idle:g} s"
            await asyncio.wait_for(refuse(text), self.limits.idle)

    async def websocket(self, socket):
        rate = 16000

        async def commands():
            nonlocal rate
            count = self.meter()
            async for message in socket:
                count(len(message))
                if isinstance(message, bytes):
                    yield "audio", message
                elif fields(message).get("end"):
                    return
                else:
                    rate = number(fields(message), "input_rate", 16000)
                    yield "start", rate

        async def send(event):
            await socket.send(json.dumps({**event._asdict(), "seconds": event.start / rate}))

        try:
            await self.converse(commands(), send, lambda text: socket.close(1008, text))
        except (ConnectionClosed, asyncio.TimeoutError):
            pass

    async def wyoming(self, reader, writer):
        rate = 16000

        async def commands():
            nonlocal rate
            count = self.meter()
            while True:
                try:
                    line = await reader.readline()
                except ValueError:
                    raise Refused(f"a message of over {self.limits.message} bytes") from None
                if not line:
                    return
                header = fields(line)
                sizes = number(header, "data_length"), number(header, "payload_length")
                count(len(line) + sum(sizes))
                more, payload = await reader.readexactly(sizes[0]), await reader.readexactly(sizes[1])
                data = {**fields(header.get("data") or {}), **fields(more or {})}
                if header.get("type") == "audio-start":
                    if (number(data, "width", 2), number(data, "channels", 1)) != (2, 1):
                        raise Refused("width is not 2 or channels is not 1")
                    rate = number(data, "rate", 16000)
                    yield "start", rate
                elif header.get("type") == "audio-chunk":
                    yield "audio", payload
                elif header.get("type") == "audio-stop":
                    yield "end", None

        def write(kind, **data):
            writer.write(json.dumps({"type": kind, "data": data}).encode() + b"\n")
            return writer.drain()

        async def send(event):
            if event.kind == "started":
                await write("voice-started", timestamp=event.start * 1000 // rate)
            elif event.kind in ("ended", "rejected"):
                await write("voice-stopped", timestamp=event.end * 1000 // rate)

        await self.converse(commands(), send, lambda text: write("error", text=text))

    async def audiosocket(self, reader, writer):
        call = None

        async def commands():
            nonlocal call
            count = self.meter()
            while True:
                kind, length = struct.unpack(">BH", await reader.readexactly(3))
                count(length)
                payload = await reader.readexactly(length)
                if kind == 0x01 and length == 16:
                    call = str(uuid.UUID(bytes=payload))
                    yield "start", 8000
                elif kind == 0x10 and call:
                    yield "audio", payload
                elif kind in (0x00, 0xff):
                    return
                else:
                    raise Refused(f"a message of kind {kind} and {length} bytes, or sound before the call's UUID")

        async def send(event):
            print(json.dumps({"call": call, **event._asdict(), "seconds": event.start / 8000}), flush=True)

        async def refuse(text):
            writer.write(struct.pack(">BH", 0xff, len(text)) + text.encode() + b"\0\0\0")  # the error, then a hangup

        await self.converse(commands(), send, refuse)

    def plain(self, conversation):
        """Return the callback of a plain socket's server, which holds a conversation."""
        async def accept(reader, writer):
            self.connections += 1
            try:
                if self.crowded():
                    return
                await conversation(reader, writer)
                await asyncio.wait_for(writer.drain(), self.limits.idle)
                writer.write_eof()
                for _ in range(64):  # input that nobody has read at the close would take the refusal with it
                    if not await asyncio.wait_for(reader.read(1 << 16), 1):
                        break
            except (OSError, asyncio.TimeoutError):
                pass
            finally:
                self.connections -= 1
                writer.close()

        return accept

    def protocol(server, *arguments, **named):
        """Return a WebSocket's protocol that is counted from the first byte, and has no time for slow handshakes."""
        class Counted(WebSocketServerProtocol):
            def connection_made(self, transport):
                server.connections += 1
                super().connection_made(transport)
                if server.crowded():
                    transport.abort()
                asyncio.get_running_loop().call_later(server.limits.idle, lambda: self.open or transport.abort())

            def connection_lost(self, error):
                server.connections -= 1
                super().connection_lost(error)

        return Counted(*arguments, **named)

    async def listen(self):
        """Open the three ports. Returns their servers."""
        limits = self.limits
        return [await serve(self.websocket, limits.host, limits.websocket, max_size=limits.message, max_queue=4,
                            compression=None, create_protocol=self.protocol),
                await asyncio.start_server(self.plain(self.wyoming), limits.host, limits.wyoming, limit=limits.message),
                await asyncio.start_server(self.plain(self.audiosocket), limits.host, limits.audiosocket)]


def arguments(words=None):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    for name, default, text in (
            ("host", "127.0.0.1", "address to listen at"), ("websocket", 8765, "port"), ("wyoming", 10300, "port"),
            ("audiosocket", 9092, "port"), ("streams", 64, "most connections at a time"),
            ("bytes-per-second", 400000, "most bytes a second from one connection"),
            ("bytes", 1 << 30, "most bytes in all from one connection"),
            ("message", 65536, "most bytes of one message"), ("idle", 30.0, "most seconds without a message")):
        parser.add_argument(f"--{name}", type=type(default), default=default, help=f"{text} (%(default)s)")
    return parser.parse_args(words)


async def main():
    await Server(arguments()).listen()
    await asyncio.Event().wait()


if __name__ == "__main__":
    try:
        asyncio.run(main())
    except KeyboardInterrupt:
        pass
