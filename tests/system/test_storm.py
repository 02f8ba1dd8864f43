"""All threads at once: registry changes, service requests and clients, for some seconds."""
import base64
import itertools
import threading
import time
from collections import Counter

from box import CHANNEL, ask, payload, request, text, texts, wait_until
from test_service_pipe import CONTROL, drain, script, serve, write

SILENT = ("KillAll", "Logout")
CLIENTS = [
    [("GetStatus",), ("Launch", "Photos"), ("ListVEXA",), ("KillAll",), ("GetCurrentUser",)],
    [("Launch", "Player"), ("GetKALLOSetting",), ("Launch", "Clock"), ("Logout",), ("Nothing",)],
    [("Login2", base64.b64encode(b"admin"), base64.b64encode(b"wrong")), ("ListVEXA",), ("KillAll",)]]


def test_storm(nas, desktop, daemon):  # pylint: disable=unused-argument
    calls = nas.record(CONTROL, "/opt/vexa/screen-program", "/opt/vexa/screen-stop")
    assert text(payload("GetStatus"), "errRtn") == "success"
    descriptors, end = daemon.fds(), time.monotonic() + 8
    done, failures = Counter(), []

    def repeat(name, step):
        try:
            for number in itertools.takewhile(lambda _: time.monotonic() < end, itertools.count()):
                step(number)
                done[name] += 1
        except BaseException as failure:  # pylint: disable=broad-exception-caught
            failures.append((name, failure))

    def converse(number, commands):
        command = commands[number % len(commands)]
        assert bool(ask(request(*command))[1]) == (command[0] not in SILENT), command

    def local(_):
        assert text(payload("GetPassword", address=CHANNEL), "errRtn") == "fail"

    steps = {"registry": lambda number: nas.wrconf("Clock", "Version", f"v{number}"), "local": local,
             "pipe": lambda _: (drain(), write("Downloader start MediaIndex stop\n"))}
    for number, commands in enumerate(CLIENTS):
        steps[number] = lambda number, commands=commands: converse(number, commands)
    threads = [threading.Thread(target=repeat, args=step) for step in steps.items()]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not failures and set(done) == set(steps), daemon.log()[-5000:]
    serve(daemon, 2 * done["pipe"])
    services = Counter(line for line in calls.read_text().splitlines() if "/init.d/" in line)
    assert services == {script("Downloader", "rcS"): done["pipe"],
                        script("MediaIndex", "rcK"): done["pipe"]}
    wait_until(lambda: f"v{done['registry'] - 1}" in texts(payload("ListVEXA"), "version"))
    wait_until(lambda: daemon.fds() == descriptors)
