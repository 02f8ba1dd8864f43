"""The list of packages: who is shown what, what changes of the registry and of descriptors make of
it, and what the agent makes of files that are broken. The bytes of a list are in docs/protocol.md."""
import itertools
import os
from pathlib import Path

import pytest

from box import WRAP, ask, payload, request, text, texts, wait_until

pytestmark = pytest.mark.usefixtures("desktop")
REGISTRY = Path("/etc/config/vexa.conf")
PLAYER = Path("/share/Volume1/vexa/Player/.kallo/kallo.xml")
NAMES = ["Player", "Browser", "StorageAdmin", "Clock", "Photos", "TvTuner"]
MARKS = itertools.count()


def names():
    return texts(payload("ListVEXA"), "name")


def refreshed():
    return text(payload("GetStatus"), "isRefreshed")


def save(content, path=REGISTRY):
    """Replaces a file in one step, as editors do."""
    Path(f"{path}.new").write_bytes(content)
    os.rename(f"{path}.new", path)


def settle(agent):
    """Waits until the watcher has dealt with every change up to now: it takes them in order, and
    prints each before it acts on it."""
    mark = f"mark{next(MARKS)}."
    Path("/etc/config", mark).touch()
    wait_until(lambda: f"name = {mark}\n" in agent.out.read_text(encoding="utf-8"))


def test_what_users_see(desktop, daemon):
    for user, listed in [("admin", NAMES), ("carol", NAMES), ("alice", NAMES[:2] + NAMES[3:])]:
        desktop.stop()
        desktop.start(user)
        assert names() == listed
    assert ">>1 admin...:StorageAdmin\n" in daemon.log() and ">>2 disable...:OldGame" in daemon.log()


def test_changes_of_the_registry(daemon, nas):
    original = REGISTRY.read_bytes()
    added = original + (b"\n[Second]\nClass = Torvik\nAdminOnly =  TRUE \n"
                        b"Install_Path = /share/Volume1/vexa/Clock\n")
    for change, expected in [
            (lambda: nas.wrconf("Player", "Enable", "FALSE"), NAMES[1:]),
            (lambda: nas.wrconf("Player", "Enable", "false"), NAMES),
            (lambda: nas.wrconf("Clock", "Class", "torvik"), NAMES[:3] + NAMES[4:]),
            (lambda: save(added), NAMES + ["Clock"]), (lambda: REGISTRY.write_bytes(b""), []),
            (lambda: save(original.replace(b"[Player]", b"[Playe]")), NAMES),
            (lambda: REGISTRY.write_bytes(original[original.index(b"[Photos]"):]), NAMES[4:])]:
        change()
        wait_until(lambda expected=expected: names() == expected, what=f"the list {expected}")
        settle(daemon)
        assert (refreshed(), refreshed()) == ("true", "false")


def test_what_refreshes_nothing(daemon):
    assert refreshed() == "false"
    original = REGISTRY.read_bytes()
    REGISTRY.write_bytes(original)  # the first change seen always counts
    settle(daemon)
    assert (refreshed(), refreshed()) == ("true", "false")
    for change in (lambda: save(original), lambda: os.utime(REGISTRY), REGISTRY.unlink,
                   lambda: save(b"[A]\nb = c\n", "/etc/config/vexa.conf.bak"),
                   lambda: save(original, "/root/vexa.conf"), lambda: PLAYER.write_bytes(b""),
                   lambda: save(original)):
        change()
        settle(daemon)
        assert refreshed() == "false" and names() == NAMES
    save(original + b"\n")
    wait_until(lambda: refreshed() == "true")
    assert names() == NAMES[1:]


def test_odd_files(daemon):
    original = REGISTRY.read_bytes()
    for before in (b"[Broken\n", b"[" * 100_000 + b"\n", b"x" * 3_000_000 + b"\n",
                   b"[A]\n" + b"".join(b"[\n%d = v\n" % i for i in range(50_000)),
                   bytes(range(256)) + b"\n", b"[a]\nClass = Torvik\n" * 1000):
        save(before + original)
        wait_until(lambda: refreshed() == "true", 60)
        assert names() == NAMES, before[:20]
    for number, (descriptor, listed) in enumerate([
            (bytes(range(256)) * 100, False), (b"<KALLO><name>Player</name", False),
            (b"<other><name>Player</name></other>", False), (b"<KALLO><name>Player", True),
            (b"<kallo><NAME>Player</NAME></kallo>", True),
            (b"<KALLO><name>Player</name>" + b"<x>" * 100_000, True),
            (b"<KALLO><name>Player</name><x y='" + b"z" * (20_000 if WRAP else 20_000_000) +
             b"'/></KALLO>", True)]):
        PLAYER.write_bytes(descriptor)
        save(original + b"\n" * number)
        wait_until(lambda: refreshed() == "true", 60)
        assert names() == (NAMES if listed else NAMES[1:]), descriptor[:30]


def test_names_that_cannot_stand_in_an_answer(daemon):
    """They are shown in part, and found by the bytes that they have."""
    PLAYER.write_bytes(PLAYER.read_bytes().replace(b"<name>Player", b"<name>Pl\xffy&#2;r"))
    save(REGISTRY.read_bytes() + b"\n")
    wait_until(lambda: refreshed() == "true")
    assert names() == ["Pl\ufffdy\ufffdr", *NAMES[1:]]
    assert ask(request("GetIcon", b"Pl\xffy\x02r", "phone"))[1]


@pytest.mark.parametrize("tool, display, change", [
    ("/sbin/rdconf", "Player", NAMES[:1] + NAMES[2:]), ("/usr/bin/md5sum", "Media Player", NAMES)])
def test_missing_tool(nas, start_daemon, tool, display, change):
    nas.replace(tool, None)
    agent = start_daemon()
    assert text(payload("ListVEXA"), "displayName") == display
    save(REGISTRY.read_bytes().replace(b"[Browser]\nClass = Torvik", b"[Browser]"))
    settle(agent)
    assert names() == change
