"""Runs the tests of one build, several in one process, the longest first.

    run_tests.py PRESET [OPTION OF CTEST TO SELECT TESTS]...

CTest names the tests, their time limits and folders. It would start one process for each test, which
under the address sanitizer costs more than the tests themselves (script/lib/README.md has the
figures); here one process runs a batch of a program's tests. Each test still has its own verdict, time
limit and output: a crash or a time-out is charged to the test that was running, and the rest of its
batch runs in a new process. A process that fails behind its last test, e.g. for a leak, has each of
its tests run again alone, so that the finding gets its name.

Prints the lines that progress.py reads. The times of the tests go to build/PRESET/test-times.json.
"""

import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import time

import child

ROOT = pathlib.Path(__file__).resolve().parents[2]
# What a test is taken for whose time is not known: seconds by its time limit.
SHORT_LIMIT, SHORT_GUESS, LONG_GUESS = 60, 0.05, 1.5
BATCH_SECONDS = 4.0
BATCH_TESTS = 60
PARALLEL_PER_PROCESSOR = 2  # tests mostly wait
RAN = re.compile(r"\[ RUN      \] (\S+)$")
ENDED = re.compile(r"\[ +(OK|FAILED|SKIPPED) +\] ([^\s,]+)(?:, where .*)? \(\d+ ms\)$")


class Test:
    def __init__(self, entry):
        self.name, self.command = entry["name"], entry.get("command")
        given = {each["name"]: each["value"] for each in entry.get("properties", ())}
        self.limit = float(given.get("TIMEOUT", 1500))
        self.folder = given.get("WORKING_DIRECTORY")
        self.environment = tuple(given.get("ENVIRONMENT", ()))
        self.disabled = bool(given.get("DISABLED"))
        self.filter = None
        for word in self.command or ():
            if word.startswith("--gtest_filter="):
                self.filter = word.partition("=")[2]

    def guess(self):
        return SHORT_GUESS if self.limit <= SHORT_LIMIT else LONG_GUESS


def tests_of(folder, selection):
    listed = subprocess.run(["ctest", "--test-dir", str(folder), "--show-only=json-v1", *selection],
                            stdout=subprocess.PIPE, check=True).stdout
    return [Test(entry) for entry in json.loads(listed)["tests"]]


def batches_of(tests, times, failed_last):
    """Lists of tests of one program; first what failed last time, then the longest."""
    batches, open_batches = [], {}
    for test in tests:
        seconds = times.get(test.name, test.guess())
        program = (test.command[0], test.folder, test.environment, test.name in failed_last)
        batch = open_batches.get(program)
        if (batch is None or test.filter is None or len(batch[1]) >= BATCH_TESTS
                or batch[0] + seconds > BATCH_SECONDS):
            batch = open_batches[program] = [0.0, []]
            batches.append(batch)
        batch[0] += seconds
        batch[1].append(test)
    batches.sort(key=lambda batch: (batch[1][0].name not in failed_last, -batch[0]))
    return [batch[1] for batch in batches]


class Batch:
    """Some tests of one program in one process."""

    def __init__(self, tests, on_end, suspects=None):
        self.tests, self.on_end, self.suspects = list(tests), on_end, suspects
        self.left = {test.filter: test for test in tests}
        self.current, self.began = None, time.monotonic()
        self.output, self.failed, self.timed_out = [], False, False
        if tests[0].filter is None:
            self.current = tests[0]

    def command(self):
        first = self.tests[0]
        if first.filter is None:
            return first.command
        names = ":".join(test.filter for test in self.tests)
        return [f"--gtest_filter={names}" if word.startswith("--gtest_filter=") else word
                for word in first.command]

    def line(self, text):
        self.output.append(text)
        if self.tests[0].filter is None:
            return
        if self.current is None:
            if (match := RAN.search(text)) and match[1] in self.left:
                self.current, self.began, self.output = self.left[match[1]], time.monotonic(), [text]
        elif (match := ENDED.search(text)) and match[2] == self.current.filter:
            self.verdict(match[1])

    def verdict(self, word, why=""):
        test, output = self.current, self.output
        self.current, self.output = None, []
        self.left.pop(test.filter, None)
        self.failed |= word == "FAILED"
        self.on_end(test, word, why, time.monotonic() - self.began, output)
        self.began = time.monotonic()

    def overdue(self):
        limit = (self.current or next(iter(self.left.values()), self.tests[0])).limit
        return time.monotonic() - self.began > limit

    def end(self, status):
        """Returns the batches that have to run now."""
        why = why_of(status, self.timed_out, self.current or self.tests[-1])
        if self.tests[0].filter is None:
            self.verdict("OK" if status == 0 else "FAILED", why)
        elif self.current is not None:
            self.verdict("FAILED", why)
        elif self.left:
            self.current = next(iter(self.left.values()))
            self.verdict("FAILED", f"the program ended before it ran: {why}")
        elif status != 0 and not self.failed:
            return self.blame(why)
        if self.suspects:
            self.suspects.cleared(self)
        return [Batch(list(self.left.values()), self.on_end)] if self.left else []

    def blame(self, why):
        """The program failed although its tests passed: which one was it?"""
        if len(self.tests) == 1:
            self.current = self.tests[0]
            self.verdict("FAILED", why + ", after the test")
            return []
        suspects = Suspects(self, why)
        return [Batch([test], self.on_end, suspects) for test in self.tests]


class Suspects:
    """The tests of a program that failed after its last one, each of which runs again alone."""

    def __init__(self, batch, why):
        self.batch, self.why, self.left, self.found = batch, why, len(batch.tests), False
        self.output = batch.output

    def cleared(self, alone):
        self.left -= 1
        self.found |= alone.failed
        if self.left == 0 and not self.found:
            last = self.batch.tests[-1]
            self.batch.on_end(last, "FAILED", f"{self.why}, after {len(self.batch.tests)} tests in one process; "
                              "none of them fails alone", 0.0, self.output)


def why_of(status, timed_out, test):
    if timed_out:
        return f"not finished within {test.limit:g} s"
    return f"killed by signal {-status}" if status < 0 else f"status {status}"


class Run:
    def __init__(self, preset, tests, times, failed_last):
        self.preset, self.times = preset, times
        self.total, self.ended, self.failed = len(tests), {}, set()
        self.expected = {test.name: times.get(test.name, test.guess()) for test in tests}
        self.work, self.work_done = sum(self.expected.values()) or 1.0, 0.0
        chosen = [test for test in tests if test.command and not test.disabled]
        self.queue = [Batch(batch, self.note) for batch in batches_of(chosen, times, failed_last)]
        self.children, self.running = child.Children(), {}
        for test in tests:
            if test.disabled:
                self.note(test, "SKIPPED", "disabled", 0.0, ["disabled"])
            elif not test.command:
                self.note(test, "FAILED", "not built", 0.0, [])

    def note(self, test, word, why, seconds, output):
        """A test has ended. A second verdict, of a run alone, only counts if it is worse."""
        again = test.name in self.ended
        if again and (word != "FAILED" or test.name in self.failed):
            return
        self.ended[test.name] = word
        self.times[test.name] = round(seconds, 3)
        self.work_done += 0 if again else self.expected[test.name]
        share = int(100 * self.work_done / self.work)
        lines = [f"progress: {len(self.ended)}/{self.total} {share}% {test.name}"]
        if word == "FAILED":
            self.failed.add(test.name)
            lines.append(f"failed: {test.name}" + (f" ({why})" if why else ""))
        elif word == "SKIPPED":
            lines.append(f"skipped: {test.name}: {skip_reason(output)}")
        lines += ["    " + line for line in output]
        if word == "FAILED":
            lines.append(f"repeat: {self.repeat(test)}")
        print("\n".join(lines), flush=True)

    def repeat(self, test):
        build = f"script/build {self.preset}"
        if test.filter is not None:
            build += f" {os.path.basename(test.command[0])}"  # programs are named as their targets
        run = f"ctest --test-dir build/{self.preset} --output-on-failure -R {shlex.quote('^' + re.escape(test.name) + '$')}"
        if self.preset == "tsan":
            build, run = "setarch --addr-no-randomize " + build, "setarch --addr-no-randomize " + run
        return f"{build} && {run}"

    def start(self, batch):
        test = batch.tests[0]
        given = dict(each.partition("=")[::2] for each in test.environment)
        batch.began = time.monotonic()
        started = self.children.start(batch.command(), batch.line, cwd=test.folder,
                                      env={**os.environ, "GTEST_COLOR": "no", **given})
        self.running[started] = batch

    def run(self, parallel):
        while self.queue or self.running:
            while self.queue and len(self.running) < parallel:
                self.start(self.queue.pop(0))
            for ended in self.children.wait(0.5):
                self.queue[:0] = self.running.pop(ended).end(ended.status)
                ended.kill()  # what it left behind
            for started, batch in self.running.items():
                if not batch.timed_out and batch.overdue():
                    batch.timed_out = True
                    started.kill()
        return 1 if self.failed else 0


def skip_reason(output):
    """GoogleTest writes "FILE:LINE: Skipped" and the reason below."""
    for line, below in zip(output, output[1:] + [""]):
        if line.endswith(": Skipped"):
            return below.strip() or "no reason given"
    return output[0] if len(output) == 1 else "no reason given"


def main(preset, *selection):
    folder = ROOT / "build" / preset
    file = folder / "test-times.json"
    try:
        known = json.loads(file.read_text())
    except (OSError, ValueError):
        known = {"seconds": {}, "failed": []}
    tests = tests_of(folder, selection)
    if not tests:
        print(f"run_tests.py: build/{preset} has no test that {shlex.join(selection) or 'anything'} selects")
        return 1
    run = Run(preset, tests, known["seconds"], set(known["failed"]))
    try:
        child.raise_when_interrupted()
        return run.run(PARALLEL_PER_PROCESSOR * (os.cpu_count() or 1))
    except child.Interrupted as interrupted:
        return interrupted.status
    finally:
        child.kill_descendants(0)
        others = set(known["failed"]) - set(run.ended)
        file.write_text(json.dumps({"seconds": run.times, "failed": sorted(run.failed | others)}))


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
