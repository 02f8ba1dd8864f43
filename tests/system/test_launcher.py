"""The launcher, seen from outside: this file alone runs on the machine itself, not in the box."""
import os
import signal
import socket
import subprocess
from pathlib import Path

import pytest

from box import ZOMBIE, processes, wait_until
from conftest import run

NASBOX = str(Path(__file__).resolve().parents[2] / "nasbox" / "nasbox")


def box(*words, **options):
    return run(NASBOX, *words, **options)


IN_PLACE = "in place" in box("true").stderr
own_namespaces = pytest.mark.skipif(IN_PLACE, reason="namespaces are forbidden on this machine")


@pytest.mark.parametrize("words, output, status", [
    (["sh", "-c", "id -u; exit 42"], "0\n", 42), (["sh", "-c", "kill -9 $$"], "", 137),
    (["sh", "-c", "echo $HOME $PATH $SECRET $ASAN_OPTIONS"],
     "/root /usr/sbin:/usr/bin:/sbin:/bin a=1\n", 0),
    (["rdconf", "System", "Model"], "Torvik Station 4\n", 0),
    (["--bin", "/nonexistent", "true"], "", 125), (["--nonsense", "true"], "", 125)])
def test_runs_the_command(words, output, status):
    done = box(*words, env={**os.environ, "SECRET": "x", "ASAN_OPTIONS": "a=1"})
    assert (done.stdout, done.returncode) == (output, status), done.stderr


def alive(word):
    return [pid for pid, _, state, line in processes() if word in line and state != ZOMBIE]


@pytest.mark.parametrize("end", [None, signal.SIGINT, signal.SIGKILL])
def test_leaves_no_process_behind(end):
    if IN_PLACE and end == signal.SIGKILL:
        pytest.skip("only namespaces end with a killed launcher")
    word = f"sleep 7{os.getpid()}"
    script = f"setsid {word} & sleep 0.2; " + ("" if end is None else "sleep 60")
    with subprocess.Popen([NASBOX, "sh", "-c", script]) as launcher:
        wait_until(lambda: alive(word))
        if end is not None:
            launcher.send_signal(end)
        launcher.wait(30)
    wait_until(lambda: not alive(word))


@own_namespaces
def test_touches_nothing_outside(tmp_path):
    (kept := tmp_path / "kept").write_text("old\n")
    script = f"""echo x >/etc/config/mark && echo x >/usr/bin/mark && mkdir -p {tmp_path} &&
                 echo x >{kept}; rm -f {NASBOX}"""
    assert box("sh", "-c", script).returncode != 0 and kept.read_text() == "old\n"
    assert os.path.exists(NASBOX) and not os.path.exists("/usr/bin/mark")
    assert box("test", "-e", "/etc/config/mark").returncode == 1
    assert box("--bind", tmp_path, "sh", "-c", f"echo new >{kept}").returncode == 0
    assert kept.read_text() == "new\n"


@own_namespaces
def test_has_a_network_of_its_own():
    with socket.create_server(("127.0.0.1", 0)) as server:
        reach = f"import socket; socket.create_connection({server.getsockname()}, 2)"
        assert "ConnectionRefusedError" in box("/usr/bin/python3", "-c", reach).stderr


@own_namespaces
def test_in_place_puts_everything_back():
    """A box serves as the container that the NAS is laid out in."""
    script = f"""rm -rf /etc/config /etc/shadow; echo mine >/etc/shadow; touch /.dockerenv
        chmod 600 /etc/shadow; mkdir -p /share/kept
        state() {{
            find /etc /opt /share /root /run /usr/bin /usr/sbin /usr/share /var -printf '%p %m %l\\n' |
                sort; cat /etc/shadow
        }}
        state >/tmp/before
        KALLO_BUILD=$NASBOX_BIN {NASBOX} --in-place sh -c '
            rdconf System Model; grep -c ^admin: /etc/shadow; torvik-desktop start bob; exit 5'
        echo $?; state >/tmp/after; diff /tmp/before /tmp/after && ps ax | grep -c '[t]orvik/KALLO'"""
    done = box("sh", "-c", script)
    assert done.stdout == "Torvik Station 4\n1\n5\n0\n", done.stdout + done.stderr
