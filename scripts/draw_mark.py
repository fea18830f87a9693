#!/usr/bin/env python3
"""Draws the default mark, src/engine/mark.png: a rising scale of hairlines in the lower right corner.

Each line is one sample wide and has a dark companion, so the pair is visible on dark and bright ground. All edges are
vertical or horizontal, so they stay sharp when the mark is enlarged by whole factors. At most a quarter opaque.
    scripts/draw_mark.py > src/engine/mark.png && scripts/mark_planes.py src/engine/mark.png > src/engine/mark_planes.cpp
"""

import struct
import sys
import zlib

WIDTH, HEIGHT = 102, 32
LINES, SPACING = 9, 4  # lines, columns from one to the next
SHORTEST, STEP = 3, 2  # rows of the first line, rows that each next one is longer
LIGHT, DARK = (244, 240, 232, 60), (16, 16, 16, 44)  # R, G, B, opacity


def drawing():
    pixels = [[(0, 0, 0, 0)] * WIDTH for _ in range(HEIGHT)]
    for line in range(LINES):
        column = WIDTH - 2 - SPACING * (LINES - 1 - line)
        for row in range(HEIGHT - SHORTEST - STEP * line, HEIGHT):
            pixels[row][column], pixels[row][column + 1] = LIGHT, DARK
    return pixels


def png(pixels):
    """An RGBA file of 8 bits without filters."""
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    rows = b"".join(b"\0" + bytes(value for pixel in row for value in pixel) for row in pixels)
    header = struct.pack(">IIBBBBB", len(pixels[0]), len(pixels), 8, 6, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows, 9)) +
            chunk(b"IEND", b""))


if __name__ == "__main__":
    sys.stdout.buffer.write(png(drawing()))
