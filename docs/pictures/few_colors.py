#!/usr/bin/python3
"""Draws few_colors.png: pictures made by formulas in 16 colours of their own, by each dither, at 1 x and a part at 4 x.

    few_colors.py ZBM OUT.png        ZBM is the tool
"""
import math
import pathlib
import subprocess
import sys
import tempfile

from PIL import Image, ImageDraw

SIDE, PART = 200, 50
COLORS = "16"
DITHERS = ("none", "ordered", "blue", "diffusion")
CAPTION = 16


def sky(x, y):
    sun = 90 * math.exp(-((x - 150) ** 2 + (y - 40) ** 2) / 900)
    return 60 + 0.45 * y + 0.1 * x + sun, 110 + 0.35 * y + 0.8 * sun, 190 + 0.2 * y - 0.05 * x + 0.3 * sun


def lamp(x, y):
    light = 1 / (1 + ((x - 60) ** 2 + (y - 70) ** 2) / 2500)
    ray = 0.15 * max(0, math.cos(8 * math.atan2(y - 70, x - 60))) * light
    return 70 + 185 * (light + ray), 25 + 150 * light ** 1.4 + 120 * ray, 10 + 90 * light ** 2 + 120 * ray


def leaves(x, y):
    blade = math.sin(x / 7 + 3 * math.sin(y / 23)) * math.cos(y / 9 + 2 * math.sin(x / 31))
    depth = 0.5 + 0.5 * math.sin((x + y) / 40)
    return 60 + 50 * blade + 40 * depth, 110 + 60 * blade + 50 * depth, 40 + 25 * blade + 10 * depth


def picture(formula):
    image = Image.new("RGB", (SIDE, SIDE))
    for y in range(SIDE):
        for x in range(SIDE):
            image.putpixel((x, y), tuple(max(0, min(255, round(level))) for level in formula(x, y)))
    return image


def main(tool, out):
    sheet = Image.new("RGB", (SIDE * (1 + len(DITHERS)), CAPTION + 6 * SIDE), "white")
    draw = ImageDraw.Draw(sheet)
    for column, name in enumerate(("original",) + DITHERS):
        draw.text((column * SIDE + 4, 2), name, fill="black")
    with tempfile.TemporaryDirectory() as folder:
        source, result = pathlib.Path(folder, "in.png"), pathlib.Path(folder, "out.png")
        for row, formula in enumerate((sky, lamp, leaves)):
            original = picture(formula)
            original.save(source)
            cells = [original]
            for dither in DITHERS:
                subprocess.run([tool, "convert", source, result, "--format", "INDEXED_4", "--palette", "picture",
                                "--colors", COLORS, "--dither", dither], check=True, stdout=subprocess.DEVNULL)
                cells.append(Image.open(result).convert("RGB"))
            for column, cell in enumerate(cells):
                top = CAPTION + 2 * SIDE * row
                sheet.paste(cell, (column * SIDE, top))
                part = cell.crop((100, 50, 100 + PART, 50 + PART)).resize((SIDE, SIDE), Image.Resampling.NEAREST)
                sheet.paste(part, (column * SIDE, top + SIDE))
    sheet.save(out, optimize=True)


main(sys.argv[1], sys.argv[2])
