"""Launching and stopping packages: who may start what beside what, and how a program starts."""
import os
import re
import signal
from pathlib import Path

import pytest

from box import ask, payload, process_named, request, settle, sleeper, text

VEXA = "/share/Volume1/vexa"
STOPS = [f"[{VEXA}/{name}/stop]" for name in (
    "Player", "Browser", "StorageAdmin", "OldGame", "Clock", "Photos", "TvTuner")]
PROGRAMS = {"Player": "player-tv", "Browser": "browser-tv", "StorageAdmin": "storage-tv",
            "OldGame": "oldgame-tv", "Photos": "photos-tv"}


def started(name):
    return [f"[{VEXA}/{name}/{PROGRAMS[name]}][--fullscreen]"]


# user of the desktop, package, workspace, is it running; answer, what was run
DECISIONS = [
    ("admin", "StorageAdmin", "False", False, "success", started("StorageAdmin")),
    ("alice", None, "False", False, "success", []),
    ("alice", "zelv-tuner", None, False, "vexa_not_found", []),
    ("alice", "Lost", None, False, "vexa_not_found", []),
    ("alice", "StorageAdmin", None, False, "no_permission", []),
    ("alice", "OldGame", None, False, "success", started("OldGame")),
    ("alice", "Player", "False", False, "success", started("Player")),
    ("alice", "Player", "False", True, "success", []),
    ("alice", "Player", None, True, "invalid_command", []),
    ("alice", "Player", "false", True, "invalid_command", []),
    ("alice", "Browser", "True", True, "success", []),
    ("alice", "Photos", "Falsehood", True, "success", started("Photos")),
    ("alice", "Photos", "False", True, "success", STOPS + started("Photos")),
    ("alice", "TvTuner", "False", False, "success", []),  # started by its vexaName, which differs
    (None, "Player", None, False, "login_required", []),
    (None, None, None, False, "login_required", [])]


def test_decisions(nas, desktop, daemon):
    calls = nas.record("/opt/vexa/screen-program", "/opt/vexa/screen-stop")
    session = "admin"
    for user, name, workspace, running, answer, run_then in DECISIONS:
        if user != session:
            desktop.stop()
            if (session := user):
                desktop.start(user)
        Path(nas.settings).write_text(f"[TaskBar]\nEnable = {workspace}\n" if workspace else "")
        calls.write_text("")
        with process_named(PROGRAMS[name] if running else "other"):
            document = payload("Launch", *([] if name is None else [name]))
        settle(daemon)
        row = (user, name, workspace, running)
        assert (text(document, "errRtn"), calls.read_text().splitlines()) == (answer, run_then), row
    assert not daemon.zombies()


def test_workspace_that_cannot_be_read(nas, desktop, daemon):
    """It counts as one of several windows: nothing is stopped."""
    calls = nas.record("/opt/vexa/screen-program", "/opt/vexa/screen-stop")
    nas.replace("/sbin/rdconf", "exit 0\n")
    assert text(payload("Launch", "Photos"), "errRtn") == "success"
    settle(daemon)
    assert calls.read_text().splitlines() == started("Photos")
    assert "[Line:1244][Func:bool CKalloAgent::isMultiWinWorkspace_()]: fread() ... fail\n" in daemon.log()


@pytest.mark.parametrize("kept", [False, True])
def test_started_program(nas, desktop, start_daemon, kept):
    """With `kept`, the agent has been started with SIGPIPE ignored, which is passed on."""
    daemon = start_daemon(restore_signals=not kept, env={**os.environ, "A": "0", "B": "kept"})
    nas.replace("/opt/vexa/screen-program", "exec sleep 600\n")
    nas.replace("/opt/bin/zelvshmenv", "echo '<E><A>MQ==</A><A>Mg==</A><C/><D>!</D></E>'\n")
    assert text(payload("Launch", "Player"), "errRtn") == "success"
    with sleeper() as (pid, parent):
        assert parent not in (daemon.pid, os.getpid())
        assert os.getsid(pid) == os.getpgid(pid) != os.getsid(daemon.pid)
        assert os.readlink(f"/proc/{pid}/cwd") == "/"
        environment = Path(f"/proc/{pid}/environ").read_bytes().split(b"\0")
        assert {b"A=Mg==", b"B=kept", b"C=", b"D=!"} <= set(environment)
        masks = dict(re.findall(r"Sig(\w+):\t.*(.{4})", Path(f"/proc/{pid}/status").read_text()))
        assert (int(masks["Blk"], 16), int(masks["Ign"], 16)) == (0, kept << signal.SIGPIPE - 1)


def test_stop_all(nas, start_daemon):
    for name, command in (("Browser", ""), ("Clock", f"{VEXA}/Clock/stop now"), ("OldGame", "/nowhere")):
        descriptor = Path(f"{VEXA}/{name}/.kallo/kallo.xml")
        descriptor.write_text(descriptor.read_text().replace(f"{VEXA}/{name}/stop", command))
    daemon = start_daemon()
    calls = nas.record("/opt/vexa/screen-stop", then="sleep 0.1\necho end >>/tmp/calls\nexit 9\n")
    assert ask(request("KillAll")) == (b"", b"")
    assert calls.read_text() == "".join(
        f"[{VEXA}/{name}/stop]\nend\n" for name in ("Player", "StorageAdmin", "Photos", "TvTuner"))
    assert not daemon.zombies()
