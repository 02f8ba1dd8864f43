"""What fails around the agent (tools, disks, descriptors, processes) fails the requests that need it,
and nothing once it is put right."""
import base64
import os
import re
import resource
import signal
import subprocess
import time
from concurrent.futures import ThreadPoolExecutor
from contextlib import contextmanager
from pathlib import Path

import psutil
import pytest

from box import (CHANNEL, TCP, WRAP, ask, built_with, connect, payload, receive, request, sleeper,
                 text, texts, wait_until)
from conftest import CRASH_ENV, NO_CRASH, NO_LIMIT, remove, run
from test_catalogue import settle
from test_clients import UNKNOWN

HAND_OVER = Path("/usr/share/.kallo/.kallopw.log")
LOG_IN = "Login2", base64.b64encode(b"admin"), base64.b64encode(b"admin-secret")
STUCK = "exec sleep 600\n"
MUTE = [None, "exit 0\n", "kill -KILL $$\n", "exec >&- 2>&-\nsleep 0.1\n", STUCK]
# Tool, a request that runs it, the answer when it says nothing.
TOOLS = [("/sbin/rdconf", ("GetKALLOSetting",), "success"),
         ("/sbin/wrconf", LOG_IN, "login_success"), ("/usr/bin/wmctrl", ("GetStatus",), "success"),
         ("/opt/bin/zelvshmenv", ("GetCurrentUser",), "login_required"),
         ("/bin/ps", ("Launch", "TvTuner"), "success"), ("/usr/bin/base64", LOG_IN, None)]


def result(asked, address=TCP):
    return text(payload(*asked, address=address), "errRtn")


@pytest.mark.parametrize("tool, asked, answer, script", [
    *((*tool, script) for tool in TOOLS for script in MUTE),
    (*TOOLS[0], "exec yes yes\n"), (*TOOLS[3], "exec yes '<E>'\n"),
    (*TOOLS[4][:2], "invalid_command", "exec yes tuner-tv\n"),
    (*TOOLS[5][:2], "login_fail", "exec yes x\n")])
def test_broken_tool(nas, desktop, daemon, tool, asked, answer, script):
    if asked == LOG_IN:
        desktop.stop()
    before, descriptors = result(asked), daemon.fds()
    nas.replace(tool, script)
    with ThreadPoolExecutor() as client:
        found = client.submit(result, asked)
        if script == STUCK:
            with sleeper():  # ends it
                assert not found.done()
        assert found.result() == answer, daemon.log()
    nas.restore()
    assert (result(asked), daemon.fds(), daemon.zombies()) == (before, descriptors, [])


@pytest.fixture
def disk(nas, request):
    """Puts a small disk over a directory, whose own directories show through: one of them may hold
    the agent. Gives the function that makes it full or read-only, and fit to write again."""
    place, fault, behind = Path(request.param[0]), request.param[1], Path("/run/behind")
    place.mkdir(parents=True, exist_ok=True)
    behind.mkdir(exist_ok=True)
    run("mount", "--rbind", place, behind)
    if run("mount", "-t", "tmpfs", "-o", "size=1m", "none", place).returncode != 0:
        pytest.skip("nothing can be mounted here")
    for child in filter(Path.is_dir, behind.iterdir()):
        (place / child.name).mkdir()
        assert run("mount", "--rbind", child, place / child.name).returncode == 0

    def spoil(broken):
        if fault == "read-only":
            how = "remount,bind,ro" if broken else "remount,bind,rw"
            assert run("mount", "-o", how, place).returncode == 0
        elif broken:
            with pytest.raises(OSError, match="No space"), open(place / "filler", "wb", 0) as file:
                while file.write(bytes(4096)):
                    pass
        else:
            (place / "filler").unlink()

    yield spoil
    run("umount", "--lazy", place)  # and all that stands on it
    run("umount", "--lazy", behind)


# Directory and what is wrong with its disk, what a log-in comes to meanwhile.
@pytest.mark.parametrize("disk, answer", [
    *(((place, fault), answer) for fault in ("full", "read-only") for place, answer in (
        ("/usr/share/.kallo", "login_fail"), ("/root/.config/ZELV", "login_success"))),
    (("/tmp", "full"), None), (("/tmp", "read-only"), "login_fail")], indirect=["disk"])
def test_disk(disk, start_daemon, nas, answer):
    """A log-in that succeeds has its password whole on the disk, and settings are never cut off."""
    settings, plain = Path(nas.settings), "[A]\nb = c\n"
    settings.parent.mkdir(parents=True, exist_ok=True)
    settings.write_text(plain)
    daemon = start_daemon()
    for broken, expected in ((True, answer), (False, "login_success")):
        disk(broken)
        assert result(LOG_IN) == expected, (broken, daemon.log())
        password = HAND_OVER.read_bytes() if HAND_OVER.exists() else b""
        assert password == LOG_IN[2] or expected != "login_success" and not password
        assert settings.read_text() in (plain, plain + "\n[ZelvRemote]\nLogin = \n")
    assert settings.read_text() != plain


@NO_CRASH
@pytest.mark.parametrize("disk", [(place, fault) for place in ("/run/kalloagent", "/var/log")
                                  for fault in ("full", "read-only")], indirect=True)
def test_start_and_crash_on_a_bad_disk(disk, start_daemon):
    disk(True)
    daemon = start_daemon(env=CRASH_ENV)
    assert run("/usr/sbin/kalloagent").returncode in (0, 255)  # no second one, whatever tells
    assert result(("Nope",)) == "invalid_command"
    daemon.process.send_signal(signal.SIGSEGV)
    assert daemon.wait() == 0 and "[sig:11](2): " in daemon.out.read_text()


@NO_LIMIT
@pytest.mark.parametrize("address", [TCP, CHANNEL])
def test_no_descriptor_for_a_client(daemon, address):
    assert result(("Nope",), address) == "invalid_command"  # it has made all that it keeps
    used = set(map(int, os.listdir(f"/proc/{daemon.pid}/fd")))
    limits = resource.prlimit(daemon.pid, resource.RLIMIT_NOFILE)
    resource.prlimit(daemon.pid, resource.RLIMIT_NOFILE, (min(set(range(999)) - used), limits[1]))
    with connect(address) as client:
        client.sendall(UNKNOWN)
        wait_until(lambda: daemon.log().count("(Too many open files) m_tcpPtr ... fail\n") > 5)
        assert daemon.log().count("\n") < 200  # a loop without a pause writes thousands in this time
        resource.prlimit(daemon.pid, resource.RLIMIT_NOFILE, limits)
        assert b"<size>" in receive(client, lambda data: b"</ZelvDocRoot>" in data)
    assert result(("Nope",), address) == "invalid_command"
    wait_until(lambda: daemon.fds() == len(used))


@contextmanager
def no_process_for(agent):
    """The agent can make no process while the context lasts. The machine's root is bound by no such
    limit of its own: in its box the process ids run out, where the kernel has a number a box."""
    pid_max, sleepers = Path("/proc/sys/kernel/pid_max"), []
    before, limits = pid_max.read_text(), resource.prlimit(agent.pid, resource.RLIMIT_NPROC)
    if Path("/proc/self/uid_map").read_text().split()[1] != "0":
        resource.prlimit(agent.pid, resource.RLIMIT_NPROC, (1, limits[1]))
    elif tuple(map(int, re.findall(r"\d+", os.uname().release)[:2])) < (6, 14) or \
            not Path("/.host").exists() or not os.access(pid_max, os.W_OK):
        pytest.skip("this limit is the machine's, not the box's")
    else:
        pid_max.write_text("301")
        with pytest.raises(BlockingIOError):
            while True:
                sleepers.append(subprocess.Popen(["/bin/sleep", "600"]))
    try:
        yield
    finally:
        resource.prlimit(agent.pid, resource.RLIMIT_NPROC, limits)
        for each in sleepers:
            pid_max.write_text(before)
            each.kill()
            each.wait()


def test_no_processes(nas, desktop, daemon):
    nas.replace("/opt/vexa/screen-program", "exit 0\n")
    asked = [("GetStatus",), ("GetCurrentUser",), ("ListVEXA",), ("GetKALLOSetting",),
             ("Launch", "Photos"), ("Launch", "TvTuner"), ("Nope",)]
    answers, descriptors = [result(each) for each in asked], daemon.fds()
    with no_process_for(daemon):
        assert [result(each) for each in asked] == ["success", "login_required", *answers[2:]]
        assert ask(request("KillAll")) == ask(request("Logout")) == (b"", b"")
        Path("/tmp/Torvik.ServicePipe").write_text("Downloader start\n")
        wait_until(lambda: "fork() fail!" in daemon.log())
    assert [result(each) for each in asked] == answers
    assert (daemon.fds(), daemon.zombies()) == (descriptors, [])


def test_configuration_removed_and_restored(nas, desktop, start_daemon):
    """The agent lives on what it has read; its watch is on the directory, not on the name."""
    nas.replace("/opt/vexa/screen-program", "exit 0\n")
    daemon, listed = start_daemon(), texts(payload("ListVEXA"), "name")
    kept = Path("/etc/config").rename("/etc/kept")
    assert result(("ListVEXA",)) == result(("Launch", "Photos")) == "success"
    desktop.stop()
    assert result(LOG_IN) == "login_fail"
    kept.rename("/etc/config")
    desktop.start()
    nas.wrconf("Clock", "Version", "new")
    wait_until(lambda: "new" in texts(payload("ListVEXA"), "version"))
    remove(Path("/etc/config"))
    assert texts(payload("ListVEXA"), "name") == listed
    daemon.end()
    assert start_daemon() and texts(payload("ListVEXA"), "name") == []


def test_pipes_and_devices_in_the_place_of_files(nas, no_desktop, start_daemon):
    """They count as unreadable; nobody waits for a writer or reads without end."""
    def put(path, stand_in):
        Path(path).parent.mkdir(parents=True, exist_ok=True)
        Path(path).unlink(missing_ok=True)
        os.mkfifo(path) if stand_in == "pipe" else os.symlink(stand_in, path)

    for stand_in in ("pipe", "/dev/zero"):
        for path in ("/run/kalloagent/kalloagent.pid", "/etc/platform.conf", "/etc/config/uVelt.conf"):
            put(path, stand_in)
        daemon = start_daemon()
        for path in ("/etc/config/shadow", "/etc/shadow"):
            kept = Path(path).rename(f"{path}.kept")
            put(path, stand_in)
            assert result(LOG_IN) == "login_fail", (path, daemon.log())
            kept.rename(path)
        put(HAND_OVER, stand_in)
        assert result(("GetPassword",), CHANNEL) == "fail"
        no_desktop.start()
        nas.wrconf("Clock", "Version", stand_in)
        wait_until(lambda stand_in=stand_in: stand_in in texts(payload("ListVEXA"), "version"))
        kept = Path(nas.registry).rename("/etc/kept")
        put("/etc/config/new", stand_in)
        os.rename("/etc/config/new", nas.registry)
        wait_until(lambda: not texts(payload("ListVEXA"), "name"))
        assert ask(request("KillAll")) == (b"", b"") and not texts(payload("ListVEXA"), "rux_ver")
        no_desktop.stop()
        kept.rename(nas.registry)
        daemon.end()


@pytest.mark.skipif(bool(WRAP) or built_with("asan") or built_with("tsan"),
                    reason="these map far more memory than they use")
def test_no_memory_for_a_reload(nas, desktop, daemon):
    """The list in force stays, and the next change is read again."""
    nas.wrconf("Player", "Version", "new")
    wait_until(lambda: "new" in texts(payload("ListVEXA"), "version"))
    listed, registry = texts(payload("ListVEXA"), "name"), Path(nas.registry)
    original, agent = registry.read_bytes(), psutil.Process(daemon.pid)
    agent.rlimit(resource.RLIMIT_AS, (agent.memory_info().vms + (8 << 20), -1))
    with open("/etc/large", "wb") as large:
        large.truncate(200 << 20)
    os.rename("/etc/large", registry)
    settle(daemon)
    assert texts(payload("ListVEXA"), "name") == listed
    agent.rlimit(resource.RLIMIT_AS, (-1, -1))
    registry.write_bytes(original)
    nas.wrconf("Player", "Enable", "FALSE")
    wait_until(lambda: texts(payload("ListVEXA"), "name") == listed[1:])


def test_signal_storm(desktop, daemon):
    with ThreadPoolExecutor() as client:
        answers = client.submit(lambda: [payload("ListVEXA") for _ in range(30)])
        while not answers.done() or "]: epoll_wait() ...%s fail\n" not in daemon.log():
            for number in (signal.SIGCHLD, signal.SIGSTOP, signal.SIGCONT, signal.SIGWINCH):
                daemon.process.send_signal(number)
            time.sleep(0.001)
    assert answers.result() == [payload("ListVEXA")] * 30 and not daemon.zombies()
