"""Logging in: who gets in, what is left for the desktop's tools, and what every failure leaves."""
import os
import re
import resource
import signal
import subprocess
from base64 import b64encode as plain
from pathlib import Path

import pytest

from box import ask, at_gate, payload, request, text
from conftest import NO_LIMIT, agent_alone, remove, run

KEY = "4b1e90c27a5d03f8e6219b74c05a3d8f17e2694ab803cf5d916e27a0b4c85f13"
HAND_OVER = Path("/usr/share/.kallo/.kallopw.log")
SCRATCH = Path("/tmp/.en.pn.lo")
SUCCESS, FAIL = "login_success", "login_fail"


def enciphered(value, filler=b"\xff"):
    """What an app sends for a value: a block filled up to 64 bytes, enciphered, base64."""
    done = subprocess.run(["openssl", "enc", "-aes-256-ecb", "-nopad", "-K", KEY], check=True,
                          input=value.ljust(64, filler), capture_output=True)
    return plain(done.stdout)


FORMS = {"Login": enciphered, "Login2": plain}
USERS = [(b"admin", b"admin-secret"), (b"alice", b"wonderland"), (b"bob", b"builder"),
         (b"carol", b"carol123"), (b"guest2", b"visitor2")]


@pytest.fixture(name="calls")
def recorded_calls(nas):
    return nas.record("/sbin/wrconf")


def log_in(command, *values):
    return text(payload(command, *values), "errRtn")


def assert_nothing_left(calls):
    assert not HAND_OVER.exists() and not SCRATCH.exists() and calls.read_text() == ""


def test_who_gets_in(calls, daemon):
    secret = plain(b"admin-secret")
    odd = [("Login", enciphered(b"admin", b"\0"), enciphered(b"admin-secret\xff\xff rest")),
           ("Login2", plain(b"admin\0rest" + bytes(90)), plain(b"admin-secret\0\xff")),
           ("Login2", b"YWRt''aW4=", secret),  # an empty pair of quotes is no text
           ("Login2", rb"YWR\taW4=", secret), ("Login2", b"YWRt\naW4=", secret),
           ("Login2", b"YWRtaW4=?", secret + b"*")]  # decoded as far as it goes
    usual = [(command, *map(FORMS[command], values)) for command in FORMS for values in USERS]
    # The gate takes base64 alone, and knows no value of more than 88 characters.
    for command, user, password in usual + (odd[:1] if at_gate() else odd):
        calls.write_bytes(b"")
        assert log_in(command, user, password) == SUCCESS, (user, daemon.log())
        # The file of the log-in before was a longer one.
        assert HAND_OVER.read_bytes() == password and HAND_OVER.stat().st_mode & 0o777 == 0o600
        assert not SCRATCH.exists()
        recorded = f"[{user.decode()}]" if command == "Login" else ""
        assert calls.read_text() == f"[/sbin/wrconf][ZelvRemote][Login]{recorded}[-f]" \
                                    "[/root/.config/ZELV/KALLO.conf]\n"
        HAND_OVER.write_bytes(password + b"more" * 30)


def test_refusals(desktop, calls, daemon):
    for command in FORMS:
        assert log_in(command, *map(FORMS[command], USERS[0])) == FAIL  # beside a session
    desktop.stop()
    with open("/etc/config/shadow", "a", encoding="ascii") as shadow:
        shadow.write("ghost:x:1::::::\n")  # whom the system does not know
    for command in FORMS:
        refused = [(b"admin", b"admin-secret "), (b"admin", b"\xffadmin-secret"), (b"ghost", b"x"),
                   (b"dave", b"locked"), (b"", b"x"), (b"a" * 64, b"b" * 64), (b"admin",), ()]
        for values in [*(map(FORMS[command], values) for values in refused), (b"",), (b"", b"x")]:
            assert log_in(command, *(sent := list(values))) == FAIL, (sent, daemon.log())
    assert_nothing_left(calls)


def test_decoder_without_output(nas, daemon):
    for command, user, password, line, broken in [
            ("Login", b"!!!!", None, 645, None), ("Login", None, b"!!!!", 661, None),
            ("Login2", b"!!!!", None, 730, None), ("Login2", None, b"!!!!", 740, None),
            ("Login2", b"YWRt' | 'aW4=", None, 730, None),  # the second stage has no such name
            ("Login", None, None, 645, ("/bin/echo", None)),
            ("Login2", None, None, 730, ("/usr/bin/base64", None)),
            ("Login2", None, None, 769, ("/usr/bin/base64", '[ "$1" ] && openssl base64 -d -A\n'))]:
        if at_gate() and not broken:
            continue  # that is no base64
        nas.restore()
        calls = nas.record("/sbin/wrconf")
        if broken:
            nas.replace(*broken)
        before, (name, secret) = len(daemon.log()), map(FORMS[command], USERS[0])
        assert ask(request(command, user or name, password or secret)) == (b"", b"")
        assert re.search(rf"\[Line:{line}\].*: fread\(\) \.\.\. fail\n", daemon.log()[before:])
        SCRATCH.unlink(missing_ok=line != 769)
        assert_nothing_left(calls)


@NO_LIMIT
@agent_alone("a client at the gate has its answer before the agent has closed")
@pytest.mark.parametrize("command", FORMS)
def test_no_descriptors_for_the_decoder(calls, daemon, command):
    """Whatever step the descriptors run out in, nobody is let in by half and none is lost."""
    assert log_in(command) == FAIL  # it serves, and has made all that it keeps
    before, used = daemon.fds(), max(map(int, os.listdir(f"/proc/{daemon.pid}/fd"))) + 1
    limits = resource.prlimit(daemon.pid, resource.RLIMIT_NOFILE)
    for spare, answer in ((2, FAIL), (3, SUCCESS)):
        assert_nothing_left(calls)
        resource.prlimit(daemon.pid, resource.RLIMIT_NOFILE, (used + spare, limits[1]))
        assert log_in(command, *map(FORMS[command], USERS[0])) == answer, (spare, daemon.log())
        assert daemon.fds() == before


@pytest.mark.parametrize("command, length, extra, status, answer", [
    ("Login", 47, b"", 0, SUCCESS), ("Login", 48, b"", 0, FAIL),  # the last block came as noise
    ("Login2", 48, b"", 0, SUCCESS), ("Login2", 48, b"=", -signal.SIGABRT, None),
    ("Login2", 63, b"", -signal.SIGABRT, None)])
def test_long_passwords(calls, daemon, command, length, extra, status, answer):
    """A text of 64 characters fits into Login2's block; a longer right one stops the process."""
    line = "erin:" + run("openssl", "passwd", "-6", "p" * length).stdout.strip() + ":1::::::\n"
    for name in ("/etc/config/shadow", "/etc/shadow"):
        with open(name, "a", encoding="ascii") as shadow:
            shadow.write(line)
    if at_gate() and status:
        status, answer = 0, FAIL
    daemon.status = status
    # Of a longer value the first 63 bytes count.
    sent = FORMS[command](b"p" * length + b"q" * (length == 63)) + extra
    assert log_in(command, FORMS[command](b"erin"), sent) == answer, daemon.log()
    if answer != SUCCESS:
        assert_nothing_left(calls)


def test_files_in_the_way(calls, daemon):
    for make, *answers in [
            (lambda: HAND_OVER.mkdir(parents=True), FAIL, FAIL),
            (lambda: (HAND_OVER.parent.mkdir(), HAND_OVER.symlink_to("/dev/null")), SUCCESS, SUCCESS),
            (lambda: (SCRATCH / "full").mkdir(parents=True), SUCCESS, FAIL),
            (lambda: SCRATCH.symlink_to("/tmp/calls"), SUCCESS, SUCCESS)]:
        for command, answer in zip(FORMS, answers):
            make()
            assert log_in(command, *map(FORMS[command], USERS[0])) == answer, daemon.log()
            assert calls.read_text().count("[Login]") == (answer == SUCCESS), daemon.log()
            calls.write_text("")
            remove(SCRATCH)
            remove(HAND_OVER.parent)


def test_a_log_in_reaches_the_desktops_tools(nas, daemon):
    user = enciphered(b"carol")
    assert log_in("Login", user, enciphered(b"carol123")) == SUCCESS
    assert run("kalloctl", "password").stdout == "carol123\n"
    assert Path(nas.settings).read_bytes() == b"[ZelvRemote]\nLogin = %s\n" % user
