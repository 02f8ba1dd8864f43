#!/usr/bin/python3
"""Prints the ratios that count, from the results that Google Benchmark left in a folder: for each
goal, the median of ours over the median of what it is measured against, in the same run. Beside it
stands how far it may be off: the standard deviations of both over the repetitions, each as a share
of its mean, added up."""
import json
import re
import sys
from pathlib import Path

# Title, ours, the measure, the greatest ratio that reaches the goal (None: a mark to come close
# to), and how many times the measure counts.
GOALS = [
    ("XML: parse 200 packages / tinyxml2", "parseOwn/200", "parseTinyxml2/200", 1, 1),
    ("XML: parse 200 packages / libxml2", "parseOwn/200", "parseLibxml2/200", 1, 1),
    ("XML: parse 200 packages / pugixml", "parseOwn/200", "parsePugixml/200", None, 1),
    ("XML: render 200 packages / tinyxml2", "renderOwn/200", "renderTinyxml2/200", 1, 1),
    ("XML: render 200 packages / libxml2", "renderOwn/200", "renderLibxml2/200", 1, 1),
    ("XML: render 200 packages / pugixml", "renderOwn/200", "renderPugixml/200", None, 1),
    ("XML: parse 10,000 packages / 10 times 1,000", "parseOwn/10000", "parseOwn/1000", None, 10),
    ("Configuration: 10,000 lines / GLib", "parseOurs/10000", "parseGlib/10000", 1, 1),
    ("Configuration: 10 MB of broken headers / 10 times 1 MB", "parseBroken/10000000",
     "parseBroken/1000000", 1.5, 10),
    ("Runner: exec_run / posix_spawn + waitpid", "measure/runByExecRun/0", "measure/runBySpawn/0",
     1.25, 1),
    ("Runner: exec_run / system", "measure/runByExecRun/0", "measure/runBySystem/0", 1, 1),
    ("Runner: exec_popen 1 KB / pipe + posix_spawn", "measure/readByExecPopen/0",
     "measure/readBySpawn/0", 1.25, 1),
    ("Runner: exec_popen 1 KB / popen", "measure/readByExecPopen/0", "measure/readByPopen/0", 1, 1),
    ("Desktop check, 1,000 processes / pgrep", "check", "checkByPgrep", 1 / 3, 1),
    ("Desktop check, 300 processes of 2 MB / a plain read", "checkLarge", "plainRead", 2, 1),
    ("Request: unknown command / floor", "request/agent_unknown", "request/floor_unknown", 1.3, 1),
    ("Request: GetCurrentUser / floor", "request/agent_GetCurrentUser",
     "request/floor_GetCurrentUser", 1.3, 1),
    ("Request: GetStatus / floor", "request/agent_GetStatus", "request/floor_GetStatus", 1.3, 1),
    ("Gate: GetStatus / directly", "request/gate_GetStatus", "request/agent_GetStatus", 1.15, 1),
    ("Gate: ListVEXA of 10 packages / directly", "listPackages/gate/10", "listPackages/agent/10",
     1.15, 1),
    ("Gate: unknown command / directly", "request/gate_unknown", "request/agent_unknown", None, 1),
    ("Reload of 200 packages / one tool run after the other", "reload/200", "reloadOneByOne/200",
     0.6, 1),
    ("ListVEXA: 200 packages / 20 times 10", "listPackages/agent/200", "listPackages/agent/10", 1.1, 20),
    ("ListVEXA: each of 200 packages / bare tool run", "listPackages/agent/200", "runEnvironmentTool",
     1.3, 200),
]
# Resident memory: title, file, and the goal in KiB.
RESIDENT_GOALS = [
    ("Resident memory of the idle agent", "resident", 6 * 1024),
    ("Resident memory of the idle gate", "residentGate", 10 * 1024),
    ("... with 1,000 open connections", "residentGateOf1000", 40 * 1024),
]
NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}


def readTimes(folder):
    """Median real time in nanoseconds and its spread (standard deviation / mean) by benchmark name,
    the library's own suffixes removed."""
    medians = {}
    spreads = {}
    for file in folder.glob("*.json"):
        if file.stat().st_size == 0:  # a filter left nothing of this topic
            continue
        for row in json.loads(file.read_text())["benchmarks"]:
            if "error_occurred" in row:
                continue
            name = re.sub(r"/(real_time|manual_time|process_time)$", "", row["run_name"])
            aggregate = row.get("aggregate_name", "median")
            if aggregate == "median":
                medians[name] = row["real_time"] * NANOSECONDS[row["time_unit"]]
            elif aggregate == "cv":
                spreads[name] = row["real_time"]
    return medians, spreads


def verdict(reached):
    return "reached" if reached else "MISSED"


def main():
    folder = Path(sys.argv[1])
    times, spreads = readTimes(folder)
    print(f"{'':50} {'ours':>12} {'measure':>12} {'ratio':>7} {'spread':>7} {'goal':>7}")
    for title, ours, measure, goal, count in GOALS:
        if ours not in times or measure not in times:
            print(f"{title:50} not measured")
            continue
        against = times[measure] * count
        ratio = times[ours] / against
        judged = "" if goal is None else f"{goal:7.2f} {verdict(ratio <= goal)}"
        spread = f"±{spreads.get(ours, 0) + spreads.get(measure, 0):.0%}"
        print(f"{title:50} {times[ours] / 1e3:9.1f} µs {against / 1e3:9.1f} µs {ratio:7.2f} "
              f"{spread:>7} {judged}")
    for title, file, goal in RESIDENT_GOALS:
        resident = folder / file
        if resident.exists():
            kilobytes = int(resident.read_text().split()[1])
            print(f"{title:50} {kilobytes:9} kB {goal:9} kB {kilobytes / goal:7.2f} {'':7} "
                  f"{1:7.2f} {verdict(kilobytes <= goal)}")


main()
