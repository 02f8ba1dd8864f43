"""What the system tests use of the box: the bytes of the protocol, and looks at processes."""
import os
import re
import signal
import socket
import subprocess
import time
from contextlib import contextmanager, suppress
from pathlib import Path
from xml.etree import ElementTree

import psutil

TCP = ("127.0.0.1", 9812)
DOOR = {"port": TCP[1]}  # where the clients of a test knock: at the agent, or at the gate
CHANNEL = "/tmp/.kalloagent.channel"
# What the agent runs under, valgrind perhaps: it adds descriptors, memory and time of its own.
WRAP = os.environ.get("KALLO_WRAP", "").split()
PATIENCE = 10 if WRAP else 1
ZOMBIE = psutil.STATUS_ZOMBIE


def wait_until(condition, seconds=10, what="the condition"):
    """Polls `condition` until it is true and returns what it gave; fails the test when it never is."""
    deadline = time.monotonic() + seconds * PATIENCE
    while not (found := condition()):
        assert time.monotonic() < deadline, f"{what} did not come true in {seconds} s"
        time.sleep(0.01)
    return found


def connect(address=None, timeout=20, receive_buffer=None):
    address = address or (TCP[0], DOOR["port"])
    client = socket.socket(socket.AF_UNIX if isinstance(address, str) else socket.AF_INET)
    if receive_buffer:
        client.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)
    client.settimeout(timeout * PATIENCE)
    client.connect(address)
    return client


def receive(client, enough=lambda data: False):
    """Reads until the peer closes or `enough` holds of the bytes so far."""
    data = b""
    with suppress(ConnectionResetError):
        while not enough(data) and (piece := client.recv(65536)):
            data += piece
    return data


def element(name, text, depth=1):
    """An element as the agent writes it; one that has a text of bytes or, as a list, elements."""
    tabs = b"\t" * depth
    if isinstance(text, list):
        text = b"".join(element(*each, depth + 1) for each in text)
    elif text:
        text = tabs + b"\t%s\n" % text
    end = b">\n%s%s</%s>\n" % (text, tabs, name.split()[0]) if text else b"/>\n"
    return tabs + b"<" + name + end


def document(*elements, declared=False):
    """A document of the agent, byte for byte."""
    declaration = b'<?xml version="1.0" encoding="UTF-8"?>\n' if declared else b""
    return declaration + element(b'ZelvDocRoot version="1.2"', [*elements], 0)


def answer(result, *elements, **options):
    """The answer with that result and what follows it."""
    return document((b"torvik_ver", b"2.4.1"), (b"errRtn", result), *elements, **options)


def announced(size):
    """The announcement of that many bytes."""
    return document((b"size", b"%d" % size))


def ask(request, address=None):
    """One conversation: returns (announcement, payload), empty bytes for what the agent did not
    send. The go-ahead is withheld after an announced size of 0."""
    with connect(address) as client:
        client.sendall(request)
        announcement = receive(client, lambda data: b"</ZelvDocRoot>" in data)
        if not re.search(rb"<size>\s*[1-9]", announcement):
            return announcement, b""
        client.sendall(b"go")
        return announcement, receive(client)


def request(command, *params):
    """The request document of a command; parameters are bytes or text, taken as they are."""
    command, *params = (p if isinstance(p, bytes) else p.encode() for p in (command, *params))
    params = b"".join(b"<param>%s</param>" % param for param in params)
    return b"<ZelvDocRoot><cmd>%s</cmd>%s</ZelvDocRoot>" % (command, params)


def payload(command, *params, address=None):
    """The answer document of a command, as text."""
    return ask(request(command, *params), address)[1].decode()


def at_gate():
    """Whether the clients of this test knock at the gate."""
    return DOOR["port"] != TCP[1]


def texts(document, element):
    """The texts of every element of that name, in order, without the layout around them; empty
    ones included. Whatever the agent answers has to be well-formed."""
    found = ElementTree.fromstring(document).iter(element) if document else ()
    return [(each.text or "").strip() for each in found]


def text(document, element):
    """The text of the first element of that name, or None."""
    return next(iter(texts(document, element)), None)


def processes():
    """(pid, parent, state, command line) of every process in the box."""
    for each in psutil.process_iter(["ppid", "status", "cmdline"]):
        yield each.pid, each.info["ppid"], each.info["status"], " ".join(each.info["cmdline"] or [])


def opened(pid):
    """What the descriptors of a process lead to, its standard streams included."""
    targets = []
    for link in Path(f"/proc/{pid}/fd").iterdir():
        with suppress(FileNotFoundError):
            targets.append(os.readlink(link))
    return targets


def settle(daemon):
    """Waits until the programs and scripts of packages that the agent has started have ended."""
    # A program has no command line for a moment of its start.
    wait_until(lambda: not [line for pid, _, state, line in processes() if state != ZOMBIE and (
        not line or line.endswith("/usr/sbin/kalloagent") and pid != daemon.pid or
        "/share/Volume1/vexa/" in line)], 60)


@contextmanager
def process_named(name):
    """A process whose command line begins with `name`, as long as the context lasts."""
    with subprocess.Popen([name, "600"], executable="/bin/sleep") as process:
        try:
            # For a moment of its start a program has no command line.
            wait_until(Path(f"/proc/{process.pid}/cmdline").read_bytes)
            yield process
        finally:
            process.kill()


@contextmanager
def sleeper():
    """(process id, parent) of the `sleep 600` that the agent started, until the context ends. It
    holds its standard streams alone, once its loader has closed the libraries."""
    pid, parent = wait_until(
        lambda: [each[:2] for each in processes() if each[3] == "sleep 600"])[0]
    try:
        wait_until(lambda: WRAP or sorted(os.listdir(f"/proc/{pid}/fd")) == ["0", "1", "2"],
                   what="no descriptor besides the standard streams")
        yield pid, parent
    finally:
        os.kill(pid, signal.SIGKILL)


def built_with(runtime):
    """Whether the agent carries the runtime of a sanitizer, "asan" or "tsan"."""
    return b"__%s_init" % runtime.encode() in Path("/usr/sbin/kalloagent").read_bytes()
