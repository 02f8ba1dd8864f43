"""The local channel: the password of the last log-in for the desktop's own tools."""
from pathlib import Path

from box import CHANNEL, answer, ask, document, request
from test_login import enciphered

HAND_OVER = Path("/usr/share/.kallo/.kallopw.log")
NONE = document((b"torvik_ver", b"2.4.1"), (b"passwd", b""), (b"errRtn", b"fail"))
UNKNOWN = answer(b"invalid_command")


def holding(text):
    return document((b"torvik_ver", b"2.4.1"), (b"passwd", text), (b"errRtn", b"success"))


def password():
    return ask(request("GetPassword"), CHANNEL)[1]


def test_passwords_are_read_afresh(daemon):
    assert password() == NONE  # no file yet
    HAND_OVER.parent.mkdir()
    for value, answer in [
            (enciphered(b"carol123"), holding(b"Y2Fyb2wxMjM=")),
            (enciphered(b"a\xff b\xff"), holding(b"YQ==")),         # the first mark ends it
            (enciphered(b"ab\0c"), holding(b"YWI=")),
            (enciphered(b"no mark", b"\0"), holding(b"bm8gbWFyaw==")),
            (enciphered(b"p" * 64), holding(b"cHBw" * 21 + b"cA==")),
            (enciphered(b"x") + b"=" + enciphered(b"y"), holding(b"eA==")),  # 64 bytes count
            (enciphered(b""), NONE), (enciphered(b"\0x"), NONE), (b"", NONE)]:
        HAND_OVER.write_bytes(value)
        assert password() == answer
    HAND_OVER.unlink()
    HAND_OVER.mkdir()
    assert password() == NONE, daemon.log()


def test_other_requests(daemon):
    for sent, answer in [
            (request("getpassword"), UNKNOWN), (request("Logout"), UNKNOWN),
            (b"<zelvdocroot><x/><CMD> GetPassword </CMD></zelvdocroot>", NONE),
            (request(""), b""), (b"<O><cmd>GetPassword</cmd></O>", b"")]:
        assert ask(sent, CHANNEL)[1] == answer, (sent, daemon.log())
