"""Clients that leave at the wrong moment, an agent without standard streams, and thousands of
requests: the next client is served, and nothing piles up."""
import itertools
import os
import re
import resource
import select
import socket
import struct
import time
from pathlib import Path

import psutil
import pytest

from box import (CHANNEL, TCP, WRAP, announced, ask, built_with, connect, payload, receive, request,
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


def go_on(client, step="paid"):
    """Takes a client to a step of its conversation about an icon; then it reads nothing."""
    if step != "connected":
        client.sendall(request("GetIcon", "Player", "pad"))
    if step in ("answered", "paid"):
        receive(client, lambda data: b"</ZelvDocRoot>" in data)
    if step == "paid":
        client.sendall(b"go")
        assert client.recv(1000, socket.MSG_WAITALL)


def take_up(client):
    """Keeps the agent waiting for the go-ahead of this client."""
    client.sendall(UNKNOWN)
    receive(client, lambda data: b"</ZelvDocRoot>" in data)


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


def say_nothing(client):
    """Until the agent gives up."""
    assert receive(client) == b""


def give_no_go_ahead(client):
    take_up(client)
    say_nothing(client)


IMPATIENT = f"{os.environ.get('NASBOX_BIN')}/kalloagent_impatient"
NOT_WRAPPED = pytest.mark.skipif(bool(WRAP), reason="valgrind runs the agent as it is installed")


# Of a large image the agent waits in its write, of a smaller one in its close.
@NOT_WRAPPED
@pytest.mark.parametrize("address, hold, image_size", [
    (TCP, say_nothing, 1), (TCP, give_no_go_ahead, 1), (TCP, go_on, IMAGE_SIZE),
    (TCP, go_on, 50_000), (CHANNEL, say_nothing, 1), (CHANNEL, give_no_go_ahead, 1)])
def test_client_without_progress(start_daemon, address, hold, image_size):
    """It holds the others up for a while, not for ever."""
    PAD_ICON.write_bytes(b"\x89" * image_size)
    agent = start_daemon(executable=IMPATIENT)
    with connect(address, receive_buffer=2048) as client:
        hold(client)
        assert b"invalid_command" in ask(UNKNOWN)[1]
    assert ("Connection has been closed\n" in agent.log()) == (hold is say_nothing)


@NOT_WRAPPED
def test_slow_client(start_daemon):
    """One that reads on is served to the end, however long it takes."""
    PAD_ICON.write_bytes(b"\x89" * IMAGE_SIZE)
    start_daemon(executable=IMPATIENT)
    with connect(receive_buffer=65536) as client:
        go_on(client)
        for _ in range(8):
            time.sleep(0.4)
            assert len(client.recv(65536))
        assert len(receive(client)) >= IMAGE_SIZE - 1000 - 8 * 65536


@pytest.mark.parametrize("served_last", [TCP, CHANNEL])
def test_an_app_comes_before_a_local_client(daemon, served_last):
    with connect(served_last) as first:
        take_up(first)
        with connect(CHANNEL) as local, connect() as app:
            local.sendall(request("local"))
            app.sendall(request("app"))
            first.close()
            for client in (app, local):
                receive(client, lambda data: b"</ZelvDocRoot>" in data)
                client.close()
    assert re.findall(r"COMMAND:.*<cmd>(app|local)", daemon.log()) == ["app", "local"]


@pytest.mark.parametrize("streams", ["broken pipes", "closed", "full files"])
def test_without_standard_streams(nas, desktop, start_daemon, streams):
    reader, writer = os.pipe()
    os.close(reader)
    agent = start_daemon(**{
        "broken pipes": {"stdout": writer, "stderr": writer},
        "closed": {"preexec_fn": lambda: os.closerange(0, 3)},
        # As a service's LimitFSIZE= does.
        "full files": {"preexec_fn": lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (1000, -1))}
    }[streams])
    os.close(writer)
    assert text(payload("GetCurrentUser"), "user") == "admin"
    nas.wrconf("Player", "Display_Name", "Changed")
    wait_until(lambda: text(payload("ListVEXA"), "displayName") == "Changed")
    if streams == "closed" and not WRAP:
        assert {os.readlink(f"/proc/{agent.pid}/fd/{fd}") for fd in range(3)} == {"/dev/null"}


def mixed_requests(count):
    words = ["Nope", "ListVEXA", "GetCurrentUser", "GetStatus", "SetAutoLogin", "GetKALLOSetting",
             "Logout", "GetIcon Player phone", "GetIcon Clock pad", "Launch Nobody"]
    asked = [*(request(*line.split()) for line in words), UNKNOWN[:-20], b"\0", b"<a>" * 1365]
    for each in itertools.islice(itertools.cycle(asked), count):
        ask(each)
        ask(request("GetPassword"), CHANNEL)
        connect(CHANNEL).close()
    ask(UNKNOWN)  # behind all others


def test_nothing_piles_up(daemon):
    mixed_requests(200)
    agent = psutil.Process(daemon.pid)
    fds, memory = daemon.fds(), agent.memory_info().rss
    mixed_requests(1000)
    assert (daemon.fds(), daemon.zombies()) == (fds, [])
    grown = agent.memory_info().rss - memory
    assert grown < 2**20 or WRAP or built_with("asan") or built_with("tsan")
