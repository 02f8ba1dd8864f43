"""The windows of the desktop, as an app polls them."""
from pathlib import Path

from box import ask, request

START = (b'<?xml version="1.0" encoding="UTF-8"?>\n<ZelvDocRoot version="1.2">\n'
         b"\t<torvik_ver>\n\t\t2.4.1\n\t</torvik_ver>\n\t<errRtn>\n\t\tsuccess\n\t</errRtn>\n"
         b"\t<isRefreshed>\n\t\t%s\n\t</isRefreshed>\n")
END = b"</ZelvDocRoot>\n"
ACTIVE_WINDOW = Path("/usr/bin/xprop -root | grep _NET_ACTIVE_WINDOW\\(WINDOW\\)")


def item(title, window, pid, active=b"no"):
    title = b"<win_title>\n\t\t\t%s\n\t\t</win_title>" % title if title else b"<win_title/>"
    return (b'\t<item active="%s">\n\t\t%s\n\t\t<winid>\n\t\t\t%s\n\t\t</winid>\n'
            b"\t\t<pid>\n\t\t\t%s\n\t\t</pid>\n\t</item>\n" % (active, title, window, pid))


def test_window_list(nas, daemon):
    for lines, items in [
            ("0x01000003 -1 0 nas Torvik Desktop\n0x2 0 77  nas   <a&b>  c\n",
             item(b"Torvik", b"0x01000003", b"0") + item(b"&lt;a&amp;b&gt;", b"0x2", b"77")),
            ("\n0x3 0 5\n0x4 0 5 nas\n0x5 0 5 nas \nlast 0 5 nas end",
             item(b"", b"0x5", b"5") + item(b"end", b"last", b"5")),
            # A line is read by 255 characters; what is left of it is a line of its own.
            ("0x6 0 5 nas " + "a" * 250 + " 1 2 3 four\n",
             item(b"a" * 243, b"0x6", b"5") + item(b"four", b"aaaaaaa", b"2")),
            ("0x7 0 5 nas tab\there\n" * 300, item(b"tab\there", b"0x7", b"5") * 300), ("", b"")]:
        Path("/tmp/calls").write_text(lines, encoding="ascii")
        nas.replace("/usr/bin/wmctrl", '[ "$*" = -lp ] && cat /tmp/calls\nexit 3\n')
        assert ask(request("GetStatus"))[1] == START % b"false" + items + END, (lines, daemon.log())


def test_active_window(nas, daemon):
    nas.replace("/usr/bin/wmctrl", "echo 0x01000003 0 1 nas one; echo 0x0000000000000002 0 2 nas two\n")
    for found, active in [
            ("_NET_ACTIVE_WINDOW(WINDOW): window id # 0x1000003\n", (b"yes", b"no")),
            ("0x2", (b"no", b"yes")), ("", (b"no", b"no"))]:
        try:
            # The command line for the active window is opened as a file of that name.
            ACTIVE_WINDOW.write_text(found)
            answer = ask(request("GetStatus"))[1]
        finally:
            ACTIVE_WINDOW.unlink()
        assert answer == (START % b"false" + item(b"one", b"0x01000003", b"1", active[0]) +
                          item(b"two", b"0x0000000000000002", b"2", active[1]) + END), found
    assert daemon.log().count("[Func:unsigned int get_active_win_id()]: fread() ... fail\n") == 2


