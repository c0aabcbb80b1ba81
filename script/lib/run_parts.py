"""What script/test starts: chooses parts, runs their steps as schedule.py allows, reports.

    run_parts.py [--list | --packages] [--all] [PART]...
"""

import datetime
import fcntl
import json
import os
import pathlib
import resource
import shlex
import sys
import time

import child
import progress
from parts import PARTS, PROCESSORS
from schedule import Schedule, seconds_left

ROOT = pathlib.Path(__file__).resolve().parents[2]
LOGS = ROOT / "build" / "test-logs"
KILL_AFTER_SECONDS = 3
NOT_RUN = 77  # the status of a script that cannot run here and says why


def chosen(arguments):
    """The parts that the arguments name; exits with status 2 if there is no such part."""
    if "--all" in arguments:
        rest = [argument for argument in arguments if argument != "--all"]
        if rest:
            usage_error(f"--all names every part; leave out {rest[0]}")
        return [part for part in PARTS if part.in_all]
    by_name = {part.name: part for part in PARTS}
    for name in arguments:
        if name not in by_name:
            usage_error(f"unknown option or part {name}; parts are {' '.join(by_name)}")
    return [part for part in PARTS if part.name in arguments or not arguments and part.default]


def usage_error(text):
    print(f"test: {text} (see script/test --help)", file=sys.stderr)
    sys.exit(2)


class Times:
    """When each step began last, how long it took and whether it passed; kept from run to run."""

    def __init__(self, file):
        self.file = file
        try:
            known = json.loads(file.read_text())
            self.steps = {name: run for name, run in known.items() if {"began", "seconds", "passed"} <= set(run)}
        except (OSError, ValueError, AttributeError, TypeError):
            self.steps = {}

    def seconds(self, name):
        return self.steps.get(name, {}).get("seconds")

    def note(self, name, seconds, passed):
        """It has ended just now."""
        self.steps[name] = {"began": round(time.time() - seconds, 1), "seconds": round(seconds, 1), "passed": passed}
        temporary = self.file.with_suffix(".new")
        temporary.write_text(json.dumps(self.steps, indent=1) + "\n")
        temporary.replace(self.file)


def list_parts(times):
    print("The parts, what each proves, and how long it took last, without waiting for other parts. Without")
    print("arguments run those with a *; --all runs all but debug.\n")
    for part in PARTS:
        runs = [times.steps.get(name) for name in {step.name for step in part.steps + part.beside}]
        if all(runs):
            word = "passed" if all(run["passed"] for run in runs) else "FAILED"
            when = datetime.datetime.fromtimestamp(max(run["began"] for run in runs))
            last = f"{progress.duration(busy_seconds(runs))}, {word}, {when:%Y-%m-%d %H:%M}"
        else:
            last = "never run to its end here" if any(runs) else "never run here"
        print(f"{'*' if part.default else ' '} {part.name:10} {part.proves}\n{'':13}{last}")


def busy_seconds(runs):
    """While at least one of them ran."""
    total = end = 0
    for run in sorted(runs, key=lambda run: run["began"]):
        total += max(0, run["began"] + run["seconds"] - max(run["began"], end))
        end = max(end, run["began"] + run["seconds"])
    return total


def findings(lines):
    """What to show of a step that failed without saying what failed."""
    lines = [line for line in lines if not progress.COUNTED.match(line)]
    for index, line in enumerate(lines):
        if "error:" in line or "warning:" in line or "FAILED" in line:
            return lines[max(0, index - 2):]
    return lines[-40:]


class Run:
    """One run of some parts."""

    def __init__(self, parts, times, display):
        sequences = [steps for part in parts for steps in (part.beside, part.steps)]
        self.schedule = Schedule(sequences, PROCESSORS)
        self.steps = len(self.schedule.waiting)
        self.parts, self.times, self.display = parts, times, display
        self.children = child.Children()
        self.active = {}  # child -> (step, progress, log file)
        self.failures, self.skipped, self.not_run, self.tests = [], [], [], 0
        # Started by a script/test outside, which reads everything itself.
        self.inside = os.environ.get("ORVANE_PROGRESS") == "lines"

    def start(self, step):
        log = (LOGS / f"{step.name}.log").open("w", encoding="utf-8", buffering=1)
        read = progress.Progress(step.preset, step.wrapper)
        def on_line(text):
            log.write(text + "\n")
            if self.inside:
                print(text, flush=True)
            self.report(step, read.line(text))

        environment = {**os.environ, "ORVANE_PROGRESS": "lines"}
        # Builds leave the processors to the tests.
        started = self.children.start(step.command, on_line, gives_way=not step.waits, cwd=ROOT, env=environment)
        self.active[started] = (step, read, log)
        if not self.display.live:
            self.display.say(f"begins  {step.name}")

    def report(self, step, failure):
        # Two builds of one preset may fail at the same source.
        if failure is not None and all(failure.repeat != known.repeat for _, known in self.failures):
            self.failures.append((step.name, failure))
            if not self.inside:
                self.display.failure(step.name, failure, log_of(step))

    def end(self, ended):
        step, read, log = self.active.pop(ended)
        passed = ended.status in (0, NOT_RUN)
        self.report(step, read.end())
        log.close()
        if not passed and not read.failures:
            lines = (ROOT / log_of(step)).read_text(encoding="utf-8").splitlines()
            self.report(step, progress.Failure(
                f"status {ended.status}", shlex.join(step.command), findings(lines)))
        if ended.status == NOT_RUN:
            self.not_run.append((step.name, last_line(log_of(step))))
        else:
            self.times.note(step.name, ended.seconds(), passed)
        self.skipped += read.skipped
        self.tests += 0 if read.even else read.total
        counted = f"  {read.count}/{read.total}" if read.total else ""
        word = "not run" if ended.status == NOT_RUN else "ok" if passed else "FAILED"
        self.display.say(f"{word:7} {step.name:18} "
                         f"{progress.duration(ended.seconds()):>6}{counted}")
        self.schedule.end(step, passed)

    def refresh(self, began):
        left = {step.name: self.times.seconds(step.name) for step in self.schedule.waiting}
        lines = []
        for running, (step, read, _) in self.active.items():
            rest = progress.seconds_left(running.seconds(), read, self.times.seconds(step.name))
            left[step.name] = rest
            lines.append((step.name, running.began, read, rest))
        done = self.steps - len(self.schedule.waiting) - len(self.active)
        whole = [f"{done} of {self.steps} steps done", progress.duration(time.monotonic() - began),
                 progress.about(seconds_left(self.schedule, left))]
        self.display.refresh(lines, ", ".join(text for text in whole if text))

    def run(self):
        began = time.monotonic()
        while not self.schedule.done():
            while step := self.schedule.next():
                self.start(step)
            for ended in self.children.wait(0.25):
                self.end(ended)
            self.refresh(began)

    def summary(self, seconds):
        """Prints it and returns the exit status."""
        for reason, names in by_reason(self.skipped).items():
            print(f"{len(names)} skipped: {reason}: {', '.join(names)}")
        for name, reason in self.not_run:
            print(f"not run: {name}: {reason}")
        for step in self.schedule.dropped:
            print(f"not run: {step.name}, because a step before it failed")
        if self.failures:
            print(f"\n{len(self.failures)} failed; each with what repeats it:")
            for step, failure in self.failures:
                print(f"  {step}: {failure.name}\n      {failure.repeat}")
        usage = resource.getrusage(resource.RUSAGE_CHILDREN)
        passed = not self.failures and not self.schedule.failed
        # What was not run is neither.
        counted = self.schedule.passed - {name for name, _ in self.not_run} if passed else self.schedule.passed
        names = [part.name for part in self.parts
                 if passed == ({step.name for step in part.steps + part.beside} <= counted)]
        print(f"test: {'passed' if passed else 'FAILED'}: {' '.join(names)} ({self.tests} tests; "
              f"{progress.duration(seconds)}, processors {progress.duration(usage.ru_utime + usage.ru_stime)}; "
              f"logs: {LOGS.relative_to(ROOT)})")
        return 0 if passed else 1


def log_of(step):
    return f"{LOGS.relative_to(ROOT)}/{step.name}.log"


def last_line(log):
    lines = (ROOT / log).read_text(encoding="utf-8").splitlines()
    return lines[-1] if lines else "no reason given"


def by_reason(skipped):
    reasons = {}
    for name, reason in skipped:
        reasons.setdefault(reason, []).append(name)
    return reasons


def main(arguments):
    times = Times(LOGS / "times.json")
    if arguments[:1] == ["--list"]:
        if arguments[1:]:
            usage_error(f"--list stands alone; leave out {arguments[1]}")
        list_parts(times)
        return 0
    if arguments[:1] == ["--packages"]:
        print(*dict.fromkeys(group for part in chosen(arguments[1:]) for group in part.packages), sep="\n")
        return 0
    parts = chosen(arguments)
    LOGS.mkdir(parents=True, exist_ok=True)
    lock = (LOGS / "lock").open("w", encoding="utf-8")
    try:
        fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except BlockingIOError:
        print("test: another script/test runs in this checkout; wait for it, or stop it", file=sys.stderr)
        return 1
    child.adopt_orphans()
    display = progress.Display(sys.stdout)
    run, began = Run(parts, times, display), time.monotonic()
    try:
        child.raise_when_interrupted()
        run.run()
        display.close()
        return run.summary(time.monotonic() - began)
    except child.Interrupted as interrupted:
        display.close()
        still = ", ".join(step.name for step, _, _ in run.active.values()) or "nothing"
        print(f"test: stopped by {interrupted}; still running: {still}", flush=True)
        return interrupted.status
    finally:
        child.kill_descendants(KILL_AFTER_SECONDS)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
