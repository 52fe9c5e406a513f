#!/usr/bin/env python3
"""Draws how a list grows with the number of displays: growth.py BENCH.txt PICTURE.svg

BENCH.txt is what Scripts/bench.sh prints. Both axes are logarithmic, so that a straight line is a power: one
that is twice as steep grows with the square.
"""

import math
import pathlib
import re
import sys

WIDTH, HEIGHT, LEFT, RIGHT, TOP, BOTTOM = 680, 400, 80, 170, 24, 48
ROW = re.compile(r"^--list \((\d+) displays?\) +(\d+) +\d+ +(\d+) +\S+ +\d+ +\d+ +(\d+) ", re.MULTILINE)
LINES = (("Veilpane's instructions", "#0a5fd7"), ("the reference's", "#767676"), ("platform calls", "#c4501b"))


def rows_in(text):
    """Displays, calls, own instructions and the reference's, for each row of the list."""
    return [tuple(map(int, row)) for row in ROW.findall(text)]


def drawn(rows):
    most = max(max(row[1:]) for row in rows)
    decades = math.ceil(math.log10(most))
    last = math.log2(rows[-1][0])

    def across(displays):
        return LEFT + (WIDTH - LEFT - RIGHT) * math.log2(displays) / last

    def down(value):
        return HEIGHT - BOTTOM - (HEIGHT - TOP - BOTTOM) * math.log10(value) / decades

    yield (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" font-size="13" '
           'font-family="system-ui, sans-serif">')
    yield f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>'
    for decade in range(decades + 1):
        y = down(10 ** decade)
        yield f'<path d="M{LEFT} {y:.1f}H{WIDTH - RIGHT}" stroke="#ddd"/>'
        yield f'<text x="{LEFT - 8}" y="{y + 4:.1f}" text-anchor="end">{10 ** decade:,}</text>'
    for displays, *_ in rows:
        yield f'<text x="{across(displays):.1f}" y="{HEIGHT - BOTTOM + 20}" text-anchor="middle">{displays}</text>'
    yield (f'<text x="{(LEFT + WIDTH - RIGHT) / 2}" y="{HEIGHT - 8}" text-anchor="middle">'
           'displays</text>')
    for column, (name, colour) in zip((2, 3, 1), LINES):
        points = [(across(row[0]), down(row[column])) for row in rows]
        path = " ".join(f"{x:.1f},{y:.1f}" for x, y in points)
        yield f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="2"/>'
        x, y = points[-1]
        yield f'<text x="{x + 8:.1f}" y="{y + 4:.1f}" fill="{colour}">{name}</text>'
    yield "</svg>"


def main(arguments):
    if len(arguments) != 2:
        print("usage: growth.py BENCH.txt PICTURE.svg", file=sys.stderr)
        return 2
    rows = rows_in(pathlib.Path(arguments[0]).read_text(encoding="utf-8"))
    if len(rows) < 2:
        print(f"growth.py: {arguments[0]} is not what Scripts/bench.sh prints", file=sys.stderr)
        return 1
    pathlib.Path(arguments[1]).write_text("\n".join(drawn(rows)) + "\n", encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
