"""All threads at once: registry changes, service requests and clients, for some seconds."""
import base64
import functools
import itertools
import time
from collections import Counter
from concurrent.futures import ThreadPoolExecutor

from box import CHANNEL, TCP, ask, payload, request, text, texts, wait_until
from test_service_pipe import CONTROL, drain, script, serve, write

SILENT = ("KillAll", "Logout")
CLIENTS = [
    [("GetStatus",), ("Launch", "Photos"), ("ListVEXA",), ("KillAll",), ("GetCurrentUser",)],
    [("Launch", "Player"), ("GetKALLOSetting",), ("Launch", "Clock"), ("Logout",), ("Nothing",)],
    [("Login2", base64.b64encode(b"admin"), base64.b64encode(b"wrong")), ("ListVEXA",)],
    [("GetPassword",)]]


def test_storm(nas, desktop, daemon):
    calls = nas.record(CONTROL, "/opt/vexa/screen-program", "/opt/vexa/screen-stop")
    assert text(payload("GetStatus"), "errRtn") == "success"
    descriptors, end = daemon.fds(), time.monotonic() + 8

    def repeat(step):
        """Returns how often there was time for the step."""
        for number in itertools.count():
            if time.monotonic() > end:
                return number
            step(number)

    def converse(number, commands):
        command, *params = commands[number % len(commands)]
        address = CHANNEL if command == "GetPassword" else TCP
        assert bool(ask(request(command, *params), address)[1]) == (command not in SILENT), command

    steps = [lambda number: nas.wrconf("Clock", "Version", f"v{number}"),
             lambda _: (drain(), write("Downloader start MediaIndex stop\n")),
             *(functools.partial(converse, commands=commands) for commands in CLIENTS)]
    with ThreadPoolExecutor(len(steps)) as threads:
        changes, services, *others = threads.map(repeat, steps)
    assert all(others)
    serve(daemon, 2 * services)
    served = Counter(line for line in calls.read_text().splitlines() if "/init.d/" in line)
    assert served == {script("Downloader", "rcS"): services, script("MediaIndex", "rcK"): services}
    wait_until(lambda: f"v{changes - 1}" in texts(payload("ListVEXA"), "version"))
    wait_until(lambda: daemon.fds() == descriptors, 60, "the end of what the changes set off")
