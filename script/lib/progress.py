"""How far a step is and what failed in it, read from its output; and how that is shown.

Understood are ninja's `[12/507] ...` with its `FAILED:`, ctest's `12/507 Test #3: ...`, and the lines
of our own scripts:

    progress: 12/921 WHAT           so much of so much is done; before WHAT may stand "7% ", the share
                                    of the work if that is known better than by counting
    skipped: NAME: WHY              a test that was not run
    failed: NAME (WHY)              then its output, indented by four blanks, and
    repeat: COMMAND                 what runs it again
"""

import re
import shutil
import time

SHOWN_LINES = 60
PLAIN_LINE_SECONDS, LIVE_LINE_SECONDS = 30, 0.2
COUNTED = re.compile(r"(?:\[(\d+)/(\d+)\]|progress: (\d+)/(\d+)|\s*(\d+)/(\d+) Test +#\d+:) ?(?:(\d+)% )?(.*)")


class Failure:
    """lines: its output, but for as many first ones as are to be left out."""

    def __init__(self, name, repeat="", left_out=0):
        self.name, self.repeat, self.left_out, self.lines = name, repeat, left_out, []

    def add(self, line):
        if self.left_out > 0:
            self.left_out -= 1
        else:
            self.lines.append(line)


class Progress:
    """What the output of one step has told so far."""

    def __init__(self, preset=""):
        self.preset = preset  # what ninja's failures are repeated with
        self.count = self.total = 0
        self.share, self.what = 0.0, ""
        self.failures, self.skipped = [], []
        self.open = None  # the failure whose output is being read

    def line(self, text):
        """Returns a failure once its output is complete."""
        if self.open is not None and not self._ends_failure(text):
            return None
        complete, self.open = self.open, None
        if match := COUNTED.match(text):
            numbers = [int(group) for group in match.groups()[:6] if group]
            self.count, self.total, self.what = *numbers, match[8]
            self.share = int(match[7]) / 100 if match[7] else self.count / max(self.total, 1)
        elif text.startswith("failed: "):
            self.open = Failure(text[8:])
        elif text.startswith("FAILED: "):  # ninja's; the next line is the compiler's whole command
            target = text[8:].split()[0]
            self.open = Failure(target, f"script/build {self.preset} {target}", left_out=1)
        elif text.startswith("skipped: "):
            self.skipped.append(text[9:])
        if complete is not None:
            self.failures.append(complete)
        return complete

    def _ends_failure(self, text):
        if self.open.repeat:  # ninja's: until ninja goes on
            if COUNTED.match(text) or text.startswith(("ninja: ", "FAILED: ")):
                return True
            self.open.add(text)
        elif text.startswith("repeat: "):
            self.open.repeat = text[8:]
            return True
        else:
            self.open.add(text.removeprefix("    "))
        return False

    def end(self):
        """The failure in which the output ended, if it did."""
        if self.open is not None:
            self.failures.append(self.open)
        last, self.open = self.open, None
        return last


def duration(seconds):
    return f"{int(seconds) // 60}:{int(seconds) % 60:02d}"


def about(seconds):
    """"about 3 min left"; nothing if that is not known."""
    if seconds is None or seconds < 5:
        return ""
    if seconds < 90:
        return f"about {round(seconds)} s left"
    return f"about {round(seconds / 60)} min left"


def seconds_left(elapsed, share, last):
    """From the pace so far and from the last run's time, by how much of the step the pace has seen."""
    by_pace = elapsed / share if share >= 0.05 and elapsed >= 5 else None
    if by_pace is None and last is None:
        return None
    if by_pace is None or last is None:
        whole = by_pace or last
    else:
        whole = share * by_pace + (1 - share) * last
    return whole - elapsed


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
