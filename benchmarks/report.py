"""The report: what the figures of parts.py mean, their goals, tables and charts.

Every number is the median of the rounds, with minimum and maximum in brackets; ratios are taken
within each round first.
"""

import plots
import redfish_report
from figures import Goal, column, number, ratio, spread, table
from parts import CLIENTS, median

READS = (
    # name in parts.py, label
    ("bare-4@1", "bare, 4 round trips"),
    ("bare-3@1", "bare, mode 1's 3 round trips"),
    ("daemon@1", "daemon, mode 1"),
    ("bare-unit@0", "bare, 4 round trips and the unit"),
    ("daemon@0", "daemon, mode 0"),
)


def read_goals(rounds):
    pairs = (("daemon@1", "bare-4@1", "mode 1 / bare"),
             ("daemon@1", "bare-3@1", "mode 1 / bare with its commands only"),
             ("daemon@0", "bare-4@0", "mode 0 / bare, which asks no unit"),
             ("daemon@0", "bare-unit@0", "mode 0 / bare with its commands and the unit"))
    goals = [Goal("reads-one", f"read, 1 client, p50: {label}",
                  ratio(rounds, f"{above}/1/p50", f"{below}/1/p50"), 1.10)
             for above, below, label in pairs]
    goals += [Goal("reads-one", f"reads, 64 clients, requests/s: {label}",
                   ratio(rounds, f"{above}/64/rate", f"{below}/64/rate"), 1.0, at_least=True)
              for above, below, label in pairs]
    return goals


def goals_of(results):
    """The goals whose part was measured."""
    makers = {
        "reads-one": read_goals,
        "fresh": lambda rounds: [
            Goal("fresh", "fresh read, p50: client / bare", ratio(rounds, "client/p50", "bare/p50"),
                 1.1)],
        "updates": lambda rounds: [
            Goal("updates", "update without its pauses, p50: daemon / bare",
                 ratio(rounds, "daemon/p50", "bare/p50"), 1.2)],
        "mixed": lambda rounds: [
            Goal("mixed", f"reads beside updates, {clients} in flight, p99: busy / idle",
                 ratio(rounds, f"paced/{clients}/busy/p99", f"paced/{clients}/idle/p99"), 1.5)
            for clients in (1, 8)],
        "footprint": lambda rounds: [
            Goal("footprint", "size of the daemon, stripped", column(rounds, "size/orvane-webgui"),
                 200, " KiB"),
            Goal("footprint", "private memory, after use", column(rounds, "memory/used/private"),
                 4096, " KiB"),
            Goal("footprint", "context switches while idle", column(rounds, "idle switches"), 0)],
        "startup": lambda rounds: [
            Goal("startup", "start-up without its pauses", column(rounds, "work"), 15, " ms")],
        "redfish": redfish_report.goals,
    }
    return [goal for part, maker in makers.items() if part in results
            for goal in maker(results[part]["rounds"])]


def section_of_reads(rounds):
    rows = []
    for clients in CLIENTS:
        for name, label in READS:
            key = f"{name}/{clients}"
            rows.append([f"{clients} in flight: {label}"]
                        + [spread(column(rounds, f"{key}/{figure}"))
                           for figure in ("p50", "p99", "p999", "rate", "processor")])
    return table(["", "p50 us", "p99 us", "p99.9 us", "requests/s", "its processor us/request"],
                 rows)


def section_of_fresh(rounds):
    ways = (("bare", "bare: HGETALL and EXISTS in one round trip"), ("client", "client library"),
            ("bare_in_two", "bare: one after the other"))
    return table(["", "p50 us", "p99 us", "p99.9 us"],
                 [[label] + [spread(column(rounds, f"{way}/{name}"))
                             for name in ("p50", "p99", "p999")] for way, label in ways])


def section_of_updates(rounds):
    return table(["", "p50 us", "p99 us", "requests/s", "its processor us/request"],
                 [[subject] + [spread(column(rounds, f"{subject}/{name}"))
                               for name in ("p50", "p99", "rate", "processor")]
                  for subject in ("bare", "daemon")])


def section_of_mixed(rounds):
    rows = []
    for pace, label in (("paced", ""), ("unpaced", ", updates without pauses")):
        for clients in (1, 8):
            for state in ("idle", "busy"):
                key = f"{pace}/{clients}/{state}"
                if (pace, state) == ("unpaced", "idle"):
                    continue
                rows.append([f"{clients} in flight, "
                             + ("beside updates" + label if state == "busy" else "alone")]
                            + [spread(column(rounds, f"{key}/{name}"))
                               for name in ("p50", "p99", "p999")]
                            + [spread(column(rounds, f"{pace}/{clients}/updates"))
                               if state == "busy" else ""])
    return table(["", "p50 us", "p99 us", "p99.9 us", "updates meanwhile"], rows)


def section_of_startup(rounds):
    return table(["", "ms"], [["exec to run marker, without the pauses",
                               spread(column(rounds, "work"))],
                              ["exec to run marker", spread(column(rounds, "whole"))]])


def section_of_footprint(rounds):
    figures = rounds[0]
    rows = [[name.removeprefix("size/") + ", stripped", number(figures[name]) + " KiB"]
            for name in sorted(figures, reverse=True) if name.startswith("size/")]
    rows += [[f"memory {when}: {kind}", number(figures[f"memory/{moment}/{kind}"]) + " KiB"]
             for moment, when in (("start", "after the start"), ("used", "after use"))
             for kind in ("resident", "proportional", "private", "private dirty")]
    rows += [["threads", number(figures["threads"])],
             [f"context switches in {figures['idle seconds']} s idle",
              number(figures["idle switches"])]]
    return table(["", ""], rows)


def section_of_counts(rounds):
    figures = rounds[0]
    subjects = ("bare-3", "daemon@1", "bare-unit", "daemon@0")
    names = sorted({key.split("/")[1] for key in figures} - {"instructions"})
    rows = [["instructions"] + [number(figures[f"{each}/instructions"]) for each in subjects]]
    totals = [sum(figures.get(f"{each}/{name}", 0) for name in names) for each in subjects]
    rows.append(["system calls"] + [number(total) for total in totals])
    rows += [[f"- {name}"] + [number(figures[f"{each}/{name}"]) if f"{each}/{name}" in figures
                              else "" for each in subjects] for name in names]
    return table(["for one read", "bare, 3 round trips", "daemon, mode 1",
                  "bare, 4 round trips and the unit", "daemon, mode 0"], rows)


SECTIONS = {
    "reads-one": ("Reads, all processes on one core", section_of_reads),
    "reads-all": ("Reads, all cores", section_of_reads),
    "fresh": ("Fresh reads, one core", section_of_fresh),
    "updates": ("Updates without their pauses, one core", section_of_updates),
    "mixed": ("Reads while updates run back to back, one core", section_of_mixed),
    "startup": ("Start-up, one core", section_of_startup),
    "footprint": ("Footprint", section_of_footprint),
    "counts": ("Instructions and system calls", section_of_counts),
}

# File: its heading, its sections, its chart of ratios. Each is written when a part of it was
# measured, so that one can be recorded without the other.
REPORTS = {
    "RESULTS.md": ("Results", SECTIONS, "ratios.svg"),
    "REDFISH.md": ("Results of the Redfish service", redfish_report.SECTIONS,
                   "redfish-ratios.svg"),
}


def read_chart(title, rounds):
    def summary(key):
        values = column(rounds, key)
        return median(values), min(values), max(values)
    labels = [label for _, label in READS]
    rates = [[summary(f"{name}/{clients}/rate") for clients in CLIENTS] for name, _ in READS]
    latencies = [[summary(f"{name}/1/{figure}") for figure in ("p50", "p99", "p999")]
                 for name, _ in READS]
    return plots.two_panels(title, [
        ("requests/s, by clients in flight", [str(clients) for clients in CLIENTS], rates),
        ("latency of one client, us", ["p50", "p99", "p99.9"], latencies)], labels)


def charts(results, goals, name_of_ratios):
    """File name to SVG."""
    made = {}
    shown = [goal for goal in goals if not goal.unit and goal.limit > 0]
    if shown:
        made[name_of_ratios] = plots.ratios("Ratios and their goals", [
            (goal.label, goal.values, median(goal.values), goal.limit, goal.is_met)
            for goal in shown])
    for part in ("reads-one", "reads-all"):
        if part in results:
            made[f"{part}.svg"] = read_chart(SECTIONS[part][0], results[part]["rounds"])
    return made


def source_of(result):
    rounds = len(result["rounds"])
    return f"commit {result['commit']}, {result['date']}, " + \
        (f"{rounds} rounds" if rounds > 1 else "once")


def goal_table(goals, baseline):
    firsts = {goal.label: goal for goal in goals_of(baseline)}
    return table(["", "at first", "measured", "goal", "met"],
                 [goal.row(firsts.get(goal.label)) for goal in goals])


def write_one(name, results, baseline, folder):
    """As write(), of one report, from the results of its parts only."""
    heading, sections, name_of_ratios = REPORTS[name]
    goals = goals_of(results)
    text = [f"# {heading}", "",
            "Made by `script/bench`; see [README.md](README.md) for how to read it. Each figure is "
            "the median of the rounds, the least and the greatest of them in brackets.", ""]
    for machine in sorted({result["machine"] for result in results.values()}):
        text += [f"Machine: {machine}.", ""]
    text += ["## Goals", "",
             goal_table(goals, baseline)]
    made = charts(results, goals, name_of_ratios)
    if name_of_ratios in made:
        text += [f"![Ratios and their goals]({name_of_ratios})", ""]
    for part, result in results.items():
        title, section = sections[part]
        text += [f"## {title}", "", f"`script/bench {part}`: {source_of(result)}.", "",
                 section(result["rounds"])]
        if f"{part}.svg" in made:
            text += [f"![{title}]({part}.svg)", ""]
    folder.mkdir(parents=True, exist_ok=True)
    (folder / name).write_text("\n".join(text).rstrip("\n") + "\n")
    for file, svg in made.items():
        (folder / file).write_text(svg)
    return [name, *made]


def write(results, baseline, folder):
    """Makes the reports and their charts in the folder, of all parts that were measured, and gives
    their names. `baseline`: the results of the first version that was measured, as far as there
    are some."""
    written = []
    for name, (_, sections, _) in REPORTS.items():
        measured = {part: results[part] for part in sections if part in results}
        if measured:
            written += write_one(name, measured, baseline, folder)
    return written
