"""Formatting of figures, goals and tables, for report.py and
redfish_report.py share. Every number is the median of the rounds.
"""

import dataclasses

from parts import median


@dataclasses.dataclass
class Goal:
    part: str
    label: str
    values: list
    limit: float
    unit: str = ""
    at_least: bool = False

    @property
    def is_met(self):
        middle = median(self.values)
        return middle > self.limit if self.at_least else middle <= self.limit

    def row(self, first):
        """`first`: the same goal as it stood at first, or None."""
        sign = "above" if self.at_least else "at most"
        limit = "none" if self.limit == 0 else f"{sign} {self.limit:g}{self.unit}"
        return [self.label, number(median(first.values)) + self.unit if first else "",
                spread(self.values, self.unit), limit, "yes" if self.is_met else "**no**"]


def number(value):
    if value == int(value) and abs(value) < 10000:
        return str(int(value))
    if abs(value) >= 1000:
        return f"{value:,.0f}"
    if abs(value) >= 100:
        return f"{value:.0f}"
    return f"{value:.1f}" if abs(value) >= 10 else f"{value:.2f}"


def spread(values, unit=""):
    text = number(median(values)) + unit
    if len(values) == 1:
        return text
    return f"{text} ({number(min(values))} .. {number(max(values))})"


def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|---|" + "---:|" * (len(head) - 1)]
    lines += ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join(lines) + "\n"


def column(rounds, name):
    return [each[name] for each in rounds]


def ratio(rounds, above, below):
    return [each[above] / each[below] for each in rounds]
