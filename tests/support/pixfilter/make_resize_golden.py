#!/usr/bin/env python3
"""Writes tests/golden/resize: what Pillow (Debian's python3-pil) makes of small opaque pictures.

A file holds, as 16 bits each with the low byte first, the width and height of the input and of the output, then the
bytes B, G, R of the input, of the output by BILINEAR and of the output by BICUBIC. The pictures are smooth with a grain,
and away from black and white: Pillow cuts off at these after each direction, others once.

    make_resize_golden.py FOLDER
"""
import math
import random
import struct
import sys

from PIL import Image

SIZES = [(23, 17, 61, 50), (23, 17, 92, 68), (57, 41, 19, 13), (57, 41, 22, 40), (33, 64, 50, 11), (40, 3, 7, 9)]


def picture(width, height, seed):
    grain = random.Random(seed)
    image = Image.new("RGB", (width, height))
    for y in range(height):
        for x in range(width):
            level = [128 + 50 * math.sin(x / 5 + c) * math.cos(y / 7 - c) for c in range(3)]
            image.putpixel((x, y), tuple(round(v) + grain.randint(-25, 25) for v in level))
    return image


def bgr(image):
    return bytes(v for r, g, b in image.getdata() for v in (b, g, r))


for number, (width, height, to_width, to_height) in enumerate(SIZES):
    source = picture(width, height, number)
    name = f"{sys.argv[1]}/{width}x{height}_to_{to_width}x{to_height}.bgr"
    with open(name, "wb") as file:
        file.write(struct.pack("<4H", width, height, to_width, to_height))
        file.write(bgr(source))
        for method in (Image.BILINEAR, Image.BICUBIC):
            file.write(bgr(source.resize((to_width, to_height), method)))
