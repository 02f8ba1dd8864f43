"""Fixtures of the system tests. They run as root of the box (see nasbox/nasbox --help), each test
on a NAS whose files are as at the start."""
import contextlib
import json
import os
import shutil
import signal
import subprocess
from pathlib import Path

import pytest

from box import DOOR, PATIENCE, TCP, WRAP, ZOMBIE, built_with, processes, wait_until

TREE = Path(os.environ.get("NASBOX_TREE", ""))  # set inside the box alone
FROM_TREE = ["etc/config", "etc/passwd", "etc/shadow", "etc/platform.conf", "share", "opt/vexa"]
MADE_LATER = ["root/.config", "usr/share/.kallo", "run/kalloagent", "run/vexa", "run/desktop",
              "tmp/calls", "tmp/.en.pn.lo", "tmp/.kalloagent.channel", "tmp/Torvik.ServicePipe",
              "var/log/kalloagent.core", "var/log/vexa-services.log"]
NO_LIMIT = pytest.mark.skipif(bool(WRAP), reason="valgrind has descriptors of its own at its end")
NO_CRASH = pytest.mark.skipif(bool(WRAP), reason="valgrind may drop a SIGSEGV that nothing caused")
KALLOGATE = f"{os.environ.get('NASBOX_BIN')}/kallogate"
# Tests that knock at both doors, the agent's and the gate's.
BOTH_DOORS = ("protocol", "protocol_examples", "login", "launch", "session", "windows")
REPORT = "/run/report"  # what sanitizers and valgrind find, in a file a process
if TREE.is_absolute():
    # Nothing of pytest, valgrind or ThreadSanitizer is in /tmp, so that a test can fill it.
    os.environ.update(PYTEST_DEBUG_TEMPROOT="/run", TEST_TMPDIR="/run", TMPDIR="/run")
    for sanitizer in ("ASAN", "UBSAN", "LSAN", "TSAN"):
        options = os.environ.get(f"{sanitizer}_OPTIONS", "")
        os.environ[f"{sanitizer}_OPTIONS"] = f"{options}:log_path={REPORT}"
# The report of a crash is put together in the signal's handler, of which ThreadSanitizer warns.
CRASH_ENV = {**os.environ,
             "TSAN_OPTIONS": os.environ.get("TSAN_OPTIONS", "") + " report_signal_unsafe=0"}


def remove(path):
    if path.is_dir() and not path.is_symlink():
        shutil.rmtree(path)
    else:
        path.unlink(missing_ok=True)


def run(*command, **options):
    """Runs a command line given as words; its output is text, its status is not judged."""
    return subprocess.run(command, capture_output=True, text=True, check=False, timeout=60,
                          **options)


class Nas:
    """The machine: its files are fresh for each test, and replaced programs come back."""
    settings = "/root/.config/ZELV/KALLO.conf"
    registry = "/etc/config/vexa.conf"

    def __init__(self):
        assert TREE.is_absolute(), "these tests change system files: run them inside the box"
        self.replaced = set()
        for name in FROM_TREE + MADE_LATER:
            remove(Path("/", name))
        assert run("cp", "-r", "--parents", *FROM_TREE, "/", cwd=TREE).returncode == 0
        os.chmod("/etc/config/shadow", 0o600)

    def wrconf(self, section, key, value, file=registry):
        assert run("/sbin/wrconf", section, key, value, "-f", file).returncode == 0

    def replace(self, program, script):
        """Puts a shell script in the place of a program until the test ends; None removes it."""
        path = Path(program)
        if path not in self.replaced:
            path.rename(f"{path}.kept")
            self.replaced.add(path)
        remove(path)
        if script is not None:
            path.write_text("#!/bin/sh\n" + script, encoding="utf-8")
            path.chmod(0o755)

    def record(self, *programs, then=""):
        """Puts recorders in the place of programs; returns the file that they write each command
        line to, its words in brackets. `then` is what a recorder does next."""
        for program in programs:
            self.replace(program, 'printf "%s\\n" "$(printf "[%s]" "$0" "$@")" >>/tmp/calls\n' + then)
        calls = Path("/tmp/calls")
        calls.touch()
        return calls

    def restore(self):
        for path in self.replaced:
            os.replace(f"{path}.kept", path)
        self.replaced.clear()


class Desktop:
    def start(self, user="admin"):
        assert run("torvik-desktop", "start", user).returncode == 0

    def stop(self):
        assert run("torvik-desktop", "stop").returncode == 0


def agents():
    """The agent and the children that it has just forked."""
    return [pid for pid, *_, line in processes() if line.endswith("/usr/sbin/kalloagent")]


def kill_agents():
    for pid in agents():
        with contextlib.suppress(ProcessLookupError):
            os.kill(pid, signal.SIGKILL)


class Daemon:
    """The agent under test. `status` is the exit status that `end` expects."""
    status = 0

    def __init__(self, folder, **options):
        self.out, self.err = folder / "stdout", folder / "stderr"
        with open(self.out, "wb") as out, open(self.err, "wb") as err:
            options = {"stdin": subprocess.DEVNULL, "stdout": out, "stderr": err, **options}
            self.process = subprocess.Popen([*WRAP, "/usr/sbin/kalloagent"], cwd="/tmp", **options)
        self.pid = self.process.pid
        wait_until(self.is_up, 30, "an agent that has come up")

    def is_up(self):
        """Whether it has left for the root directory, its next step behind the listeners and the
        signal handlers."""
        assert self.process.poll() is None, self.log()
        return os.readlink(f"/proc/{self.pid}/cwd") == "/"

    def log(self):
        return self.err.read_text(encoding="utf-8", errors="replace")

    def fds(self):
        return len(os.listdir(f"/proc/{self.pid}/fd"))

    def zombies(self):
        return [each for each in processes() if each[1:3] == (self.pid, ZOMBIE)]

    def wait(self, seconds=30):
        return self.process.wait(timeout=seconds * PATIENCE)

    def end(self):
        # ThreadSanitizer keeps a signal back that meets a thread in its read(2): it gets another.
        for seconds in [3] * 9 + [30] if built_with("tsan") else [30]:
            if self.process.poll() is None:
                self.process.send_signal(signal.SIGINT)
                with contextlib.suppress(subprocess.TimeoutExpired):
                    self.wait(seconds)
        assert self.process.poll() == self.status, self.log()
        wait_until(lambda: not agents(), what="the end of its children that were just forked")


@pytest.fixture(autouse=True)
def reports():
    """No program in the box, however short its life, has given a sanitizer anything to report."""
    yield
    found = ""
    for file in Path(REPORT).parent.glob("report.*"):
        found += file.read_text(encoding="utf-8", errors="replace")
        file.unlink()
    assert not found, found


@pytest.fixture
def nas():
    machine = Nas()
    yield machine
    machine.restore()


@pytest.fixture
def no_desktop(nas):
    """A desktop that nobody has started; it does not outlive the test."""
    yield Desktop()
    run("torvik-desktop", "stop")


@pytest.fixture
def desktop(no_desktop):
    no_desktop.start()
    return no_desktop


@pytest.fixture
def start_daemon(nas, tmp_path):
    """Starts the agent when a test has prepared its files; options are those of Popen."""
    started = []

    def start(**options):
        folder = tmp_path / f"agent{len(started)}"
        folder.mkdir()
        started.append(Daemon(folder, **options))
        return started[-1]

    yield start
    try:
        for agent in reversed(started):
            agent.end()
    finally:  # one that has not ended, or a child of it, would be in the way of every later test
        kill_agents()


@pytest.fixture
def daemon(start_daemon):
    return start_daemon()


class Gate:
    """kallogate in front of the agent; the settings are lines of its file, by table. What it keeps
    stays until the test ends, also when another takes its place."""
    port, web = 9813, 9880

    def __init__(self, folder, **settings):
        self.config, self.control, self.err = folder / "gate.toml", folder / "control", folder / "gate"
        self.configure(**settings)
        with open(self.err, "wb") as err:
            self.process = subprocess.Popen([KALLOGATE, "serve", "--config", self.config, "--control",
                                             self.control, "--state", folder / "state"], stderr=err)
        wait_until(lambda: "listening" in self.log(), 30, "a gate that listens")

    def configure(self, **settings):
        self.config.write_text("".join(f"[{table}]\n{lines}\n" for table, lines in settings.items()))

    def tell(self, *command):
        """Gives the running gate a command; returns its output, which must not be a failure."""
        done = run(KALLOGATE, *command, "--control", self.control)
        assert done.returncode == 0, done.stderr
        return done.stdout

    def code(self):
        """A code that pairs one phone."""
        return json.loads(self.tell("pair", "--json"))["code"]

    def log(self):
        assert self.process.poll() is None, self.err.read_text()
        return self.err.read_text()

    def end(self):
        self.process.terminate()
        assert self.process.wait(30 * PATIENCE) == 0, self.err.read_text()


@pytest.fixture
def start_gate(tmp_path):
    """Starts the gate, at which the clients of the test knock from then on."""
    started = []

    def start(**settings):
        started.append(Gate(tmp_path, **settings))
        DOOR["port"] = Gate.port
        return started[-1]

    yield start
    DOOR["port"] = TCP[1]
    for gate in started:
        gate.end()


def pytest_generate_tests(metafunc):
    meets_agent = {"daemon", "start_daemon"} & set(metafunc.fixturenames)
    is_for_both = metafunc.module.__name__.removeprefix("test_") in BOTH_DOORS
    if is_for_both and meets_agent and not hasattr(metafunc.function, "agent_alone"):
        metafunc.parametrize("door", ["agent", "gate"], indirect=True)


def agent_alone(reason):
    """Marks a test whose clients the gate does not let through, or that looks at what it hides."""
    def mark(function):
        function.agent_alone = reason
        return function
    return mark


@pytest.fixture(autouse=True)
def door(request):
    """Where the clients of the tests for both doors knock. The gate's limits are not met there."""
    if getattr(request, "param", "agent") == "gate":
        request.getfixturevalue("start_gate")(
            seconds="request = 1", login="failures_of_an_address = 9999\nfailures_of_all = 9999")
