"""The page while the gate or the agent is away, and while the phone sleeps: what it shows as live is,
and what was tapped meanwhile is not done later."""
import signal
import subprocess

import pytest

from box import processes, wait_until
from conftest import tile

RECORD = """window.phases = [];
new MutationObserver(() => phases.push(document.body.dataset.phase)).observe(
    document.body, {attributes: true, attributeFilter: ['data-phase']});"""
LIVE = "document.body.dataset.live === 'true'"


def stop_player():
    """Without the agent's knowledge, while nobody looks."""
    subprocess.run(["/share/Volume1/vexa/Player/stop"], check=True)
    wait_until(lambda: not [line for *_, line in processes() if "player-tv" in line])


def signalled(process):
    process.send_signal(signal.SIGSTOP)
    return lambda: process.send_signal(signal.SIGCONT)


def ended(server, start):
    server.end()
    return start


@pytest.mark.parametrize("leave, banner", [
    ("agent ends", "television is not answering"), ("agent stands", "television is not answering"),
    ("gate ends", "Connection lost"), ("gate stands", "Connection lost")])
def test_lost_and_back(leave, banner, desktop, start_daemon, start_gate, phone):
    agent = start_daemon()
    gate = start_gate()
    phone.pair(gate)
    phone.driver.execute_script(RECORD)
    phone.tap(tile("Player"))
    phone.wait_state("Player", "on-screen")
    come_back = {"agent ends": lambda: ended(agent, start_daemon),
                 "agent stands": lambda: signalled(agent.process),
                 "gate ends": lambda: ended(gate, start_gate),
                 "gate stands": lambda: signalled(gate.process)}[leave]()
    phone.wait_text("#banner", banner)
    assert not phone.js(LIVE)
    phone.tap(tile("Clock"))
    phone.wait_text("#notice", "nothing was done")
    stop_player()
    come_back()
    phone.wait_for(LIVE)
    # The page is the same, and its first word as a live one is true.
    assert phone.js("phases")[-1] == "live" and phone.shown("#banner") == ""
    assert phone.state("Player") == "idle" and phone.windows() == []
    assert not [line for *_, line in processes() if "clock-tv" in line]


def test_frozen_page(gate, phones):
    """Somebody who only switched apps is not told of a loss, and sees what happened meanwhile."""
    phone, other = phones
    other.pair(gate)
    phone.pair(gate)
    phone.driver.execute_script(RECORD)
    other.tap(tile("Player"))
    phone.wait_state("Player", "on-screen")
    phone.tell("Page.setWebLifecycleState", state="frozen")
    other.tap("#stop-all")
    other.tap("#ask-yes")
    other.wait_state("Player", "idle")
    other.tap(tile("Browser"))
    other.wait_state("Browser", "on-screen")
    phone.tell("Page.setWebLifecycleState", state="active")
    phone.tell("Emulation.setFocusEmulationEnabled", enabled=True)  # freezing has hidden the page
    phone.wait_for(LIVE)
    phone.wait_state("Browser", "on-screen")
    assert phone.state("Player") == "idle" and phone.windows() == ["Browser"]
    assert set(phone.js("phases")) == {"quiet", "live"}
