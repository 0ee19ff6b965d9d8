#!/usr/bin/env python3
"""Takes bitmap archives apart, and compares every pixel with the formula.

    read_archive.py ARCHIVE...

An independent reader of what docs/file-formats.md says: it stands on the standard library alone (and on read_block.py,
which does, but for the program `zstd`) and shares nothing with the library that wrote the archives.
"""
import pathlib
import struct
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support_code"))

import read_block
from formula_picture import (BITS, COLORS, WITH_ALPHA_CHANNEL, formula_color, formula_mask, formula_pixel, row_bytes)


class Archive:
    def __init__(self, data):
        self.data = data
        self.position = 0

    def raw(self, size):
        piece = self.data[self.position:self.position + size]
        assert len(piece) == size, "the archive is too short"
        self.position += size
        return piece

    def value(self, code):
        return struct.unpack("<" + code, self.raw(struct.calcsize(code)))[0]

    def version(self):
        version = self.value("H")
        assert version == 1, f"version {version}"

    def block(self, size):
        return read_block.decode(self.raw(self.value("I")), size)

    def begins_with_format_at(self, position):
        """Whether a bitmap in memory can begin there."""
        if len(self.data) < position + 22:
            return False
        version, height, width, pixel_format, tile_height, tile_width = struct.unpack_from("<H5i", self.data, position)
        return (version == 1 and height >= 0 and width >= 0 and 1 <= pixel_format <= 13 and tile_height >= 1
                and tile_width >= 1)

    def repeats_format_at(self, position):
        """Whether a format information stands there, and another of the same layout behind it."""
        if not self.begins_with_format_at(position) or len(self.data) < position + 34:
            return False
        colors = struct.unpack_from("<I", self.data, position + 30)[0]
        behind = position + 34 + 4 * colors
        return self.data[position:position + 22] == self.data[behind:behind + 22]


def pixel_at(row, x, bits):
    if bits < 8:
        per_byte = 8 // bits
        shift = (per_byte - 1 - x % per_byte) * bits
        return row[x // per_byte] >> shift & ((1 << bits) - 1)
    size = bits // 8
    return int.from_bytes(row[x * size:(x + 1) * size], "little")


def bottom_up_rows(plane, height):
    size = len(plane) // height
    return [plane[(height - 1 - y) * size:(height - y) * size] for y in range(height)]


def check_tile(archive, pixel_format, left, top, width, height, by_formula):
    archive.version()
    head = [archive.value("i") for _ in range(3)]
    assert head == [width, height, pixel_format], f"a tile of {head} at ({left}, {top})"
    bits = BITS[pixel_format]
    rows = bottom_up_rows(archive.block(row_bytes(width, bits) * height), height)
    masks = None
    if pixel_format not in WITH_ALPHA_CHANNEL:
        masks = bottom_up_rows(archive.block(row_bytes(width, 1) * height), height)
    for y in range(height if by_formula else 0):
        for x in range(width):
            place = (left + x, top + y)
            assert pixel_at(rows[y], x, bits) == formula_pixel(pixel_format, *place), f"pixel {place}"
            if masks is not None:
                assert bool(pixel_at(masks[y], x, 1)) == formula_mask(*place), f"mask bit {place}"


def check_format(archive):
    """Gives height, width, format, tile height and tile width."""
    archive.version()
    height, width, pixel_format, tile_height, tile_width, x_resolution, y_resolution = (
        archive.value("i") for _ in range(7))
    assert (x_resolution, y_resolution) == (1000 + pixel_format, 2000 + pixel_format), "resolution"
    colors = archive.value("I")
    assert colors == COLORS.get(pixel_format, 0), f"{colors} colours"
    for i in range(colors):
        assert archive.raw(4) == formula_color(i), f"colour {i}"
    return height, width, pixel_format, tile_height, tile_width


def check_tiles(archive, layout, by_formula=True):
    """Gives the number of pixels."""
    height, width, pixel_format, tile_height, tile_width = layout
    for top in range(0, height, tile_height):
        for left in range(0, width, tile_width):
            check_tile(archive, pixel_format, left, top, min(tile_width, width - left), min(tile_height, height - top),
                       by_formula)
    return width * height


def check_bitmap(archive):
    layout = check_format(archive)
    archive.version()
    return check_tiles(archive, layout)


def check_bitmap_on_file(archive):
    """Reductions are made by a filter: of their pixels nothing is known here."""
    archive.version()
    told = check_format(archive)
    assert check_format(archive) == told, "format information and store differ"
    pixels = check_tiles(archive, told)
    height, width = told[:2]
    for _ in range(archive.value("I") and archive.value("I")):
        height, width = height // 2, width // 2
        archive.version()
        layout = check_format(archive)
        assert layout == (height, width, told[2], 512, 512), f"a reduction of {layout}"
        check_tiles(archive, layout, by_formula=False)
    return pixels


def check_bitmap_with_reductions(archive):
    archive.version()
    pixels = check_bitmap(archive)
    assert archive.value("I") == 1, "no reductions are stored"
    for _ in range(archive.value("I")):
        pixels += check_bitmap(archive)
    return pixels


def main(names):
    if not names:
        sys.exit(__doc__)
    for name in names:
        with open(name, "rb") as file:
            archive = Archive(file.read())
        try:
            if archive.begins_with_format_at(0):
                pixels = check_bitmap(archive)
            elif archive.repeats_format_at(2):
                pixels = check_bitmap_on_file(archive)
            else:
                assert archive.begins_with_format_at(2), "no archive of a bitmap"
                pixels = check_bitmap_with_reductions(archive)
            assert archive.position == len(archive.data), "bytes are left over"
            assert pixels > 0, "no pixels"
        except (AssertionError, read_block.Damaged) as error:
            sys.exit(f"{name}: {error}, near byte {archive.position}")
        print(f"{name}: {pixels} pixels")


if __name__ == "__main__":
    main(sys.argv[1:])
