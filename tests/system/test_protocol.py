"""The conversation with client apps, byte for byte: what is answered, what is met with silence,
and the one binary answer."""
import os
import re
import signal
from pathlib import Path

from box import announced, answer, ask, connect, document, receive, request
from conftest import agent_alone, remove

PACKAGES = Path("/share/Volume1/vexa")
INVALID = (announced(119), answer(b"invalid_command"))
NO_ICON = (announced(0), b"")
SILENCE = (b"", b"")
UNKNOWN = b"<ZelvDocRoot><cmd>Nope</cmd></ZelvDocRoot>"


def padded(size, text=b"<ZelvDocRoot><!--%s--><cmd>Nope</cmd></ZelvDocRoot>"):
    return text % (b"x" * (size - len(text) + 2))


def test_requests(daemon):
    for sent, answer in [
            (UNKNOWN, INVALID), (request("GetPassword"), INVALID), (request("GetIcon2"), INVALID),
            (b"<ZELVDOCROOT a='1' b><CMD c=\"2\">Nope</CMD></zelvdocroot>", INVALID),
            (b"\xef\xbb\xbf<?xml version='1.0' encoding='UTF-8'?>\r\n" + UNKNOWN, INVALID),
            (b"<x>" + UNKNOWN + b"</x>", INVALID),
            (b"<ZelvDocRoot><cmd>&#78;ope<x/></cmd><cmd>KillAll</cmd></ZelvDocRoot>", INVALID),
            (b"<ZelvDocRoot><cmd>No\xff\xfepe</cmd></ZelvDocRoot>", INVALID),
            (UNKNOWN + request("KillAll"), INVALID), (UNKNOWN + b"\0</x>", INVALID),
            (b"<ZelvDocRoot><cmd>Nope", INVALID), (b"<ZelvDocRoot><cmd>Nope</cmd", SILENCE),
            (padded(4096), INVALID), (padded(5000), SILENCE),
            (b"<ZelvDocRoot><cmd>Nope</cmd>" + b"<a>" * 1356, INVALID), (b"<a>" * 1365, SILENCE),
            (b"<ZelvDocRoot>\0<cmd>Nope</cmd></ZelvDocRoot>", SILENCE),
            (b"<cmd>Nope</cmd>", SILENCE),
            (b"<ZelvDocRoot cmd='Nope'><x><cmd>Nope</cmd></x></ZelvDocRoot>", SILENCE),
            (b"<ZelvDocRoot><cmd> \n</cmd><cmd>Nope</cmd></ZelvDocRoot>", SILENCE),
            (b"<ZelvDocRoot><cmd>No&#65pe</cmd></ZelvDocRoot>", SILENCE)]:
        assert ask(sent) == answer, sent[:60]


@agent_alone("the gate takes what lies behind a request for its end")
def test_any_go_ahead_will_do_and_no_second_request(daemon):
    for go_ahead in (b"\0", request("KillAll"), b"x" * 4096):
        with connect() as client:
            client.sendall(UNKNOWN)
            assert receive(client, lambda data: data == INVALID[0]) == INVALID[0]
            client.sendall(go_ahead)
            assert receive(client) == INVALID[1]
    with connect() as client:
        client.sendall(UNKNOWN + b" " * 4096)  # what lies behind the limit is the go-ahead
        assert receive(client) == b"".join(INVALID)
    assert daemon.log().count("COMMAND:") == 4


@agent_alone("the gate writes lines of its own")
def test_log_of_a_request(daemon):
    connect().close()
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
    assert ask(UNKNOWN)[1] == document((b"torvik_ver", b""), (b"errRtn", b"invalid_command"))
    nas.wrconf("Torvik", "Version", "9")  # read at the start only
    assert ask(request("ListVEXA"))[1] == document((b"errRtn", b"login_required"), declared=True)


def test_icons(daemon):
    large = PACKAGES / "Photos/.kallo/images/phone.png"
    large.write_bytes(os.urandom(5_000_000))
    for name, kind, *more in [
            ("Player", "phone"), ("Player", "pad", "more"), ("TvTuner", "phone"),
            ("Photos", "phone"), ("Browser", "phone"),  # the latter named by an absolute path
            ("OldGame", "pad"), ("StorageAdmin", "pad")]:  # disabled, for administrators
        image = (PACKAGES / name / ".kallo/images" / f"{kind}.png").read_bytes()
        assert ask(request("GetIcon", name, kind, *more)) == (announced(len(image)), image), name
    for params in [("Photos", "pad"), ("Clock", "phone"), ("zelv-tuner", "phone"), ("player", "phone"),
                   ("Player", "Phone"), ("Player",), ("", "phone"), ()]:
        assert ask(request("GetIcon", *params)) == NO_ICON, params
    for make in (Path.mkdir, os.mkfifo, Path.touch, lambda path: None,
                 lambda path: path.symlink_to("/dev/zero")):
        remove(large)
        make(large)
        assert ask(request("GetIcon", "Photos", "phone")) == NO_ICON, make


@agent_alone("the gate keeps that go-ahead to itself")
def test_go_ahead_for_no_icon_stops_the_agent(daemon):
    daemon.status = -signal.SIGABRT
    with connect() as client:
        client.sendall(request("GetIcon", "Clock", "phone"))
        assert receive(client, lambda data: data == NO_ICON[0]) == NO_ICON[0]
        client.sendall(b"go")
        assert receive(client) == b""
    assert daemon.wait() == daemon.status and "Assertion `buf' failed" in daemon.log()
