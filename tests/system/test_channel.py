"""The local channel: the password of the last log-in for the desktop's own tools."""
from pathlib import Path

from box import CHANNEL, ask, request
from test_login import enciphered

HAND_OVER = Path("/usr/share/.kallo/.kallopw.log")
HEAD = b'<ZelvDocRoot version="1.2">\n\t<torvik_ver>\n\t\t2.4.1\n\t</torvik_ver>\n'
FOUND = HEAD + (b"\t<passwd>\n\t\t%s\n\t</passwd>\n"
                b"\t<errRtn>\n\t\tsuccess\n\t</errRtn>\n</ZelvDocRoot>\n")
NONE = HEAD + b"\t<passwd/>\n\t<errRtn>\n\t\tfail\n\t</errRtn>\n</ZelvDocRoot>\n"
UNKNOWN = HEAD + b"\t<errRtn>\n\t\tinvalid_command\n\t</errRtn>\n</ZelvDocRoot>\n"


def password(value):
    HAND_OVER.parent.mkdir(exist_ok=True)
    HAND_OVER.write_bytes(value)
    return ask(request("GetPassword"), CHANNEL)[1]


def test_passwords_are_read_afresh(daemon):
    assert ask(request("GetPassword"), CHANNEL)[1] == NONE  # no file yet
    for value, answer in [
            (enciphered(b"carol123"), FOUND % b"Y2Fyb2wxMjM="),
            (enciphered(b"a\xff b\xff"), FOUND % b"YQ=="),         # the first mark ends it
            (enciphered(b"ab\0c"), FOUND % b"YWI="),
            (enciphered(b"no mark", b"\0"), FOUND % b"bm8gbWFyaw=="),
            (enciphered(b"p" * 64), FOUND % (b"cHBw" * 21 + b"cA==")),
            (enciphered(b"p" * 63), FOUND % (b"cHBw" * 21)),
            (enciphered(b"x") + b"=" + enciphered(b"y"), FOUND % b"eA=="),  # 64 bytes count
            (enciphered(b""), NONE), (enciphered(b"\0x"), NONE), (b"", NONE)]:
        assert password(value) == answer
    HAND_OVER.unlink()
    HAND_OVER.mkdir()
    assert ask(request("GetPassword"), CHANNEL)[1] == NONE, daemon.log()


def test_other_requests(daemon):
    for sent, answer in [
            (request("getpassword"), UNKNOWN), (request("GetPassword2"), UNKNOWN),
            (request("Logout"), UNKNOWN),
            (b"<zelvdocroot><x/><CMD> GetPassword </CMD></zelvdocroot>", NONE),
            (request(""), b""), (b"<O><cmd>GetPassword</cmd></O>", b"")]:
        assert ask(sent, CHANNEL)[1] == answer, (sent, daemon.log())
