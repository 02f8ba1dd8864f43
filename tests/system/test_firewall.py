"""The firewall file of the gate, in network namespaces of its own: a server, and a phone outside of
it. This file runs on the machine itself, as the box has no other user than root."""
import contextlib
import os
import re
import subprocess
import sys
from pathlib import Path

import pytest

RULES = Path(__file__).resolve().parents[2] / "packaging/kallogate/kallogate.nft"
ROOT, GATE, SOMEBODY = "0", "4711", "4712"
LISTEN = """import selectors, socket
selector = selectors.DefaultSelector()
for port, name in ((9812, b"agent"), (9813, b"gate")):
    listener = socket.create_server(("", port), family=socket.AF_INET6, dualstack_ipv6=True)
    selector.register(listener, selectors.EVENT_READ, name)
print("ready", flush=True)
while True:
    for key, _ in selector.select():
        with key.fileobj.accept()[0] as connection:
            connection.sendall(key.data)
"""
ASK = """import socket, sys
try:
    print(socket.create_connection(sys.argv[1:], 20).recv(9).decode(), end="")
except ConnectionRefusedError:
    print("nobody", end="")
"""


class Machine:
    """A network namespace, for as long as `program` runs in it, which says when it is ready."""

    def __init__(self, stack, program):
        self.process = stack.enter_context(subprocess.Popen(
            ["unshare", "--net", *program], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL))
        stack.callback(self.process.kill)
        if not self.process.stdout.readline():
            pytest.skip("network namespaces are forbidden on this machine")

    def run(self, *words):
        inside = ["nsenter", f"--net=/proc/{self.process.pid}/ns/net", *words]
        return subprocess.check_output(inside, text=True, timeout=60)

    def reaches(self, address, port, user=ROOT):
        return self.run("setpriv", f"--reuid={user}", sys.executable, "-c", ASK, address, str(port))


@pytest.mark.skipif(os.geteuid() != 0, reason="only root makes connections of several users")
def test_apps_meet_the_gate_and_only_the_gate_meets_the_agent(tmp_path):
    text = RULES.read_text(encoding="utf-8").replace("root, kallogate", f"root, {GATE}")
    text = text.replace("/usr/share/kallogate", str(tmp_path))
    (tmp_path / RULES.name).write_text(text, encoding="utf-8")
    load, unload = (re.search(f"{head} it.*: +(.*)", text)[1].split() for head in ("Try", "Take"))
    with contextlib.ExitStack() as stack:
        phone = Machine(stack, ["sh", "-c", "echo ready; exec sleep 600"])
        server = Machine(stack, [sys.executable, "-c", LISTEN])
        server.run(*"ip link set lo up".split())
        server.run(*"ip link add out type veth peer name out netns".split(), str(phone.process.pid))
        for machine, number in ((server, 1), (phone, 2)):
            for address in (f"192.0.2.{number}/24", f"2001:db8::{number}/64"):
                machine.run(*f"ip address add {address} dev out nodad".split())
            machine.run(*"ip link set out up".split())
        outside, inside = ["192.0.2.1", "2001:db8::1"], ["127.0.0.1", "::1"]
        assert [phone.reaches(each, 9812) for each in outside] == ["agent"] * 2
        loads = [server.run(*load) or server.run("nft", "list", "ruleset") for _ in range(2)]
        assert loads[0] == loads[1], "a second load takes the place of the first"
        for port in (9812, 9813):
            assert [phone.reaches(each, port) for each in outside] == ["gate"] * 2
        for address in outside + inside:
            answers = [server.reaches(address, 9812, user) for user in (ROOT, GATE, SOMEBODY)]
            assert answers == ["agent", "agent", "nobody"], address
            assert server.reaches(address, 9813, SOMEBODY) == "gate"
        server.run("nft", "flush", "chain", "inet", "kallogate", "prerouting")
        assert [phone.reaches(each, 9812) for each in outside] == ["nobody"] * 2
        server.run(*unload)
        assert [phone.reaches(each, 9812) for each in outside] == ["agent"] * 2
