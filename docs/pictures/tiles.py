#!/usr/bin/python3
"""Draws tiles.png, the picture in README: a landscape packed and unpacked by the tool, shown as the tiles that hold it.

    tiles.py ZBM OUTPUT      ZBM is the built tool, build/release/bin/zbm
"""

import math
import subprocess
import sys
import tempfile

from PIL import Image, ImageDraw, ImageFilter

WIDTH, HEIGHT, TILE, GAP = 1000, 500, 144, 6
LIFTED = (1, 4)  # row and column of the tile that is shown as locked


def mix(a, b, t):
    t = min(max(t, 0.0), 1.0)
    return tuple(round(x + (y - x) * t) for x, y in zip(a, b))


def sky(x, y):
    glow = math.exp(-(((x - 640) / 260) ** 2 + ((y - 268) / 120) ** 2))
    base = mix((38, 52, 104), (246, 170, 120), y / 330)
    disc = 34 - math.hypot(x - 640, y - 250)  # its edge one pixel soft
    return mix(mix(base, (255, 236, 190), glow), (255, 250, 232), disc)


def ridge(x, seed, roughness):
    waves = ((0.0041, 1.0), (0.011, 0.45), (0.027, 0.2), (0.061, 0.09), (0.139, 0.035))
    pace_of = 1 + 0.07 * seed
    return roughness * sum(
        size * math.sin(x * pace * pace_of + seed * (2.3 * i + 1)) for i, (pace, size) in enumerate(waves, 1)
    )


RIDGES = [  # height of the crest, roughness, colour: far to near
    (262, 34, (146, 122, 150)),
    (298, 40, (98, 92, 130)),
    (338, 36, (54, 66, 100)),
    (380, 24, (26, 44, 66)),
]
SHORE = 408


def land(x, y):
    colour = sky(x, y)
    for seed, (crest, roughness, tint) in enumerate(RIDGES, 1):
        depth = y - crest - ridge(x, seed, roughness)
        if depth > -1:
            haze = mix(tint, (214, 168, 150), 0.35 - depth / 260)
            colour = mix(colour, haze, depth + 1)
    return colour


def landscape():
    picture = Image.new("RGB", (WIDTH, HEIGHT))
    for y in range(HEIGHT):
        for x in range(WIDTH):
            if y < SHORE:
                colour = land(x, y)
            else:  # the lake: the land upside down, darker, and wavering with the distance from the shore
                below = y - SHORE
                sway = math.sin(below * 0.55 + math.sin(x * 0.02) * 1.3) * below * 0.07
                colour = mix(land(x + sway, SHORE - 1 - below * 2.4), (18, 32, 60), 0.28 + below / 320)
            picture.putpixel((x, y), colour)
    return picture


def through_the_tool(picture, zbm):
    with tempfile.TemporaryDirectory() as folder:
        picture.save(f"{folder}/in.png")
        subprocess.run([zbm, "pack", f"{folder}/in.png", f"{folder}/a.zbm", "--tile", f"{TILE}x{TILE}"], check=True)
        subprocess.run([zbm, "unpack", f"{folder}/a.zbm", f"{folder}/out.png"], check=True)
        return Image.open(f"{folder}/out.png").convert("RGB")


def lay_out(picture):
    """The tiles with gaps between them, from the top-left corner, the last ones smaller; one of them lifted."""
    cols, rows = -(-WIDTH // TILE), -(-HEIGHT // TILE)
    margin = 28
    sheet = Image.new("RGB", (WIDTH + GAP * (cols - 1) + 2 * margin, HEIGHT + GAP * (rows - 1) + 2 * margin), "white")
    place = lambda row, col: (margin + col * (TILE + GAP), margin + row * (TILE + GAP))
    tile = lambda row, col: picture.crop(
        (col * TILE, row * TILE, min((col + 1) * TILE, WIDTH), min((row + 1) * TILE, HEIGHT))
    )
    for row in range(rows):
        for col in range(cols):
            if (row, col) != LIFTED:
                sheet.paste(tile(row, col), place(row, col))
    lift(sheet, tile(*LIFTED), place(*LIFTED))
    return sheet


def lift(sheet, tile, place):
    x, y = place
    box = (x, y, x + TILE - 1, y + TILE - 1)
    ImageDraw.Draw(sheet).rectangle(box, fill=(232, 234, 238))
    shadow = Image.new("L", sheet.size, 0)
    ImageDraw.Draw(shadow).rectangle([c + 4 for c in box], fill=150)
    sheet.paste((30, 34, 44), mask=shadow.filter(ImageFilter.GaussianBlur(8)))
    raised = (x + 14, y - 16)
    frame = (raised[0] - 3, raised[1] - 3, raised[0] + TILE + 2, raised[1] + TILE + 2)
    ImageDraw.Draw(sheet).rectangle(frame, fill=(255, 140, 40))
    sheet.paste(tile, raised)


def main(zbm, output):
    sheet = lay_out(through_the_tool(landscape(), zbm))
    sheet.save(output, optimize=True)


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(*sys.argv[1:])
