#!/usr/bin/env python3
"""Draws Tarvex's application icon: tarvex.svg and tarvex-<size>.png for the hicolor sizes.

A road runs through the dunes towards the sun, with two cars side by side on it. The picture
is one list of shapes on a 256-unit canvas; the SVG writes them as they are and the PNGs are
rasterised here (supersampled scanlines, no imaging library), so both always show the same
thing. Run from this folder to regenerate the files.
"""
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
from pngfile import write_png  # noqa: E402

SIZES = (16, 22, 24, 32, 48, 64, 128, 256)
CANVAS = 256


def hex_rgb(colour):
    return tuple(int(colour[i:i + 2], 16) for i in (1, 3, 5))


def cubic(p0, p1, p2, p3, steps=24):
    points = []
    for i in range(1, steps + 1):
        t = i / steps
        u = 1 - t
        points.append(tuple(u**3 * a + 3 * u * u * t * b + 3 * u * t * t * c + t**3 * d
                            for a, b, c, d in zip(p0, p1, p2, p3)))
    return points


class Path:
    """A closed outline of lines and cubic curves, kept both as SVG path data and flattened."""

    def __init__(self, start):
        self.svg = [f"M{start[0]:g},{start[1]:g}"]
        self.points = [start]

    def line(self, *points):
        for p in points:
            self.svg.append(f"L{p[0]:g},{p[1]:g}")
            self.points.append(p)
        return self

    def curve(self, c1, c2, end):
        self.svg.append(f"C{c1[0]:g},{c1[1]:g} {c2[0]:g},{c2[1]:g} {end[0]:g},{end[1]:g}")
        self.points += cubic(self.points[-1], c1, c2, end)
        return self

    def data(self):
        return " ".join(self.svg) + " Z"


def rounded_square(left, top, size, radius):
    # 0.5523 places the control points so each corner is within 0.03 % of a quarter circle.
    k = radius * 0.5523
    right, bottom = left + size, top + size
    return (Path((left + radius, top))
            .line((right - radius, top))
            .curve((right - radius + k, top), (right, top + radius - k), (right, top + radius))
            .line((right, bottom - radius))
            .curve((right, bottom - radius + k), (right - radius + k, bottom),
                   (right - radius, bottom))
            .line((left + radius, bottom))
            .curve((left + radius - k, bottom), (left, bottom - radius + k),
                   (left, bottom - radius))
            .line((left, top + radius))
            .curve((left, top + radius - k), (left + radius - k, top), (left + radius, top)))


def circle(cx, cy, r):
    k = r * 0.5523
    return (Path((cx + r, cy))
            .curve((cx + r, cy + k), (cx + k, cy + r), (cx, cy + r))
            .curve((cx - k, cy + r), (cx - r, cy + k), (cx - r, cy))
            .curve((cx - r, cy - k), (cx - k, cy - r), (cx, cy - r))
            .curve((cx + k, cy - r), (cx + r, cy - k), (cx + r, cy)))


def car(x, y, w, h, body):
    # Seen from behind: a body, a darker rear window and two tyres below it.
    return [
        (Path((x - w / 2, y + h)).line((x + w / 2, y + h), (x + w / 2, y), (x - w / 2, y)),
         "#1d1d22"),
        (rounded_square(x - w / 2, y - h * 0.9, w, w * 0.22), body),
        (Path((x - w * 0.32, y - h * 0.55)).line((x + w * 0.32, y - h * 0.55),
                                                  (x + w * 0.26, y - h * 0.85),
                                                  (x - w * 0.26, y - h * 0.85)), "#2a3140"),
    ]


def frame():
    # Everything inside the border is clipped to this.
    return rounded_square(20, 20, 216, 38)


def shapes():
    """(path, fill) pairs in painting order; a fill is a colour or a vertical gradient. All but
    the border are clipped to the frame."""
    sky = ("sky", 28, "#f08a3c", 150, "#fde3a0")
    road = (Path((56, 236))
            .curve((96, 200), (150, 180), (136, 150))
            .curve((130, 136), (118, 130), (124, 122))
            .line((132, 122))
            .curve((130, 132), (146, 140), (152, 152))
            .curve((172, 190), (150, 214), (200, 236)))
    dashes = [Path((a, b)).line((c, d), (e, f), (g, h)) for a, b, c, d, e, f, g, h in (
        (119, 224, 131, 224, 137, 206, 126, 206),
        (134, 194, 143, 194, 145, 180, 137, 180),
        (140, 168, 146, 168, 144, 158, 139, 158),
    )]
    return [
        (rounded_square(12, 12, 232, 44), "#6b3a17"),
        (frame(), sky),
        (circle(170, 96, 30), "#fff6d5"),
        (Path((20, 150))
         .curve((60, 118), (100, 130), (128, 140))
         .curve((170, 150), (200, 112), (236, 128))
         .line((236, 236), (20, 236)), "#e0a35a"),
        (Path((20, 178))
         .curve((70, 150), (120, 186), (170, 170))
         .curve((200, 160), (220, 168), (236, 176))
         .line((236, 236), (20, 236)), "#c27a34"),
        (road, "#3a3a42"),
        *[(dash, "#f4f1e8") for dash in dashes],
        *car(113, 206, 30, 17, "#d23a2c"),
        *car(151, 206, 30, 17, "#2f6fd0"),
    ]


def svg():
    gradients, body = [], []
    for index, (path, fill) in enumerate(shapes()):
        if isinstance(fill, tuple):
            name, y0, c0, y1, c1 = fill
            gradients.append(
                f'<linearGradient id="{name}" gradientUnits="userSpaceOnUse" x1="0" y1="{y0}" '
                f'x2="0" y2="{y1}"><stop offset="0" stop-color="{c0}"/>'
                f'<stop offset="1" stop-color="{c1}"/></linearGradient>')
            fill = f"url(#{name})"
        clip = ' clip-path="url(#frame)"' if index else ""
        body.append(f'<path fill="{fill}"{clip} d="{path.data()}"/>')
    return ('<?xml version="1.0" encoding="UTF-8"?>\n'
            f'<svg xmlns="http://www.w3.org/2000/svg" width="{CANVAS}" height="{CANVAS}" '
            f'viewBox="0 0 {CANVAS} {CANVAS}">\n'
            f'<defs><clipPath id="frame"><path d="{frame().data()}"/></clipPath>'
            f'{"".join(gradients)}</defs>\n' + "\n".join(body) + "\n</svg>\n")


def coverage(points, size, rows=4):
    """Fraction of each pixel inside the outline (even-odd), `rows` scanlines per pixel."""
    scale = size / CANVAS
    pts = [(x * scale, y * scale) for x, y in points]
    edges = list(zip(pts, pts[1:] + pts[:1]))
    cover = [[0.0] * size for _ in range(size)]
    for row in range(size * rows):
        y = (row + 0.5) / rows
        xs = sorted(x0 + (y - y0) * (x1 - x0) / (y1 - y0)
                    for (x0, y0), (x1, y1) in edges if (y0 <= y < y1) or (y1 <= y < y0))
        line = cover[row // rows]
        for a, b in zip(xs[::2], xs[1::2]):
            a, b = max(a, 0.0), min(b, float(size))
            x = int(a)
            while x < b:
                line[x] += (min(b, x + 1) - max(a, x)) / rows
                x += 1
    return cover


def render(size):
    pixels = [[[0.0, 0.0, 0.0, 0.0] for _ in range(size)] for _ in range(size)]
    clip = coverage(frame().points, size)
    for index, (path, fill) in enumerate(shapes()):
        cover = coverage(path.points, size)
        for y in range(size):
            if isinstance(fill, tuple):
                _, y0, c0, y1, c1 = fill
                t = min(max(((y + 0.5) * CANVAS / size - y0) / (y1 - y0), 0.0), 1.0)
                colour = [a + (b - a) * t for a, b in zip(hex_rgb(c0), hex_rgb(c1))]
            else:
                colour = hex_rgb(fill)
            for x in range(size):
                alpha = min(cover[y][x], 1.0) * (min(clip[y][x], 1.0) if index else 1.0)
                if alpha > 0:
                    px = pixels[y][x]
                    for i in range(3):  # premultiplied "over"
                        px[i] = colour[i] * alpha + px[i] * (1 - alpha)
                    px[3] = alpha + px[3] * (1 - alpha)
    return pixels


def straight(pixels):
    # Back from premultiplied colour to what PNG stores.
    return [[tuple(round(c / a) if a else 0 for c in (r, g, b)) + (round(a * 255),)
             for r, g, b, a in row] for row in pixels]


with open("tarvex.svg", "w") as f:
    f.write(svg())
for size in SIZES:
    write_png(f"tarvex-{size}.png", straight(render(size)))
