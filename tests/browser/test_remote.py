"""What a household does with the page, from the code to the last window closed."""
from pathlib import Path
from xml.sax.saxutils import escape

import pytest

from box import wait_until
from conftest import tile

MARKUP = "<img src=x onerror=alert(1)>"
TILES = "[...document.querySelectorAll('#packages .tile')]"


@pytest.mark.usefixtures("daemon", "follower")
def test_an_evening(no_desktop, start_gate, phone):
    phone.pair(start_gate())
    assert phone.driver.current_url.endswith(":9880/"), "the code is still in the address"
    phone.log_in("alice", "wonderland")
    phone.wait_text("#who", "alice")
    assert phone.shown("#server") == "Living Room NAS"
    phone.wait_for("[...document.querySelectorAll('.tile img')].some(e => e.naturalWidth > 0)")
    for package in ("Player", "Browser"):
        phone.tap(tile(package))
        phone.wait_state(package, "on-screen")
    assert phone.windows() == ["Browser", "Player"]
    phone.tap("#stop-all")
    phone.tap("#ask-no")
    phone.tap("#stop-all")
    assert phone.shown("#ask-title") == "Stop everything?" and phone.state("Player") == "on-screen"
    phone.tap("#ask-yes")
    phone.wait_state("Player", "idle")
    wait_until(lambda: phone.windows() == [])
    phone.tap("#logout")
    assert phone.shown("#ask-title") == "Log alice out?"
    phone.tap("#ask-yes")
    phone.wait_text("#login-title", "Log in")
    assert phone.shown("#who") == "" and phone.js("document.querySelector('#password').value") == ""


def test_two_phones(gate, phones):
    for phone in phones:
        phone.pair(gate)
    one, other = phones
    one.tap(tile("Player"))
    other.wait_state("Player", "on-screen")
    other.tap(tile("Player"))
    other.wait_text(tile("Player"), "Is on the screen already")
    assert other.windows() == ["Player"]
    other.tap("#stop-all")
    other.tap("#ask-yes")
    one.wait_state("Player", "idle")


def test_pairing(gate, phone):
    phone.open()
    phone.wait_text("#pair-title", "Pair this device")
    assert "Living Room" not in phone.js("document.documentElement.outerHTML + document.title")
    code = gate.code()
    for _ in range(6):
        phone.type(code="0000 0000")
        phone.tap("#pair")
        phone.wait_text("#pair-error", "wrong, used already or too old")
    for typed, words in (("ABC", "8 letters and digits"), (code, "wrong, used already or too old")):
        phone.type(code=typed)
        phone.tap("#pair")
        phone.wait_text("#pair-error", words)
    code = gate.code().lower()
    phone.type(code=f"{code[:4]}-{code[4:]}")
    phone.tap("#pair")
    phone.wait_text("#server", "Living Room NAS")
    phone.open(f"#pair={code}")
    phone.wait_text("#server", "Living Room NAS")  # scanned twice it is paired all the same
    gate.tell("revoke", gate.tell("devices").split()[0])
    phone.wait_text("#pair-error", "not paired any more")
    assert "Living Room" not in phone.js("document.documentElement.outerHTML + document.title")
    assert phone.windows() == [] and phone.state("Player") is None


@pytest.mark.usefixtures("daemon")
def test_log_in_errors(no_desktop, start_gate, phone):
    phone.pair(start_gate(login="failures_of_an_address = 1"))
    for user, password, words in [
            ("", "", "Type in a user name"), ("alice", "w" * 48, "too long"),
            ("alice", "wrong", "Wrong user name or password"),
            ("alice", "wonderland", "Wait a minute")]:
        phone.log_in(user, password)
        phone.wait_text("#login-error", words)
    no_desktop.start()
    phone.wait_text("#who", "admin")


def test_somebody_was_faster(gate, phone):
    """The form of a page that does not know yet that somebody is at the television."""
    phone.pair(gate)
    phone.driver.execute_script("""
        for (const name of ['user', 'password']) document.getElementById(name).value = 'alice';
        document.getElementById('login-form').requestSubmit();""")
    phone.wait_for("document.getElementById('login-error').textContent.includes('already')")


def install(name, title, version):
    """A package without icons; returns its lines of the registry."""
    place = Path(f"/share/Volume1/vexa/{abs(hash(name))}")
    place.joinpath(".kallo").mkdir(parents=True)
    place.joinpath(".kallo/kallo.xml").write_text(f"<KALLO><name>{escape(name)}</name></KALLO>")
    return f"[{name}]\nClass = Torvik\nDisplay_Name = {title}\nVersion = {version}\n" \
           f"Install_Path = {place}\n"


def test_shelf(nas, gate, phone):
    """Two hundred packages are found by their names, names that are markup are texts, and the list
    follows the server's."""
    registry = Path(nas.registry)
    own = registry.read_text()
    many = "".join(install(f"Extra{number}", f"Extra {number}", "1") for number in range(194))
    phone.pair(gate)
    phone.wait_for(f"{TILES}.length === 6")
    assert not phone.shown("#search")
    registry.write_text(own + many)
    phone.wait_for(f"{TILES}.length === 200")
    phone.type(search="éxtra 193")
    phone.wait_text("#found", "1 of 200")
    assert phone.shown("#packages").splitlines()[-1] == "Extra 193"
    phone.type(search="nothing of that name")
    phone.wait_text("#found", "Nothing found")
    registry.write_text(own + install(MARKUP, MARKUP, MARKUP))
    phone.wait_for(f"{TILES}.length === 7")
    assert phone.js(f"{TILES}.filter(e => e.querySelector('.title').textContent === arguments[0] && "
                    "e.dataset.package === arguments[0]).length", MARKUP) == 1
    assert phone.js("document.querySelectorAll('img[src=x], [onerror]').length") == 0
    registry.write_text("")
    phone.wait_text("#no-packages", "No packages are installed")


def test_languages(gate, phone):
    phone.pair(gate)
    same = phone.driver.execute_async_script("""
        const [done] = arguments, folder = document.querySelector('script[src]').src;
        const keys = (table) => JSON.stringify(Object.entries(table).map(([key, words]) =>
            typeof words === 'object' ? [key, Object.keys(words)] : key));
        Promise.all(['en', 'de'].map((language) =>
            import(folder.replace('app.js', `texts-${language}.js`)))).then(
            ([one, other]) => done(keys(one.default) === keys(other.default)));""")
    assert same
