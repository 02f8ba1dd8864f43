#!/usr/bin/python3
"""Stands in front of the agent and misbehaves, so that an app can be tried against it ("./dev serve
--fault KIND"): faultyRelay.py SOCKET KIND listens on a Unix socket. Runs in the box."""
import asyncio
import contextlib
import re
import sys

AGENT = ("127.0.0.1", 9812)
END = b"</ZelvDocRoot>\n"
PIECE, PAUSE_SECONDS = 8, 0.1


async def pump(source, sink):
    while data := await source.read(4096):
        sink.write(data)
        await sink.drain()
    with contextlib.suppress(OSError):
        sink.write_eof()


async def send_slowly(data, client):
    for start in range(0, len(data), PIECE):
        client.write(data[start:start + PIECE])
        await client.drain()
        await asyncio.sleep(PAUSE_SECONDS)


async def announcement_of(agent):
    try:
        return await agent.readuntil(END)
    except asyncio.IncompleteReadError as error:
        return error.partial


async def silent(requests, _client):
    await requests.read()


async def zero(requests, client):
    """The go-ahead that an app should not send does not reach the agent, which it would stop."""
    await requests.read(4096)
    client.write(b'<ZelvDocRoot version="1.2">\n\t<size>\n\t\t0\n\t</size>\n</ZelvDocRoot>\n')
    if await requests.read(4096):
        print("fault zero: the app sent a go-ahead after size 0", flush=True)


async def altered(requests, client, kind):
    agent, to_agent = await asyncio.open_connection(*AGENT)
    upward = asyncio.create_task(pump(requests, to_agent))
    try:
        announcement = await announcement_of(agent)
        if kind == "cut":
            client.write(announcement[:len(announcement) // 2])
            return
        await (send_slowly(announcement, client) if kind == "slow" else pass_on(announcement, client))
        payload = await agent.read()
        if kind == "slow":
            await send_slowly(payload, client)
        else:
            client.write(payload + payload if kind == "long" else payload[:len(payload) // 2])
    finally:
        upward.cancel()
        to_agent.close()


async def pass_on(data, client):
    client.write(data)
    await client.drain()


FAULTS = {"silent": silent, "zero": zero, **{
    kind: lambda requests, client, kind=kind: altered(requests, client, kind)
    for kind in ("slow", "cut", "long", "short")}}


async def main(socket, kind):
    async def serve(requests, client):
        with contextlib.suppress(OSError):
            await FAULTS[kind](requests, client)
            await client.drain()
        client.close()

    async with await asyncio.start_unix_server(serve, socket) as server:
        await server.serve_forever()


asyncio.run(main(*sys.argv[1:]))
