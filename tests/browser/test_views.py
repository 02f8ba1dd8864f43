"""Whoever cannot see well, or goes by keyboard, uses every view of the page: axe-core finds nothing."""
from pathlib import Path

import pytest

from conftest import SECONDS, tile

# ./dev installs it by the lock file that stands here.
AXE = Path(__file__).resolve().parents[2] / "build/browser/node_modules/axe-core/axe.min.js"
SMALL = {"width": 320, "height": 640, "deviceScaleFactor": 2, "mobile": True}
LARGE = {"width": 1280, "height": 800, "deviceScaleFactor": 1, "mobile": False}


def check(phone, view):
    """The page as it is now, in both colour schemes, on a phone and on a desktop's screen."""
    assert phone.js("document.body.dataset.view") == view.split()[0]
    found = []
    for scheme in ("light", "dark"):
        phone.tell("Emulation.setEmulatedMedia", features=[
            {"name": "prefers-reduced-motion", "value": "reduce"},
            {"name": "prefers-color-scheme", "value": scheme}])
        if not phone.js("'axe' in window"):
            phone.driver.execute_script(AXE.read_text(encoding="utf-8"))
        told = phone.driver.execute_async_script("axe.run({resultTypes: ['violations']}).then("
                                                 "arguments[0], e => arguments[0]({error: `${e}`}))")
        found += [(view, scheme, each["id"], node["html"], node["failureSummary"])
                  for each in told["violations"] for node in each["nodes"]]
        assert phone.js("document.documentElement.scrollWidth <= innerWidth"), f"{view} is too wide"
    assert not found, found


@pytest.mark.usefixtures("daemon")
def test_before_somebody_is_at_the_television(no_desktop, start_gate, phone):
    phone.driver.set_script_timeout(SECONDS)
    gate = start_gate()
    phone.tell("Network.setBlockedURLs", urls=["*/api/v1/events"])
    phone.open(f"#pair={gate.code()}")
    phone.wait_text("#banner", "Connection lost")
    check(phone, "connecting")
    phone.tell("Network.setBlockedURLs", urls=[])
    phone.wait_text("#login-title", "Log in")
    check(phone, "login")
    phone.tap("#login")
    check(phone, "login with an error")
    phone.log_in("alice", "wonderland")
    phone.wait_text("#login-status", "The television starts")
    check(phone, "login that waits")
    phone.tell("Network.clearBrowserCookies")
    phone.open()
    phone.wait_text("#pair-title", "Pair")
    check(phone, "pair")
    phone.tap("#pair")
    check(phone, "pair with an error")


def test_at_the_television(nas, gate, phone):
    phone.driver.set_script_timeout(SECONDS)
    phone.pair(gate)
    phone.tap(tile("Player"))
    phone.wait_state("Player", "on-screen")
    nas.wrconf("Clock", "Display_Name", "A name that is far too long for a tile of a telephone")
    phone.wait_text("#packages", "far too long")
    phone.tap(tile("Player"))
    phone.wait_text(tile("Player"), "already")
    check(phone, "home")
    phone.tell("Emulation.setDeviceMetricsOverride", **LARGE)
    check(phone, "home on a large screen")
    phone.tell("Emulation.setDeviceMetricsOverride", **SMALL)
    phone.tap("#stop-all")
    check(phone, "home with a question")
    phone.tap("#ask-no")
    Path(nas.registry).write_text("")
    phone.wait_text("#no-packages", "No packages")
    check(phone, "home without packages")
