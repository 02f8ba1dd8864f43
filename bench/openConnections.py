#!/usr/bin/python3
"""openConnections.py COUNT GATE: opens that many connections to the gate, whose process id is GATE, and
prints its resident memory beside them, as /proc tells it."""
import resource
import socket
import subprocess
import sys
import time
from pathlib import Path

from loadClient import GATE, address_of

count, gate = (int(word) for word in sys.argv[1:])
most = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
resource.setrlimit(resource.RLIMIT_NOFILE, (most, most))
held = [socket.create_connection(("127.0.0.1", GATE), 5, (address_of(number), 0))
        for number in range(count)]
while f"connections: {count}\n" not in subprocess.run(
        ["kallogate", "status", "--control", "/run/gate"], check=True, capture_output=True,
        text=True).stdout:
    time.sleep(0.05)
print(next(line for line in Path(f"/proc/{gate}/status").read_text(encoding="ascii").splitlines()
           if line.startswith("VmRSS")))
