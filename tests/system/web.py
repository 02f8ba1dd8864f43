"""What the tests use of the web door: a paired device that knows no browser."""
import http.client
import json
import ssl


class Device:
    """Sends requests as a paired device does; headers of a request may be replaced."""
    host = "127.0.0.1:9880"

    def __init__(self, gate=None):
        self.headers = {"Content-Type": "application/json", "Origin": f"https://{self.host}"}
        if gate:
            answer = self.ask("POST", "/api/v1/pair", json.dumps({"code": gate.code()}))
            self.headers["Cookie"] = answer.headers["Set-Cookie"].partition(";")[0]

    def connect(self):
        return http.client.HTTPSConnection(self.host, timeout=20,
                                           context=ssl._create_unverified_context())  # pylint: disable=protected-access

    def ask(self, method, path, body=None, **headers):
        """The answer, with its content in `content`."""
        connection = self.connect()
        connection.request(method, path, body, {**self.headers, **headers})
        answer = connection.getresponse()
        answer.content = answer.read()
        connection.close()
        return answer
