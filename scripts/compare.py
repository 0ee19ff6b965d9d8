#!/usr/bin/python3
"""Compares two pictures pixel by pixel, with Pillow's decoders, which share no code with the tool zbm.

    compare.py [--tolerance N] A B

Exit status 1 if a sample differs by more than N (0 if not given), 3 if Pillow cannot read A. Colours are compared with
their alpha, also where a pixel is transparent; deep grey at its full depth. A picture that is marked to be shown turned
is compared as it is shown.
"""

import argparse
import sys

from PIL import Image, ImageChops, ImageOps, UnidentifiedImageError

Image.MAX_IMAGE_PIXELS = None  # the demo's user may well bring a large picture


def pixels(name):
    """The picture upright, with the same samples whatever the kind of picture, and whether it is deep grey."""
    picture = ImageOps.exif_transpose(Image.open(name))
    deep = picture.mode.startswith("I")
    return picture.convert("I" if deep else "RGBA"), deep


def largest_difference(a, b):
    return max(high for _, high in ImageChops.difference(a, b).getextrema())


def main(arguments):
    try:
        a, deep_a = pixels(arguments.a)
    except (UnidentifiedImageError, OSError, SyntaxError) as error:
        print(f"not compared, since Pillow cannot read it ({error})")
        sys.exit(3)
    b, deep_b = pixels(arguments.b)
    if a.size != b.size:
        sys.exit(f"sizes differ: {a.width} x {a.height} and {b.width} x {b.height}")
    if deep_a != deep_b:
        sys.exit("one is deep grey, the other is not")
    count = a.width * a.height
    if a.tobytes() == b.tobytes():
        print(f"{count} pixels compared, all equal")
        return
    if deep_a:
        sys.exit("deep grey levels differ")
    largest = largest_difference(a, b)
    if largest > arguments.tolerance:
        sys.exit(f"samples differ by up to {largest}")
    print(f"{count} pixels compared, no sample more than {arguments.tolerance} apart")


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--tolerance", type=int, default=0)
    parser.add_argument("a")
    parser.add_argument("b")
    main(parser.parse_args())
