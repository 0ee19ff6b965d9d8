#!/usr/bin/python3
"""Pictures to look at, for the demo.

    contact_sheet.py sample PICTURE OUT.png        a small copy of PICTURE that fades into transparency at its border
    contact_sheet.py sheet OUT.png NAME=PICTURE... all pictures side by side, named, on a chequered ground
"""
import sys

from PIL import Image, ImageDraw

SIDE = 240
COLUMNS = 5
MARGIN, CAPTION = 10, 18


def sample(source, target):
    picture = Image.open(source).convert("RGB")
    side = min(picture.size)
    left, top = (picture.width - side) // 2, (picture.height - side) // 2
    picture = picture.crop((left, top, left + side, top + side)).resize((SIDE, SIDE), Image.Resampling.LANCZOS)
    # Opaque within the inner ellipse, transparent outside the outer one.
    distance = Image.radial_gradient("L").resize((SIDE, SIDE))
    picture.putalpha(distance.point(lambda d: max(0, min(255, (178 - d) * 8))))
    picture.save(target)


def chequered(size):
    ground = Image.new("L", size, 255)
    draw = ImageDraw.Draw(ground)
    for y in range(0, size[1], 8):
        for x in range(y % 16, size[0], 16):
            draw.rectangle((x, y, x + 7, y + 7), fill=204)
    return ground.convert("RGBA")


def as_8_bits(picture):
    """Pillow cuts 16-bit grey off at 255 when it converts it."""
    if picture.mode.startswith("I"):
        return picture.convert("I").point(lambda level: level / 257).convert("L")
    return picture


def sheet(target, entries):
    rows = -(-len(entries) // COLUMNS)
    step_x, step_y = SIDE + MARGIN, SIDE + CAPTION + MARGIN
    page = Image.new("RGBA", (COLUMNS * step_x + MARGIN, rows * step_y + MARGIN), "white")
    draw = ImageDraw.Draw(page)
    for i, entry in enumerate(entries):
        name, path = entry.split("=", 1)
        x, y = MARGIN + i % COLUMNS * step_x, MARGIN + i // COLUMNS * step_y
        picture = as_8_bits(Image.open(path)).convert("RGBA")
        # Small pictures are shown pixel by pixel, of large ones the middle.
        times = max(1, SIDE // max(picture.size))
        picture = picture.resize((picture.width * times, picture.height * times), Image.Resampling.NEAREST)
        left, top = max(0, picture.width - SIDE) // 2, max(0, picture.height - SIDE) // 2
        picture = picture.crop((left, top, min(left + SIDE, picture.width), min(top + SIDE, picture.height)))
        ground = chequered(picture.size)
        ground.alpha_composite(picture)
        page.paste(ground, (x, y + CAPTION))
        draw.text((x, y + 2), name, fill="black")
    page.convert("RGB").save(target)


if __name__ == "__main__":
    if len(sys.argv) == 4 and sys.argv[1] == "sample":
        sample(*sys.argv[2:])
    elif len(sys.argv) > 3 and sys.argv[1] == "sheet":
        sheet(sys.argv[2], sys.argv[3:])
    else:
        sys.exit(__doc__)
