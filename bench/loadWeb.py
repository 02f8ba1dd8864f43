#!/usr/bin/python3
"""A bounded load on the gate's door for browsers: loadWeb.py [PHONES] [SECONDS]. So many phones (1,000)
watch their event streams while 20 list the packages and launch, and 20 companion apps do so at the
other door; before that, the same 40 without anybody who watches. Runs in the box (./dev load --web).
Status 0: every answer was right and no stream broke off."""
import asyncio
import collections
import json
import os
import re
import resource
import ssl
import subprocess
import sys
import time
from pathlib import Path

WEB, APPS = 9880, 9813  # the doors, by their ports
ASKING = 20  # phones, and as many apps
STREAMS_OF_A_DEVICE = 8
PAUSE = 0.5  # seconds between two requests of one of them
ANY = ssl._create_unverified_context()  # the gate has made its own certificate
QUIET = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
SIZE = re.compile(rb"<size>\s*(\d+)")


def address_of(number):
    return f"127.0.{1 + number // 250}.{1 + number % 250}"


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


async def connect(port, number):
    """As a client with an address of its own, as in a household."""
    return await asyncio.open_connection("127.0.0.1", port, local_addr=(address_of(number), 0),
                                         ssl=ANY if port == WEB else None)


async def call(connection, line, cookie="", body=None):
    """(status, head, body) of a call over a connection that stays."""
    reader, writer = connection
    sent = "" if body is None else json.dumps(body)
    writer.write(f"{line} HTTP/1.1\r\nHost: 127.0.0.1:{WEB}\r\nOrigin: https://127.0.0.1:{WEB}\r\n"
                 f"Cookie: {cookie}\r\nContent-Type: application/json\r\nContent-Length: {len(sent)}\r\n"
                 f"\r\n{sent}".encode())
    head = (await reader.readuntil(b"\r\n\r\n")).decode()
    length = re.search(r"Content-Length: (\d+)", head)
    return int(head.split()[1]), head, await reader.readexactly(int(length[1]) if length else 0)


async def pair(count):
    """The cookies of so many devices."""
    cookies = []
    for number in range(count):
        code = json.loads(await asyncio.to_thread(run, "kallogate", "pair", "--json"))["code"]
        connection = await connect(WEB, number)
        _, head, _ = await call(connection, "POST /api/v1/pair", body={"code": code})
        cookies.append(re.search("kallogate=[^;]+", head)[0])
        connection[1].close()
    return cookies


async def watch(number, cookie, heard):
    """Counts the beats of one stream until it is cancelled; one that breaks off ends it."""
    reader, writer = await connect(WEB, number)
    try:
        writer.write(f"GET /api/v1/events HTTP/1.1\r\nHost: 127.0.0.1:{WEB}\r\n"
                     f"Cookie: {cookie}\r\n\r\n".encode())
        while line := await reader.readline():
            heard[number] += line == b"event: beat\n"
    finally:
        writer.close()


async def timed(tally, name, answer, is_right):
    """Notes the milliseconds of an answer, None for a wrong one."""
    start = time.monotonic()
    told = await answer
    tally[name].append((time.monotonic() - start) * 1000 if is_right(told) else None)


async def phone(number, cookie, end, tally):
    connection = await connect(WEB, number)
    while time.monotonic() < end:
        await timed(tally, "phone: packages", call(connection, "GET /api/v1/packages", cookie),
                    lambda told: len(json.loads(told[2])["packages"]) == 6)
        await timed(tally, "phone: launch",
                    call(connection, "POST /api/v1/launch", cookie, {"package": "Player"}),
                    lambda told: told[0] in (204, 409))  # it runs already
        await asyncio.sleep(PAUSE)
    connection[1].close()


async def ask_as_app(number, command, *params):
    """The payload of a conversation at the apps' door."""
    reader, writer = await connect(APPS, number)
    words = "".join(f"<param>{param}</param>" for param in params)
    writer.write(f"<ZelvDocRoot><cmd>{command}</cmd>{words}</ZelvDocRoot>".encode())
    size = int(SIZE.search(await reader.readuntil(b"</ZelvDocRoot>\n"))[1])
    writer.write(b"go")
    payload = await reader.readexactly(size)
    writer.close()
    return payload


async def app(number, end, tally):
    while time.monotonic() < end:
        await timed(tally, "app: ListVEXA", ask_as_app(number, "ListVEXA"),
                    lambda told: told.count(b"<item>") == 6)
        await timed(tally, "app: Launch", ask_as_app(number, "Launch", "Player"),
                    lambda told: b"success" in told or b"invalid_command" in told)
        await asyncio.sleep(PAUSE)


async def ask_for(seconds, first, cookies, tally):
    end = time.monotonic() + seconds
    await asyncio.gather(*(phone(first + number, cookies[number % len(cookies)], end, tally)
                           for number in range(ASKING)),
                         *(app(first + ASKING + number, end, tally) for number in range(ASKING)))


def state(process):
    """(resident KiB, descriptors) of a process."""
    status = Path(f"/proc/{process.pid}/status").read_text(encoding="ascii")
    return int(re.search(r"VmRSS:\s+(\d+)", status)[1]), len(os.listdir(f"/proc/{process.pid}/fd"))


def tell(title, tally):
    """Prints a table; returns whether all answers were right."""
    print(f"\n{title}\n{'':18}{'requests':>9}{'wrong':>7}{'p50 ms':>9}{'p95 ms':>9}{'p99 ms':>9}")
    for name, times in sorted(tally.items()):
        right = sorted(each for each in times if each is not None)
        parts = "".join(f"{right[int(len(right) * part)]:9.1f}" if right else f"{'-':>9}"
                        for part in (0.5, 0.95, 0.99))
        print(f"{name:18}{len(times):9}{len(times) - len(right):7}{parts}")
    return all(None not in times for times in tally.values())


async def load(gate, phones, seconds):
    cookies = await pair(-(-phones // STREAMS_OF_A_DEVICE))
    alone, beside = collections.defaultdict(list), collections.defaultdict(list)
    await ask_for(seconds, phones, cookies, alone)
    before = state(gate)
    heard = [0] * phones
    start = time.monotonic()
    watching = [asyncio.create_task(watch(number, cookies[number // STREAMS_OF_A_DEVICE], heard))
                for number in range(phones)]
    while not all(heard) and time.monotonic() < start + 60:
        await asyncio.sleep(0.1)
    opened, during = time.monotonic() - start, state(gate)
    first = sum(heard)
    start = time.monotonic()
    await ask_for(seconds, phones, cookies, beside)
    beats = (sum(heard) - first) / phones / (time.monotonic() - start)
    broken = sum(task.done() for task in watching)
    for task in watching:
        task.cancel()
    await asyncio.gather(*watching, return_exceptions=True)
    end = time.monotonic() + 30
    while state(gate)[1] > before[1] + 2 * ASKING and time.monotonic() < end:
        await asyncio.sleep(0.1)
    after = state(gate)
    is_right = tell("nobody watches", alone)
    is_right = tell(f"{phones} phones watch", beside) and is_right
    print(f"\n{phones} streams of {len(cookies)} devices, open in {opened:.1f} s: {broken} broke off, "
          f"{beats:.2f} beats a second each")
    for name, each in (("before", before), ("with them", during), ("after", after)):
        print(f"the gate {name}: {each[0]} KiB resident, {each[1]} descriptors")
    print(f"a stream: {(during[0] - before[0]) / phones:.1f} KiB")
    return is_right and broken == 0 and min(heard) > 0


def main():
    phones, seconds = (int(word) for word in (*sys.argv[1:], *("1000", "10")[len(sys.argv) - 1:]))
    most = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
    resource.setrlimit(resource.RLIMIT_NOFILE, (most, most))
    Path("/run/kallogate").mkdir(exist_ok=True)  # made by the service manager elsewhere
    run("torvik-desktop", "start", "admin")
    with subprocess.Popen(["kalloagent"], **QUIET) as agent, \
            subprocess.Popen(["kallogate", "serve"], **QUIET) as gate:
        try:
            while subprocess.run(["kallogate", "status"], check=False, **QUIET).returncode != 0:
                time.sleep(0.1)
            is_right = asyncio.run(load(gate, phones, seconds))
        finally:
            for process in (gate, agent):
                process.terminate()
    print("nothing wrong or broken off" if is_right else "FAILED")
    return 0 if is_right else 1


sys.exit(main())
