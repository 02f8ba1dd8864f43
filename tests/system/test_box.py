"""The box itself: what wrconf makes of files, a desktop that follows phones, an agent that misbehaves,
and the tour through everything else that it has."""
import os
import subprocess
from pathlib import Path

import pytest

from box import ask, connect, payload, receive, request, text, wait_until
from conftest import run
from test_login import FORMS, log_in

BOX = Path(__file__).resolve().parents[2] / "nasbox"


@pytest.mark.parametrize("before, words, after", [
    (None, ["A", "b", "c"], "[A]\nb = c\n"),
    ("x", ["A", "b", "c d"], "x\n\n[A]\nb = c d\n"),
    ("# n\n[A]\nb=1\n\n[B]\n", ["A", "c", "2"], "# n\n[A]\nb=1\nc = 2\n\n[B]\n"),
    ("[A]\nb = 1\nb = 2\n[A]\nb = 3\n", ["A", "b", "4"], "[A]\nb = 1\nb = 4\n[A]\nb = 3\n"),
    # What would not be read back is refused.
    *(("[A]\nk = old\n", words, None) for words in (
        ["A]", "k", "v"], ["A", "k=", "v"], ["A", "k", "v\nw = x"], ["A", "k", "v" * 1020],
        ["A"]))])
def test_wrconf(tmp_path, before, words, after):
    file, link = tmp_path / "a.conf", tmp_path / "link"
    link.symlink_to(file)
    if before is not None:
        file.write_text(before, encoding="utf-8")
        file.chmod(0o640)
    done = run("/sbin/wrconf", *words, "-f", file if before is None else link)
    assert (done.returncode, bool(done.stderr)) == ((2, True) if after is None else (0, False))
    assert file.read_text(encoding="utf-8") == (before if after is None else after)
    assert sorted(os.listdir(tmp_path)) == ["a.conf", "link"] and link.is_symlink()
    assert file.stat().st_mode & 0o777 == (0o644 if before is None else 0o640)


@pytest.mark.usefixtures("desktop", "daemon")
def test_desktop_follows_the_phone():
    with subprocess.Popen(["torvik-desktop", "follow"]) as follower:
        try:
            for command, user, password in [
                    ("Login", b"alice", b"wonderland"), ("Login", b"alice", b"wonderland"),
                    ("Login2", b"carol", b"carol123")]:
                # It does not run: that of the user before has ended.
                wait_until(lambda: text(payload("Launch", "Player"), "errRtn") == "success", 30)
                payload("Logout")
                values = [FORMS[command](value) for value in (user, password)]
                wait_until(lambda c=command, v=values: log_in(c, *v) == "login_success", 30)
                wait_until(lambda u=user: text(payload("GetCurrentUser"), "user") == u.decode(), 30)
        finally:
            follower.terminate()


@pytest.mark.usefixtures("daemon")
@pytest.mark.parametrize("kind, heard", [
    ("silent", lambda *_: (b"", b"")), ("cut", lambda size, _: (size[:len(size) // 2], b"")),
    ("zero", lambda size, _: (size.replace(b"119", b"0"), b"")), ("slow", lambda *true: true),
    ("long", lambda size, answer: (size, answer * 2)),
    ("short", lambda size, answer: (size, answer[:len(answer) // 2]))])
def test_faults_to_try_an_app_against(tmp_path, kind, heard):
    socket = str(tmp_path / "agent")
    with subprocess.Popen(["/usr/bin/python3", BOX / "faultyRelay.py", socket, kind]) as relay:
        try:
            wait_until(lambda: os.path.exists(socket))
            if kind == "silent":
                with connect(socket, timeout=0.3) as client, pytest.raises(TimeoutError):
                    client.sendall(request("x"))
                    receive(client)
            else:
                assert ask(request("x"), socket) == heard(*ask(request("x")))
        finally:
            relay.kill()


def test_tour():
    """./dev demo, whose steps know the status that they have to end with."""
    tour = run("/bin/sh", BOX / "demo")
    assert tour.returncode == 0, tour.stdout
