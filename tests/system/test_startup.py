"""From start-up to the end of the process: one instance a machine, settings files, what stops a
start and what does not, and the signals."""
import fcntl
import os
import re
import signal
import socket
import subprocess
from pathlib import Path

import pytest

from box import CHANNEL, ask, built_with, connect, opened, process_named, request, wait_until
from conftest import CRASH_ENV, NO_CRASH, run
from test_clients import take_up

pytestmark = pytest.mark.usefixtures("nas")
AGENT = "/usr/sbin/kalloagent"
PID_FILE = Path("/run/kalloagent/kalloagent.pid")
CORE = Path("/var/log/kalloagent.core")
SETTINGS = Path("/root/.config/ZELV")
LOCATION = r"\x1b\[1;31m\[File:kalloagent\]\[Line:\d+\]\[Func:int %s\]: "


def started():
    return subprocess.Popen([AGENT], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def test_second_instance(daemon):
    before = PID_FILE.stat().st_mtime_ns
    second = run(AGENT)
    assert second.returncode == 0
    assert re.fullmatch(LOCATION % r"main\(\)" + r"kalloagent alread exist!!\n\x1b\[m", second.stderr)
    assert PID_FILE.read_text() == str(daemon.pid) and PID_FILE.stat().st_mtime_ns == before
    assert ask(request("Nope"))[1]


def test_of_several_started_at_once_one_stays():
    agents = [started() for _ in range(6)]
    wait_until(lambda: sum(agent.poll() is None for agent in agents) == 1, 30, "one agent left")
    stays = int(PID_FILE.read_text())
    assert [agent.pid for agent in agents if agent.poll() is None] == [stays]
    os.kill(stays, signal.SIGINT)
    assert [agent.wait(30) for agent in agents] == [0] * 6


def test_a_start_waits_while_another_reads_and_writes():
    PID_FILE.parent.mkdir()
    folder = os.open(PID_FILE.parent, os.O_RDONLY)
    fcntl.flock(folder, fcntl.LOCK_EX)
    with process_named("kalloagent") as other, started() as agent:
        try:
            wait_until(lambda: str(PID_FILE.parent) in opened(agent.pid))
            PID_FILE.write_text(str(other.pid), encoding="ascii")
            os.close(folder)
            assert agent.wait(30) == 0
        finally:
            agent.kill()


def test_pid_file_left_behind(start_daemon):
    """It keeps nobody from starting, unless its process has the name in any word."""
    PID_FILE.parent.mkdir()
    with subprocess.Popen(["/bin/tail", "-f", "/dev/null", "-q", "/nonexistent/kalloagent"],
                          stderr=subprocess.DEVNULL) as other:
        PID_FILE.write_text(str(other.pid), encoding="ascii")
        assert run(AGENT).returncode == 0
        other.kill()
    with process_named("sleeper") as other:
        for content in ("4194304", f"{other.pid} kalloagent", "", "../sys/kernel", "\x7f\0\x01", None):
            # Without a content, its own number, as where a container starts anew.
            agent = start_daemon(preexec_fn=lambda content=content: PID_FILE.write_text(
                str(os.getpid()) if content is None else content))
            assert PID_FILE.read_text(encoding="ascii") == str(agent.pid), content
            agent.end()


def test_settings_files(start_daemon):
    os.umask(0o022)
    start_daemon().end()
    assert SETTINGS.stat().st_mode & 0o777 == 0o755
    (SETTINGS / "KALLO.conf").write_bytes(b"[A]\nb = c")
    (SETTINGS / "screen.conf").unlink()
    start_daemon()
    assert {path.name: path.read_bytes() for path in SETTINGS.iterdir()} == {
        "KALLO.conf": b"[A]\nb = c", "screen.conf": b""}


def test_start_in_spite_of(start_daemon):
    """Settings files that cannot be made, a socket file that an earlier run left, and somebody's
    lock on the folder of the pid file."""
    PID_FILE.parent.mkdir()
    folder = os.open(PID_FILE.parent, os.O_RDONLY)
    fcntl.flock(folder, fcntl.LOCK_SH)
    SETTINGS.parent.mkdir(exist_ok=True)
    SETTINGS.write_bytes(b"")
    with socket.socket(socket.AF_UNIX) as stale:
        stale.bind(CHANNEL)
    start_daemon()
    os.close(folder)
    assert ask(request("Nope"))[1] and ask(b"<x/>", CHANNEL) == (b"", b"")


@pytest.mark.parametrize("port, error", [
    (9812, r"Tcp Socket bind at 9812 fail\n"),
    (0, r"Unix Socket bind at /tmp/\.kalloagent\.channel fail\n")])
def test_address_taken(port, error):
    if port == 0:
        os.makedirs(CHANNEL)
    with socket.create_server(("127.0.0.1", port)):
        failed = run(AGENT)
    assert failed.returncode == 255
    assert re.search(LOCATION % r"CKalloAgent::initialize\(\)" + error + r"\x1b\[m$", failed.stderr)


def test_no_start_without_inotify():
    limit = Path("/proc/sys/user/max_inotify_instances")
    if not os.access(limit, os.W_OK):
        pytest.skip("its limit cannot be changed")
    before = limit.read_bytes()
    limit.write_bytes(b"0")
    failed = run(AGENT)
    limit.write_bytes(before)
    assert failed.returncode == 0 and "[err] m_dirMonitor.Init()\n" in failed.stderr


@NO_CRASH
@pytest.mark.parametrize("is_read", [True, False])
def test_crash_report(start_daemon, is_read):
    reader, writer = os.pipe()
    os.close(reader)
    agent = start_daemon(env=CRASH_ENV, **({} if is_read else {"stdout": writer}))
    os.close(writer)
    agent.process.send_signal(signal.SIGSEGV)
    assert agent.wait() == 0
    assert re.search(r"\x1b\[1;36m\[File:kalloagent\]\[Line:\d+\]\[Func:void signal_handler\(int, "
                     rf"siginfo_t\*, void\*\)\]: sig:11  pid:{os.getpid()}\n\x1b\[m", agent.log())
    header = re.escape(f"[sig:11  sig->pid:{os.getpid()}] self:{agent.pid}\n")
    frames = r"(\[sig:11\]\(\d+\): .+\n){3,}"
    assert not is_read or re.search(header + "\n" + frames + "$", agent.out.read_text())
    assert re.fullmatch(header + frames, CORE.read_text(encoding="utf-8"))
    assert CORE.stat().st_mode & 0o777 == 0o600


@pytest.mark.skipif(built_with("tsan"), reason="this runtime keeps back a signal in a read(2)")
def test_interrupt_in_the_middle_of_a_conversation(daemon):
    with connect() as client:
        take_up(client)
        daemon.end()
        assert client.recv(1) == b""
