"""What the load asks: the requests of every kind, and what is right for an answer, at the agent's door
and at the gate's."""
import base64
import collections
import subprocess
from pathlib import Path
from xml.etree import ElementTree

CHANNEL = "/tmp/.kalloagent.channel"
PIPE = Path("/tmp/Torvik.ServicePipe")
ICONS = Path("/share/Volume1/vexa/Player/.kallo/images")
KEY = "4b1e90c27a5d03f8e6219b74c05a3d8f17e2694ab803cf5d916e27a0b4c85f13"
SILENCE = None


def plain(text):
    return base64.b64encode(text.encode()).decode()


def enciphered(text):
    """As apps send it: a block of 64 bytes, filled up with 0xFF, AES-256-ECB, base64."""
    done = subprocess.run(["openssl", "enc", "-aes-256-ecb", "-nopad", "-K", KEY], check=True,
                          input=text.encode().ljust(64, b"\xff"), capture_output=True)
    return base64.b64encode(done.stdout).decode()


def request(command, *params):
    words = "".join(f"<param>{param}</param>" for param in params)
    return f"<ZelvDocRoot><cmd>{command}</cmd>{words}</ZelvDocRoot>".encode()


def document(**expected):
    """Whether an answer is an XML document whose elements have one of the texts expected of them."""
    def is_right(answer):
        try:
            root = ElementTree.fromstring(answer)
        except (ElementTree.ParseError, TypeError):
            return False
        return root.tag == "ZelvDocRoot" and all(
            (root.findtext(name) or "").strip() in texts for name, texts in expected.items())
    return is_right


def says(*texts):
    return document(errRtn=texts, torvik_ver=["2.4.1"])


def lists(count):
    return lambda answer: says("success")(answer) and answer.count(b"<item>") == count


def equals(expected):
    return lambda answer: answer == expected


# What is asked, how often of a thousand times, the request, what is right for an answer, where it is
# asked when that is not at the door, and whether the client says that nothing more comes.
Kind = collections.namedtuple("Kind", "name share request is_right elsewhere ends",
                              defaults=[None, False])
RIGHT = {"Login": [enciphered("alice"), enciphered("wonderland")],
         "Login2": [plain("alice"), plain("wonderland")]}
ALWAYS = [
    Kind("unknown command", 150, request("Nothing"), says("invalid_command")),
    # The gate waits for the rest of a request that has no end; this one is cut off for good.
    Kind("no document", 50, b"<ZelvDocRoot><cm", equals(SILENCE), ends=True),
    Kind("deep document", 20, b"<a>" * 1365, equals(SILENCE), ends=True),
    Kind("GetIcon phone", 150, request("GetIcon", "Player", "phone"),
         equals((ICONS / "phone.png").read_bytes())),
    Kind("GetIcon pad", 100, request("GetIcon", "Player", "pad"),
         equals((ICONS / "pad.png").read_bytes())),
    Kind("GetIcon without one", 50, request("GetIcon", "Clock", "pad"), equals(b"")),
    Kind("SetAutoLogin", 50, request("SetAutoLogin", "yes"),
         says("paramter_required", "login_required")),
    Kind("GetStatus", 50, request("GetStatus"), document(errRtn=["success"], isRefreshed=["false"])),
    Kind("KillAll", 2, request("KillAll"), equals(SILENCE)),
    Kind("Logout", 20, request("Logout"), equals(SILENCE)),
    Kind("service pipe", 5, b"Downloader start MediaIndex stop\n", None, PIPE)]
WITHOUT_DESKTOP = ALWAYS + [
    Kind("Login", 8, request("Login", *RIGHT["Login"]), says("login_success")),
    Kind("Login refused", 8, request("Login", RIGHT["Login"][0], enciphered("x")), says("login_fail")),
    Kind("Login2", 8, request("Login2", *RIGHT["Login2"]), says("login_success")),
    Kind("Login2 refused", 8, request("Login2", "YQ==", "YQ=="), says("login_fail")),
    Kind("ListVEXA, no desktop", 50, request("ListVEXA"), says("login_required")),
    Kind("Launch, no desktop", 50, request("Launch", "Player"), says("login_required"))]
WITH_DESKTOP = ALWAYS + [
    Kind("Login, desktop up", 20, request("Login", *RIGHT["Login"]), says("login_fail")),
    Kind("GetCurrentUser", 50, request("GetCurrentUser"), document(errRtn=["success"], user=["admin"])),
    Kind("GetKALLOSetting", 50, request("GetKALLOSetting"),
         document(errRtn=["success"], AutoLogin=["no"])),
    Kind("GetPassword", 50, request("GetPassword"),
         document(errRtn=["success"], passwd=[plain("wonderland")]), CHANNEL),
    Kind("ListVEXA", 20, request("ListVEXA"), lists(6)),
    Kind("Launch unknown", 30, request("Launch", "Nobody"), says("vexa_not_found")),
    Kind("Launch", 4, request("Launch", "Player"), says("success", "invalid_command"))]
