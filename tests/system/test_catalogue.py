"""The list of packages: the whole answer, what changes of the registry and of descriptors make of
it, and what the agent makes of files that are broken."""
import os
import threading
from pathlib import Path
from xml.etree import ElementTree

import pytest

from box import ask, built_with, payload, request, text, texts, wait_until

REGISTRY = Path("/etc/config/vexa.conf")
PLAYER = Path("/share/Volume1/vexa/Player/.kallo/kallo.xml")
NAMES = ["Player", "Browser", "StorageAdmin", "Clock", "Photos", "TvTuner"]
HEAD = (b'<?xml version="1.0" encoding="UTF-8"?>\n<ZelvDocRoot version="1.2">\n'
        b"\t<torvik_ver>\n\t\t2.4.1\n\t</torvik_ver>\n"
        b"\t<nas_model>\n\t\tTorvik Station 4\n\t</nas_model>\n"
        b"\t<nas_internal_model>\n\t\tTS-X4\n\t</nas_internal_model>\n"
        b"\t<nas_display_name>\n\t\tLiving Room NAS\n\t</nas_display_name>\n"
        b"\t<rux_ver>\n\t\t4.3.6\n\t</rux_ver>\n"
        b"\t<rux_build>\n\t\t20240115\n\t</rux_build>\n"
        b"\t<rux_num>\n\t\t1183\n\t</rux_num>\n"
        b"\t<errRtn>\n\t\t%s\n\t</errRtn>\n")
ITEM = (b"\t<item>\n\t\t<name>\n\t\t\t%s\n\t\t</name>\n"
        b"\t\t<displayName>\n\t\t\t%s\n\t\t</displayName>\n"
        b"\t\t<version>\n\t\t\t%s\n\t\t</version>\n\t\t<uuid>\n\t\t\t%s\n\t\t</uuid>\n"
        b"\t\t<icon_phone>\n\t\t\t%s\n\t\t</icon_phone>\n"
        b"\t\t<icon_pad>\n\t\t\t%s\n\t\t</icon_pad>\n\t</item>\n")
ITEMS = [ITEM % item for item in (
    (b"Player", b"Media Player", b"3.1.0", b"Kq4y6vH8cA3xM", b"yes", b"yes"),
    (b"Browser", b"Web Browser", b"115.2", b"KqCiTvTI3aQlg", b"yes", b"yes"),
    (b"StorageAdmin", b"Storage Administration", b"1.8", b"KqeNhpJneNYc2", b"yes", b"yes"),
    (b"Clock", b"Clock", b"1.4", b"Kq6an6R8hVnlQ", b"no", b"no"),
    (b"Photos", b"Photos &amp; Albums", b"2.0.7", b"KqcU3k9e4dnKc", b"yes", b"no"),
    (b"TvTuner", b"TV Tuner", b"1.2", b"KqrqXvH.T2hkM", b"yes", b"yes"))]
TAIL = b"</ZelvDocRoot>\n"
PASSED_OVER = ("\x1b[1;33m[File:kalloagent][Line:%d][Func:void CKalloAgent::getVEXAList"
               "(resultContent_t&)]: >>%s...:%s\n\x1b[m")
ADMIN_ONLY = PASSED_OVER % (484, "1 admin", "StorageAdmin")
DISABLED = PASSED_OVER % (489, "2 disable", "OldGame")


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
    settle.marks = getattr(settle, "marks", 0) + 1
    Path(f"/etc/config/mark{settle.marks}.").touch()
    wait_until(lambda: f"name = mark{settle.marks}.\n" in agent.out.read_text(encoding="utf-8"))


@pytest.mark.parametrize("user, items, log", [
    ("admin", ITEMS, DISABLED),
    ("carol", ITEMS, DISABLED),
    ("alice", ITEMS[:2] + ITEMS[3:], ADMIN_ONLY + DISABLED),
])
def test_list(desktop, daemon, user, items, log):
    assert ask(request("ListVEXA")) == (
        b'<ZelvDocRoot version="1.2">\n\t<size>\n\t\t1832\n\t</size>\n</ZelvDocRoot>\n',
        HEAD % b"success" + b"".join(ITEMS) + TAIL)
    desktop.stop()
    assert ask(request("ListVEXA"))[1] == HEAD % b"login_required" + TAIL
    desktop.start(user)
    before = len(daemon.log())
    assert ask(request("ListVEXA"))[1] == HEAD % b"success" + b"".join(items) + TAIL
    assert log in daemon.log()[before:]
    assert (ADMIN_ONLY in daemon.log()) == (ADMIN_ONLY in log)


def test_changes_of_the_registry(desktop, daemon, nas):  # pylint: disable=unused-argument
    original = REGISTRY.read_bytes()
    added = original + (b"\n[Second]\nClass = Torvik\nAdminOnly =  TRUE \n"
                        b"Install_Path = /share/Volume1/vexa/Clock\n")
    for change, expected in [
            (lambda: nas.wrconf("Player", "Enable", "FALSE"), NAMES[1:]),
            (lambda: nas.wrconf("Player", "Enable", "false"), NAMES),
            (lambda: nas.wrconf("Clock", "Class", "torvik"), NAMES[:3] + NAMES[4:]),
            (lambda: save(added), NAMES + ["Clock"]),
            (lambda: REGISTRY.write_bytes(b""), []),
            (lambda: save(original.replace(b"[Player]", b"[Playe]")), NAMES),
            (lambda: save(original[original.index(b"[Photos]"):]), NAMES[4:]),
            (lambda: REGISTRY.write_bytes(original), NAMES)]:
        change()
        wait_until(lambda expected=expected: names() == expected, what=f"the list {expected}")
        settle(daemon)
        assert (refreshed(), refreshed()) == ("true", "false")


def test_what_refreshes_nothing(desktop, daemon, nas):  # pylint: disable=unused-argument
    assert refreshed() == "false"
    REGISTRY.write_bytes(REGISTRY.read_bytes())  # the first change seen always counts
    settle(daemon)
    assert (refreshed(), refreshed()) == ("true", "false")
    original = REGISTRY.read_bytes()
    for change in (lambda: save(original), lambda: os.utime(REGISTRY), REGISTRY.unlink,
                   lambda: save(b"[A]\nb = c\n", "/etc/config/vexa.conf.bak"),
                   lambda: save(original, "/root/vexa.conf"),
                   lambda: PLAYER.write_bytes(b""),
                   lambda: save(original)):
        change()
        settle(daemon)
        assert refreshed() == "false" and names() == NAMES
    save(original + b"\n")
    wait_until(lambda: refreshed() == "true")
    assert names() == NAMES[1:]


@pytest.mark.skipif(built_with("asan"), reason="this runtime leaves its allocator locked in a "
                                               "child forked while another thread allocates")
def test_lists_stay_whole_while_the_registry_is_rewritten(desktop, daemon):
    # pylint: disable=unused-argument
    full = REGISTRY.read_bytes()
    short = full.replace(b"[Browser]\nClass = Torvik", b"[Browser]\nClass = None")

    def rewrite():
        for i in range(300):
            content = short if i % 2 else full
            if i % 3:
                save(content)
            else:
                REGISTRY.write_bytes(content)

    writer = threading.Thread(target=rewrite)
    writer.start()
    lists = []
    while writer.is_alive() or len(lists) < 50:
        document = ElementTree.fromstring(ask(request("ListVEXA"))[1])
        assert document.findtext("errRtn").strip() == "success"
        lists.append([item.findtext("name").strip() for item in document.findall("item")])
    # A file that is written in place is seen in pieces, too.
    whole = NAMES, NAMES[:1] + NAMES[2:]
    assert all(any(seen == known[:len(seen)] for known in whole) for seen in lists)
    writer.join()
    wait_until(lambda: names() == whole[1], 120)  # behind every event


@pytest.mark.parametrize("descriptor, listed", [
    (b"", False),
    (b"\0\0\0", False),
    (bytes(range(256)) * 100, False),
    (b"<KALLO><name>Player</name", False),
    (b"<other><name>Player</name></other>", False),
    (b"<KALLO><name>Player", True),
    (b"<kallo><NAME>Player</NAME></kallo>", True),
    (b"<KALLO><name>Player</name>" + b"<x>" * 100_000, True),
    (b"<x>" * 100_000 + b"<KALLO><name>Player</name></KALLO>", False),
    (b"<KALLO><name>Player</name><x y='" + b"z" * 20_000_000 + b"'/></KALLO>", True),
    (b"<KALLO><name>Player</name>" + b"<x/>" * 100_000 + b"</KALLO>", True),
], ids=range(11))
def test_odd_descriptor(desktop, nas, start_daemon, descriptor, listed):
    # pylint: disable=unused-argument
    PLAYER.write_bytes(descriptor)
    start_daemon()
    assert names() == (NAMES if listed else NAMES[1:])


@pytest.mark.parametrize("before", [b"[Broken\n", b"]\n[]\n", b"[" * 100_000 + b"\n",
                                    b"x" * 3_000_000 + b"\n", bytes(range(256)) + b"\n",
                                    b"[a]\nClass = Torvik\n" * 1000], ids=range(6))
def test_odd_registry(desktop, daemon, before):  # pylint: disable=unused-argument
    save(before + REGISTRY.read_bytes())
    wait_until(lambda: refreshed() == "true", 60)
    assert names() == NAMES


@pytest.mark.parametrize("tool, change, display, version", [
    ("/sbin/rdconf", True, "Player", "3.0"),
    ("/usr/bin/md5sum", False, "Media Player", "3.1.0"),
    ("/usr/bin/awk", False, "Media Player", "3.1.0"),
])
def test_missing_tool(desktop, nas, start_daemon, tool, change, display, version):
    # pylint: disable=unused-argument
    nas.replace(tool, None)
    agent = start_daemon()
    document = payload("ListVEXA")
    assert (texts(document, "displayName")[0], texts(document, "version")[0]) == (display, version)
    save(REGISTRY.read_bytes().replace(b"[Browser]\nClass = Torvik", b"[Browser]"))
    settle(agent)
    assert names() == (NAMES[:1] + NAMES[2:] if change else NAMES)
