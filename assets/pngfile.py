"""Writes 8-bit PNG files without an imaging library, for the scripts that draw the assets."""
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
