"""The parts of the benchmark that measure the Redfish service; see parts.py."""

import contextlib
import re
import socket
import time

from parts import CLIENTS, load, median, memory, processor_nanoseconds
from stack import DAEMON_CHANNEL, Failure, Stack
from web_servers import WEBGUI, Streams, front, nginx, state_of, wrk

STREAMS = 500
EVENTS = "Events:Zolan Event"


def calls_of(stack, command):
    """How often redis has run this command."""
    found = re.search(rf"cmdstat_{command}:calls=(\d+)", stack.redis("INFO", "commandstats"))
    return int(found.group(1)) if found else 0


def measured(server, connections, seconds):
    before = processor_nanoseconds(server.process.pid)
    figures = wrk(server, connections, seconds)
    used = processor_nanoseconds(server.process.pid) - before
    figures["processor"] = used / 1000 / figures["requests"]
    return figures


def get_round(stack, servers, seconds):
    result = {"lookups": 0, "reads": 0, "seconds": 0, "gets": 0}
    for connections in CLIENTS:
        for name, server in servers.items():
            looks, published = calls_of(stack, "pttl"), calls_of(stack, "publish")
            figures = measured(server, connections, seconds)
            for figure in ("p50", "p99", "p999", "rate", "processor"):
                result[f"{name}/{connections}/{figure}"] = figures[figure]
            if name.startswith("front"):
                result["lookups"] += calls_of(stack, "pttl") - looks
                # One read publishes twice: the request and its answer.
                result["reads"] += (calls_of(stack, "publish") - published) / 2
                result["seconds"] += seconds
                result["gets"] += figures["requests"]
    return result


def redfish(rounds, scale):
    with Stack("others") as stack, stack.daemon(1), \
            front(stack, "front", True) as clear, front(stack, "front-tls", False) as encrypted:
        headers, content = clear.ask("GET", WEBGUI)
        with nginx(stack, headers, content, state_of(stack, "front-tls")) as limits:
            servers = {"nginx": limits[0], "front": clear,
                       "nginx-tls": limits[1], "front-tls": encrypted}
            return [get_round(stack, servers, scale.web_seconds) for _ in range(rounds)]


def change_round(stack, clear, encrypted, scale):
    """A change of the brightness as an update through the store, and by PATCH, which causes the same
    update."""
    figures = {"daemon": load(stack, DAEMON_CHANNEL, 1, "--brightness-updates",
                              "--requests", scale.updates),
               "front": wrk(clear, 1, scale.web_seconds, "changes"),
               "front-tls": wrk(encrypted, 1, scale.web_seconds, "changes")}
    return {f"{subject}/{name}": each[name]
            for subject, each in figures.items() for name in ("p50", "p99", "rate")}


def redfish_changes(rounds, scale):
    with Stack("others") as stack, stack.daemon(1, pauses=False), \
            front(stack, "front", True) as clear, front(stack, "front-tls", False) as encrypted:
        return [change_round(stack, clear, encrypted, scale) for _ in range(rounds)]


EVENT = ("XADD", EVENTS, "*", "EventType", "ResourceUpdated", "Kind", "Event",
         "Message", "Resource updated", "MessageArgs.0", "WebGUI00",
         "MessageId", "Orvane.1.0.Msg000", "OriginOfCondition", "")


def send_event(connection):
    """Sends an event like the daemon's; returns its id and when it was sent."""
    begin = time.monotonic()
    connection.sendall(f"*{len(EVENT)}\r\n".encode()
                       + b"".join(f"${len(word)}\r\n{word}\r\n".encode() for word in EVENT))
    found = re.fullmatch(rb"\$\d+\r\n(\d+-\d+)\r\n", connection.recv(4096))
    if not found:
        raise Failure("redis has not taken an event")
    return found.group(1), begin


def stream_round(stack, name, is_clear, scale):
    result = {}
    # A new server each time, so that its memory holds nothing of earlier rounds.
    with front(stack, f"{name}-{time.monotonic_ns()}", is_clear) as server:
        wrk(server, 8, 1)
        pid = server.process.pid
        before = memory(pid)
        with Streams(server, STREAMS) as streams, \
                contextlib.closing(socket.socket(socket.AF_UNIX)) as store:
            store.connect(str(stack.socket))
            opened = memory(pid)
            times = []
            for _ in range(scale.turns):
                times.append(streams.times_of(*send_event(store)))
            used = memory(pid)
            result[f"{name}/first"] = median([each[0] for each in times])
            result[f"{name}/last"] = median([max(each) for each in times])
    result[f"{name}/before"] = before["private"]
    result[f"{name}/opened"] = (opened["private"] - before["private"]) / STREAMS
    result[f"{name}/used"] = (used["private"] - before["private"]) / STREAMS
    return result


def redfish_streams(rounds, scale):
    with Stack("others") as stack, stack.daemon(1):
        return [{**stream_round(stack, "clear", True, scale),
                 **stream_round(stack, "tls", False, scale)} for _ in range(rounds)]


PARTS = {
    "redfish": redfish,
    "redfish-changes": redfish_changes,
    "redfish-streams": redfish_streams,
}
