"""Fixtures of the browser tests: phones, each a Chromium of its own. The NAS, its agent and the gate
are those of the system tests."""
import contextlib
import importlib.util
import subprocess
import sys
from pathlib import Path

import pytest
from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By

SYSTEM = Path(__file__).resolve().parents[1] / "system"
sys.path.insert(0, str(SYSTEM))
from box import wait_until  # noqa: E402

module = importlib.util.spec_from_file_location("system_fixtures", SYSTEM / "conftest.py")
system = importlib.util.module_from_spec(module)
module.loader.exec_module(system)
globals().update({name: value for name, value in vars(system).items() if name[0] != "_"})

# Debian's /usr/bin/chromium is a script that asks for more of a machine than the box has.
CHROMIUM, DRIVER = "/usr/lib/chromium/chromium", "/usr/bin/chromedriver"
SWITCHES = ("headless=new no-sandbox disable-gpu disable-quic no-first-run disable-sync "
            "disable-background-networking disable-component-update").split()
SCREEN = {"width": 390, "height": 844, "pixelRatio": 2, "touch": True}
SECONDS = 30  # for what a page shows on a busy machine


def tile(package):
    return f".tile[data-package={package}]"


class Phone:
    """A browser, and what somebody does with the page in it."""

    def __init__(self):
        options = webdriver.ChromeOptions()
        options.binary_location = CHROMIUM
        for switch in SWITCHES:
            options.add_argument(f"--{switch}")
        options.add_experimental_option("mobileEmulation", {"deviceMetrics": SCREEN})
        options.set_capability("acceptInsecureCerts", True)  # the gate has made its own
        self.driver = webdriver.Chrome(service=Service(DRIVER), options=options)
        self.tell("Network.enable")
        self.tell("Emulation.setEmulatedMedia",
                  features=[{"name": "prefers-reduced-motion", "value": "reduce"}])

    def tell(self, command, **values):
        """A command of the browser's debugging protocol."""
        return self.driver.execute_cdp_cmd(command, values)

    def js(self, expression, *arguments):
        return self.driver.execute_script(f"return {expression}", *arguments)

    def open(self, fragment=""):
        self.driver.get("about:blank")  # else another fragment would not load the page anew
        self.driver.get(f"https://127.0.0.1:{system.Gate.web}/{fragment}")

    def pair(self, gate):
        """Opens what the gate shows as a QR code."""
        self.open(f"#pair={gate.code()}")
        self.wait_for("document.body.dataset.live === 'true'")

    def shown(self, selector):
        """The text there, empty while it is hidden."""
        return self.js("(e => e?.checkVisibility() ? e.innerText.trim() : '')"
                       "(document.querySelector(arguments[0]))", selector)

    def state(self, package):
        return self.js("document.querySelector(arguments[0])?.dataset.state", tile(package))

    def windows(self):
        """The titles of the windows, without the desktop's own."""
        titles = self.js("[...document.querySelectorAll('#windows li')].map(e => e.innerText.trim())")
        return sorted(title.splitlines()[-1] for title in titles if "Torvik" not in title)

    def wait_for(self, expression):
        wait_until(lambda: self.js(expression), SECONDS, expression)

    def wait_text(self, selector, words):
        wait_until(lambda: words in self.shown(selector), SECONDS, f"{words!r} at {selector}")

    def wait_state(self, package, state):
        wait_until(lambda: self.state(package) == state, SECONDS, f"{package} {state}")

    def tap(self, selector):
        self.driver.find_element(By.CSS_SELECTOR, selector).click()

    def type(self, **texts):
        """Types into the fields of these names, in the place of what is there."""
        for name, words in texts.items():
            field = self.driver.find_element(By.ID, name)
            field.clear()
            field.send_keys(words)

    def log_in(self, user, password):
        self.type(user=user, password=password)
        self.tap("#login")


@pytest.fixture(scope="session")
def browsers():
    """Two browsers; a test takes them without cookies and on no page."""
    with contextlib.ExitStack() as stack:
        phones = [Phone(), Phone()]
        for phone in phones:
            stack.callback(phone.driver.quit)
        yield phones


@pytest.fixture
def phones(browsers):
    for phone in browsers:
        phone.driver.get("about:blank")
        phone.tell("Network.clearBrowserCookies")
        phone.tell("Network.setBlockedURLs", urls=[])
    yield browsers
    for phone in browsers:
        phone.driver.get("about:blank")


@pytest.fixture
def phone(phones):
    return phones[0]


@pytest.fixture
def gate(desktop, daemon, start_gate):
    """A gate before an agent whose desktop is up."""
    return start_gate()


@pytest.fixture
def follower():
    """The desktop starts and ends as phones log in and out."""
    with subprocess.Popen(["torvik-desktop", "follow"], stdout=subprocess.DEVNULL) as process:
        yield
        process.terminate()
