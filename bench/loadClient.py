"""The clients of the load: one conversation, a request seen through as an app would, and many clients
at a time."""
import asyncio
import fcntl
import random
import re
import socket
import struct
import termios
import time

from loadKinds import CHANNEL, PIPE, SILENCE

AGENT, GATE = 9812, 9813  # the two doors, by their ports
SIZE = re.compile(rb"<size>\s*(\d+)\s*</size>")
# The agent's queue holds two clients; the others come again after a while.
CONNECT_SECONDS = 0.25
LONGEST_PAUSE = 0.3
HANDSHAKE_SECONDS = 0.02
GIVE_UP_SECONDS = 120


class Tally:
    """What has become of the requests of one kind; times in milliseconds."""

    def __init__(self):
        self.lost = self.wrong = self.retries = 0
        self.times = []

    def percentile(self, part):
        return sorted(self.times)[int(len(self.times) * part)] if self.times else 0.0


def address_of(number):
    """An address of its own for each client, as in a household: the gate is fair by address."""
    return f"127.0.{1 + number // 250}.{1 + number % 250}"


async def receive(client, enough=lambda data: False):
    data = b""
    while not enough(data):
        piece = await asyncio.get_running_loop().sock_recv(client, 65536)
        if not piece:
            break
        data += piece
    return data


def make_socket(address, source):
    """A socket for `address`, not yet connected, of the client whose address is `source`."""
    family = socket.AF_UNIX if address is CHANNEL else socket.AF_INET
    client = socket.socket(family, socket.SOCK_STREAM | socket.SOCK_NONBLOCK)
    if family == socket.AF_INET:
        client.bind((source, 0))
    return client


async def connect(client, address):
    if address is CHANNEL:
        client.connect(address)  # its queue is full at once, or it has a place
    else:
        async with asyncio.timeout(CONNECT_SECONDS):
            await asyncio.get_running_loop().sock_connect(client, address)


async def make_sure_of(client):
    """With its queue full the agent's side drops the last step of the handshake, so that a client takes
    itself for connected and its request is sent again and again, unacknowledged. It had better start
    anew, and leave nothing of itself in the way of others."""
    def unacknowledged():
        return struct.unpack("i", fcntl.ioctl(client, termios.TIOCOUTQ, bytes(4)))[0]

    if unacknowledged():
        await asyncio.sleep(HANDSHAKE_SECONDS)
        if unacknowledged():
            client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            raise TimeoutError


async def converse(port, source, kind):
    """One conversation. Returns the payload, SILENCE when not a byte came; OSError or TimeoutError
    when it came to nothing and is to be tried again."""
    address = kind.elsewhere or ("127.0.0.1", port)
    with make_socket(address, source) as client:
        await connect(client, address)
        loop = asyncio.get_running_loop()
        await loop.sock_sendall(client, kind.request)
        if address == ("127.0.0.1", AGENT):
            await make_sure_of(client)
        if kind.ends:
            client.shutdown(socket.SHUT_WR)
        announcement = await receive(client, lambda data: b"</ZelvDocRoot>" in data)
        if not announcement:
            return SILENCE
        size = int(SIZE.search(announcement)[1])
        if size == 0:
            return b""  # the agent must not be told to go ahead with nothing
        await loop.sock_sendall(client, b"go")
        payload = await receive(client)
        return payload if len(payload) == size else b"cut off"


async def serve_one(port, source, kind, tally):
    """A request up to its answer, as an app would see it through."""
    start = time.monotonic()
    while time.monotonic() < start + GIVE_UP_SECONDS:
        try:
            async with asyncio.timeout(GIVE_UP_SECONDS):
                answer = await converse(port, source, kind)
            tally.wrong += not kind.is_right(answer)
            tally.times.append((time.monotonic() - start) * 1000)
            return
        except (OSError, TimeoutError):
            tally.retries += 1
            await asyncio.sleep(random.uniform(0, LONGEST_PAUSE))
    tally.lost += 1


async def drive(port, clients, requests, kinds, tallies):
    chosen = iter(random.choices(kinds, [kind.share for kind in kinds], k=requests))

    async def client(source):
        for kind in chosen:
            if kind.elsewhere is PIPE:
                PIPE.write_bytes(kind.request)
                tallies[kind.name].times.append(0.0)
            else:
                await serve_one(port, source, kind, tallies[kind.name])

    await asyncio.gather(*(client(address_of(number)) for number in range(clients)))
