"""The conversation with client apps, byte for byte: what is answered, what is met with silence,
and the one binary answer."""
import os
import re
import signal
from pathlib import Path

import pytest

from box import ask, connect, receive, request

PACKAGES = Path("/share/Volume1/vexa")
INVALID = (b'<ZelvDocRoot version="1.2">\n\t<size>\n\t\t119\n\t</size>\n</ZelvDocRoot>\n',
           b'<ZelvDocRoot version="1.2">\n\t<torvik_ver>\n\t\t2.4.1\n\t</torvik_ver>\n\t<errRtn>\n'
           b'\t\tinvalid_command\n\t</errRtn>\n</ZelvDocRoot>\n')
NO_ICON = (b'<ZelvDocRoot version="1.2">\n\t<size>\n\t\t0\n\t</size>\n</ZelvDocRoot>\n', b"")
SILENCE = (b"", b"")
UNKNOWN = b"<ZelvDocRoot><cmd>Nope</cmd></ZelvDocRoot>"


def padded(size, text=b"<ZelvDocRoot><!--%s--><cmd>Nope</cmd></ZelvDocRoot>"):
    return text % (b"x" * (size - len(text) + 2))


@pytest.mark.parametrize("sent, answer", [
    (UNKNOWN, INVALID),
    (b"<ZelvDocRoot><cmd>getstatus</cmd></ZelvDocRoot>", INVALID),
    (b"<ZelvDocRoot><cmd>GetPassword</cmd></ZelvDocRoot>", INVALID),
    (b"<ZelvDocRoot><cmd>GetIcon2</cmd></ZelvDocRoot>", INVALID),
    (b"<ZELVDOCROOT a='1' b><CMD c=\"2\">Nope</CMD></zelvdocroot>", INVALID),
    (b"<?xml version='1.0' encoding='UTF-8'?>\r\n" + UNKNOWN, INVALID),
    (b"\xef\xbb\xbf" + UNKNOWN, INVALID),
    (b"<x>" + UNKNOWN + b"</x>", INVALID),
    (b"<ZelvDocRoot><cmd>&#78;ope<x/></cmd><cmd>KillAll</cmd></ZelvDocRoot>", INVALID),
    (b"<ZelvDocRoot><cmd>No\xff\xfepe</cmd></ZelvDocRoot>", INVALID),
    (UNKNOWN + b"<ZelvDocRoot><cmd>KillAll</cmd></ZelvDocRoot>", INVALID),
    (UNKNOWN + b"\0</x>", INVALID),
    (b"<ZelvDocRoot><cmd>Nope", INVALID),
    (padded(4096), INVALID),
    (b"<ZelvDocRoot><cmd>Nope</cmd>" + b"<a>" * 1356, INVALID),
    (padded(5000), SILENCE),
    (b"<a>" * 1365, SILENCE),
    (b"<a b='" * 682, SILENCE),
    (b"<ZelvDocRoot>\0<cmd>Nope</cmd></ZelvDocRoot>", SILENCE),
    (b"\0", SILENCE),
    (bytes(range(255, -1, -1)) * 16, SILENCE),
    (b"Nope", SILENCE),
    (b"<cmd>Nope</cmd>", SILENCE),
    (b"<ZelvDocRoot></ZelvDocRoot>", SILENCE),
    (b"<ZelvDocRoot cmd='Nope'><x><cmd>Nope</cmd></x></ZelvDocRoot>", SILENCE),
    (b"<ZelvDocRoot><cmd/><cmd>Nope</cmd></ZelvDocRoot>", SILENCE),
    (b"<ZelvDocRoot><cmd> \n</cmd></ZelvDocRoot>", SILENCE),
    (b"<ZelvDocRoot><cmd>No&#65pe</cmd></ZelvDocRoot>", SILENCE),
    (b"<ZelvDocRoot><cmd>Nope</cmd", SILENCE),
    (request("KillAll"), SILENCE),
    (request("Logout"), SILENCE),
], ids=lambda value: value[:40] if isinstance(value, bytes) else "")
def test_request(daemon, sent, answer):  # pylint: disable=unused-argument
    assert ask(sent) == answer
    assert ask(UNKNOWN) == INVALID


@pytest.mark.parametrize("go_ahead", [b"x", b"\0", request("KillAll"), b"x" * 4096])
def test_any_go_ahead_will_do_and_no_second_request(daemon, go_ahead):
    with connect() as client:
        client.sendall(UNKNOWN)
        assert receive(client, lambda data: data == INVALID[0]) == INVALID[0]
        client.sendall(go_ahead)
        assert receive(client) == INVALID[1]
    assert daemon.log().count("COMMAND:") == 1


def test_what_lies_behind_the_limit_is_the_go_ahead(daemon):  # pylint: disable=unused-argument
    with connect() as client:
        client.sendall(UNKNOWN + b" " * 4096)
        assert receive(client) == b"".join(INVALID)


def test_log_of_a_request(daemon):
    with connect():
        pass
    ask(request("KillAll"))
    function = "[Func:int CKalloAgent::tcpProcess_(std::unique_ptr<corex::Socket>)]: "
    assert re.sub(r"\[File:kalloagent\]\[Line:\d+\]", "", daemon.log()).endswith(
        f"\x1b[1;31m{function}No Data can be read\n\x1b[m"
        f"\x1b[0;36m{function}>>> Socket close!!\n\x1b[m"
        f"\x1b[1;33m{function}\nCOMMAND:<ZelvDocRoot><cmd>KillAll</cmd></ZelvDocRoot>\n\x1b[m"
        f"\x1b[1;36m{function}resultContent.contentType:0\n\x1b[m"
        f"\x1b[0;36m{function}>>> Socket close!!\n\x1b[m")


def test_identity_unknown(nas, start_daemon):
    for name in ("vexa.conf", "uVelt.conf", "../platform.conf"):
        os.unlink("/etc/config/" + name)
    start_daemon()
    assert ask(UNKNOWN)[1] == (b'<ZelvDocRoot version="1.2">\n\t<torvik_ver/>\n\t<errRtn>\n'
                               b'\t\tinvalid_command\n\t</errRtn>\n</ZelvDocRoot>\n')
    nas.wrconf("Torvik", "Version", "9")  # read at the start only
    assert ask(request("ListVEXA"))[1] == (
        b'<?xml version="1.0" encoding="UTF-8"?>\n<ZelvDocRoot version="1.2">\n\t<errRtn>\n'
        b'\t\tlogin_required\n\t</errRtn>\n</ZelvDocRoot>\n')


@pytest.mark.parametrize("params, file", [
    (("Player", "phone"), "Player/.kallo/images/phone.png"),
    (("Player", "pad", "more"), "Player/.kallo/images/pad.png"),
    (("Browser", "phone"), "Browser/.kallo/images/phone.png"),  # named by an absolute path
    (("OldGame", "pad"), "OldGame/.kallo/images/pad.png"),  # disabled
    (("StorageAdmin", "pad"), "StorageAdmin/.kallo/images/pad.png"),
    (("TvTuner", "phone"), "TvTuner/.kallo/images/phone.png"),
    (("Photos", "pad"), None),
    (("Clock", "phone"), None),
    (("zelv-tuner", "phone"), None),
    (("player", "phone"), None),
    (("Player", "Phone"), None),
    (("Player", ""), None),
    (("Player",), None),
    (("", "phone"), None),
    ((), None),
])
def test_icon(daemon, params, file):  # pylint: disable=unused-argument
    announcement, data = ask(request("GetIcon", *params))
    if file is None:
        assert (announcement, data) == NO_ICON
    else:
        assert data == (PACKAGES / file).read_bytes()
        assert announcement == (b'<ZelvDocRoot version="1.2">\n\t<size>\n\t\t%d\n\t</size>\n'
                                b"</ZelvDocRoot>\n" % len(data))


@pytest.mark.parametrize("make", [Path.mkdir, os.mkfifo, Path.touch, lambda path: None,
                                  lambda path: path.symlink_to("/dev/zero")],
                         ids=["directory", "pipe", "empty", "gone", "device"])
def test_icon_that_is_no_image(daemon, make):  # pylint: disable=unused-argument
    icon = PACKAGES / "Player/.kallo/images/phone.png"
    icon.unlink()
    make(icon)
    assert ask(request("GetIcon", "Player", "phone")) == NO_ICON


def test_large_icon(daemon):  # pylint: disable=unused-argument
    image = os.urandom(5_000_000)
    (PACKAGES / "Player/.kallo/images/pad.png").write_bytes(image)
    assert ask(request("GetIcon", "Player", "pad"))[1] == image


def test_go_ahead_for_no_icon_stops_the_agent(daemon):
    daemon.status = -signal.SIGABRT
    with connect() as client:
        client.sendall(request("GetIcon", "Clock", "phone"))
        assert receive(client, lambda data: data == NO_ICON[0]) == NO_ICON[0]
        client.sendall(b"go")
        assert receive(client) == b""
    assert daemon.wait() == daemon.status and "Assertion `buf' failed" in daemon.log()
