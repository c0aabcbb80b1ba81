"""The report's sections and goals on the Redfish service."""

from figures import Goal, column, number, ratio, spread, table
from parts import CLIENTS
from redfish_parts import STREAMS

SERVERS = (
    # name in redfish_parts.py, label
    ("nginx", "nginx, a file"),
    ("front", "orvane-redfish"),
    ("nginx-tls", "nginx, a file, TLS"),
    ("front-tls", "orvane-redfish, TLS"),
)


def name_of(connections):
    return f"{connections} connection{'s' if connections > 1 else ''}"


def goals(rounds):
    made = []
    for connections in CLIENTS:
        where = name_of(connections)
        made.append(Goal("redfish", f"GET, {where}, requests/s: orvane-redfish / nginx",
                         ratio(rounds, f"front/{connections}/rate", f"nginx/{connections}/rate"),
                         0.5, at_least=True))
        made.append(Goal("redfish", f"GET, {where}, p99: orvane-redfish / nginx",
                         ratio(rounds, f"front/{connections}/p99", f"nginx/{connections}/p99"), 3))
    return made


def section_of_gets(rounds):
    rows = [[f"{name_of(connections)}: {label}"]
            + [spread(column(rounds, f"{name}/{connections}/{figure}"))
               for figure in ("p50", "p99", "p999", "rate", "processor")]
            for connections in CLIENTS for name, label in SERVERS]
    totals = {name: sum(column(rounds, name)) for name in ("gets", "seconds", "lookups", "reads")}
    ratios = [[f"{name_of(connections)}, {kind}"]
              + [spread(ratio(rounds, f"front{tail}/{connections}/{figure}",
                              f"nginx{tail}/{connections}/{figure}"))
                 for figure in ("p50", "p99", "rate", "processor")]
              for connections in CLIENTS for kind, tail in (("in clear", ""), ("TLS", "-tls"))]
    return "\n".join([
        table(["", "p50 us", "p99 us", "p99.9 us", "requests/s", "its processor us/request"], rows),
        table(["orvane-redfish / nginx", "p50", "p99", "requests/s", "its processor"], ratios),
        f"For the {number(totals['gets'])} answers of orvane-redfish in "
        f"{number(totals['seconds'])} s the store was looked at {number(totals['lookups'])} times, "
        f"and the daemon asked {number(totals['reads'])} times.\n"])


def section_of_changes(rounds):
    subjects = (("daemon", "update of the daemon, through the store"),
                ("front", "PATCH, in clear"), ("front-tls", "PATCH, TLS"))
    rows = [[label] + [spread(column(rounds, f"{name}/{figure}"))
                       for figure in ("p50", "p99", "rate")]
            + ["" if name == "daemon" else
               spread([each[f"{name}/p50"] / each["daemon/p50"] for each in rounds])]
            for name, label in subjects]
    return table(["", "p50 us", "p99 us", "requests/s", "/ the update, p50"], rows)


def section_of_streams(rounds):
    rows = []
    for name, label in (("clear", "in clear"), ("tls", "TLS")):
        rows.append([label] + [spread(column(rounds, f"{name}/{figure}"))
                               for figure in ("before", "opened", "used", "first", "last")])
    return table(["", "private memory before, KiB", "for a stream, open, KiB",
                  "for a stream, after events, KiB", "event at the first, ms",
                  f"event at all {STREAMS}, ms"], rows)


SECTIONS = {
    "redfish": ("Redfish: GET of the resource", section_of_gets),
    "redfish-changes": ("Redfish: PATCH without the daemon's pauses, one after the other",
                        section_of_changes),
    "redfish-streams": (f"Redfish: {STREAMS} event streams", section_of_streams),
}
