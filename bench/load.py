#!/usr/bin/python3
"""A bounded load on the running agent: load.py [CLIENTS] [REQUESTS] sends REQUESTS requests of every
kind from CLIENTS clients at a time, checks each answer, and looks for what the agent has lost or
kept. Runs in the box (./dev load). Status 0: nothing lost, wrong or leaked."""
import asyncio
import base64
import collections
import contextlib
import fcntl
import os
import random
import re
import socket
import struct
import subprocess
import sys
import termios
import time
from pathlib import Path
from xml.etree import ElementTree

PORT = ("127.0.0.1", 9812)
CHANNEL = "/tmp/.kalloagent.channel"
PIPE = Path("/tmp/Torvik.ServicePipe")
SERVICE_LOG = Path("/var/log/vexa-services.log")
SETTINGS = Path("/root/.config/ZELV/KALLO.conf")
ICONS = Path("/share/Volume1/vexa/Player/.kallo/images")
KEY = "4b1e90c27a5d03f8e6219b74c05a3d8f17e2694ab803cf5d916e27a0b4c85f13"
SIZE = re.compile(rb"<size>\s*(\d+)\s*</size>")
# The agent's queue holds two clients; the others come again after a while.
CONNECT_SECONDS = 0.25
LONGEST_PAUSE = 0.3
HANDSHAKE_SECONDS = 0.02
GIVE_UP_SECONDS = 120
MEMORY_SLACK = 1024  # KiB that the heap of a warm agent may still grow by
SILENCE = None


def plain(text):
    return base64.b64encode(text.encode()).decode()


def enciphered(text):
    """As apps send it: a block of 64 bytes, filled up with 0xFF, AES-256-ECB, base64."""
    done = subprocess.run(["openssl", "enc", "-aes-256-ecb", "-nopad", "-K", KEY], check=True,
                          input=text.encode().ljust(64, b"\xff"), capture_output=True)
    return base64.b64encode(done.stdout).decode()


def request(command, *params):
    words = "".join(f"<param>{param}</param>" for param in params)
    return f"<ZelvDocRoot><cmd>{command}</cmd>{words}</ZelvDocRoot>".encode()


def document(**expected):
    """Whether an answer is an XML document whose elements have one of the texts expected of them."""
    def is_right(answer):
        try:
            root = ElementTree.fromstring(answer)
        except (ElementTree.ParseError, TypeError):
            return False
        return root.tag == "ZelvDocRoot" and all(
            (root.findtext(name) or "").strip() in texts for name, texts in expected.items())
    return is_right


def says(*texts):
    return document(errRtn=texts, torvik_ver=["2.4.1"])


def lists(count):
    return lambda answer: says("success")(answer) and answer.count(b"<item>") == count


def equals(expected):
    return lambda answer: answer == expected


# What is asked, how often of a thousand times, the request, what is right for an answer.
Kind = collections.namedtuple("Kind", "name share request is_right address", defaults=[PORT])
RIGHT = {"Login": [enciphered("alice"), enciphered("wonderland")],
         "Login2": [plain("alice"), plain("wonderland")]}
ALWAYS = [
    Kind("unknown command", 150, request("Nothing"), says("invalid_command")),
    Kind("no document", 50, b"<ZelvDocRoot><cm", equals(SILENCE)),
    Kind("deep document", 20, b"<a>" * 1365, equals(SILENCE)),
    Kind("GetIcon phone", 150, request("GetIcon", "Player", "phone"),
         equals((ICONS / "phone.png").read_bytes())),
    Kind("GetIcon pad", 100, request("GetIcon", "Player", "pad"),
         equals((ICONS / "pad.png").read_bytes())),
    Kind("GetIcon without one", 50, request("GetIcon", "Clock", "pad"), equals(b"")),
    Kind("SetAutoLogin", 50, request("SetAutoLogin", "yes"),
         says("paramter_required", "login_required")),
    Kind("GetStatus", 50, request("GetStatus"), document(errRtn=["success"], isRefreshed=["false"])),
    Kind("KillAll", 2, request("KillAll"), equals(SILENCE)),
    Kind("Logout", 20, request("Logout"), equals(SILENCE)),
    Kind("service pipe", 5, b"Downloader start MediaIndex stop\n", None, PIPE)]
WITHOUT_DESKTOP = ALWAYS + [
    Kind("Login", 8, request("Login", *RIGHT["Login"]), says("login_success")),
    Kind("Login refused", 8, request("Login", RIGHT["Login"][0], enciphered("x")), says("login_fail")),
    Kind("Login2", 8, request("Login2", *RIGHT["Login2"]), says("login_success")),
    Kind("Login2 refused", 8, request("Login2", "YQ==", "YQ=="), says("login_fail")),
    Kind("ListVEXA, no desktop", 50, request("ListVEXA"), says("login_required")),
    Kind("Launch, no desktop", 50, request("Launch", "Player"), says("login_required"))]
WITH_DESKTOP = ALWAYS + [
    Kind("Login, desktop up", 20, request("Login", *RIGHT["Login"]), says("login_fail")),
    Kind("GetCurrentUser", 50, request("GetCurrentUser"), document(errRtn=["success"], user=["admin"])),
    Kind("GetKALLOSetting", 50, request("GetKALLOSetting"),
         document(errRtn=["success"], AutoLogin=["no"])),
    Kind("GetPassword", 50, request("GetPassword"),
         document(errRtn=["success"], passwd=[plain("wonderland")]), CHANNEL),
    Kind("ListVEXA", 20, request("ListVEXA"), lists(6)),
    Kind("Launch unknown", 30, request("Launch", "Nobody"), says("vexa_not_found")),
    Kind("Launch", 4, request("Launch", "Player"), says("success", "invalid_command"))]


class Tally:
    """What has become of the requests of one kind; times in milliseconds."""

    def __init__(self):
        self.lost = self.wrong = self.retries = 0
        self.times = []

    def percentile(self, part):
        return sorted(self.times)[int(len(self.times) * part)] if self.times else 0.0


async def receive(client, enough=lambda data: False):
    data = b""
    while not enough(data):
        piece = await asyncio.get_running_loop().sock_recv(client, 65536)
        if not piece:
            break
        data += piece
    return data


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


async def converse(kind):
    """One conversation. Returns the payload, SILENCE when not a byte came; OSError or TimeoutError
    when it came to nothing and is to be tried again."""
    family = socket.AF_UNIX if kind.address is CHANNEL else socket.AF_INET
    with socket.socket(family, socket.SOCK_STREAM | socket.SOCK_NONBLOCK) as client:
        await connect(client, kind.address)
        loop = asyncio.get_running_loop()
        await loop.sock_sendall(client, kind.request)
        if kind.address is PORT:
            await make_sure_of(client)
        announcement = await receive(client, lambda data: b"</ZelvDocRoot>" in data)
        if not announcement:
            return SILENCE
        size = int(SIZE.search(announcement)[1])
        if size == 0:
            return b""  # the agent must not be told to go ahead with nothing
        await loop.sock_sendall(client, b"go")
        payload = await receive(client)
        return payload if len(payload) == size else b"cut off"


async def serve_one(kind, tally):
    """A request up to its answer, as an app would see it through."""
    start = time.monotonic()
    while time.monotonic() < start + GIVE_UP_SECONDS:
        try:
            async with asyncio.timeout(GIVE_UP_SECONDS):
                answer = await converse(kind)
            tally.wrong += not kind.is_right(answer)
            tally.times.append((time.monotonic() - start) * 1000)
            return
        except (OSError, TimeoutError):
            tally.retries += 1
            await asyncio.sleep(random.uniform(0, LONGEST_PAUSE))
    tally.lost += 1


async def drive(clients, requests, kinds, tallies):
    chosen = iter(random.choices(kinds, [kind.share for kind in kinds], k=requests))

    async def client():
        for kind in chosen:
            if kind.address is PIPE:
                PIPE.write_bytes(kind.request)
                tallies[kind.name].times.append(0.0)
            else:
                await serve_one(kind, tallies[kind.name])

    await asyncio.gather(*(client() for _ in range(clients)))


def state(agent):
    """Resident KiB, descriptors, threads and zombies of the agent, once it is at rest."""
    time.sleep(1)
    status = Path(f"/proc/{agent}/status").read_text(encoding="ascii")
    zombies = 0
    for stat in Path("/proc").glob("[0-9]*/stat"):
        with contextlib.suppress(FileNotFoundError, ProcessLookupError):
            words = stat.read_text(encoding="ascii", errors="replace").rsplit(") ", 1)[1].split()
            zombies += words[:2] == ["Z", str(agent)]
    return {"resident KiB": int(re.search(r"VmRSS:\s+(\d+)", status)[1]),
            "descriptors": len(os.listdir(f"/proc/{agent}/fd")),
            "threads": int(re.search(r"Threads:\s+(\d+)", status)[1]), "zombies": zombies}


def settle(served):
    """Waits until the scripts that the service pipe asked for have run. Returns how many are missing."""
    for _ in range(300):
        ran = len(SERVICE_LOG.read_text().splitlines()) if SERVICE_LOG.exists() else 0
        if ran == served:
            break
        time.sleep(0.1)
    return abs(served - ran)


def report(tallies, before, after, seconds):
    row = "{:22} {:>9} {:>6} {:>6} {:>9} {:>10} {:>10} {:>10}"
    print(row.format("kind", "requests", "lost", "wrong", "retries", "p50 ms", "p95 ms", "p99 ms"))
    for name, tally in sorted(tallies.items()):
        print(row.format(name, len(tally.times) + tally.lost, tally.lost, tally.wrong, tally.retries,
                         *(f"{tally.percentile(part):.1f}" for part in (0.5, 0.95, 0.99))))
    total = sum(len(tally.times) + tally.lost for tally in tallies.values())
    print(f"\n{total} requests in {seconds:.0f} s, {total / seconds:.0f} a second")
    for name, value in before.items():
        print(f"{name}: {value} when warm, {after[name]} at the end")
    return (not any(tally.lost or tally.wrong for tally in tallies.values())
            and all(after[name] == value for name, value in before.items() if name[0] != "r")
            and after["resident KiB"] <= before["resident KiB"] + MEMORY_SLACK)


def main():
    clients, requests = (int(word) for word in (*sys.argv[1:], 200, 100_000)[:2])
    SETTINGS.parent.mkdir(parents=True)
    subprocess.run(["wrconf", "UIControl", "RequireLogin", "no", "-f", SETTINGS], check=True)
    with subprocess.Popen(["kalloagent"], stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL) as agent:
        while not PIPE.exists():
            time.sleep(0.1)
        warming = collections.defaultdict(Tally)
        tallies = collections.defaultdict(Tally)
        asyncio.run(drive(clients, requests // 20, WITHOUT_DESKTOP, warming))
        before = state(agent.pid)
        start = time.monotonic()
        asyncio.run(drive(clients, requests // 5, WITHOUT_DESKTOP, tallies))
        asyncio.run(serve_one(next(kind for kind in WITHOUT_DESKTOP if kind.name == "Login"), warming["Login"]))
        subprocess.run(["torvik-desktop", "start", "admin"], check=True)
        asyncio.run(drive(clients, requests - requests // 5, WITH_DESKTOP, tallies))
        seconds = time.monotonic() - start
        served = 2 * sum(len(all_of["service pipe"].times) for all_of in (warming, tallies))
        tallies["service pipe"].lost = settle(served)
        ok = agent.poll() is None and report(tallies, before, state(agent.pid), seconds)
        ok = ok and not any(tally.lost or tally.wrong for tally in warming.values())
        agent.terminate()
    print("nothing lost, wrong or leaked" if ok else "FAILED")
    return 0 if ok else 1


sys.exit(main())
