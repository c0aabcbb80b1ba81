"""How far a step is and what failed in it, read from its output; and how that is shown.

Understood are ninja's `[12/507] ...` and `FAILED: ...`, what `ctest --verbose` prints, and the line of
our own scripts (common.sh):

    progress: 12/507 WHAT
"""

import re
import shlex
import shutil
import time

SHOWN_LINES = 60
PLAIN_LINE_SECONDS, LIVE_LINE_SECONDS = 30, 0.2
COUNTED = re.compile(r"(?:\[|progress: )(\d+)/(\d+)\]? ?(.*)")
# Tests run side by side: each line of their output begins with the test's number.
OUTPUT = re.compile(r"(\d+): (.*)")
RESULT = re.compile(r" *(\d+)/(\d+) Test +#(\d+): (.+?) \.*\s*(?:Passed|\*\*\*(.+?)) +[\d.]+ sec")
OF_CTEST = re.compile(r"Test command: |Working Directory: |Environment variables: |Test timeout computed ")
PYTHON_SKIPPED = re.compile(r".*\.\.\. skipped ['\"](.*)['\"]$")


class Failure:
    def __init__(self, name, repeat, lines=()):
        self.name, self.repeat, self.lines = name, repeat, list(lines)


class Progress:
    """What the output of one step has told so far. preset and wrapper are for the commands that repeat
    a failure."""

    def __init__(self, preset="", wrapper=()):
        self.build = shlex.join([*wrapper, "script/build", preset])
        self.ctest = shlex.join([*wrapper, "ctest", "--test-dir", f"build/{preset}", "--output-on-failure", "-R"])
        self.count = self.total = 0
        self.what, self.even = "", True  # even: what is counted takes about the same time each
        self.failures, self.skipped = [], []
        self.compiling = None  # the failure of ninja whose output is being read
        self.output = {}  # of the tests that run now, by their number

    def line(self, text):
        """Returns a failure once its output is complete."""
        if match := OUTPUT.match(text):
            self.output.setdefault(match[1], []).append(match[2])
            return None
        if match := RESULT.match(text):
            return self._test_ended(*match.groups())
        if self.compiling is not None and not COUNTED.match(text) and not text.startswith(("ninja: ", "FAILED: ")):
            self.compiling.lines.append(text)
            return None
        complete = self.end()
        if match := COUNTED.match(text):
            self.count, self.total, self.what = int(match[1]), int(match[2]), match[3]
        elif text.startswith("FAILED: "):
            target = text[8:].split()[0]
            self.compiling = Failure(target, f"{self.build} {target}")
        return complete

    def end(self):
        """The failure whose output has ended now, if there is one."""
        complete, self.compiling = self.compiling, None
        if complete is not None:
            del complete.lines[:1]  # the compiler's whole command
            self.failures.append(complete)
        return complete

    def _test_ended(self, count, total, number, name, trouble):
        self.count, self.total, self.what, self.even = int(count), int(total), name, False
        output = [line for line in self.output.pop(number, []) if not OF_CTEST.match(line)]
        if trouble is None or trouble == "Skipped":
            self.skipped += [(name, reason) for reason in skip_reasons(output, trouble)]
            return None
        program = name.partition(".")[0] if any(line.startswith("[====") for line in output) else ""
        pattern = shlex.quote(f"^{re.escape(name)}$")
        failure = Failure(f"{name} ({trouble})", f"{self.build} {program}".rstrip() + f" && {self.ctest} {pattern}",
                          output)
        self.failures.append(failure)
        return failure


def skip_reasons(output, trouble):
    """Each once. GoogleTest writes "FILE:LINE: Skipped" and the reason below, Python (with -v) "TEST ...
    skipped 'REASON'" for each of the tests that CTest counts as one."""
    reasons = []
    for line, below in zip(output, [*output[1:], ""]):
        if line.endswith(": Skipped"):
            reasons.append(below.strip() or "no reason given")
        if match := PYTHON_SKIPPED.match(line):
            reasons.append(match[1])
    return list(dict.fromkeys(reasons)) or (["no reason given"] if trouble else [])


def duration(seconds):
    return f"{int(seconds) // 60}:{int(seconds) % 60:02d}"


def about(seconds):
    """"about 3 min left"; nothing if that is not known."""
    if seconds is None or seconds < 5:
        return ""
    if seconds < 90:
        return f"about {round(seconds)} s left"
    return f"about {round(seconds / 60)} min left"


def seconds_left(elapsed, progress, last):
    """From the pace so far or from the last run's time; None if neither tells it. What a build has to do
    differs from run to run: its pace comes first. CTest begins with the longest tests: its pace tells
    nothing for long, and the last run comes first."""
    share = progress.count / progress.total if progress.total else 0.0
    by_pace = elapsed / share - elapsed if elapsed >= 5 and share >= (0.05 if progress.even else 0.6) else None
    by_last = last - elapsed if last is not None and last > elapsed else None
    first, second = (by_pace, by_last) if progress.even else (by_last, by_pace)
    return first if first is not None else second


class Display:
    """Live lines below the text on a terminal; elsewhere plain lines, at most every half minute."""

    def __init__(self, stream):
        self.stream, self.live, self.drawn = stream, stream.isatty(), 0
        self.plain, self.refreshed = {}, 0.0

    def _erase(self):
        if self.drawn:
            self.stream.write(f"\033[{self.drawn}A\033[J")
            self.drawn = 0

    def say(self, text):
        self._erase()
        self.stream.write(text + "\n")
        self.stream.flush()

    def failure(self, step, failure, log):
        """At once, with the first lines of its output."""
        lines = failure.lines[:SHOWN_LINES]
        if len(failure.lines) > SHOWN_LINES:
            lines.append(f"... {len(failure.lines) - SHOWN_LINES} more lines in {log}")
        self.say("\n".join([f"FAILED in {step}: {failure.name}", *("    " + line for line in lines)]))

    def refresh(self, running, whole):
        """running: (name, began, Progress, seconds left or None) of each step; whole: the line below."""
        now = time.monotonic()
        if not self.live:
            for name, began, progress, left in running:
                if now - self.plain.setdefault(name, now) >= PLAIN_LINE_SECONDS:
                    self.plain[name] = now
                    self.say(line_of(name, now - began, progress, left, 100))
            return
        if now - self.refreshed < LIVE_LINE_SECONDS:
            return
        self.refreshed = now
        self._erase()
        width = shutil.get_terminal_size().columns - 1
        lines = [line_of(*(name, now - began, progress, left), width)
                 for name, began, progress, left in running] + [("  " + whole)[:width]]
        self.stream.write("\n".join(lines) + "\n")
        self.stream.flush()
        self.drawn = len(lines)

    def close(self):
        self._erase()
        self.stream.flush()


def line_of(name, elapsed, progress, left, width):
    count = f"{progress.count}/{progress.total}" if progress.total else ""
    fields = [f"  {name:18} {count:>9} {duration(elapsed):>6}", about(left), progress.what]
    return "  ".join(field for field in fields if field)[:width]
