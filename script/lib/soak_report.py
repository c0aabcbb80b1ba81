"""Judges a soak: does the daemon's memory or number of descriptors grow, is every request accounted for?

script/soak calls it:

    soak_report.py SAMPLES PLOT

SAMPLES comes from tests/storms/soak.cpp; PLOT is the SVG to write. Prints a table and the verdict. Exit
status 1 if a point of the verdict fails.

Flat means: the least-squares line through the resident memory after the warm-up (the first fifth of the
time) rises at most MEMORY_BOUND KiB from start to end. Descriptors likewise, by DESCRIPTOR_BOUND. Private
memory is shown but not judged: pages of a library's file count as private once no other process maps
them.
"""

import collections
import pathlib
import statistics
import sys
from xml.sax.saxutils import escape

WARM_UP = 0.2
MEMORY_BOUND = 64       # KiB; in half an hour that is less than half a byte a request
DESCRIPTOR_BOUND = 0.5  # losing a single one halfway lifts the line's end by more

Sample = collections.namedtuple(
    "Sample", "time rss private descriptors threads asked answered fresh statuses events")
Line = collections.namedtuple("Line", "begin end rise")


class Soak:
    def __init__(self, text):
        self.samples, self.faults, self.totals = [], [], {}
        for line in text.splitlines():
            what, rest = line.split(" ", 1)
            if what == "sample":
                self.samples.append(Sample(*(float(number) for number in rest.split())))
            elif what == "fault":
                time, name = rest.split(" ", 1)
                self.faults.append((float(time), name))
            elif what == "total":
                name, number = rest.split()
                self.totals[name] = int(number)

    @property
    def time(self):
        return self.samples[-1].time

    def after_warm_up(self):
        return [sample for sample in self.samples if sample.time >= WARM_UP * self.time]

    def line(self, column):
        """The least-squares line through a column after the warm-up."""
        samples = self.after_warm_up()
        times = [sample.time for sample in samples]
        fit = statistics.linear_regression(times, [getattr(sample, column) for sample in samples])
        begin = fit.intercept + fit.slope * times[0]
        end = fit.intercept + fit.slope * times[-1]
        return Line(begin, end, end - begin)

    def rates(self):
        """(time, requests a second) between each two samples."""
        return [((a.time + b.time) / 2, (b.asked - a.asked) / (b.time - a.time))
                for a, b in zip(self.samples, self.samples[1:])]


def points(soak):
    """The points of the verdict: (text, does it hold)."""
    memory, descriptors = soak.line("rss"), soak.line("descriptors")
    totals = soak.totals
    told = sum(totals[name] for name in ("nobody", "cut-off", "refused"))
    rest = totals["requests"] - totals["answered"] - told - totals["given-up"]
    threads = {sample.threads for sample in soak.after_warm_up()}
    return [
        (f"memory flat: the line through {memory.begin:.0f} KiB resident rises {memory.rise:+.1f} KiB "
         f"(at most {MEMORY_BOUND})", memory.rise <= MEMORY_BOUND),
        (f"no descriptor lost: the line through {descriptors.begin:.1f} rises "
         f"{descriptors.rise:+.2f} (at most {DESCRIPTOR_BOUND})", descriptors.rise <= DESCRIPTOR_BOUND),
        (f"threads: {min(threads):.0f} to {max(threads):.0f}", max(threads) - min(threads) <= 1),
        (f"answers are requests: {totals['answered']} answered, {told} told otherwise, "
         f"{totals['given-up']} given up in a silence with a line of log, "
         f"{rest} without an end, {totals['violations']} violations",
         rest == 0 and totals["violations"] == 0),
    ]


def table(soak):
    counts = collections.Counter(name for _, name in soak.faults)
    last, minutes = soak.samples[-1], soak.time / 60
    rows = [("time", f"{minutes:.1f} min, {len(soak.samples)} samples"),
            ("requests", f"{soak.totals['requests']} ({soak.totals['requests'] / soak.time:.0f}/s)"),
            ("fresh reads", f"{last.fresh:.0f}"), ("status", f"{last.statuses:.0f}"),
            ("events seen", f"{last.events:.0f}")]
    for column, unit in (("rss", " KiB"), ("private", " KiB"), ("descriptors", ""), ("threads", "")):
        values = [getattr(sample, column) for sample in soak.after_warm_up()]
        rows.append((column, f"{min(values):.0f} to {max(values):.0f}{unit}, "
                             f"median {statistics.median(values):.0f}"))
    rows += [(f"fault: {name}", str(number)) for name, number in sorted(counts.items())]
    return ["| | |", "|---|---|"] + [f"| {name} | {value} |" for name, value in rows]


class Panel:
    """One curve over time, with its own scale from `low` to `high`."""

    WIDTH, HEIGHT, LEFT = 760, 110, 90

    def __init__(self, top, title, time, low, high):
        self.top, self.time, self.low, self.high = top, time, low, high
        self.parts = [f'<text x="{self.LEFT}" y="{top - 8}" font-weight="bold">{escape(title)}</text>']
        for share in (0, 0.5, 1):
            value = low + (high - low) * share
            y = self.y(value)
            self.parts.append(f'<line x1="{self.LEFT}" y1="{y:.1f}" x2="{self.LEFT + self.WIDTH}" '
                              f'y2="{y:.1f}" stroke="#d8dee4"/><text x="{self.LEFT - 6}" '
                              f'y="{y + 4:.1f}" text-anchor="end" fill="#57606a">{value:.0f}</text>')

    def x(self, time):
        return self.LEFT + time / self.time * self.WIDTH

    def y(self, value):
        return self.top + (self.high - value) / (self.high - self.low) * self.HEIGHT

    def curve(self, pairs, colour, width=1.2):
        shown = " ".join(f"{self.x(time):.1f},{self.y(value):.1f}" for time, value in pairs)
        self.parts.append(f'<polyline points="{shown}" fill="none" stroke="{colour}" '
                          f'stroke-width="{width}"/>')

    def marks(self, times):
        for time in times:
            self.parts.append(f'<line x1="{self.x(time):.1f}" y1="{self.top}" x2="{self.x(time):.1f}" '
                              f'y2="{self.top + self.HEIGHT}" stroke="#cf222e" stroke-opacity="0.25"/>')


def thinned(pairs, most=300):
    """Thins the points, each the median of its neighbours, to keep the file small."""
    step = -(-len(pairs) // most)
    return [(pairs[i][0], statistics.median(value for _, value in pairs[i:i + step]))
            for i in range(0, len(pairs), step)]


def panel(soak, number, title, pairs, low_at_zero=False, line=None):
    values = [value for _, value in pairs]
    margin = (max(values) - min(values)) * 0.1 + 1
    low = 0 if low_at_zero else min(values) - margin
    drawn = Panel(50 + 160 * number, title, soak.time, low, max(values) + margin)
    drawn.marks(time for time, _ in soak.faults)
    drawn.curve(thinned(pairs), "#1f6fb2")
    if line:
        drawn.curve(((WARM_UP * soak.time, line.begin), (soak.time, line.end)), "#24292f", 1.8)
    return drawn


def plot(soak):
    def column(name):
        return [(sample.time, getattr(sample, name)) for sample in soak.samples]

    panels = [panel(soak, 0, "resident memory, KiB; black: its line after the warm-up",
                    column("rss"), line=soak.line("rss")),
              panel(soak, 1, "private memory, KiB", column("private")),
              panel(soak, 2, "file descriptors", column("descriptors"), True),
              panel(soak, 3, "requests a second", soak.rates(), True)]
    bottom = 50 + 160 * 4
    labels = [f'<text x="{panels[0].x(soak.time * share):.1f}" y="{bottom - 30}" text-anchor="middle" '
              f'fill="#57606a">{soak.time * share / 60:.1f} min</text>' for share in (0, 0.25, 0.5, 0.75, 1)]
    parts = [part for each in panels for part in each.parts] + labels
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="880" height="{bottom}" '
            f'viewBox="0 0 880 {bottom}" font-family="Helvetica, Arial, sans-serif" font-size="12">\n'
            f'<rect width="880" height="{bottom}" fill="#ffffff"/>\n'
            f'<text x="90" y="20" fill="#cf222e">red: a fault begins</text>\n'
            + "\n".join(parts) + "\n</svg>\n")


def main(samples, target):
    soak = Soak(pathlib.Path(samples).read_text())
    if len(soak.after_warm_up()) < 3 or "violations" not in soak.totals:
        sys.exit("the soak did not come to its end")
    print("\n".join(table(soak)))
    print()
    verdict = points(soak)
    for text, holds in verdict:
        print(f"{'yes' if holds else 'NO '}  {text}")
    pathlib.Path(target).write_text(plot(soak))
    return 0 if all(holds for _, holds in verdict) else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
