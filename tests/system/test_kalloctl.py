"""kalloctl against the running agent, where a script of its answers would not do."""
import fcntl
import json
import os
import shutil
import socket
import struct
from contextlib import contextmanager, suppress
from pathlib import Path

import pytest

from box import CHANNEL, TCP, wait_until
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
    Path("/etc/hosts").write_text("fd00::5 nas six nas:six\n127.0.0.1 nas\n", encoding="utf-8")
    with stranger("fd00::5") as listener:
        assert run("kalloctl", "-H", "nas", "status").returncode == 0
        for name in ("six", "nas:six"):
            assert run("kalloctl", "-H", name, "status").returncode != 0
        assert not was_called(listener)
        assert run("kalloctl", "-H", "fd00::5", "--timeout", "0.1", "status").returncode == 3
        assert was_called(listener)


PLAYER = Path("/share/Volume1/vexa/Player/.kallo/kallo.xml")
BROKEN = [
    ("/sbin/rdconf", "failed", "no program", lambda nas: nas.replace("/sbin/rdconf", None)),
    ("/usr/bin/base64", "failed", "answer", lambda nas: nas.replace("/usr/bin/base64", "exit 1")),
    ("/etc/config/shadow", "failed", "missing", lambda nas: os.remove("/etc/config/shadow")),
    ("/etc/config/shadow", "warning", "0644", lambda nas: os.chmod("/etc/config/shadow", 0o644)),
    ("Player", "failed", "line 2, column 7", lambda nas: PLAYER.write_text(
        "<KALLO>\n<name>&#65 </name></KALLO>")),
    ("Player", "warning", "line 1, column 14", lambda nas: PLAYER.write_text(
        "<KALLO><name></KALLO>")),
    ("Player", "warning", "icon_pad", lambda nas: (PLAYER.parent / "images/pad.png").unlink()),
    ("Photos", "warning", "Key=Value", lambda nas: Path(nas.registry).write_text(
        "[Photos]\nClass = Torvik\nEnable=FALSE\n")),
    ("/var/run/kalloagent/kalloagent.pid", "failed", "no agent", lambda nas: Path(
        "/run/kalloagent/kalloagent.pid").write_text("1")),
    ("local channel", "failed", "No such file", lambda nas: os.remove(CHANNEL)),
    ("/tmp/Torvik.ServicePipe", "warning", "open", lambda nas: os.chmod(
        "/tmp/Torvik.ServicePipe", 0o622)),
    ("session user", "warning", "no NasUser", lambda nas: nas.replace("/opt/bin/zelvshmenv", "")),
    ("DISPLAY=", "failed", "no windows", lambda nas: nas.replace("/usr/bin/wmctrl", "exit 1")),
]


def examined(*options):
    """The exit status of the doctor, and its rows by what they are about."""
    done = run("kalloctl", "doctor", "--json", *options)
    return done.returncode, {row["what"]: row for row in json.loads(done.stdout)}


@pytest.mark.usefixtures("desktop")
@pytest.mark.parametrize("what, state, found, harm", BROKEN)
def test_doctor_finds_what_is_broken(nas, start_daemon, what, state, found, harm):
    start_daemon(umask=0o077)
    status, rows = examined()
    assert status == 0 and rows[what]["state"] == "ok" and not rows[what]["remedy"]
    harm(nas)
    status, rows = examined()
    assert rows[what]["state"] == state and found in rows[what]["found"] and rows[what]["remedy"]
    assert status == (state == "failed")


def test_doctor_tells_who_listens(daemon):  # pylint: disable=unused-argument
    assert examined()[1]["0.0.0.0 port 9812"]["state"] == "ok"
    assert examined("-p", "9813")[1]["port 9813"]["state"] == "failed"


BUS = "/run/discover.bus"
BUS_CONFIGURATION = f"""<busconfig><listen>unix:path={BUS}</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/>
<allow own="*"/></policy>
</busconfig>"""
# Two ends of a cable make a network of its own, as no namespace has one.
NETWORK = """set -e
trap 'kill $bus $avahi' EXIT
ip link add nas0 type veth peer name tv0
ip address add 192.0.2.9/24 dev nas0
ip link set tv0 up && ip link set nas0 up
dbus-daemon --config-file=$1/bus.conf --nofork 2>$1/bus.log & bus=$!
until [ -S $2 ]; do kill -0 $bus; sleep 0.05; done
kalloctl discover 2>$1/before && exit 1
avahi-daemon --no-drop-root --no-chroot --no-rlimits --file=$1/avahi.conf >$1/avahi.log 2>&1 & avahi=$!
until kalloctl --timeout 1 discover --json >$1/found 2>/dev/null; do kill -0 $avahi; done
"""


@pytest.mark.skipif(run("unshare", "--net", "true").returncode != 0,
                    reason="network namespaces are forbidden here")
@pytest.mark.skipif(not shutil.which("avahi-daemon"), reason="avahi-daemon is not installed")
@pytest.mark.usefixtures("nas")
def test_discover_finds_the_announced_server(tmp_path):
    for file, entry in (("/etc/passwd", "avahi:x:0:0::/:\n"), ("/etc/group", "avahi:x:0:\n")):
        with open(file, "a", encoding="utf-8") as accounts:
            accounts.write(entry)  # avahi-daemon looks for them, although it stays root
    services = Path("/etc/avahi/services")
    services.mkdir(parents=True, exist_ok=True)
    shutil.copy("packaging/kalloagent/kalloagent.avahi", services / "kalloagent.service")
    (tmp_path / "bus.conf").write_text(BUS_CONFIGURATION)
    (tmp_path / "avahi.conf").write_text("[server]\nuse-ipv6=no\nhost-name=torvik\n")
    done = run("unshare", "--net", "sh", "-c", NETWORK, "sh", tmp_path, BUS,
               env={**os.environ, "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={BUS}"})
    assert done.returncode == 0, done.stderr + (tmp_path / "avahi.log").read_text()
    assert "Avahi daemon" in (tmp_path / "before").read_text()
    assert json.loads((tmp_path / "found").read_text()) == [
        {"name": "Television of torvik", "host": "torvik.local", "address": "192.0.2.9",
         "port": 9812}]
