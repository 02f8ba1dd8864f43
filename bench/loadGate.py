"""What only the gate has to stand: clients that hold their connections, and a thousand that poll. Times
in milliseconds."""
import asyncio
import contextlib
import random
import socket
import time

from loadClient import GATE, Tally, address_of, connect, make_socket, serve_one
from loadKinds import WITH_DESKTOP, request

ORDINARY = [kind for kind in WITH_DESKTOP if kind.elsewhere is None and not kind.ends
            and kind.name not in ("KillAll", "Logout", "Launch")]
LONGEST_THOUGHT = 0.1  # of an ordinary client, between two requests
GATES_PATIENCE = 5  # seconds for a request, by its settings
ROUNDS, ROUND_SECONDS = 3, 5
STATUS = next(kind for kind in WITH_DESKTOP if kind.name == "GetStatus")


async def ordinary(source, end, tally):
    while time.monotonic() < end:
        await asyncio.sleep(random.uniform(0, LONGEST_THOUGHT))
        await serve_one(GATE, source, random.choice(ORDINARY), tally)


async def keep_silent(client):
    await asyncio.get_running_loop().sock_recv(client, 1)


async def send_a_byte_a_second(client):
    for byte in STATUS.request:
        await asyncio.get_running_loop().sock_sendall(client, bytes([byte]))
        await asyncio.sleep(1)


async def never_read(client):
    await asyncio.get_running_loop().sock_sendall(client, request("GetIcon", "Player", "pad"))
    await asyncio.sleep(0.2)
    await asyncio.get_running_loop().sock_sendall(client, b"go")
    await asyncio.sleep(GATES_PATIENCE)


async def hold(source, misbehave):
    """Holds a connection, as long as the gate bears it, and comes again."""
    while True:
        with make_socket(("127.0.0.1", GATE), source) as client, contextlib.suppress(OSError):
            client.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1)
            await connect(client, ("127.0.0.1", GATE))
            await misbehave(client)


async def round_of(clients, holders, tally):
    kinds = (keep_silent, send_a_byte_a_second, never_read)
    holding = [asyncio.create_task(hold(address_of(clients + number), kinds[number % 3]))
               for number in range(holders)]
    await asyncio.sleep(0.5)
    end = time.monotonic() + ROUND_SECONDS
    await asyncio.gather(*(ordinary(address_of(number), end, tally) for number in range(clients)))
    for task in holding:
        task.cancel()
    await asyncio.gather(*holding, return_exceptions=True)


async def patience():
    """50 ordinary clients with and without 60 that hold their connections, in turns, so that the noise
    of the machine meets both. Returns the two tallies."""
    without, beside = Tally(), Tally()
    for _ in range(ROUNDS):
        await round_of(50, 0, without)
        await round_of(50, 60, beside)
    return without, beside


async def poll(clients, rounds):
    """That many clients that ask GetStatus once a second. Returns their tally."""
    tally = Tally()
    begin = time.monotonic()

    async def client(number):
        phase = random.random()
        for second in range(rounds):
            await asyncio.sleep(max(0, begin + second + phase - time.monotonic()))
            await serve_one(GATE, address_of(number), STATUS, tally)

    await asyncio.gather(*(client(number) for number in range(clients)))
    return tally
