"""Writes 8-bit PNG files without an imaging library, and the blending that the scripts drawing
the assets share."""
import struct
import zlib


def write_png(path, rows):
    """`rows` holds rows of (r, g, b) or (r, g, b, a) pixels, 0 to 255 each."""
    height, width, channels = len(rows), len(rows[0]), len(rows[0][0])
    raw = b"".join(b"\x00" + bytes(c for px in row for c in px) for row in rows)

    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))

    colour_type = {3: 2, 4: 6}[channels]
    with open(path, "wb") as f:
        f.write(b"\x89PNG\r\n\x1a\n")
        f.write(chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, colour_type, 0, 0, 0)))
        f.write(chunk(b"IDAT", zlib.compress(raw, 9)))
        f.write(chunk(b"IEND", b""))


def mix(a, b, t):
    return tuple(int(round(x + (y - x) * t)) for x, y in zip(a, b))


def paint(img, colour, inside, box=None, samples=4):
    """Blends `colour` into `img` where `inside(x, y)` holds, by supersampled coverage, which
    gives soft edges. `box` (x0, y0, x1, y1) limits the pixels looked at; default all."""
    height, width = len(img), len(img[0])
    x0, y0, x1, y1 = (int(v) for v in box) if box else (0, 0, width - 1, height - 1)
    for y in range(max(y0, 0), min(y1 + 1, height)):
        for x in range(max(x0, 0), min(x1 + 1, width)):
            hits = sum(
                inside(x + (i + 0.5) / samples, y + (j + 0.5) / samples)
                for i in range(samples)
                for j in range(samples)
            )
            if hits:
                img[y][x] = mix(img[y][x], colour, hits / samples**2)
