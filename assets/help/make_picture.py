#!/usr/bin/env python3
"""Draws the help picture of the profile slot choice (profileslot.png, 880x560, no dependencies).

Left, the part of the game options that picks the slot; right, the game's own profile menu
with the same slot highlighted; an arrow joins them, and a few lines say what the bypass does.
The picture is drawn at twice its size on screen so that it stays sharp on a doubled display.
Text uses the small pixel font below. Run from this folder to regenerate the picture.
"""
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
from pngfile import mix, paint, write_png  # noqa: E402

W, H = 880, 560

# 5x7 glyphs; the lower-case letters that descend have two more rows below the baseline.
GLYPHS = {
    "A": ".###. #...# #...# ##### #...# #...# #...#",
    "B": "####. #...# #...# ####. #...# #...# ####.",
    "C": ".###. #...# #.... #.... #.... #...# .###.",
    "D": "####. #...# #...# #...# #...# #...# ####.",
    "G": ".###. #...# #.... #.### #...# #...# .####",
    "I": ".###. ..#.. ..#.. ..#.. ..#.. ..#.. .###.",
    "O": ".###. #...# #...# #...# #...# #...# .###.",
    "P": "####. #...# #...# ####. #.... #.... #....",
    "R": "####. #...# #...# ####. #.#.. #..#. #...#",
    "S": ".#### #.... #.... .###. ....# ....# ####.",
    "T": "##### ..#.. ..#.. ..#.. ..#.. ..#.. ..#..",
    "U": "#...# #...# #...# #...# #...# #...# .###.",
    "a": "..... ..... .###. ....# .#### #...# .####",
    "b": "#.... #.... #.##. ##..# #...# #...# ####.",
    "c": "..... ..... .###. #.... #.... #...# .###.",
    "d": "....# ....# .##.# #..## #...# #...# .####",
    "e": "..... ..... .###. #...# ##### #.... .###.",
    "f": "..##. .#..# .#... ###.. .#... .#... .#...",
    "g": "..... ..... .#### #...# #...# #...# .#### ....# .###.",
    "h": "#.... #.... #.##. ##..# #...# #...# #...#",
    "i": "..#.. ..... .##.. ..#.. ..#.. ..#.. .###.",
    "j": "...#. ..... ..##. ...#. ...#. ...#. ...#. #..#. .##..",
    "k": "#.... #.... #..#. #.#.. ##... #.#.. #..#.",
    "l": ".##.. ..#.. ..#.. ..#.. ..#.. ..#.. .###.",
    "m": "..... ..... ##.#. #.#.# #.#.# #...# #...#",
    "n": "..... ..... #.##. ##..# #...# #...# #...#",
    "o": "..... ..... .###. #...# #...# #...# .###.",
    "p": "..... ..... ####. #...# #...# #...# ####. #.... #....",
    "q": "..... ..... .#### #...# #...# #...# .#### ....# ....#",
    "r": "..... ..... #.##. ##..# #.... #.... #....",
    "s": "..... ..... .#### #.... .###. ....# ####.",
    "t": ".#... .#... ###.. .#... .#... .#..# ..##.",
    "u": "..... ..... #...# #...# #...# #..## .##.#",
    "v": "..... ..... #...# #...# #...# .#.#. ..#..",
    "w": "..... ..... #...# #...# #.#.# #.#.# .#.#.",
    "x": "..... ..... #...# .#.#. ..#.. .#.#. #...#",
    "y": "..... ..... #...# #...# #...# #...# .#### ....# .###.",
    "z": "..... ..... ##### ...#. ..#.. .#... #####",
    "0": ".###. #...# #..## #.#.# ##..# #...# .###.",
    "1": "..#.. .##.. ..#.. ..#.. ..#.. ..#.. .###.",
    "2": ".###. #...# ....# ...#. ..#.. .#... #####",
    "3": "##### ...#. ..#.. ...#. ....# #...# .###.",
    "4": "...#. ..##. .#.#. #..#. ##### ...#. ...#.",
    "5": "##### #.... ####. ....# ....# #...# .###.",
    "6": "..##. .#... #.... ####. #...# #...# .###.",
    "7": "##### ....# ...#. ..#.. .#... .#... .#...",
    "8": ".###. #...# #...# .###. #...# #...# .###.",
    "9": ".###. #...# #...# .#### ....# ...#. .##..",
    "=": "..... ..... ##### ..... ##### ..... .....",
    "'": "..#.. ..#.. .#... ..... ..... ..... .....",
    ":": "..... .##.. .##.. ..... .##.. .##.. .....",
    ".": "..... ..... ..... ..... ..... .##.. .##..",
    ",": "..... ..... ..... ..... ..... .##.. .##.. ..#.. .#...",
    ">": ".#... ..#.. ...#. ....# ...#. ..#.. .#...",
    "!": "..#.. ..#.. ..#.. ..#.. ..#.. ..... ..#..",
    "?": ".###. #...# ....# ...#. ..#.. ..... ..#..",
    "-": "..... ..... ..... ##### ..... ..... .....",
}
SPACE = 3  # font pixels


def glyph(char):
    rows = GLYPHS[char].split()
    used = [x for x in range(5) if any(row[x] == "#" for row in rows)]
    left, right = min(used), max(used)
    return [row[left:right + 1] for row in rows]


def text_width(text, scale):
    width = 0
    for char in text:
        width += (SPACE if char == " " else len(glyph(char)[0]) + 1) * scale
    return width - scale


def draw_text(img, x, y, text, colour, scale):
    """`y` is the top of the capitals; descenders reach two font pixels below the baseline."""
    for char in text:
        if char == " ":
            x += SPACE * scale
            continue
        rows = glyph(char)
        for gy, row in enumerate(rows):
            for gx, cell in enumerate(row):
                if cell == "#":
                    fill_rect(img, x + gx * scale, y + gy * scale, scale, scale, colour)
        x += (len(rows[0]) + 1) * scale


def draw_centred(img, cx, y, text, colour, scale):
    draw_text(img, cx - text_width(text, scale) // 2, y, text, colour, scale)


def fill_rect(img, x, y, w, h, colour):
    for row in img[y:y + h]:
        row[x:x + w] = [colour] * w


def rounded(x, y, w, h, r):
    def inside(px, py):
        dx = max(x + r - px, 0, px - (x + w - r))
        dy = max(y + r - py, 0, py - (y + h - r))
        return x <= px <= x + w and y <= py <= y + h and dx * dx + dy * dy <= r * r
    return inside, (x - 1, y - 1, x + w + 1, y + h + 1)


def panel(img, x, y, w, h, r, fill, border, width=2):
    outer, box = rounded(x, y, w, h, r)
    paint(img, border, outer, box)
    inner, box = rounded(x + width, y + width, w - 2 * width, h - 2 * width, r - width)
    paint(img, fill, inner, box)


def segment(a, b, half):
    (ax, ay), (bx, by) = a, b
    length2 = (bx - ax) ** 2 + (by - ay) ** 2

    def inside(px, py):
        t = max(0.0, min(1.0, ((px - ax) * (bx - ax) + (py - ay) * (by - ay)) / length2))
        qx, qy = ax + t * (bx - ax), ay + t * (by - ay)
        return (px - qx) ** 2 + (py - qy) ** 2 <= half * half
    box = (min(ax, bx) - half - 1, min(ay, by) - half - 1, max(ax, bx) + half + 1,
           max(ay, by) + half + 1)
    return inside, box


def triangle(p, q, r):
    def side(a, b, px, py):
        return (b[0] - a[0]) * (py - a[1]) - (b[1] - a[1]) * (px - a[0])

    def inside(px, py):
        s = (side(p, q, px, py), side(q, r, px, py), side(r, p, px, py))
        return all(v >= 0 for v in s) or all(v <= 0 for v in s)
    xs, ys = (p[0], q[0], r[0]), (p[1], q[1], r[1])
    return inside, (min(xs) - 1, min(ys) - 1, max(xs) + 1, max(ys) + 1)


def arrow(img, start, end, colour, half=3.5, head=18):
    (sx, sy), (ex, ey) = start, end
    length = ((ex - sx) ** 2 + (ey - sy) ** 2) ** 0.5
    ux, uy = (ex - sx) / length, (ey - sy) / length
    base = (ex - ux * head, ey - uy * head)
    paint(img, colour, *segment(start, base, half))
    wing = head * 0.55
    paint(img, colour, *triangle(end, (base[0] - uy * wing, base[1] + ux * wing),
                                 (base[0] + uy * wing, base[1] - ux * wing)))


INK = (84, 52, 24)
DIALOG = (240, 240, 240)
DIALOG_TEXT = (40, 40, 40)
EDGE = (150, 150, 150)
SCREEN_TOP, SCREEN_BOTTOM = (28, 40, 78), (10, 14, 32)
MENU_TITLE = (255, 208, 90)
MENU_TEXT = (196, 206, 228)
HIGHLIGHT = (255, 166, 48)
ARROW = (222, 98, 18)
SLOT = 3


def picture():
    img = [[mix((252, 240, 212), (236, 210, 160), y / (H - 1))] * W for y in range(H)]
    img = [list(row) for row in img]
    draw_centred(img, W // 2, 30, "Slot ID = the game's profile number", INK, 3)

    # The options as Tarvex shows them.
    panel(img, 24, 96, 420, 200, 10, DIALOG, EDGE)
    draw_text(img, 44, 116, "Game Options", DIALOG_TEXT, 3)
    fill_rect(img, 44, 148, 380, 2, EDGE)
    draw_text(img, 44, 176, "Slot ID:", DIALOG_TEXT, 3)
    panel(img, 196, 164, 96, 44, 5, (255, 255, 255), (120, 120, 120))
    draw_text(img, 212, 176, str(SLOT), (0, 0, 0), 3)
    paint(img, (70, 70, 70), *triangle((262, 181), (280, 181), (271, 193)))
    panel(img, 44, 234, 30, 30, 4, (255, 255, 255), (120, 120, 120))
    paint(img, (30, 30, 30), *segment((51, 249), (58, 256), 2.5))
    paint(img, (30, 30, 30), *segment((58, 256), (68, 241), 2.5))
    draw_text(img, 86, 243, "Auto Bypass Profile Selection", DIALOG_TEXT, 2)

    # The game's profile menu, where the same slot is the one chosen.
    screen, box = rounded(480, 96, 376, 440, 10)
    gradient = lambda y: mix(SCREEN_TOP, SCREEN_BOTTOM, (y - 96) / 440)
    for y in range(96, 537):
        for x in range(480, 857):
            covered = sum(screen(x + (i + 0.5) / 2, y + (j + 0.5) / 2)
                          for i in range(2) for j in range(2))
            if covered:
                img[y][x] = mix(img[y][x], gradient(y), covered / 4)
    draw_centred(img, 668, 118, "Choose Profile", MENU_TITLE, 3)
    for i in range(10):
        y = 170 + i * 34
        if i + 1 == SLOT:
            panel(img, 512, y - 8, 320, 38, 6, HIGHLIGHT, HIGHLIGHT)
            draw_text(img, 526, y, ">", SCREEN_BOTTOM, 3)
            draw_text(img, 556, y, f"Profile {i + 1}", SCREEN_BOTTOM, 3)
        else:
            draw_text(img, 556, y, f"Profile {i + 1}", MENU_TEXT, 3)

    arrow(img, (300, 186), (506, 166 + (SLOT - 1) * 34 + 15), ARROW)

    lines = ["Ticked: Tarvex picks this profile", "in the game for you.",
             "Unticked: you pick it yourself", "when the game asks."]
    for i, line in enumerate(lines):
        draw_text(img, 28, 330 + i * 32 + (16 if i >= 2 else 0), line, INK, 2)
    draw_text(img, 28, 516, "Click anywhere to close.", mix(INK, (236, 210, 160), 0.45), 2)
    return img


if __name__ == "__main__":
    write_png(os.path.join(os.path.dirname(os.path.abspath(__file__)), "profileslot.png"),
              picture())
