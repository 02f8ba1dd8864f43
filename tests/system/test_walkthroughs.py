"""The commands of docs/security.md and docs/operations.md: pasted whole, block after block into one
shell, they have to show what the pages show. A block that is not run says why in a comment before it."""
import os
import re
import signal
import subprocess
from pathlib import Path

import pytest

from conftest import kill_agents, run

PAGES = Path(__file__).resolve().parents[2] / "docs"
BLOCK = re.compile(r"(?P<marked><!-- not run: [^\n]+ -->\n)?^(?P<indent> *)```(?P<language>\w*)\n"
                   r"(?P<text>.*?)^ *```$", re.MULTILINE | re.DOTALL)
COMMAND = re.compile(r"^\$ (.*)\n((?:(?!\$ ).*\n)*)", re.MULTILINE)
# What differs from run to run, what a terminal does not show, columns as wide as their numbers.
VARYING = [(r"\x1b\[[\d;]*m", ""),
           (r"[A-Z][a-z]{2} [ \d]\d \d\d:\d\d", "DATE"), (r"\.cpp:\d+:", ".cpp:N:"), (r" +", " ")]


def blocks(page, *languages):
    text = (PAGES / page).read_text(encoding="utf-8")
    return [found for found in BLOCK.finditer(text)
            if found["language"] in languages and not found["marked"]]


def steps(page):
    """(command line, what it shows; None: not told)."""
    for block in blocks(page, "sh", "console"):
        if block["language"] == "sh":
            yield block["text"], None
        else:
            yield from COMMAND.findall(block["text"])


def alike(output):
    for pattern, replacement in VARYING:
        output = re.sub(pattern, replacement, output)
    return [line.strip() for line in output.splitlines()]


@pytest.fixture(name="paste")
def shell(nas, tmp_path):  # pylint: disable=unused-argument
    """Runs command lines in one shell; the output of each, without the shell's own lines."""
    script, shown = tmp_path / "script", tmp_path / "shown"
    groups = []

    def run_all(commands):
        script.write_text("".join(f"{command}\nprintf '\\0'\n" for command in commands))
        with open(shown, "wb") as file, subprocess.Popen(
                ["/bin/bash", script], stdin=subprocess.DEVNULL, stdout=file, cwd="/",
                stderr=subprocess.STDOUT, start_new_session=True) as bash:
            groups.append(bash.pid)
            try:
                bash.wait(timeout=300)
            finally:
                bash.kill()
        outputs = shown.read_text(encoding="utf-8", errors="replace").split("\0")
        return [re.sub(rf"^{script}: line .*\n", "", output, flags=re.M) for output in outputs]

    yield run_all
    for group in groups:
        os.killpg(group, signal.SIGKILL)
    kill_agents()
    run("torvik-desktop", "stop")


def test_security(paste):
    told = list(steps("security.md"))
    for (command, expected), output in zip(told, paste([command for command, _ in told])):
        assert expected is None or alike(output) == alike(expected), command


def test_operations(paste):
    page = (PAGES / "operations.md").read_text(encoding="utf-8")
    rows = page.split("| check | command | healthy |\n")[1].split("\n\n")[0].splitlines()[1:]
    cells = [[re.findall("`(.*?)`", cell) for cell in row.split("|")] for row in rows]
    checks = [(command[0], healthy[:1]) for _, _, command, healthy, _ in cells if command]
    start = [command for command, _ in steps("operations.md")]
    up = "mkdir -p /run/kallogate; kallogate serve & until kalloctl -p 9813 status >/dev/null 2>&1; do sleep 0.1; done"
    outputs = paste([*start, up, *(f"{command} || echo FAILED" for command, _ in checks)])
    assert checks and start
    for (command, healthy), output in zip(checks, outputs[len(start) + 1:]):
        assert "FAILED" not in output and all(word in output for word in healthy), (command, output)


def test_firewall():
    rules = blocks("operations.md", "nft")
    assert rules
    for block in rules:
        done = run("nft", "--check", "--file", "-", input=block["text"])
        assert done.returncode == 0, done.stderr
