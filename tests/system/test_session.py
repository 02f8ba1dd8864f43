"""The session's settings and user as clients ask for them, and logging out."""
import base64
import os
from pathlib import Path

import pytest

from box import ask, payload, process_named, request, text

HEAD = b'<ZelvDocRoot version="1.2">\n\t<torvik_ver>\n\t\t2.4.1\n\t</torvik_ver>\n\t<errRtn>\n\t\t'
NO_SESSION = HEAD + b"login_required\n\t</errRtn>\n</ZelvDocRoot>\n"
SUCCESS = HEAD + b"success\n\t</errRtn>\n"
LOGGED_OUT = "[/sbin/wrconf][ZelvRemote][Logout][yes][-f][/root/.config/ZELV/KALLO.conf]\n" \
             "[/opt/bin/zelvshmenv][-w]\n"
READ_FAILED = "[File:kalloagent][Line:{}][Func:{}]: fread() ... fail\n"


def answer(element, value):
    """A success with one more element; without it when `value` is None."""
    empty, filled = b"\t<%s/>\n" % element, b"\t<%s>\n\t\t%s\n\t</%s>\n" % (element, value or b"", element)
    return SUCCESS + (b"" if value is None else filled if value else empty) + b"</ZelvDocRoot>\n"


def test_required_log_in(nas, desktop, daemon):  # pylint: disable=unused-argument
    silences = 0
    for stored, tool, shown, logs_out in [
            (None, None, b"no", True), ("null", None, b"no", True), ("nullify", None, b"no", True),
            ("yes", None, b"yes", True), ("yesterday", None, b"yesterday", True),
            ("no", None, b"no", False), ("nul", None, b"nul", False), ("Yes", None, b"Yes", False),
            ("sixteen letters!", None, b"sixteen letters", False), ("", None, b"", False),
            ("yes", "exit 0\n", None, False), ("yes", "", None, False),
            ("no", "printf yes; kill -9 $$\n", b"yes", True),
            ("no", "printf 'yes\\n\\n'\n", b"yes\n", True),
            ("no", "head -c 300000 /dev/zero | tr '\\0' x\n", b"x" * 15, False)]:
        nas.restore()
        Path(nas.settings).write_text("")
        if stored is not None:
            nas.wrconf("UIControl", "RequireLogin", stored, nas.settings)
        if tool is not None:
            nas.replace("/sbin/rdconf", tool or None)
        calls = nas.record("/sbin/wrconf", "/opt/bin/zelvshmenv")
        calls.write_text("")
        row, silences = (stored, tool), silences + (shown is None)
        assert ask(request("GetKALLOSetting"))[1] == answer(b"AutoLogin", shown), row
        assert ask(request("Logout")) == (b"", b"")
        assert calls.read_text() == (LOGGED_OUT if logs_out else ""), row
        failure = READ_FAILED.format(814, "void CKalloAgent::logout()")
        assert daemon.log().count(failure) == silences, row


def test_automatic_log_in_cannot_be_set(nas, desktop, daemon):
    calls = nas.record("/sbin/wrconf")
    for parameters in (["yes"], ["no"], [""], []):
        assert text(payload("SetAutoLogin", *parameters), "errRtn") == "paramter_required"
    desktop.stop()
    for command in ("SetAutoLogin", "GetKALLOSetting"):
        assert ask(request(command, "yes"))[1] == NO_SESSION, daemon.log()
    assert calls.read_text() == ""


@pytest.mark.parametrize("home, file", [
    ("/other home", "/other home/.config/ZELV/KALLO.conf"), ("", "/.config/ZELV/KALLO.conf"),
    (None, "/.config/ZELV/KALLO.conf")])
def test_settings_are_below_home(nas, start_daemon, home, file):
    environment = {name: value for name, value in os.environ.items() if name != "HOME"}
    start_daemon(env=environment if home is None else {**environment, "HOME": home})
    calls = nas.record("/sbin/rdconf", "/sbin/wrconf", "/opt/bin/zelvshmenv", then="echo null\n")
    assert ask(request("Logout")) == (b"", b"")
    assert calls.read_text().splitlines()[:2] == [
        f"[/sbin/rdconf][UIControl][RequireLogin][-d][null][-f][{file}]",
        f"[/sbin/wrconf][ZelvRemote][Logout][yes][-f][{file}]"]


def test_process_that_counts_as_the_desktop(daemon):  # pylint: disable=unused-argument
    for name, counts in [("/opt/xKALLOy", True), (" \tKALLO z", True), ("a" * 5000 + "KALLO", True),
                         ("kallo", False), ("x KALLO", False), ("x\nKALLO", False)]:
        with process_named(name):
            answered = text(payload("GetKALLOSetting"), "errRtn")
        assert answered == ("success" if counts else "login_required"), name


def environment_of(*variables):
    rest = "".join(f"<{name}>{value}</{name}>" if value else f"<{name}/>"
                   for name, value in (pair.split("=", 1) for pair in variables))
    return f"cat <<'END'\n<Env>{rest}</Env>\nEND\n"


def test_current_user(nas, daemon):
    silences = 0
    for tool, user in [
            (environment_of("A=eA==", "NasUser=YWRtaW4=", "NasUser=Ym9i"), b"admin"),
            (environment_of("NasUser=YWRt\n aW4="), b"admin"),
            (environment_of("NasUser=YWQAbWlu"), b"ad"), (environment_of("NasUser=YTxi"), b"a&lt;b"),
            (environment_of("NasUser="), b""), (environment_of("NasUser=!!!!"), b""),
            (environment_of("nasuser=YWRtaW4="), None),
            (environment_of("NasUser=" + base64.b64encode(b"x" * 1024).decode()), b"x" * 1024),
            (environment_of("NasUser=" + base64.b64encode(b"x" * 1025).decode()), b""),
            (environment_of("A=" + "A" * 4000, "NasUser=YWRtaW4="), b"admin"),  # 4,048 bytes
            (environment_of("A=" + "A" * 4060, "NasUser=YWRtaW4="), None),  # cut behind 4,095
            ("echo no document\n", None), ("echo '<Env/>'\n", None), ("exit 0\n", None), (None, None)]:
        nas.replace("/opt/bin/zelvshmenv", tool)
        shown = NO_SESSION if user is None else answer(b"user", user)
        assert ask(request("GetCurrentUser"))[1] == shown, tool
        silences += tool in ("exit 0\n", None)
        reader = "bool CKalloAgent::getKALLOPrivateEnv(std::vector<exportEnv_s>&)"
        assert daemon.log().count(READ_FAILED.format(338, reader)) == silences, tool
