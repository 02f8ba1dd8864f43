"""The door for browsers against whoever is in the network: other sites, half requests, many at once."""
import contextlib
import json
import resource
import signal
import socket
import ssl
import time
from pathlib import Path

import pytest

from box import receive, wait_until
from conftest import Gate, run

OWN = f"127.0.0.1:{Gate.web}"
ANY = ssl._create_unverified_context()  # the gate has made its own certificate
MUCH = 10_000_000
LAUNCH = {"package": "Player"}


def opened(plain=False, source="127.0.0.1"):
    client = socket.create_connection(("127.0.0.1", Gate.web), 20, (source, 0))
    return client if plain else ANY.wrap_socket(client)


def head(line, **fields):
    """The head of a request; a field's value None leaves it out, and _ in its name is a hyphen."""
    fields = {"Host": OWN, "Connection": "close", **fields}
    lines = [f"{name.replace('_', '-')}: {value}" for name, value in fields.items() if value is not None]
    return "\r\n".join([f"{line} HTTP/1.1", *lines, "", ""]).encode()


def exchange(sent, plain=False):
    """(status, text) of what comes back until the gate closes; status 0: nothing came."""
    with opened(plain) as client:
        with contextlib.suppress(ConnectionError, ssl.SSLError):
            client.sendall(sent)
        told = receive(client).decode()
    return int(told.split()[1]) if told else 0, told


def post(path, body, plain=False, **fields):
    body = json.dumps(body)
    fields = {"Origin": f"https://{OWN}", "Content_Type": "application/json", **fields}
    return exchange(head(f"POST /api/v1/{path}", Content_Length=len(body), **fields) + body.encode(),
                    plain)


def paired(gate, plain=False):
    """The cookie of a phone that is paired."""
    status, told = post("pair", {"code": gate.code()}, plain)
    assert status == 204 and "Secure; HttpOnly; SameSite=Strict" in told
    return told.split("Set-Cookie: ")[1].split(";")[0]


def test_who_is_let_in(desktop, daemon, start_gate):
    cookie = paired(start_gate())
    for status, fields in [
            (401, {"Cookie": None}), (401, {"Cookie": "kallogate=" + "A" * 43}),
            (401, {"Cookie": cookie.replace("kallogate", "other")}), (401, {"Cookie": cookie[:-1]}),
            (403, {"Origin": "https://evil.example"}), (403, {"Origin": "null"}),
            (403, {"Origin": None}), (403, {"Origin": f"http://{OWN}"}),
            (403, {"Origin": "https://127.0.0.1"}), (403, {"Origin": f"https://{OWN}.evil.example"}),
            (403, {"Content_Type": "text/plain", "Origin": "https://evil.example"}),
            (415, {"Content_Type": "application/x-www-form-urlencoded"}),
            (415, {"Content_Type": "text/plain"}), (415, {"Content_Type": None}),
            (421, {"Host": "evil.example"}), (421, {"Host": f"evil.example:{Gate.web}"}),
            (421, {"Host": None}), (421, {"Host": "127.0.0.1.evil.example"})]:
        told = post("launch", LAUNCH, **{"Cookie": cookie, **fields})
        assert told[0] == status and "Living Room" not in told[1], (fields, told)
    for status, line in [
            (404, "GET /../etc/passwd"), (404, "GET /%2e%2e/%2e%2e/etc/passwd"), (404, "GET //etc/passwd"),
            (404, "GET /api/v1/../../etc/passwd"), (404, "GET /api/v1/packages/..%2f/icon/phone/x"),
            (404, "GET /api/v1/packages/..%2F..%2Fetc%2Fpasswd/icon/phone"), (404, "GET /index.html"),
            (405, "GET /api/v1/launch"), (405, "PUT /api/v1/launch"), (405, "POST /"), (200, "HEAD /")]:
        assert exchange(head(line, Cookie=cookie, Origin=f"https://{OWN}"))[0] == status, line
    assert post("pair", {}, Content_Type=None)[0] == 415
    assert "<cmd>Launch" not in daemon.log()
    assert post("launch", LAUNCH, Cookie=f"a=b; {cookie}")[0] == 204
    assert "<cmd>Launch" in daemon.log()
    status = head("GET /api/v1/status", Cookie=cookie)
    wait_until(lambda: '"package":"Player"' in exchange(status)[1])
    assert '"title":"Torvik","package":null' in exchange(status)[1]


def test_what_is_no_request(daemon, start_gate):
    """Each is followed by a request, which whoever stands in front may take for the body: it must not
    be answered."""
    gate = start_gate(seconds="request = 1")
    cookie = paired(gate)
    behind = head("GET /api/v1/status", Cookie=cookie)
    kept = {"Connection": None}
    for status, sent in [
            (400, head("POST /api/v1/launch", Content_Length=5, Transfer_Encoding="chunked", **kept)),
            (400, head("POST /api/v1/launch", Transfer_Encoding="chunked", **kept) + b"0\r\n\r\n"),
            (400, head("GET /", Transfer_Encoding="x, chunked", **kept) + b"0\r\n\r\n"),
            (400, head("GET /", Transfer_Encoding="xchunked", **kept)),
            (400, head("GET /", Transfer_Encoding="chunked, identity", **kept)),
            (400, head("GET /", Content_Length="0\r\nContent-Length: 9", **kept)),
            (400, head("GET /", Content_Length="+5", **kept)),
            (400, head("GET /", Content_Length="5, 6", **kept)),
            (400, head("GET /", Host=f"{OWN}\r\nHost: evil.example", **kept)),
            (400, head("GET /", Host=OWN).replace(b"\r\n", b"\n")),
            (400, head("GET /").replace(b"Host:", b"Host :")),
            (400, head("GET /", X="a\r\n b:\0")), (400, b"\x16\x03\x01\x02\x00" * 9),
            (413, head("POST /api/v1/launch", Content_Length=MUCH) + b"x" * MUCH),
            (413, head("GET /", X="x" * MUCH))]:
        told = exchange(sent + behind)
        assert told[0] in (status, 0) and '"windows"' not in told[1], (sent[:200], told)
    slow = [opened() for _ in range(4)] + [opened(plain=True)]
    for sent in head("GET /").decode():
        with contextlib.suppress(ConnectionError, ssl.SSLError):
            for client in slow:
                client.sendall(sent.encode())
        time.sleep(0.02)
    assert not any(receive(client).startswith(b"HTTP/1.1 200") for client in slow[:4])
    assert exchange(behind)[0] == 200


def test_a_thousand_streams(desktop, daemon, start_gate):
    """Behind a proxy of one's own, which the gate takes for as many clients as it has addresses."""
    most = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
    resource.setrlimit(resource.RLIMIT_NOFILE, (most, most))
    gate = start_gate(web="plain = true")
    cookies = [paired(gate, plain=True) for _ in range(126)]

    def watch(number):
        client = opened(plain=True, source=f"127.0.1.{number // 16 + 1}")
        client.sendall(head("GET /api/v1/events", Cookie=cookies[number // 8]))
        return client

    with contextlib.ExitStack() as stack:
        streams = [stack.enter_context(watch(number)) for number in range(1000)]
        for stream in streams:
            assert b"text/event-stream" in receive(stream, lambda data: b"event: state" in data)
        with watch(0) as seventeenth:
            assert receive(seventeenth) == b""
        ninth = exchange(head("GET /api/v1/events", Cookie=cookies[0]), plain=True)
        assert ninth[0] == 429 and "too-many-streams" in ninth[1]
        assert post("launch", {"package": "Clock"}, plain=True, Cookie=cookies[125],
                    Origin=f"http://{OWN}")[0] == 204
        for stream in streams:
            receive(stream, lambda data: b'"package":"Clock"' in data)
        gate.process.send_signal(signal.SIGTERM)
        for stream in streams:
            receive(stream)
        assert gate.process.wait(30) == 0


def make_certificate(folder, name):
    files = folder / f"{name}.pem", folder / f"{name}.key"
    assert run("openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
               "-nodes", "-subj", f"/CN={name}", "-out", files[0], "-keyout", files[1]).returncode == 0
    return files


@pytest.mark.usefixtures("daemon")
def test_certificate_of_the_file(start_gate, tmp_path):
    def shown():
        return ssl.get_server_certificate(("127.0.0.1", Gate.web)).strip()

    def reload(told):
        before = gate.log().count(told)
        gate.process.send_signal(signal.SIGHUP)
        wait_until(lambda: gate.log().count(told) > before)

    first, second = (make_certificate(tmp_path, name) for name in ("first", "second"))
    own = Path(first[0]).read_text().strip(), Path(second[0]).read_text().strip()
    gate = start_gate(web=f'certificate = "{first[0]}"\nkey = "{first[1]}"')
    assert shown() == own[0]
    for broken in ("no certificate", own[1]):  # the other's does not fit the key
        first[0].write_text(broken)
        reload("settings in force stay")
        assert shown() == own[0]
    gate.configure(web=f'certificate = "{second[0]}"\nkey = "{second[1]}"\nstrict = true')
    reload("settings read again")
    assert shown() == own[1]
    assert "Strict-Transport-Security: max-age" in exchange(head("GET /"))[1]
