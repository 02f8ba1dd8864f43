"""The service pipe: which script runs for which words, and that none holds up another."""
import fcntl
import os
import stat
import termios
from collections import Counter
from pathlib import Path

import pytest

from conftest import agents
from box import opened, payload, settle, sleeper, text, wait_until

PIPE = "/tmp/Torvik.ServicePipe"
CONTROL = "/opt/vexa/service-control"


def script(package, name):
    return f"[/share/Volume1/vexa/{package}/etc/init.d/{name}]"


def write(words):
    # The agent makes its pipe a moment after it listens.
    wait_until(Path(PIPE).is_fifo)
    with open(PIPE, "w", encoding="ascii") as pipe:
        pipe.write(words)


def drain():
    """Until the reader has taken what was written: the next write then is a read of its own."""
    with open(PIPE, "rb") as pipe:
        wait_until(lambda: fcntl.ioctl(pipe, termios.FIONREAD, b"1234") == bytes(4))


def serve(daemon, requests):
    """Until the agent has detached that many requests and all of them have ended."""
    wait_until(lambda: daemon.log().count("   action:") == requests, 60)
    settle(daemon)
    wait_until(lambda: not daemon.zombies())


def test_requests(nas, daemon):
    calls = nas.record(CONTROL)
    nas.wrconf("Broken", "Install_Path", "/nowhere")
    nas.wrconf("ZelvKVM", "Install_Path", "/share/Volume1/vexa/MediaIndex")
    requests = 0
    for words, pairs, run in [
            ("Downloader start MediaIndex stop\n", 2,
             [script("Downloader", "rcS"), script("MediaIndex", "rcK")]),
            ("\n  Downloader\n\nstop  ", 1, [script("Downloader", "rcK")]),
            ("Downloader", 0, []), (" \n \n", 0, []), ("", 0, []),
            ("MediaIndex stop Downloader\n", 1, [script("MediaIndex", "rcK")]),
            ("Downloader restart Downloader START\n", 2, []),
            ("Unknown start Broken start downloader start\n", 3, []),
            ("ZelvKVM.vm1 start ZelvKVM.vm1 stop\n", 2,
             [script("kvm/vm1", "rcS"), script("kvm/vm1", "rcK")]),
            ("ZelvKVM.vm2 start ZelvKVM start\n", 2, [script("MediaIndex", "rcS")])]:
        calls.write_text("")
        write(words)
        drain()
        requests += pairs
        serve(daemon, requests)
        assert Counter(calls.read_text().splitlines()) == Counter(run), words
    assert "]: vexaName:Downloader   action:restart\n" in daemon.log()


def test_slow_script(nas, daemon):
    calls = nas.record(CONTROL, then='case $0 in *MediaIndex*) exec sleep 600;; esac\n')
    assert text(payload("GetStatus"), "errRtn") == "success"  # it has made all that it keeps
    descriptors = daemon.fds()
    write("MediaIndex start\n")
    with sleeper() as (_, parent):
        assert parent != daemon.pid
        write("Downloader start\n")
        wait_until(lambda: script("Downloader", "rcS") in calls.read_text())
        assert text(payload("GetStatus"), "errRtn") == "success" and daemon.fds() == descriptors


def test_slow_registry_tool(nas, daemon):
    """What waits for it keeps no socket open: another agent can start."""
    nas.replace("/sbin/rdconf", "exec sleep 600\n")
    write("Downloader start\n")
    with sleeper():  # and a child of the agent waits for its output
        child = wait_until(lambda: [pid for pid in agents() if pid != daemon.pid])[0]
        wait_until(lambda: "pipe" in (held := "".join(opened(child))) and "socket" not in held)


@pytest.mark.parametrize("occupy, stays", [
    (Path.touch, False), (os.mkfifo, False), (lambda path: (path / "old").mkdir(parents=True), True)])
def test_pipe_at_start(start_daemon, occupy, stays):
    occupy(Path(PIPE))
    daemon = start_daemon()
    assert text(payload("GetStatus"), "errRtn") == "success"
    assert Path(PIPE, "old").exists() if stays else Path(PIPE).stat().st_mode == stat.S_IFIFO | 0o600
    assert ("int main()]: vexaBind init fail!!\n" in daemon.log()) == stays
