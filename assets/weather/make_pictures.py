#!/usr/bin/env python3
"""Draws the five weather pictures of the race controls (64x48 PNG, no dependencies).

0 sunny, 1 cloudy, 2 rain, 3 snow, 4 unknown (random or special conditions).
Run from this folder to regenerate them.
"""
import math
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
from pngfile import mix, paint, write_png  # noqa: E402

W, H = 64, 48


def sky(top, bottom):
    return [[mix(top, bottom, y / (H - 1)) for _ in range(W)] for y in range(H)]


def disc(cx, cy, r):
    return lambda x, y: (x - cx) ** 2 + (y - cy) ** 2 <= r * r


def cloud(cx, cy, s):
    parts = [disc(cx - 9 * s, cy + 2 * s, 7 * s), disc(cx, cy - 3 * s, 10 * s),
             disc(cx + 10 * s, cy + 2 * s, 7 * s)]
    base = lambda x, y: abs(x - cx) <= 16 * s and cy <= y <= cy + 8 * s
    return lambda x, y: base(x, y) or any(p(x, y) for p in parts)


def sun(img, cx, cy):
    def rays(x, y):
        d = math.hypot(x - cx, y - cy)
        a = math.atan2(y - cy, x - cx)
        return 10 < d < 15 and abs(math.sin(4 * a)) < 0.25
    paint(img, (255, 200, 40), rays)
    paint(img, (255, 220, 60), disc(cx, cy, 8))


def sunny():
    img = sky((40, 120, 220), (150, 200, 250))
    sun(img, 32, 24)
    return img


def cloudy():
    img = sky((90, 140, 200), (170, 200, 230))
    sun(img, 20, 16)
    paint(img, (235, 235, 240), cloud(36, 26, 1.0))
    return img


def rain():
    img = sky((70, 75, 90), (120, 125, 140))
    paint(img, (150, 150, 160), cloud(32, 14, 1.0))
    streak = lambda x, y: y > 26 and (x + 0.5 * y) % 8 < 1.2
    paint(img, (80, 150, 255), streak)
    return img


def snow():
    img = sky((120, 130, 150), (200, 205, 215))
    paint(img, (170, 175, 185), cloud(32, 12, 1.0))
    flakes = [(10, 30), (22, 36), (34, 29), (46, 35), (56, 28), (16, 42), (40, 42), (28, 24)]
    paint(img, (255, 255, 255), lambda x, y: any(disc(fx, fy, 1.6)(x, y) for fx, fy in flakes))
    paint(img, (245, 248, 255), lambda x, y: y >= 44)
    return img


def unknown():
    img = sky((110, 110, 120), (160, 160, 170))

    def mark(x, y):
        d = math.hypot(x - 32, y - 17)
        a = math.degrees(math.atan2(y - 17, x - 32))
        hook = 6 <= d <= 10 and not (60 < a < 150)
        stem = 30 <= x <= 34 and 26 <= y <= 33
        dot = disc(32, 39, 2.5)(x, y)
        return hook or stem or dot
    paint(img, (255, 255, 255), mark)
    return img


for index, draw in enumerate([sunny, cloudy, rain, snow, unknown]):
    write_png(f"weather{index}.png", draw())
