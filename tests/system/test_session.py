"""The session's settings and user as clients ask for them, and logging out."""
import base64
import os
from pathlib import Path

import pytest

from box import answer, ask, payload, process_named, request, text

NO_SESSION = answer(b"login_required")
LOGGED_OUT = "[/sbin/wrconf][ZelvRemote][Logout][yes][-f][/root/.config/ZELV/KALLO.conf]\n" \
             "[/opt/bin/zelvshmenv][-w]\n"


def found(name, value):
    """A success with one more element; without it when `value` is None."""
    return answer(b"success", *([] if value is None else [(name, value)]))


def test_required_log_in(nas, desktop, daemon):
    for stored, tool, shown, logs_out in [
            (None, None, b"no", True), ("nullify", None, b"no", True), ("nul", None, b"nul", False),
            ("yesterday", None, b"yesterday", True), ("Yes", None, b"Yes", False),
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
        row = stored, tool, daemon.log()
        assert ask(request("GetKALLOSetting"))[1] == found(b"AutoLogin", shown), row
        assert ask(request("Logout")) == (b"", b"")
        assert calls.read_text() == (LOGGED_OUT if logs_out else ""), row


def test_automatic_log_in_cannot_be_set(desktop, daemon):
    for parameters in (["yes"], []):
        assert text(payload("SetAutoLogin", *parameters), "errRtn") == "paramter_required"
    desktop.stop()
    assert ask(request("SetAutoLogin", "yes"))[1] == NO_SESSION


@pytest.mark.parametrize("home", [{"HOME": "/other home"}, {"HOME": ""}, {}])
def test_settings_are_below_home(nas, start_daemon, home):
    start_daemon(env={name: os.environ[name] for name in os.environ if name != "HOME"} | home)
    calls = nas.record("/sbin/rdconf", "/sbin/wrconf", "/opt/bin/zelvshmenv", then="echo null\n")
    assert ask(request("Logout")) == (b"", b"")
    file = home.get("HOME", "") + "/.config/ZELV/KALLO.conf"
    assert calls.read_text().splitlines()[:2] == [
        f"[/sbin/rdconf][UIControl][RequireLogin][-d][null][-f][{file}]",
        f"[/sbin/wrconf][ZelvRemote][Logout][yes][-f][{file}]"]


def test_process_that_counts_as_the_desktop(daemon):
    for name, counts in [("/opt/xKALLOy", True), (" \tKALLO z", True), ("a" * 32766 + "KALLO", True),
                         ("a" * 40000 + "\vKALLO", False), ("a b" + "c" * 32764 + "KALLO", False),
                         ("kallo", False), ("x KALLO", False), ("x\nKALLO", False)]:
        with process_named(name):
            answered = text(payload("GetKALLOSetting"), "errRtn")
        assert answered == ("success" if counts else "login_required"), name


def test_current_user(nas, daemon):
    environment, published = "<Env><NasUser>%s</NasUser></Env>\n", Path("/tmp/calls")
    nas.replace("/opt/bin/zelvshmenv", f"cat {published}\n")
    for output, user in [
            (environment % "YWRtaW4=</NasUser><NasUser>Ym9i", b"admin"),
            (environment % "YWRt\n aW4=", b"admin"), (environment % "YWQAbTxi", b"ad"),
            (environment % "YTxi", b"a&lt;b"), (environment % "", b""),
            (environment.lower() % "YWRtaW4=", None),
            (environment % base64.b64encode(b"x" * 1024).decode(), b"x" * 1024),
            (environment % base64.b64encode(b"x" * 1025).decode(), b""),
            (" " * 4000 + environment % "YWRtaW4=", b"admin"),
            (" " * 4070 + environment % "YWRtaW4=", None),  # cut behind 4,095 bytes
            ("no document", None), ("<Env/>", None), ("", None)]:
        published.write_text(output, encoding="ascii")
        shown = NO_SESSION if user is None else found(b"user", user)
        assert ask(request("GetCurrentUser"))[1] == shown, output
    assert daemon.log().count("getKALLOPrivateEnv(std::vector<exportEnv_s>&)]: fread() ... fail\n") == 1
