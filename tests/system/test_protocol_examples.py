"""The examples of docs/protocol.md: each request goes to the agent byte for byte, and what comes
back has to be what the page shows, so that the page cannot go stale."""
import re
import subprocess
from pathlib import Path

import pytest

from box import CHANNEL, DOOR, TCP, ask, request

PAGE = (Path(__file__).resolve().parents[2] / "docs" / "protocol.md").read_text(encoding="utf-8")
# A comment names the state of the NAS; the blocks after it are the conversation. A missing
# announcement is a silence, a missing answer an image (file=) or a go-ahead that is not given.
EXAMPLE = re.compile(r"<!-- check: (?P<state>desktop=.*) -->\n```xml request\n(?P<request>.*)\n```\n"
                     r"(?:\n```xml announcement\n(?P<announcement>(?s:.*?\n))```\n)?"
                     r"(?:\n```xml answer\n(?P<answer>(?s:.*?\n))```\n)?")
EXAMPLES = list(EXAMPLE.finditer(PAGE))


def block(kind, language):
    return re.search(rf"<!-- check: {kind} -->\n```{language}\n(.*?\n)```\n", PAGE, re.DOTALL)[1]


def state(example):
    return dict(word.split("=") for word in example["state"].split())


def test_every_example_is_checked():
    assert PAGE.count("<!-- check: ") == len(EXAMPLES) + len(("shell", "python"))


@pytest.mark.parametrize("example", EXAMPLES,
                         ids=lambda example: f"line{PAGE.count(chr(10), 0, example.start()) + 1}")
@pytest.mark.usefixtures("daemon")
def test_conversation(example, no_desktop):
    at = state(example)
    for earlier in EXAMPLES:
        if "after" in at and state(earlier).get("name") == at["after"]:
            ask(earlier["request"].encode())
    if at["desktop"] != "none":
        no_desktop.start(at["desktop"])
    announcement, answer = ask(example["request"].encode(), CHANNEL if "channel" in at else None)
    ask(request("KillAll"), TCP)  # a program left behind would be in the way at the other door
    expected = Path(at["file"]).read_bytes() if "file" in at else (example["answer"] or "").encode()
    assert (announcement.decode(), answer) == (example["announcement"] or "", expected)


def test_credential_block(tmp_path):
    lines = block("shell", "console").splitlines(keepends=True)
    script = "".join(line[2:] for line in lines if line.startswith("$ "))
    done = subprocess.run(script, shell=True, check=True, stdout=subprocess.PIPE, cwd=tmp_path)
    assert done.stdout.decode() == "".join(line for line in lines if not line.startswith("$ "))


@pytest.mark.usefixtures("daemon")
def test_complete_client(no_desktop):
    client = {}
    exec(block("python", "python").replace(str(TCP[1]), str(DOOR["port"])), client)  # pylint: disable=exec-used
    assert client["ask"](TCP[0], "GetIcon", "Clock", "phone") == b""
    assert client["ask"](TCP[0], "KillAll") is None
    no_desktop.start("alice")
    assert b"\t\talice\n" in client["ask"](TCP[0], "GetCurrentUser")
