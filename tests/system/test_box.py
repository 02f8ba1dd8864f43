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


def test_tour():
    """./dev demo, whose steps know the status that they have to end with."""
    tour = run("/bin/sh", Path(__file__).resolve().parents[2] / "nasbox/demo")
    assert tour.returncode == 0, tour.stdout
