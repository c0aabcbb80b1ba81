"""The servers of the Redfish parts: orvane-redfish and, as the limit, nginx with the same bytes in a
file. Both listen on loopback and end with their context.

The servers have one processor to themselves; the load, redis and the daemon share the others.
"""

import base64
import contextlib
import http.client
import json
import shutil
import socket
import ssl
import time

from stack import ROOT, Failure, processors, run

HOST = "127.0.0.1"
WEBGUI = "/redfish/v1/Managers/Controller/Oem/Orvane/WebGUI"
WRK_REPORT = ROOT / "benchmarks" / "wrk_report.lua"
UNPACKED_NGINX = ROOT / "build" / "nginx" / "usr" / "sbin" / "nginx"
# Headers that nginx makes itself.
OWN_HEADERS = ("date", "content-type", "content-length", "connection", "etag")


def pinned_command(*command):
    """The command, pinned to the servers' processor."""
    return ["taskset", "--cpu-list", str(min(processors("one"))), *command]


def tls_of_a_client():
    context = ssl.create_default_context()
    context.check_hostname = False
    context.verify_mode = ssl.CERT_NONE
    return context


class WebServer:
    """A running server: its process, its address, and a session's token."""

    def __init__(self, process, port, is_clear=True, token=""):
        self.process = process
        self.port = port
        self.is_clear = is_clear
        self.token = token

    def url(self, path):
        return f"http{'' if self.is_clear else 's'}://{HOST}:{self.port}{path}"

    def connection(self):
        if self.is_clear:
            return http.client.HTTPConnection(HOST, self.port, timeout=30)
        return http.client.HTTPSConnection(HOST, self.port, timeout=30, context=tls_of_a_client())

    def ask(self, method, path, body=None, headers=None):
        """One request on its own connection; returns the answer's headers and body."""
        with contextlib.closing(self.connection()) as connection:
            connection.request(method, path, body, {"X-Auth-Token": self.token, **(headers or {})})
            answer = connection.getresponse()
            content = answer.read()
            if answer.status >= 300:
                raise Failure(f"{method} {path}: {answer.status}: {content[:500]!r}")
            return answer.headers, content


def sign_in(server, password):
    basic = base64.b64encode(f"admin:{password}".encode()).decode()
    body = json.dumps({"UserName": "admin", "Password": password})
    headers, _ = server.ask("POST", "/redfish/v1/SessionService/Sessions", body,
                            {"Authorization": f"Basic {basic}", "X-Auth-Token": "",
                             "Content-Type": "application/json"})
    server.token = headers["X-Auth-Token"]


def state_of(stack, name):
    """The folder with a front's accounts, password and certificate."""
    return stack.folder / name / "redfish"


@contextlib.contextmanager
def front(stack, name, is_clear, wrapper=()):
    """A context with orvane-redfish, its limits lifted, and a session."""
    part = stack.part("redfish", run=stack.folder / name, wrapper=pinned_command(*wrapper))
    more = ["--request-rate", "0", "--max-connections-per-address", "1000",
            *(("--clear-text",) if is_clear else ())]
    with stack.running_part(part, more=more, name=name) as process:
        server = WebServer(process, int(part.address.rpartition(":")[2]), is_clear)
        sign_in(server, (state_of(stack, name) / "first-password").read_text().strip())
        server.ask("GET", WEBGUI)
        yield server


def free_ports(count):
    with contextlib.ExitStack() as exits:
        sockets = [exits.enter_context(socket.socket()) for _ in range(count)]
        for each in sockets:
            each.bind((HOST, 0))
        return [each.getsockname()[1] for each in sockets]


def nginx_configuration(folder, ports, headers, state):
    """One worker that keeps the file open, logs nothing and never closes a connection. With a single
    process, nothing survives however it ends."""
    added = "\n".join(f'add_header {name} "{value}";' for name, value in headers.items()
                      if name.lower() not in OWN_HEADERS)
    temporary = "\n".join(f"{kind}_temp_path {folder}/{kind};" for kind in (
        "client_body", "proxy", "fastcgi", "uwsgi", "scgi"))
    return f"""
daemon off; master_process off; pid {folder}/pid; error_log stderr;
events {{ worker_connections 1024; }}
http {{
    access_log off; sendfile on; tcp_nopush on; tcp_nodelay on; keepalive_requests 1000000000;
    open_file_cache max=10; open_file_cache_valid 1h; server_tokens off;
    default_type "{headers['Content-Type']}";
    {temporary}
    server {{
        listen {HOST}:{ports[0]};
        listen {HOST}:{ports[1]} ssl;
        ssl_certificate {state}/certificate.pem;
        ssl_certificate_key {state}/key.pem;
        root {folder}/files;
        {added}
    }}
}}
"""


@contextlib.contextmanager
def nginx(stack, headers, content, state):
    """A context with nginx serving the bytes at the resource's address, in clear and over TLS with the
    certificate in `state`."""
    program = shutil.which("nginx") or UNPACKED_NGINX
    folder = stack.folder / "nginx"
    file = folder / "files" / WEBGUI[1:]
    file.parent.mkdir(parents=True)
    file.write_bytes(content)
    ports = free_ports(2)
    configuration = folder / "nginx.conf"
    configuration.write_text(nginx_configuration(folder, ports, headers, state))
    with stack.running("nginx", pinned_command(program, "-e", "stderr", "-p", folder, "-c",
                                               configuration)) as process:
        process.wait_until(lambda: is_listening(ports[0]), "its answer")
        servers = [WebServer(process, ports[0]), WebServer(process, ports[1], is_clear=False)]
        for each in servers:
            if each.ask("GET", WEBGUI)[1] != content:
                raise Failure("nginx serves different bytes than the resource")
        yield servers


def is_listening(port):
    with socket.socket() as probe:
        return probe.connect_ex((HOST, port)) == 0


def wrk(server, connections, seconds, *arguments):
    """Runs a load; fails unless every answer was right. Latencies in us."""
    text = run(["wrk", "--threads", "1", "--connections", connections, "--duration", f"{seconds}s",
                "--header", f"X-Auth-Token: {server.token}", "--script", WRK_REPORT,
                server.url(WEBGUI), "--", *arguments])
    figures = json.loads(text.rstrip().rpartition("\n")[2])
    if figures["failed"] or not figures["requests"]:
        raise Failure(f"{server.url(WEBGUI)}: {figures}")
    figures["rate"] = figures["requests"] / (figures["microseconds"] / 1e6)
    return figures


class Streams:
    """A context with open event streams of one server."""

    def __init__(self, server, count):
        self._server = server
        self._count = count
        self._exits = contextlib.ExitStack()
        self._sockets = []

    def __enter__(self):
        with contextlib.ExitStack() as exits:
            tls = None if self._server.is_clear else tls_of_a_client()
            for _ in range(self._count):
                self._sockets.append(exits.enter_context(self._open(tls)))
            self._exits = exits.pop_all()
        return self

    def __exit__(self, *exception):
        return self._exits.__exit__(*exception)

    @contextlib.contextmanager
    def _open(self, tls):
        with contextlib.closing(socket.create_connection((HOST, self._server.port), 30)) as plain:
            with tls.wrap_socket(plain) if tls else plain as stream:
                stream.sendall(f"GET /redfish/v1/EventService/SSE HTTP/1.1\r\nHost: {HOST}\r\n"
                               f"X-Auth-Token: {self._server.token}\r\n\r\n".encode())
                text = b""
                while b": events follow" not in text:
                    more = stream.recv(4096)
                    text += more
                    if not more or not text.startswith(b"HTTP/1.1 200 "[:len(text)]):
                        raise Failure(f"no event stream: {text!r}")
                yield stream

    def times_of(self, event, begin):
        """When each stream received the event, in ms since `begin` (time.monotonic()). The streams are
        read one after another, in the server's order."""
        times = []
        for stream in self._sockets:
            text = b""
            while event not in text or not text.endswith(b"\n\n"):
                more = stream.recv(65536)
                if not more:
                    raise Failure("an event stream has ended")
                text += more
            times.append((time.monotonic() - begin) * 1000)
        return times
