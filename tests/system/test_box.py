"""The box's own tools: what wrconf makes of files, the session's environment, the desktop
and the sample packages."""
import base64
import os
import subprocess

import pytest

from box import processes, text, wait_until
from conftest import run


@pytest.mark.parametrize("before, words, after", [
    (None, ["A", "b", "c"], "[A]\nb = c\n"),
    ("x", ["A", "b", "c d"], "x\n\n[A]\nb = c d\n"),
    ("# n\n[A]\nb=1\n\n[B]\n", ["A", "c", "2"], "# n\n[A]\nb=1\nc = 2\n\n[B]\n"),
    ("[A]\nb = 1\nb = 2\n[A]\nb = 3\n", ["A", "b", "4"], "[A]\nb = 1\nb = 4\n[A]\nb = 3\n"),
])
def test_wrconf(tmp_path, before, words, after):
    file = tmp_path / "a.conf"
    if before is not None:
        file.write_text(before, encoding="utf-8")
        file.chmod(0o640)
    (tmp_path / "link").symlink_to(file)
    target = file if before is None else tmp_path / "link"
    assert run("/sbin/wrconf", *words, "-f", target).returncode == 0
    assert file.read_text(encoding="utf-8") == after
    assert sorted(os.listdir(tmp_path)) == ["a.conf", "link"] and (tmp_path / "link").is_symlink()
    assert file.stat().st_mode & 0o777 == (0o644 if before is None else 0o640)


@pytest.mark.parametrize("words", [
    ["A]", "k", "v"], ["A", "k=", "v"], ["A", "k", "v\nw = x"], ["A", "k", "v" * 1020], ["A"],
])
def test_wrconf_refuses_what_would_not_be_read_back(tmp_path, words):
    file = tmp_path / "a.conf"
    file.write_text("[A]\nk = old\n", encoding="utf-8")
    done = run("/sbin/wrconf", *words, "-f", file)
    assert done.returncode == 2 and done.stderr
    assert file.read_text(encoding="utf-8") == "[A]\nk = old\n"


def test_session_environment(desktop):
    decoded = {name: base64.b64decode(text(run("/opt/bin/zelvshmenv", "-r").stdout, name) or "")
               for name in ("NasUser", "NasGroupID", "DISPLAY")}
    assert decoded == {"NasUser": b"admin", "NasGroupID": b"0", "DISPLAY": b":0"}
    run("/sbin/wrconf", "ZelvRemote", "Logout", "yes", "-f", "/root/.config/ZELV/KALLO.conf")
    assert run("/opt/bin/zelvshmenv", "-w").returncode == 0
    left = run("/opt/bin/zelvshmenv", "-r").stdout
    assert text(left, "NasUser") is None and text(left, "DISPLAY")
    desktop.stop()
    assert run("/opt/bin/zelvshmenv", "-r").returncode == 1
    desktop.start("alice")
    assert base64.b64decode(text(run("/opt/bin/zelvshmenv", "-r").stdout, "NasGroupID")) == b"100"


def test_desktop_and_sample_packages(desktop):
    def lines(word):
        return [line for *_, line in processes() if word in line]

    player = "/share/Volume1/vexa/Player"
    with subprocess.Popen([f"{player}/player-tv", "--fullscreen"], start_new_session=True) as program:
        try:
            wait_until(lambda: "Player" in run("/usr/bin/wmctrl", "-lp").stdout)
            # A script's child has its command line until it has become another program.
            wait_until(lambda: len(lines("torvik/KALLO")) == 1 and len(lines("player-tv")) == 1)
            assert run(f"{player}/stop").returncode == 0 and program.wait(10) == 0
        finally:
            program.terminate()
    assert "Player" not in run("/usr/bin/wmctrl", "-lp").stdout
    desktop.stop()
    assert not lines("torvik/KALLO") and run("/usr/bin/wmctrl", "-lp").returncode == 1
