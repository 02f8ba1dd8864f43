"""Clients that leave at the wrong moment, an agent without standard streams, and thousands of
requests: the next client is served, and nothing piles up."""
import os
import re
import select
import socket
import struct
import threading
from pathlib import Path

import pytest

from box import (CHANNEL, WRAP, announced, ask, built_with, connect, payload, receive, request,
                 text, wait_until)

PAD_ICON = Path("/share/Volume1/vexa/Player/.kallo/images/pad.png")
IMAGE_SIZE = 5_000_000
UNKNOWN = request("Nope")


def stall(client):
    """Stays until another client has queued up behind it; that one is served then."""
    with connect() as other:
        other.sendall(UNKNOWN)
        assert not select.select([other], [], [], 0.05)[0]
        client.close()
        assert receive(other, lambda data: b"</ZelvDocRoot>" in data)


def reset(client):
    client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    client.close()


def half_close(client):
    client.shutdown(socket.SHUT_WR)
    return len(receive(client))


def go_on(client, step):
    """Takes a client to a step of its conversation about a large icon."""
    if step != "connected":
        client.sendall(request("GetIcon", "Player", "pad"))
    if step in ("answered", "paid"):
        receive(client, lambda data: data == announced(IMAGE_SIZE))
    if step == "paid":
        client.sendall(b"go")
        assert len(client.recv(1000, socket.MSG_WAITALL)) == 1000


@pytest.mark.parametrize("step, left", [("connected", 0), ("asked", len(announced(IMAGE_SIZE))),
                                        ("answered", 0), ("paid", IMAGE_SIZE - 1000)])
def test_client_that_breaks_off(daemon, step, left):
    PAD_ICON.write_bytes(b"\x89" * IMAGE_SIZE)
    ask(UNKNOWN)
    before = daemon.fds()
    for how in (stall, reset, half_close) * 3:
        with connect() as client:
            go_on(client, step)
            assert how(client) in (None, left)
    assert b"invalid_command" in ask(UNKNOWN)[1]
    assert daemon.fds() == before


@pytest.mark.parametrize("streams", ["broken pipes", "closed"])
@pytest.mark.usefixtures("desktop")
def test_without_standard_streams(nas, start_daemon, streams):
    reader, writer = os.pipe()
    os.close(reader)
    agent = start_daemon(**({"stdout": writer, "stderr": writer} if streams == "broken pipes" else
                            {"preexec_fn": lambda: os.closerange(0, 3)}))
    os.close(writer)
    assert text(payload("GetCurrentUser"), "user") == "admin"
    nas.wrconf("Player", "Display_Name", "Changed")
    wait_until(lambda: text(payload("ListVEXA"), "displayName") == "Changed")
    if streams == "closed" and not WRAP:
        assert {os.readlink(f"/proc/{agent.pid}/fd/{fd}") for fd in range(3)} == {"/dev/null"}


def resident(agent):
    with open(f"/proc/{agent.pid}/status", encoding="ascii") as status:
        return int(re.search(r"VmRSS:\s+(\d+) kB", status.read())[1])


def mixed_requests(count):
    asked = [request(command) for command in ("Nope", "ListVEXA", "GetCurrentUser", "GetStatus",
                                              "SetAutoLogin", "GetKALLOSetting", "Logout")]
    asked += [request("GetIcon", "Player", "phone"), request("GetIcon", "Clock", "pad"),
              request("Launch", "Nobody"), b"<ZelvDocRoot><cmd>Nope", b"\0", b"<a>" * 1365]
    for i in range(count):
        ask(asked[i % len(asked)])
        ask(request("GetPassword"), CHANNEL)
        connect(CHANNEL).close()
    ask(UNKNOWN)  # behind all others


def test_nothing_piles_up(daemon):
    mixed_requests(200)
    fds, memory = daemon.fds(), resident(daemon)
    mixed_requests(1000)
    assert (daemon.fds(), daemon.zombies()) == (fds, [])
    assert resident(daemon) < memory + 1024 or WRAP or built_with("asan") or built_with("tsan")
