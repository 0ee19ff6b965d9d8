#!/usr/bin/env python3
"""Cuts the middle out of each photograph below a folder: NAME.bgra, 640 x 640 pixels of 4 bytes (B, G, R, A).

    cut_photographs.py FOLDER

Of a photograph in several sizes the largest is taken that is no more than 2560 pixels wide."""
import pathlib
import sys

from PIL import Image

SIDE = 640


def name_of(path):
    parts = path.parts
    return parts[parts.index("contents") - 1] if "contents" in parts else path.stem


def main(folder):
    best = {}
    for path in sorted(folder.glob("*/**/*.jpg")):
        width, height = Image.open(path).size
        if SIDE <= width <= 2560 and height >= SIDE and best.get(name_of(path), (0, None))[0] < width:
            best[name_of(path)] = width, path
    for name, (width, path) in sorted(best.items()):
        picture = Image.open(path).convert("RGBA")
        left, top = (picture.width - SIDE) // 2, (picture.height - SIDE) // 2
        cut = picture.crop((left, top, left + SIDE, top + SIDE))
        (folder / f"{name}.bgra").write_bytes(cut.tobytes("raw", "BGRA"))


main(pathlib.Path(sys.argv[1]))
