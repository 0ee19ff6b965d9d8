#!/usr/bin/python3
"""A picture larger than memory, made and judged by stripes with Pillow, which shares no code with the tool zbm.

    large_picture.py make PICTURE WIDTH HEIGHT LARGE.tif     PICTURE side by side and one below the other
    large_picture.py check LARGE.tif BRIGHTNESS RESULT.bmp VIEW.png LEVEL

`check` ends with an error unless RESULT is LARGE, each sample brightened, and VIEW its reduction by 2 to the power
LEVEL, but for what rounding at each halving may cost.
"""

import struct
import sys

from PIL import Image, ImageChops

Image.MAX_IMAGE_PIXELS = None
STRIPE = 64  # rows
HEADER = struct.Struct("<2sHI")
BIG_HEADER = struct.Struct("<2sHHHQ")


def write_directory(file, width, height, offsets):
    """The TIFF's description: 8 bits RGB without compression, in strips of STRIPE rows; a BigTIFF's numbers are wide."""
    is_big = is_bigtiff(width, height)
    number = "Q" if is_big else "I"
    row = 3 * width
    counts = [row * min(STRIPE, height - y) for y in range(0, height, STRIPE)]
    place = file.tell()
    file.write(struct.pack(f"<{len(offsets)}{number}", *offsets) + struct.pack(f"<{len(counts)}{number}", *counts))
    bits = struct.pack("<4H", 8, 8, 8, 0)
    if not is_big:
        file.write(bits)
    directory = file.tell()
    inner = struct.unpack("<Q", bits)[0] if is_big else directory - len(bits)
    short, long, position = 3, 4, 16 if is_big else 4
    entries = [(256, long, 1, width), (257, long, 1, height), (258, short, 3, inner), (259, short, 1, 1),
               (262, short, 1, 2), (273, position, len(offsets), place), (277, short, 1, 3), (278, long, 1, STRIPE),
               (279, position, len(counts), place + struct.calcsize(number) * len(offsets))]
    packed = b"".join(struct.pack(f"<HH{number}{number}", *entry) for entry in entries)
    file.write(struct.pack("<Q" if is_big else "<H", len(entries)) + packed + bytes(8 if is_big else 4))
    file.seek(0)
    file.write(BIG_HEADER.pack(b"II", 43, 8, 0, directory) if is_big else HEADER.pack(b"II", 42, directory))


def is_bigtiff(width, height):
    return 3 * width * height > 2**32 - 2**24


def header_bytes(width, height):
    return BIG_HEADER.size if is_bigtiff(width, height) else HEADER.size


def make(picture, width, height, name):
    tile = Image.open(picture).convert("RGB")
    band = Image.new("RGB", (width, tile.height))
    for x in range(0, width, tile.width):
        band.paste(tile, (x, 0))
    offsets = []
    with open(name, "wb") as file:
        file.write(bytes(header_bytes(width, height)))
        for y in range(0, height, STRIPE):
            stripe = Image.new("RGB", (width, min(STRIPE, height - y)))
            top = y % tile.height
            for at in range(-top, stripe.height, tile.height):
                stripe.paste(band, (0, at))
            offsets.append(file.tell())
            file.write(stripe.tobytes())
        write_directory(file, width, height, offsets)


def brightened(amount):
    half = 0.5 + 2.0**-32
    return [level + int(amount * (255 - level) + half) for level in range(256)] * 3


def largest_difference(a, b):
    return max(high for _, high in ImageChops.difference(a, b).getextrema())


def check(large, amount, result, view, level):
    levels, reduced, scale = brightened(amount), Image.open(view).convert("RGB"), 2**level
    with open(large, "rb") as source, open(result, "rb") as bmp:
        start, _, width, height = struct.unpack_from("<IIii", bmp.read(26), 10)
        source.seek(header_bytes(width, height))
        if reduced.size != (width // scale, height // scale):
            sys.exit(f"{view} is {reduced.width} x {reduced.height}")
        for y in range(0, height, STRIPE):
            size = (width, min(STRIPE, height - y))
            expected = Image.frombytes("RGB", size, source.read(3 * width * size[1])).point(levels)
            row = (3 * width + 3) // 4 * 4
            bmp.seek(start + row * (height - y - size[1]))  # the last row comes first
            found = Image.frombytes("RGB", size, bmp.read(row * size[1]), "raw", "BGR", row, -1)
            if largest_difference(expected, found) != 0:
                sys.exit(f"{result} differs in rows {y} to {y + size[1]}")
            box = (0, y // scale, reduced.width, (y + size[1]) // scale)
            if largest_difference(expected.reduce(scale).crop((0, 0, reduced.width, box[3] - box[1])),
                                  reduced.crop(box)) > 1:
                sys.exit(f"{view} differs in rows {box[1]} to {box[3]}")
    print(f"all {width} x {height} pixels are the same, and so is level {level}, but for rounding")


if sys.argv[1] == "make":
    make(sys.argv[2], int(sys.argv[3]), int(sys.argv[4]), sys.argv[5])
else:
    check(sys.argv[2], float(sys.argv[3]), sys.argv[4], sys.argv[5], int(sys.argv[6]))
