"""The parts of the benchmark: each measures its rounds and returns them as plain data.

A round is a dictionary from the name of a figure to a number. Within a round the subjects take
turns, so that a ratio compares the same moments. report.py knows what the figures mean.
"""

import concurrent.futures
import contextlib
import json
import pathlib
import re
import time

from stack import BUILT, DAEMON_CHANNEL, INSTANCE, PROGRAMS, Failure, Stack, run, wait_until

CLIENTS = (1, 8, 64)
LOAD = PROGRAMS / "orvane_bench_load"


class Scale:
    """The amount of work in a round."""

    def __init__(self, quick):
        self.reads = 300 if quick else 5000
        self.updates = 20 if quick else 200
        self.turns = 2 if quick else 5
        self.seconds = 0.3 if quick else 1.5
        self.web_seconds = 1 if quick else 2  # whole ones
        self.blocks = 2 if quick else 30
        self.idle_seconds = 2 if quick else 30
        self.counted = 100 if quick else 500


def load(stack, channel, clients, *options):
    """Runs a load; fails unless every request was answered once, with "Success"."""
    text = run([LOAD, "--socket", stack.socket, "--channel", channel, "--instance", INSTANCE,
                "--clients", clients, *options])
    return json.loads(text)


def processor_nanoseconds(pid):
    """Processor time that the threads of a process have used so far."""
    return sum(int((task / "schedstat").read_text().split()[0])
               for task in pathlib.Path(f"/proc/{pid}/task").iterdir())


def measured_load(stack, process, channel, clients, requests):
    """Like load(), with the subject's processor time per request."""
    warm_up = max(200, 2 * clients)
    before = processor_nanoseconds(process.pid)
    figures = load(stack, channel, clients, "--requests", requests, "--warm-up", warm_up)
    used = processor_nanoseconds(process.pid) - before
    figures["processor"] = used / 1000 / (requests + warm_up)
    return figures


def put(result, subject, clients, figures):
    for name in ("p50", "p99", "p999", "rate", "processor"):
        if name in figures:
            result[f"{subject}/{clients}/{name}"] = figures[name]


def bare_programs(stack):
    """Names, by the round trips of a read, and options."""
    return {"bare-3": (), "bare-4": ("--scale",),
            "bare-unit": ("--scale", "--unit", stack.unit_address)}


def read_round(stack, bares, scale):
    """Each mode of the daemon beside the bare programs that it is compared with."""
    result = {}
    for mode, compared in ((1, ("bare-3", "bare-4")), (0, ("bare-4", "bare-unit"))):
        with stack.daemon(mode) as daemon:
            for clients in CLIENTS:
                for name in compared:
                    put(result, f"{name}@{mode}", clients,
                        measured_load(stack, bares[name], name, clients, scale.reads))
                put(result, f"daemon@{mode}", clients,
                    measured_load(stack, daemon, DAEMON_CHANNEL, clients, scale.reads))
    return result


def reads(which, rounds, scale):
    with Stack(which) as stack, contextlib.ExitStack() as exits:
        bares = {name: exits.enter_context(stack.bare(name, *options))
                 for name, options in bare_programs(stack).items()}
        return [read_round(stack, bares, scale) for _ in range(rounds)]


def reads_one(rounds, scale):
    return reads("one", rounds, scale)


def reads_all(rounds, scale):
    return reads("all", rounds, scale)


def fresh(rounds, scale):
    results = []
    with Stack("one") as stack, stack.daemon(1):
        for _ in range(rounds):
            figures = json.loads(run([PROGRAMS / "orvane_bench_fresh", "--socket", stack.socket,
                                      "--instance", INSTANCE, "--blocks", scale.blocks]))
            results.append({f"{way}/{name}": figures[way][name]
                            for way in ("bare", "client", "bare_in_two")
                            for name in ("p50", "p99", "p999")})
    return results


def median(values):
    ordered = sorted(values)
    middle = len(ordered) // 2
    return ordered[middle] if len(ordered) % 2 else (ordered[middle - 1] + ordered[middle]) / 2


def update_round(stack, bare, daemon, scale):
    """Takes the median of short turns, because the speed of a disk varies within seconds."""
    turns = {"bare": [], "daemon": []}
    for _ in range(scale.turns):
        for subject, process, channel in (("bare", bare, "bare-update"),
                                          ("daemon", daemon, DAEMON_CHANNEL)):
            before = processor_nanoseconds(process.pid)
            figures = load(stack, channel, 1, "--updates", "--requests", scale.updates)
            figures["processor"] = ((processor_nanoseconds(process.pid) - before) / 1000
                                    / scale.updates)
            turns[subject].append(figures)
    return {f"{subject}/{name}": median([each[name] for each in done])
            for subject, done in turns.items() for name in ("p50", "p99", "rate", "processor")}


def updates(rounds, scale):
    with Stack("one") as stack, stack.daemon(1, pauses=False) as daemon:
        copy = stack.folder / "copy.db"
        run(["sqlite3", stack.database, f".backup {copy}"])
        with stack.bare("bare-update", "--database", copy) as bare:
            return [update_round(stack, bare, daemon, scale) for _ in range(rounds)]


def reads_beside_updates(stack, clients, scale):
    """A load of reads while another requester sends updates back to back."""
    with concurrent.futures.ThreadPoolExecutor(1) as executor:
        outcome = executor.submit(load, stack, DAEMON_CHANNEL, 1, "--updates",
                                  "--seconds", scale.seconds + 0.4)
        time.sleep(0.1)
        figures = load(stack, DAEMON_CHANNEL, clients, "--seconds", scale.seconds,
                       "--warm-up", 100)
    if not outcome.result()["answered"]:
        raise Failure("no update was answered beside the reads")
    figures["updates"] = outcome.result()["answered"]
    return figures


def mixed(rounds, scale):
    results = [{} for _ in range(rounds)]
    for pauses in (True, False):
        with Stack("one") as stack, stack.daemon(1, pauses=pauses):
            for result in results:
                for clients in (1, 8):
                    key = f"{'paced' if pauses else 'unpaced'}/{clients}"
                    idle = load(stack, DAEMON_CHANNEL, clients, "--seconds", scale.seconds,
                                "--warm-up", 100)
                    busy = reads_beside_updates(stack, clients, scale)
                    for name in ("p50", "p99", "p999"):
                        result[f"{key}/idle/{name}"] = idle[name]
                        result[f"{key}/busy/{name}"] = busy[name]
                    result[f"{key}/updates"] = busy["updates"]
    return results


def startup(rounds, scale):
    del scale
    results = []
    with Stack("one") as stack:
        taken = stack.folder / "started"
        wrapper = (PROGRAMS / "orvane_bench_start", taken, "/tmp/run/Stidre.run")
        with stack.daemon(1):
            pass  # the first start creates the database
        for _ in range(rounds):
            result = {}
            for name, pauses in (("work", False), ("whole", True)):
                taken.unlink(missing_ok=True)
                with stack.daemon(1, pauses=pauses, wrapper=wrapper):
                    wait_until(lambda: taken.exists() and taken.read_text().endswith("\n"),
                               "the time of the start-up")
                result[name] = float(taken.read_text()) / 1000
            results.append(result)
    return results


def memory(pid):
    """KiB by kind."""
    text = pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text()
    sizes = {name: int(size) for name, size in re.findall(r"^(\w+):\s+(\d+) kB", text, re.M)}
    return {"resident": sizes["Rss"], "proportional": sizes["Pss"],
            "private": sizes["Private_Clean"] + sizes["Private_Dirty"],
            "private dirty": sizes["Private_Dirty"]}


def context_switches(pid):
    count = 0
    for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
        text = (task / "status").read_text()
        count += sum(int(number) for number in
                     re.findall(r"ctxt_switches:\s+(\d+)", text))
    return count


def stripped_sizes():
    result = {}
    for file in sorted((BUILT / "stripped").iterdir()):
        if file.suffix != ".debug" and file.name.startswith(("orvane-webgui", "lib")):
            result[f"size/{file.name}"] = file.stat().st_size / 1024
    if "size/orvane-webgui" not in result:
        raise Failure("the stripped daemon is missing; run: cmake --build build/release --target stripped")
    return result


def footprint(rounds, scale):
    """Always one round: sizes and counts have hardly any noise."""
    del rounds
    result = stripped_sizes()
    with Stack("one") as stack, stack.daemon(0) as daemon:
        result.update({f"memory/start/{name}": size for name, size in memory(daemon.pid).items()})
        load(stack, DAEMON_CHANNEL, 8, "--requests", scale.reads)
        load(stack, DAEMON_CHANNEL, 1, "--updates", "--requests", 3)
        result.update({f"memory/used/{name}": size for name, size in memory(daemon.pid).items()})
        result["threads"] = len(list(pathlib.Path(f"/proc/{daemon.pid}/task").iterdir()))
        before = context_switches(daemon.pid)
        time.sleep(scale.idle_seconds)
        result["idle seconds"] = scale.idle_seconds
        result["idle switches"] = context_switches(daemon.pid) - before
    return [result]


def counting_command(tool, report):
    if tool == "callgrind":
        return ("valgrind", "--tool=callgrind", f"--callgrind-out-file={report}",
                f"--log-file={report}.log")
    # Daemonized, the tracer leaves its process to the traced program and ends after it.
    return ("strace", "--daemonize", "--follow-forks", "--summary-only",
            "--summary-columns=calls,name", f"--output={report}")


def parse_counts(tool, text):
    """Counts by name; empty while the report is incomplete."""
    if tool == "callgrind":
        total = re.search(r"^(?:totals|summary): (\d+)", text, re.M)
        return {"instructions": int(total.group(1))} if total else {}
    lines = re.findall(r"^\s*(\d+)\s+(\w+)$", text, re.M)
    whole = any(name == "total" for _, name in lines)
    return {name: int(calls) for calls, name in lines if name != "total"} if whole else {}


def counted(stack, subject, tool, requests):
    """What a tool counts over a whole run of a subject with this many reads."""
    report = stack.folder / "counts"
    report.unlink(missing_ok=True)
    wrapper = counting_command(tool, report)
    if subject.startswith("daemon"):
        context, channel = stack.daemon(int(subject[-1]), wrapper=wrapper), DAEMON_CHANNEL
    else:
        options = bare_programs(stack)[subject]
        context, channel = stack.bare(subject, *options, wrapper=wrapper), subject
    with context:
        load(stack, channel, 1, "--requests", requests)
    wait_until(lambda: report.exists() and parse_counts(tool, report.read_text()), "the counts")
    return parse_counts(tool, report.read_text())


def counts(rounds, scale):
    """Per read: the difference of runs with N and 2 N reads, in which start and end cancel out."""
    del rounds
    result = {}
    with Stack("one") as stack:
        for subject in ("daemon@1", "bare-3", "daemon@0", "bare-unit"):
            for tool in ("callgrind", "strace"):
                once = counted(stack, subject, tool, scale.counted)
                twice = counted(stack, subject, tool, 2 * scale.counted)
                for name in sorted(twice):
                    each = (twice[name] - once.get(name, 0)) / scale.counted
                    if each >= 0.01:
                        result[f"{subject}/{name}"] = each
    return [result]


PARTS = {
    "reads-one": reads_one,
    "reads-all": reads_all,
    "fresh": fresh,
    "updates": updates,
    "mixed": mixed,
    "startup": startup,
    "footprint": footprint,
    "counts": counts,
}
