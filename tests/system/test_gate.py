"""The gate in front of the agent: what it keeps out, whom it makes wait for nobody, and what it does
when the agent, its file or its own time comes to an end."""
import json
import os
import re
import signal
import socket
import time
from base64 import b64encode
from concurrent.futures import ThreadPoolExecutor
from contextlib import suppress
from pathlib import Path

import pytest

from box import TCP, announced, answer, ask, connect, payload, receive, request, text, wait_until
from conftest import KALLOGATE, Gate, run

HERE, THERE, ELSEWHERE = "127.0.0.1", "127.0.0.2", "127.0.0.3"
UNKNOWN = request("Nope")
SILENCE, NO_ICON = (b"", b""), (announced(0), b"")
FAIL = announced(114), answer(b"login_fail")
RUN = "' | /usr/bin/touch /tmp/calls '"
WRONG, RIGHT = (request("Login2", b64encode(b"admin"), b64encode(password))
                for password in (b"wrong", b"admin-secret"))


def ask_from(address, sent=request("GetStatus")):
    """What a client of that address gets; nothing when it is refused."""
    with socket.create_connection((HERE, Gate.port), 20, (address, 0)) as client, \
            suppress(ConnectionError):
        client.sendall(sent)
        receive(client, lambda data: b"</ZelvDocRoot>\n" in data)
        client.sendall(b"go")
        return receive(client).decode()
    return ""


def status(gate):
    return json.loads(run(KALLOGATE, "status", "--json", "--control", gate.control).stdout)


def test_attacks(daemon, start_gate):
    """Whoever gets through runs a program or stops the agent, which `daemon` looks for at its end."""
    gate = start_gate(seconds="request = 1")
    wait_until(lambda: status(gate)["agent"] == "up")
    asked = daemon.log().count("COMMAND:")
    quoted = [RUN.replace("'", quote) for quote in ("'", "&apos;", "&APOS;", "&#039;", "&#x27;")]
    values = [pair for value in [*quoted, f"<![CDATA[{RUN}]]>"]
              for pair in ((value, "YWRt"), ("YWRt", value))]
    for sent, expected in [
            *((request(command, *pair), FAIL) for command in ("Login", "Login2") for pair in values),
            (b"POST / HTTP/1.1\r\nHost: nas\r\n\r\n" + request("Login", RUN, "x"), SILENCE),
            (b"POST / HTTP/1.1 " + request("KillAll"), SILENCE), (b"GET / HTTP/1.0\r\n\r\n", SILENCE),
            (request("Login2", "YWxpY2U=", "d29u" * 17), FAIL), (request("Login2", "YWxpY2U="), FAIL),
            (request("GetIcon", "Clock\x01", "phone"), NO_ICON), (request("GetIcon", "Clock"), NO_ICON),
            (request("Launch", "a\x01"), (announced(118), answer(b"vexa_not_found")))]:
        assert ask(sent) == expected, sent
    assert not Path("/tmp/calls").exists() and daemon.log().count("COMMAND:") == asked
    for behind in (b"", b"\n", b" " * 5000):
        with connect() as client:
            client.sendall(request("GetIcon", "Clock", "phone") + behind)
            assert receive(client, lambda data: data == NO_ICON[0]) == NO_ICON[0]
            client.sendall(b"go")
            assert receive(client) == b""
    # A password of too many characters stops the agent; what an encoder put between them is gone.
    torn = "d29u" + "\n" * 60 + "ZGVybGFuZA=="
    assert text(payload("Login2", "YWxpY2U=", torn), "errRtn") == "login_success"
    assert not re.search("touch|HTTP|d29u|Clock", gate.log())


@pytest.mark.usefixtures("daemon")
def test_torn_requests(start_gate):
    start_gate()
    for pieces in ([UNKNOWN, b"\n"], [bytes([byte]) for byte in UNKNOWN]):
        with connect() as client:
            for piece in pieces:
                client.sendall(piece)
                time.sleep(0.005)  # a segment of its own
            told = receive(client, lambda data: b"</ZelvDocRoot>\n" in data)
            client.sendall(b"go")
            assert told + receive(client) == announced(119) + answer(b"invalid_command"), pieces


@pytest.mark.usefixtures("daemon")
def test_limits(start_gate):
    """Silent clients take the places of their own address alone, and give them back."""
    gate = start_gate(seconds="request = 5", listen="connections = 10")
    silent = [connect() for _ in range(8)]
    wait_until(lambda: status(gate)["connections"] == 8)
    with connect() as ninth:
        assert receive(ninth) == b""
    assert [text(ask_from(THERE), "errRtn") for _ in range(3)] == ["success"] * 3
    assert [receive(client) for client in silent] == [b""] * 8
    assert text(payload("GetStatus"), "errRtn") == "success"
    told = status(gate)
    assert told["refused"]["too_many_of_an_address"] == 1 and told["refused"]["no_request"] == 8
    assert told["answered"] == 4 and told["agent"] == "up" and told["total_ms"]["p99"] > 0
    gate.configure(listen='allowed = ["127.0.0.2", "::/0"]')
    gate.process.send_signal(signal.SIGHUP)
    wait_until(lambda: "read again" in gate.log())
    assert ask_from(HERE) == "" and text(ask_from(THERE), "errRtn") == "success"


def test_log_in_guard(daemon, start_gate):
    gate = start_gate(login="failures_of_an_address = 3\nfailures_of_all = 5")
    for row, (address, sent, is_asked) in enumerate([
            (HERE, WRONG, True), (HERE, WRONG, True), (HERE, RIGHT, True), (HERE, WRONG, True),
            (HERE, request("Login2", "====", "===="), True), (HERE, WRONG, True), (HERE, WRONG, True),
            (HERE, RIGHT, False), (THERE, RIGHT, True), (THERE, WRONG, True), (THERE, WRONG, True),
            (THERE, RIGHT, False), (ELSEWHERE, RIGHT, False)]):
        before = daemon.log().count("<cmd>Login2")
        told = text(ask_from(address, sent), "errRtn")
        expected = "login_success" if sent == RIGHT and is_asked else "login_fail"
        assert told == (None if b"====" in sent else expected), row
        assert daemon.log().count("<cmd>Login2") - before == is_asked, row
    assert status(gate)["refused"]["too_many_logins"] == 3


def test_refreshed_mark_reaches_every_address(nas, daemon, start_gate):
    start_gate()
    told = {HERE: [], THERE: []}

    def ask_both():
        for address, marks in told.items():
            marks.append(text(ask_from(address), "isRefreshed"))
        return all("true" in marks for marks in told.values())
    assert not ask_both()
    nas.wrconf("Player", "Version", "9.9")
    wait_until(ask_both, what=daemon.log())
    ask_both()
    assert [marks.count("true") for marks in told.values()] == [1, 1]


def test_turns(daemon, start_gate):
    """Nobody waits for a second request of somebody else, not even where both ask the same."""
    gate = start_gate()
    wait_until(lambda: status(gate)["agent"] == "up")
    os.kill(daemon.pid, signal.SIGSTOP)
    with ThreadPoolExecutor(6) as clients:
        for row, (address, *sent) in enumerate([
                (HERE, "Launch", "A"), (HERE, "Launch", "B"), (HERE, "Launch", "C"),
                (HERE, "GetStatus"), (THERE, "GetStatus"), (ELSEWHERE, "GetCurrentUser")]):
            clients.submit(ask_from, address, request(*sent))
            wait_until(lambda least=row: status(gate)["waiting"] == least + 1)
        os.kill(daemon.pid, signal.SIGCONT)
    assert re.findall("<cmd>(\\w+)", daemon.log()) == [
        "Launch", "Launch", "GetStatus", "GetCurrentUser", "Launch"]


@pytest.mark.usefixtures("desktop")
def test_agent_that_comes_back(start_daemon, start_gate):
    """Stopped, then killed, then started anew: whoever waits is served by the next one."""
    first = start_daemon()
    first.status = -signal.SIGKILL
    gate = start_gate(seconds="agent = 20")
    assert text(payload("GetStatus"), "errRtn") == "success"
    os.kill(first.pid, signal.SIGSTOP)
    sent = [request("GetCurrentUser"), request("GetStatus"), request("GetKALLOSetting")]
    with ThreadPoolExecutor(18) as clients:
        told = [clients.submit(ask_from, f"127.0.1.{n}", sent[n % 3]) for n in range(18)]
        wait_until(lambda: status(gate)["waiting"] == 18)
        first.process.kill()
        first.wait()
        wait_until(lambda: status(gate)["agent"] == "down")
        start_daemon()
    told = [text(each.result(), "errRtn") for each in told]
    # Whoever was at the agent, one conversation, is not asked for twice.
    assert 1 <= told.count(None) <= 6 and told.count("success") == 18 - told.count(None), gate.log()
    assert status(gate)["agent"] == "up"


@pytest.mark.parametrize("announcement, reply, told", [
    (b"", b"", None), (b"<x>", b"", None), (b"</ZelvDocRoot>", b"", None), (b"x" * 5000, b"", None),
    (announced(2 ** 64), b"", None), (announced(2 ** 28), b"", None), (announced(9)[:-1], b"", None),
    (announced(9), b"less", None), (announced(9), b"<errRtn>more", b"<errRtn>m"),
    (announced(8), b"<errRtn>", b"<errRtn>")])
def test_agent_that_tells_nonsense(start_gate, announcement, reply, told):
    def answer_once():
        with listener.accept()[0] as agent, suppress(ConnectionError):
            agent.recv(4096)
            agent.sendall(announcement)
            if agent.recv(2) == b"OK":
                agent.sendall(reply)

    with socket.create_server(TCP) as listener, ThreadPoolExecutor(1) as client:
        listener.settimeout(20)
        gate = start_gate(seconds="agent = 1")
        answer_once()  # to the gate's own request
        asked = client.submit(ask, request("GetCurrentUser"))
        answer_once()
        assert asked.result() == ((announcement, told) if told else SILENCE)
    assert "GetCurrentUser: " in gate.log()


def test_end_with_a_request_in_work(nas, daemon, start_gate):
    gate = start_gate()
    calls = nas.record("/opt/bin/zelvshmenv", then="sleep 1\n")
    with connect() as asking, connect() as working:
        asking.sendall(UNKNOWN[:-1])
        working.sendall(request("GetCurrentUser"))
        wait_until(calls.read_text, what=daemon.log())
        gate.process.terminate()
        assert receive(asking) == b""
        assert receive(working, lambda data: b"</ZelvDocRoot>\n" in data) == announced(118)
        working.sendall(b"go")
        assert receive(working) == answer(b"login_required")


@pytest.mark.usefixtures("daemon")
def test_broken_file(start_gate):
    gate = start_gate(login="failures_of_an_address = 1")
    ask_from(HERE, WRONG)
    for lines, said in [("failures_of_all = ", ":2: "), ("failures = 1", ":2: there is no setting"),
                        ('failures_of_all = "1"', ":2: login.failures_of_all has to be a whole number")]:
        gate.configure(login=lines)
        check = run(KALLOGATE, "check-config", "--config", gate.config)
        assert check.returncode == 1 and f"{gate.config}{said}" in check.stderr
        gate.process.send_signal(signal.SIGHUP)
        wait_until(lambda: f"{gate.config}{said}" in gate.log(), what=said)
    assert text(ask_from(HERE, RIGHT), "errRtn") == "login_fail"
    assert status(gate)["refused"]["too_many_logins"] == 1
