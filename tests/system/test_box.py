"""The box itself: what wrconf makes of files, and the tour through everything else that it has."""
import os
from pathlib import Path

import pytest

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


def test_tour():
    """./dev demo, whose steps know the status that they have to end with."""
    tour = run("/bin/sh", Path(__file__).resolve().parents[2] / "nasbox/demo")
    assert tour.returncode == 0, tour.stdout
