#!/usr/bin/python3
"""Compares two pictures pixel by pixel, with Pillow's decoders, which share no code with the tool zbm.

    compare.py A B      exit status 1 if a pixel differs

Colours are compared with their alpha, also where a pixel is transparent; deep grey at its full depth.
"""

import sys

from PIL import Image

Image.MAX_IMAGE_PIXELS = None  # the demo's user may well bring a large picture


def pixels(name):
    """Width, height, and each pixel as the same number of bytes whatever the kind of picture."""
    picture = Image.open(name)
    deep = picture.mode.startswith("I")
    picture = picture.convert("I" if deep else "RGBA")
    return picture.size, deep, picture.tobytes()


def first_difference(a, b):
    return next(i for i in range(0, len(a), 4) if a[i : i + 4] != b[i : i + 4]) // 4


def main(name_a, name_b):
    (size, deep_a, a), (size_b, deep_b, b) = pixels(name_a), pixels(name_b)
    if size != size_b:
        sys.exit(f"sizes differ: {size[0]} x {size[1]} and {size_b[0]} x {size_b[1]}")
    if deep_a != deep_b:
        sys.exit("one is deep grey, the other is not")
    if a != b:
        where = first_difference(a, b)
        sys.exit(f"pixels differ, first at ({where % size[0]}, {where // size[0]})")
    print(f"{size[0] * size[1]} pixels compared, all equal")


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(*sys.argv[1:])
