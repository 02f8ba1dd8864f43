"""The gate under more than it can take: clients by the thousand, no descriptors, signals in between."""
import os
import resource
import signal
import socket
from concurrent.futures import ThreadPoolExecutor
from contextlib import ExitStack

import psutil
import pytest

from box import PATIENCE, built_with, payload, receive, request, text, wait_until
from conftest import KALLOGATE, Gate, run
from test_clients import IMAGE_SIZE, PAD_ICON
from test_gate import ask_from, status

SENT = [b"", request("GetStatus")[:-1], request("GetIcon", "Player", "pad")]


def address(number):
    return f"127.0.{number // 250 + 1}.{number % 250 + 1}"


@pytest.fixture
def knock():
    """Opens connections, each from an address of its own, that send what is given and read nothing."""
    most = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
    resource.setrlimit(resource.RLIMIT_NOFILE, (most, most))
    with ExitStack() as stack:
        def connect(number, sent):
            client = stack.enter_context(socket.create_connection(
                ("127.0.0.1", Gate.port), 20 * PATIENCE, (address(number), 0)))
            client.sendall(sent)
            return client
        yield connect


@pytest.mark.usefixtures("daemon")
def test_a_thousand_connections(start_gate, knock):
    """Silent ones, half requests and clients that read nothing hold nobody."""
    gate = start_gate(seconds="request = 60\nsilence = 60")
    for number in range(999):
        knock(number, SENT[number % 3])
    wait_until(lambda: status(gate)["connections"] == 999, 60)
    for number in range(5):
        told = wait_until(lambda each=number: ask_from(address(each)))
        assert text(told, "errRtn") == "success"
    knock(999, b"")
    wait_until(lambda: status(gate)["connections"] == 1000)
    assert ask_from(address(1000)) == "" and status(gate)["refused"]["too_many_connections"] >= 1


@pytest.mark.skipif(built_with("asan") or built_with("tsan"),
                    reason="sanitizers keep memory that has been freed")
@pytest.mark.usefixtures("daemon")
def test_icon_that_nobody_takes(start_gate, knock):
    PAD_ICON.write_bytes(b"\x89" * IMAGE_SIZE)
    memory = psutil.Process(start_gate().process.pid).memory_info
    before = memory().rss
    for number in range(30):
        receive(knock(number, SENT[2]), lambda data: b"</ZelvDocRoot>" in data)
    assert memory().rss - before < 30 * IMAGE_SIZE / 2


@pytest.mark.skipif(built_with("asan"),
                    reason="UBSan asks by a pipe whether memory is readable, and there is none")
@pytest.mark.usefixtures("daemon")
def test_no_descriptors(start_gate, knock):
    """Whoever finds none left waits, the gate does not spin, and all is well afterwards."""
    gate = start_gate(seconds="request = 60")
    wait_until(lambda: status(gate)["agent"] == "up")
    process = psutil.Process(gate.process.pid)
    own = process.num_fds()
    resource.prlimit(process.pid, resource.RLIMIT_NOFILE, (own + 5,) * 2)
    clients = [knock(number, b"") for number in range(20)]
    wait_until(lambda: process.num_fds() == resource.prlimit(process.pid, resource.RLIMIT_NOFILE)[0])
    before = sum(process.cpu_times()[:2])
    clients[-1].settimeout(1)
    with pytest.raises(TimeoutError):
        clients[-1].recv(1)
    assert sum(process.cpu_times()[:2]) - before < 0.5  # seconds; a loop without a pause takes all
    for client in clients:
        client.close()
    for number in range(20):
        assert text(ask_from(address(number)), "errRtn") == "success"
    wait_until(lambda: process.num_fds() == own)


def test_signals_with_requests_in_work(daemon, start_gate):
    """The settings are read again, and the gate ends, while the agent lets twenty clients wait."""
    gate = start_gate()
    assert text(payload("GetStatus"), "errRtn") == "success"
    os.kill(daemon.pid, signal.SIGSTOP)
    try:
        with ThreadPoolExecutor(20) as clients:
            told = [clients.submit(ask_from, address(n), request("Launch", f"Nobody{n}"))
                    for n in range(20)]
            wait_until(lambda: status(gate)["waiting"] == 20)
            for rounds in (1, 2, 3):
                gate.process.send_signal(signal.SIGHUP)
                wait_until(lambda least=rounds: gate.log().count("read again") == least)
            gate.process.terminate()
            os.kill(daemon.pid, signal.SIGCONT)
            assert [text(each.result(), "errRtn") for each in told] == ["login_required"] * 20
    finally:
        os.kill(daemon.pid, signal.SIGCONT)


def test_port_that_is_taken(start_gate):
    gate = start_gate()
    second = run(KALLOGATE, "serve", "--config", gate.config, "--control", f"{gate.control}.2")
    assert second.returncode == 1
    assert second.stderr == f"kallogate: port {Gate.port}: Address already in use\n"
