#!/usr/bin/python3
"""A bounded load on the running agent: load.py [--gate] [CLIENTS] [REQUESTS] sends REQUESTS requests of
every kind from CLIENTS clients at a time, checks each answer, and looks for what the agent has lost or
kept. --gate: the same once more through the gate, and what only that has to stand. Runs in the box
(./dev load). Status 0: nothing lost, wrong or leaked."""
import argparse
import asyncio
import collections
import contextlib
import json
import os
import re
import resource
import subprocess
import sys
import time
from pathlib import Path

import loadGate
from loadClient import AGENT, GATE, Tally, drive, serve_one
from loadKinds import PIPE, WITH_DESKTOP, WITHOUT_DESKTOP

SERVICE_LOG = Path("/var/log/vexa-services.log")
SETTINGS = Path("/root/.config/ZELV/KALLO.conf")
GATE_FILE = Path("/run/gate.toml")
GATE_CONTROL = Path("/run/gate.control")
# Wrong log-ins are part of the load.
GATE_SETTINGS = "[login]\nfailures_of_an_address = 1000000\nfailures_of_all = 1000000\n"
MEMORY_SLACK = 1024  # KiB that the heap of a warm program may still grow by
ANSWERED_WITHIN = 1000  # milliseconds, for those that poll
POLLING = (1000, 20)  # clients, rounds of a second


def state(program):
    """Resident KiB, descriptors, threads and zombies of a program."""
    status = Path(f"/proc/{program}/status").read_text(encoding="ascii")
    zombies = 0
    for stat in Path("/proc").glob("[0-9]*/stat"):
        with contextlib.suppress(FileNotFoundError, ProcessLookupError):
            words = stat.read_text(encoding="ascii", errors="replace").rsplit(") ", 1)[1].split()
            zombies += words[:2] == ["Z", str(program)]
    return {"resident KiB": int(re.search(r"VmRSS:\s+(\d+)", status)[1]),
            "descriptors": len(os.listdir(f"/proc/{program}/fd")),
            "threads": int(re.search(r"Threads:\s+(\d+)", status)[1]), "zombies": zombies}


def states(programs):
    """Of each program, once they are at rest."""
    time.sleep(1)
    return {name: state(program.pid) for name, program in programs.items()}


def is_leaked(name, before, after):
    slack = MEMORY_SLACK if name == "resident KiB" else 0
    return after > before + slack if slack else after != before


def settle(served):
    """Waits until the scripts that the service pipe asked for have run. Returns how many are missing."""
    for _ in range(300):
        ran = len(SERVICE_LOG.read_text().splitlines()) if SERVICE_LOG.exists() else 0
        if ran == served:
            break
        time.sleep(0.1)
    return abs(served - ran)


def total(tallies):
    """All that went through the door."""
    whole = Tally()
    for name, tally in tallies.items():
        if name not in ("service pipe", "GetPassword"):
            whole.times += tally.times
    return whole


def report(tallies, seconds):
    row = "{:22} {:>9} {:>6} {:>6} {:>9} {:>10} {:>10} {:>10}"
    print(row.format("kind", "requests", "lost", "wrong", "retries", "p50 ms", "p95 ms", "p99 ms"))
    for name, tally in (*sorted(tallies.items()), ("through the door", total(tallies))):
        print(row.format(name, len(tally.times) + tally.lost, tally.lost, tally.wrong, tally.retries,
                         *(f"{tally.percentile(part):.1f}" for part in (0.5, 0.95, 0.99))))
    count = sum(len(tally.times) + tally.lost for tally in tallies.values())
    print(f"\n{count} requests in {seconds:.0f} s, {count / seconds:.0f} a second")


def report_leaks(before, after):
    """Tells the figures of each program. Returns whether none has kept anything."""
    leaked = False
    for program, figures in before.items():
        for name, value in figures.items():
            print(f"{program}, {name}: {value} when warm, {after[program][name]} at the end")
            leaked |= is_leaked(name, value, after[program][name])
    return not leaked


@contextlib.contextmanager
def started(port):
    """The programs behind that door."""
    quiet = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    with contextlib.ExitStack() as stack:
        programs = {}

        def start(*command):
            programs[command[0]] = stack.enter_context(subprocess.Popen(command, **quiet))
            stack.callback(programs[command[0]].terminate)

        start("kalloagent")
        while not PIPE.exists():
            time.sleep(0.1)
        if port == GATE:
            GATE_FILE.write_text(GATE_SETTINGS)
            start("kallogate", "serve", "--config", GATE_FILE, "--control", GATE_CONTROL)
            while not GATE_CONTROL.exists() or gate_status()["agent"] != "up":
                time.sleep(0.1)
        yield programs
    PIPE.unlink()


def gate_status():
    return json.loads(subprocess.run(["kallogate", "status", "--json", "--control", GATE_CONTROL],
                                     check=True, capture_output=True).stdout)


def load(port, clients, requests, programs):
    """The load on one door. Returns its tallies, its seconds, and whether all is well."""
    warming = collections.defaultdict(Tally)
    tallies = collections.defaultdict(Tally)
    SERVICE_LOG.unlink(missing_ok=True)
    asyncio.run(drive(port, clients, requests // 20, WITHOUT_DESKTOP, warming))
    before = states(programs)
    start = time.monotonic()
    asyncio.run(drive(port, clients, requests // 5, WITHOUT_DESKTOP, tallies))
    log_in = next(kind for kind in WITHOUT_DESKTOP if kind.name == "Login")
    asyncio.run(serve_one(port, "127.0.0.1", log_in, warming["Login"]))
    subprocess.run(["torvik-desktop", "start", "admin"], check=True)
    asyncio.run(drive(port, clients, requests - requests // 5, WITH_DESKTOP, tallies))
    seconds = time.monotonic() - start
    served = 2 * sum(len(all_of["service pipe"].times) for all_of in (warming, tallies))
    tallies["service pipe"].lost = settle(served)
    report(tallies, seconds)
    is_well = report_leaks(before, states(programs))
    is_well &= not any(tally.lost or tally.wrong
                       for all_of in (warming, tallies) for tally in all_of.values())
    return tallies, seconds, is_well and all(each.poll() is None for each in programs.values())


def judge(title, value, goal, reached):
    print(f"{title}: {value:.3f}, goal {goal}: {'reached' if reached else 'MISSED'}")


def compare(direct, seconds, through, seconds_through):
    before, after = total(direct).percentile(0.99), total(through).percentile(0.99)
    judge(f"99th percentile, {after:.0f} ms through the gate / {before:.0f} ms directly",
          after / before, "at most 0.05", after <= before / 20)
    judge("requests a second, through the gate / directly", seconds / seconds_through, "at least 1",
          seconds_through <= seconds)


def bear():
    """Holders and polls at the gate. Returns whether nothing was lost or wrong."""
    without, beside = asyncio.run(loadGate.patience())
    print(f"\n50 clients, 95th percentile: {without.percentile(0.95):.1f} ms; "
          f"beside 60 that hold their connections: {beside.percentile(0.95):.1f} ms")
    ratio = beside.percentile(0.95) / without.percentile(0.95)
    judge("ratio of both", ratio, "at most 1.5", ratio <= 1.5)
    asked = gate_status()["conversations_with_agent"]
    polls = asyncio.run(loadGate.poll(*POLLING))
    asked = gate_status()["conversations_with_agent"] - asked
    print(f"{POLLING[0]} clients that ask GetStatus every second: {len(polls.times)} answers from "
          f"{asked} conversations with the agent, p50 {polls.percentile(0.5):.1f} ms, p99 "
          f"{polls.percentile(0.99):.1f} ms")
    late = max(polls.times) / 1000
    judge("the latest of them, seconds", late, "at most 1", late * 1000 <= ANSWERED_WITHIN)
    return not any(tally.lost or tally.wrong for tally in (without, beside, polls))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--gate", action="store_true")
    parser.add_argument("clients", type=int, nargs="?", default=200)
    parser.add_argument("requests", type=int, nargs="?", default=100_000)
    options = parser.parse_args()
    most = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
    resource.setrlimit(resource.RLIMIT_NOFILE, (most, most))
    SETTINGS.parent.mkdir(parents=True)
    subprocess.run(["wrconf", "UIControl", "RequireLogin", "no", "-f", SETTINGS], check=True)
    with started(AGENT) as programs:
        direct, seconds, is_well = load(AGENT, options.clients, options.requests, programs)
    if options.gate:
        print("\nThrough the gate:")
        subprocess.run(["torvik-desktop", "stop"], check=True)
        with started(GATE) as programs:
            through, seconds_through, is_gate_well = load(GATE, options.clients, options.requests,
                                                          programs)
            compare(direct, seconds, through, seconds_through)
            is_well &= is_gate_well & bear()
    print("nothing lost, wrong or leaked" if is_well else "FAILED")
    return 0 if is_well else 1


sys.exit(main())
