"""Charts as SVG: grouped bars with their spread, and ratios against their limits.

Plain text without style sheets or scripts, on a white ground, so that any viewer shows them. What
is drawn is report.py's.
"""

from xml.sax.saxutils import escape

TEXT = "#24292f"
FAINT = "#d8dee4"
MUTED = "#57606a"
GOOD = "#1a7f37"
BAD = "#cf222e"
COLOURS = ("#afb8c1", "#6e7781", "#1f6fb2", "#d1b994", "#a5682a")


class Canvas:
    def __init__(self, width, height):
        self.width = width
        self.height = height
        self._parts = []

    def text(self, x, y, text, size=12, anchor="start", colour=TEXT, weight="normal"):
        self._parts.append(f'<text x="{x:.1f}" y="{y:.1f}" font-size="{size}" '
                           f'text-anchor="{anchor}" fill="{colour}" font-weight="{weight}">'
                           f'{escape(text)}</text>')

    def line(self, x1, y1, x2, y2, colour=FAINT, width=1.0, dash=""):
        dashed = f' stroke-dasharray="{dash}"' if dash else ""
        self._parts.append(f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" '
                           f'stroke="{colour}" stroke-width="{width}"{dashed}/>')

    def box(self, x, y, width, height, colour):
        self._parts.append(f'<rect x="{x:.1f}" y="{y:.1f}" width="{width:.1f}" '
                           f'height="{height:.1f}" fill="{colour}"/>')

    def dot(self, x, y, radius, colour):
        self._parts.append(f'<circle cx="{x:.1f}" cy="{y:.1f}" r="{radius}" fill="{colour}" '
                           'fill-opacity="0.55"/>')

    def whole(self):
        return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{self.width}" '
                f'height="{self.height}" viewBox="0 0 {self.width} {self.height}" '
                'font-family="Helvetica, Arial, sans-serif">\n'
                f'<rect width="{self.width}" height="{self.height}" fill="#ffffff"/>\n'
                + "\n".join(self._parts) + "\n</svg>\n")


def ticks(top):
    """About five round steps from 0 up to at least `top`."""
    step = 1.0
    while step * 5 < top:
        step *= 10
    for divisor in (5, 4, 2):
        if step / divisor * 6 >= top:
            step /= divisor
            break
    count = int(-(-top // step))
    return [step * i for i in range(count + 1)]


def short(number):
    if number >= 10000:
        return f"{number / 1000:.3g}k"
    return f"{number:.3g}" if number < 1000 else f"{number:.0f}"


def bars(canvas, left, top, width, height, title, groups, series):
    """`groups`: labels below; `series`: (label, [(middle, least, most) for each group])."""
    canvas.text(left, top - 12, title, 13, weight="bold")
    # Clip the mark of one slow round at the top, so that it does not shrink the others.
    steps = ticks(1.2 * max(middle for _, values in series for middle, _, _ in values))
    scale = height / steps[-1]
    bottom = top + height
    for step in steps:
        canvas.line(left, bottom - step * scale, left + width, bottom - step * scale)
        canvas.text(left - 6, bottom - step * scale + 4, short(step), 11, "end", MUTED)
    room = width / len(groups)
    thickness = room * 0.8 / len(series)
    for i, group in enumerate(groups):
        begin = left + room * i + room * 0.1
        for j, (_, values) in enumerate(series):
            middle, least, most = values[i]
            x = begin + thickness * j
            canvas.box(x, bottom - middle * scale, thickness * 0.9, middle * scale,
                       COLOURS[j % len(COLOURS)])
            centre = x + thickness * 0.45
            canvas.line(centre, bottom - least * scale, centre,
                        bottom - min(most, steps[-1]) * scale, TEXT, 1.2)
        canvas.text(begin + room * 0.4, bottom + 16, group, 11, "middle", MUTED)
    canvas.line(left, bottom, left + width, bottom, MUTED)


def legend(canvas, left, top, labels):
    for i, label in enumerate(labels):
        y = top + 18 * i
        canvas.box(left, y - 9, 11, 11, COLOURS[i % len(COLOURS)])
        canvas.text(left + 17, y, label, 11)


def two_panels(title, panels, labels):
    """Two groups of bars side by side: panels are (title, groups, values of each series)."""
    canvas = Canvas(920, 330 + 18 * len(labels))
    canvas.text(20, 26, title, 15, weight="bold")
    for i, (name, groups, values) in enumerate(panels):
        bars(canvas, 60 + 450 * i, 75, 390, 200, name, groups, list(zip(labels, values)))
    legend(canvas, 60, 325, labels)
    return canvas.whole()


def ratios(title, rows):
    """`rows`: (label, values of the rounds, their median, limit, whether it is met)."""
    left, right, room = 470, 890, 26
    canvas = Canvas(920, 90 + room * len(rows))
    canvas.text(20, 26, title, 15, weight="bold")
    highest = max(2.0, max(max(max(values), limit) for _, values, _, limit, _ in rows) * 1.05)
    scale = (right - left) / highest
    bottom = 50 + room * len(rows)
    for step in ticks(highest):
        if step <= highest:
            canvas.line(left + step * scale, 44, left + step * scale, bottom)
            canvas.text(left + step * scale, bottom + 16, short(step), 11, "middle", MUTED)
    for i, (label, values, middle, limit, met) in enumerate(rows):
        y = 62 + room * i
        colour = GOOD if met else BAD
        canvas.text(left - 12, y + 4, label, 12, "end")
        for value in values:
            canvas.dot(left + value * scale, y, 3.5, colour)
        canvas.line(left + middle * scale, y - 8, left + middle * scale, y + 8, colour, 2)
        canvas.line(left + limit * scale, y - 11, left + limit * scale, y + 11, TEXT, 1.2, "3 2")
    canvas.text(left, bottom + 34, "dots: rounds; stroke: their median; dashed: the goal", 11,
                colour=MUTED)
    return canvas.whole()
