#!/usr/bin/env python3
"""Draws the application's icon: make_icon.py FILE.icns

A monitor on its stand behind a pane that is half drawn. Small sizes leave out what they cannot show.
"""

import io
import math
import struct
import sys

import cairo

# The types of an icon file and the pixels of their pictures.
SIZES = {"icp4": 16, "ic11": 32, "icp5": 32, "ic12": 64, "ic07": 128, "ic13": 256, "ic08": 256,
         "ic14": 512, "ic09": 512, "ic10": 1024}


def rounded(context, x, y, width, height, radius):
    context.new_sub_path()
    context.arc(x + width - radius, y + radius, radius, -math.pi / 2, 0)
    context.arc(x + width - radius, y + height - radius, radius, 0, math.pi / 2)
    context.arc(x + radius, y + height - radius, radius, math.pi / 2, math.pi)
    context.arc(x + radius, y + radius, radius, math.pi, 3 * math.pi / 2)
    context.close_path()


def gradient(start, end, first, last):
    pattern = cairo.LinearGradient(0, start, 0, end)
    pattern.add_color_stop_rgb(0, *first)
    pattern.add_color_stop_rgb(1, *last)
    return pattern


def draw_tile(context):
    rounded(context, 100, 100, 824, 824, 186)
    context.set_source(gradient(100, 924, (0.36, 0.45, 0.62), (0.13, 0.17, 0.28)))
    context.fill()


def draw_monitor(context, line):
    context.set_source_rgb(0.93, 0.95, 0.98)
    rounded(context, 464, 640, 96, 100, 8)
    context.fill()
    rounded(context, 372, 718, 280, 44, 22)
    context.fill()
    rounded(context, 236, 286, 552, 376, 44)
    context.fill()
    rounded(context, 236 + line, 286 + line, 552 - 2 * line, 376 - 2 * line, 44 - line / 2)
    context.set_source(gradient(286, 662, (0.38, 0.66, 0.98), (0.62, 0.48, 0.95)))
    context.fill()


def draw_veil(context, line):
    context.save()
    rounded(context, 236 + line, 286 + line, 552 - 2 * line, 376 - 2 * line, 44 - line / 2)
    context.clip()
    context.rectangle(512, 286, 276, 376)
    context.set_source_rgba(0.05, 0.06, 0.11, 0.86)
    context.fill()
    context.restore()


def draw_power_dot(context):
    context.arc(700, 584, 26, 0, 2 * math.pi)
    context.set_source_rgb(0.36, 0.9, 0.5)
    context.fill()


def picture(pixels):
    surface = cairo.ImageSurface(cairo.FORMAT_ARGB32, pixels, pixels)
    context = cairo.Context(surface)
    context.scale(pixels / 1024, pixels / 1024)
    line = 24 if pixels >= 64 else 56
    draw_tile(context)
    draw_monitor(context, line)
    draw_veil(context, line)
    if pixels >= 64:
        draw_power_dot(context)
    data = io.BytesIO()
    surface.write_to_png(data)
    return data.getvalue()


def icon():
    entries = b"".join(kind.encode() + struct.pack(">I", 8 + len(data)) + data
                       for kind, data in ((kind, picture(size)) for kind, size in SIZES.items()))
    return b"icns" + struct.pack(">I", 8 + len(entries)) + entries


def main(arguments):
    if len(arguments) != 1:
        print("usage: make_icon.py FILE.icns", file=sys.stderr)
        return 2
    with open(arguments[0], "wb") as stream:
        stream.write(icon())
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
