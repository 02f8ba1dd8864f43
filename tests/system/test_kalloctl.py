"""kalloctl against the running agent, where a script of its answers would not do."""
import fcntl
import socket
import struct
from contextlib import contextmanager, suppress
from pathlib import Path

import pytest

from box import TCP, wait_until
from conftest import run

SIOCSIFADDR = 0x8916
LOOPBACK = 1  # the interface's number


def is_bound(listener, address):
    with suppress(OSError):  # the kernel takes a moment to make the address known
        listener.bind((address, TCP[1]))
        return True


@contextmanager
def stranger(address):
    """Who listens on the agent's port at an IPv6 address of the server, as any local user may."""
    with socket.socket(socket.AF_INET6, socket.SOCK_STREAM) as listener:
        fcntl.ioctl(listener, SIOCSIFADDR,
                    struct.pack("16sIi", socket.inet_pton(socket.AF_INET6, address), 128, LOOPBACK))
        wait_until(lambda: is_bound(listener, address), what="the new address")
        listener.listen()
        listener.settimeout(0)
        yield listener


def was_called(listener):
    try:
        listener.accept()[0].close()
        return True
    except BlockingIOError:
        return False


# The C library hands out 127.0.0.1 for a name that stands for ::1.
@pytest.mark.skipif(not Path("/proc/net/if_inet6").exists(), reason="a kernel without IPv6")
@pytest.mark.usefixtures("daemon")
def test_host_names_stand_for_ipv4_addresses():
    Path("/etc/hosts").write_text("fd00::5 nas six\n127.0.0.1 nas\n", encoding="utf-8")
    with stranger("fd00::5") as listener:
        assert run("kalloctl", "-H", "nas", "status").returncode == 0
        assert run("kalloctl", "-H", "six", "status").returncode == 3
        assert not was_called(listener)
        assert run("kalloctl", "-H", "fd00::5", "--timeout", "0.1", "status").returncode == 3
        assert was_called(listener)
