"""The windows of the desktop, as an app polls them."""
from pathlib import Path

from box import answer, ask, request

ACTIVE_WINDOW = Path("/usr/bin/xprop -root | grep _NET_ACTIVE_WINDOW\\(WINDOW\\)")


def item(title, window, pid, active=b"no"):
    return [(b'item active="%s"' % active, [(b"win_title", title), (b"winid", window), (b"pid", pid)])]


def status(items):
    return answer(b"success", (b"isRefreshed", b"false"), *items, declared=True)


def test_window_list(nas, daemon):
    for lines, items in [
            ("0x01000003 -1 0 nas Torvik Desktop\n0x2 0 77  nas   <a&b>  c\n",
             item(b"Torvik", b"0x01000003", b"0") + item(b"&lt;a&amp;b&gt;", b"0x2", b"77")),
            ("\n0x3 0 5\n0x4 0 5 nas\n0x5 0 5 nas \nlast 0 5 nas end",
             item(b"", b"0x5", b"5") + item(b"end", b"last", b"5")),
            # A line counts up to 255 characters.
            ("0x6 0 5 nas " + "a" * 250 + " 1 2 3 four" + "b" * 2000 + "\n0x7 0 5 nas " + "c" * 243 +
             "\n0x8 0 5 nas d\n", item(b"a" * 243, b"0x6", b"5") + item(b"c" * 243, b"0x7", b"5") +
             item(b"d", b"0x8", b"5")),
            # What cannot stand in a document: controls, bytes that are no UTF-8, no characters.
            ("0x9 0 5 nas \x01t\x7f\xffé\ud800\ufffe\n",
             item("\ufffdt\x7f\ufffdé\ufffd\ufffd\ufffd\ufffd".encode(), b"0x9", b"5")),
            ("0x7 0 5 nas tab\there\n" * 300, item(b"tab\there", b"0x7", b"5") * 300), ("", [])]:
        Path("/tmp/calls").write_bytes(b"\xff".join(part.encode(errors="surrogatepass")
                                                    for part in lines.split("\xff")))
        nas.replace("/usr/bin/wmctrl", '[ "$*" = -lp ] && cat /tmp/calls\nexit 3\n')
        assert ask(request("GetStatus"))[1] == status(items), (lines, daemon.log())


def test_active_window(nas, daemon):
    nas.replace("/usr/bin/wmctrl", "echo 0x01000003 0 1 nas one; echo 0x0000000000000002 0 2 nas two\n")
    for found, active in [
            ("_NET_ACTIVE_WINDOW(WINDOW): window id # 0x1000003\n", (b"yes", b"no")),
            ("0x2", (b"no", b"yes")), ("", (b"no", b"no")), ("two", (b"no", b"no")),
            # One line feed is dropped; a second counts as a digit, as all of no value.
            ("0x2\n\n", (b"no", b"no")), ("0xG\n2\n", (b"no", b"yes")),
            # 127 characters count, and 32 bits.
            ("0x" + "0" * 124 + "29", (b"no", b"yes")), ("0xf01000003", (b"yes", b"no"))]:
        try:
            # The command line for the active window is opened as a file of that name.
            ACTIVE_WINDOW.write_text(found)
            shown = ask(request("GetStatus"))[1]
        finally:
            ACTIVE_WINDOW.unlink()
        assert shown == status(item(b"one", b"0x01000003", b"1", active[0]) +
                               item(b"two", b"0x0000000000000002", b"2", active[1])), found
    assert daemon.log().count("[Func:unsigned int get_active_win_id()]: fread() ... fail\n") == 2


