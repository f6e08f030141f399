#!/usr/bin/env python3
"""Draws the curves of a benchmark run.

    plot.py POINTS.CSV DIRECTORY

POINTS.CSV holds lines "curve,series,x,y"; every curve that has points becomes DIRECTORY/<curve>.svg.
"""
import csv
import math
import pathlib
import sys

WIDTH, HEIGHT = 640, 400
LEFT, RIGHT, TOP, BOTTOM = 70, 20, 46, 52
COLOURS = ["#1b6ca8", "#c8553d", "#4f772d"]

# title, x axis, y axis, logarithmic x, logarithmic y
CURVES = {
    "write-calls": ("Registry calls of one WritePort", "ports", "calls", True, True),
    "write-throughput": ("Raw job on the last port", "ports", "MiB/s", True, True),
    "start-up": ("Start-up", "ports", "seconds", True, True),
    "memory": ("Memory of a port after start-up", "ports", "bytes a port", True, False),
    "enum-ports": ("EnumPorts, level 2", "ports", "microseconds", True, True),
    "open-port": ("OpenPort of the last port", "ports", "microseconds", True, True),
    "long-job": ("Memory of the process during a job of 4 GiB", "MiB printed", "MiB", False, False),
}


class Axis:
    """Maps values to a stretch of the drawing."""

    def __init__(self, values, start, end, logarithmic):
        self.logarithmic = logarithmic
        self.start, self.end = start, end
        low, high = min(values), max(values)
        if logarithmic:
            self.low = 10 ** math.floor(math.log10(low))
            self.high = 10 ** math.ceil(math.log10(high))
            if self.low == self.high:
                self.high *= 10
        else:
            self.low, self.high = 0, high * 1.15

    def place(self, value):
        if self.logarithmic:
            part = math.log10(value / self.low) / math.log10(self.high / self.low)
        else:
            part = (value - self.low) / (self.high - self.low)
        return self.start + part * (self.end - self.start)

    def ticks(self):
        if self.logarithmic:
            tick = self.low
            while tick <= self.high * 1.001:
                yield tick
                tick *= 10
            return
        step = 10 ** math.floor(math.log10(self.high))
        while self.high / step < 4:
            step /= 2
        tick = 0
        while tick <= self.high:
            yield tick
            tick += step


def text(x, y, content, anchor="middle", extra=""):
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" {extra}>{content}</text>'


def draw(name, series):
    title, x_name, y_name, x_logarithmic, y_logarithmic = CURVES[name]
    points = [point for line in series.values() for point in line]
    x_axis = Axis([x for x, _ in points], LEFT, WIDTH - RIGHT, x_logarithmic)
    y_axis = Axis([y for _, y in points], HEIGHT - BOTTOM, TOP, y_logarithmic)
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" '
        'font-family="sans-serif" font-size="12">',
        f'<rect width="{WIDTH}" height="{HEIGHT}" fill="#ffffff"/>',
        text(WIDTH / 2, 20, title, extra='font-size="15"'),
        text((LEFT + WIDTH - RIGHT) / 2, HEIGHT - 12, x_name),
        text(0, 0, y_name, extra=f'transform="translate(16 {(TOP + HEIGHT - BOTTOM) / 2}) rotate(-90)"'),
    ]
    for tick in x_axis.ticks():
        x = x_axis.place(tick)
        parts.append(f'<path d="M{x:.1f} {TOP}V{HEIGHT - BOTTOM}" stroke="#dddddd"/>')
        parts.append(text(x, HEIGHT - BOTTOM + 16, f"{tick:g}"))
    for tick in y_axis.ticks():
        y = y_axis.place(tick)
        parts.append(f'<path d="M{LEFT} {y:.1f}H{WIDTH - RIGHT}" stroke="#dddddd"/>')
        parts.append(text(LEFT - 6, y + 4, f"{tick:g}", "end"))
    for index, (label, line) in enumerate(series.items()):
        colour = COLOURS[index % len(COLOURS)]
        places = [(x_axis.place(x), y_axis.place(y)) for x, y in sorted(line)]
        path = " ".join(f"{x:.1f},{y:.1f}" for x, y in places)
        parts.append(f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="2"/>')
        if len(places) < 20:
            parts += [f'<circle cx="{x:.1f}" cy="{y:.1f}" r="3.5" fill="{colour}"/>' for x, y in places]
        parts.append(text(LEFT + 10 + 200 * index, TOP - 8, label, "start", f'fill="{colour}"'))
    parts.append("</svg>\n")
    return "\n".join(parts)


def main():
    curves = {}
    with open(sys.argv[1], newline="") as file:
        for row in csv.DictReader(file):
            line = curves.setdefault(row["curve"], {}).setdefault(row["series"], [])
            line.append((float(row["x"]), float(row["y"])))
    for name, series in curves.items():
        pathlib.Path(sys.argv[2], name + ".svg").write_text(draw(name, series))


main()
