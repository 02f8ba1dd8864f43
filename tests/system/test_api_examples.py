"""The examples of docs/api.md: each request goes to a running gate, and what comes back has to be
what the page shows; its table of errors is that of the program, and its script runs."""
import json
import re
import subprocess
from pathlib import Path

import pytest

from web import Device

ROOT = Path(__file__).resolve().parents[2]
PAGE = (ROOT / "docs" / "api.md").read_text(encoding="utf-8")
EXAMPLES = re.findall(r"<!-- check: desktop=(\w+)( cookie=none)? -->\n```http request\n(\w+) (\S+)\n"
                      r"(?:\n(.*)\n)?```\n\n```json answer (\d+)\n(.*\n)?```\n", PAGE)


def test_every_example_is_checked():
    assert PAGE.count("<!-- check: ") == len(EXAMPLES)


@pytest.mark.parametrize("desktop", ["none", "alice"])
@pytest.mark.usefixtures("daemon")
def test_conversations(desktop, no_desktop, start_gate):
    if desktop != "none":
        no_desktop.start(desktop)
    device, stranger = Device(start_gate()), Device()
    for at, cookie, method, path, body, status, document in EXAMPLES:
        if at == desktop:
            answer = (stranger if cookie else device).ask(method, path, body or None)
            assert (answer.status, answer.content.decode()) == (int(status), document.strip()), path


def test_errors_are_those_of_the_program():
    program = (ROOT / "gate" / "web" / "problem.cpp").read_text(encoding="utf-8")
    told = re.findall(r"^\| `([a-z-]+)` \| (\d+) \|", PAGE, re.MULTILINE)
    assert sorted(told) == sorted(re.findall(r'\{"([a-z-]+)", (\d+), "', program))


@pytest.mark.usefixtures("daemon", "desktop")
def test_script(start_gate, tmp_path):
    gate = start_gate()
    script = re.search(r"```sh\n(.*?)```", PAGE, re.DOTALL)[1]
    script = script.replace("kallogate pair", f"kallogate pair --control {gate.control}")
    done = subprocess.run(["/bin/sh", "-ec", script], cwd=tmp_path, stdout=subprocess.PIPE, check=True)
    assert json.loads(done.stdout)["agent"] == "up"
    assert "Launch: success" in gate.log()
