"""The agent on a real desktop: an X server without hardware, a window manager, the machine's wmctrl
and X programs as packages (nasbox/tree-desktop). Needs a box with --real-windows."""
import os
import re
from pathlib import Path

import pytest

from box import payload, processes, text, texts, wait_until
from conftest import run

SOURCE = Path(__file__).resolve().parents[2]
TREE = SOURCE / "nasbox" / "tree-desktop"
UNIT = SOURCE / "packaging" / "kalloagent" / "kalloagent.service"
SECONDS = 60  # for X programs to come up on a busy machine

@pytest.fixture
def screen(no_desktop):
    assert os.environ["NASBOX_REAL_WINDOWS"], "run me in a box with --real-windows"
    assert run("cp", "-r", f"{TREE}/.", "/").returncode == 0
    no_desktop.start()


def unit_environment():
    """What the service's unit sets, and nothing else but what sanitizers are told by."""
    settings = re.findall(r"^Environment=(.*)", UNIT.read_text(encoding="utf-8"), re.M)
    return {**{name: os.environ[name] for name in os.environ if name.endswith("SAN_OPTIONS")},
            **dict(word.split("=", 1) for line in settings for word in line.split())}


def windows():
    """[first word of the title, process id] of every window that the agent reports, by title."""
    status = payload("GetStatus")
    assert text(status, "errRtn") == "success"
    return sorted(map(list, zip(texts(status, "win_title"), map(int, texts(status, "pid")))))


def running(program):
    return [pid for pid, _, _, line in processes() if line.split()[:1] == [program]]


@pytest.mark.usefixtures("screen")
def test_windows_come_and_go_for_the_installed_service(start_daemon):
    start_daemon(env=unit_environment())
    assert not windows()
    for package in ("WallClock", "Monitor"):
        assert text(payload("Launch", package), "errRtn") == "success"

    def shown():  # urxvt may have a helper process
        return [(title, pid in running(program))
                for (title, pid), program in zip(windows(), ("urxvt", "xclock"))]

    wait_until(lambda: shown() == [("Process", True), ("Wall", True)], SECONDS,
               "a window of each program, with its process")
    assert text(payload("Launch", "WallClock"), "errRtn") == "invalid_command"  # it runs already
    payload("KillAll")
    assert not running("xclock") and not running("urxvt")
    wait_until(lambda: not windows(), SECONDS, "an empty screen")
