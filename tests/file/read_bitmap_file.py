#!/usr/bin/env python3
"""Takes bitmaps' files apart, and compares every pixel with the formula.

    read_bitmap_file.py FILE...

An independent reader of what docs/file-formats.md says: it stands on the standard library alone and shares nothing with
the library that wrote the files.
"""
import pathlib
import struct
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support_code"))

from formula_picture import (BGRA_32, BITS, COLORS, WITH_ALPHA_CHANNEL, formula_color, formula_mask, formula_pixel,
                             row_bytes)


def take(data, position, size):
    assert 0 <= position and position + size <= len(data), f"{size} bytes at {position} do not lie in the file"
    return data[position:position + size]


def check_signature(data, position, text):
    block = take(data, position, 49)
    assert block[:45] == text + b"\0", f"no signature at {position}"
    assert struct.unpack("<i", block[45:])[0] == 1, "the version is not 1"


class Tile:
    """Planes lie bottom row first."""

    def __init__(self, data, position, width, height, pixel_format):
        self.height, self.format = height, pixel_format
        self.stride, self.mask_stride = row_bytes(width, BITS[pixel_format]), row_bytes(width, 1)
        self.pixels = take(data, position, self.stride * height)
        masked = pixel_format not in WITH_ALPHA_CHANNEL
        self.mask = take(data, position + len(self.pixels), self.mask_stride * height) if masked else None

    def pixel(self, x, y):
        row, bits = (self.height - 1 - y) * self.stride, BITS[self.format]
        if bits < 8:
            return self.pixels[row + x * bits // 8] >> (8 - bits - x * bits % 8) & ((1 << bits) - 1)
        first = row + x * bits // 8
        return int.from_bytes(self.pixels[first:first + bits // 8], "little")

    def is_opaque(self, x, y):
        return self.mask[(self.height - 1 - y) * self.mask_stride + x // 8] >> (7 - x % 8) & 1


class Store:
    def __init__(self, data, base):
        check_signature(data, base, b"ZVSRFS{EFBEE140-81DC-4651-9A18-AAE60DC7ADD1}")
        header = take(data, base + 49, 1264)
        (self.height, self.width, self.tile_height, self.tile_width, self.format,
         self.color_count) = struct.unpack_from("<5iI", header)
        self.colors = [header[24 + 4 * i:28 + 4 * i] for i in range(256)]
        self.x_resolution, self.y_resolution, table = struct.unpack_from("<iiq", header, 1048)
        self.reserved = header[1064:]
        assert table == 2577, f"the table is at {table}"
        assert take(data, base + 1313, 1264) == bytes(1264), "the gap is not zero"
        self.read_tiles(data, base, base + table)

    def read_tiles(self, data, base, at):
        def number(code, size):
            nonlocal at
            at += size
            return struct.unpack("<" + code, take(data, at - size, size))[0]

        rows = number("i", 4)
        assert rows == -(-self.height // self.tile_height), f"{rows} rows of tiles"
        self.tiles = {}
        for row in range(rows):
            columns = number("i", 4)
            assert columns == -(-self.width // self.tile_width), f"{columns} tiles in a row"
            for column in range(columns):
                width = min(self.tile_width, self.width - column * self.tile_width)
                height = min(self.tile_height, self.height - row * self.tile_height)
                position = number("q", 8)
                if position != 0:
                    self.tiles[row, column] = Tile(data, base + position, width, height, self.format)

    def at(self, x, y):
        """The tile of a pixel, and the pixel's place in it."""
        tile = self.tiles[y // self.tile_height, x // self.tile_width]
        return tile, x % self.tile_width, y % self.tile_height


def check_picture(store):
    assert store.color_count == COLORS.get(store.format, 0), "colours"
    for i in range(256):
        color = formula_color(i) if i < store.color_count else bytes((0, 0, 0, 255))
        assert store.colors[i] == color, f"colour {i} is {store.colors[i]}"
    assert (store.x_resolution, store.y_resolution) == (1000 + store.format, 2000 + store.format), "resolution"
    for y in range(store.height):
        for x in range(store.width):
            tile, tile_x, tile_y = store.at(x, y)
            assert tile.pixel(tile_x, tile_y) == formula_pixel(store.format, x, y), f"pixel ({x}, {y})"
            if tile.mask is not None:
                assert tile.is_opaque(tile_x, tile_y) == formula_mask(x, y), f"mask bit ({x}, {y})"


def check_level(level, above):
    assert (level.width, level.height) == (above.width // 2, above.height // 2), "a level is not half as large"
    assert level.format == (BGRA_32 if above.format in COLORS else above.format), "a level's format"
    assert (level.tile_width, level.tile_height) == (512, 512), "a level's tiles"
    assert (0, 0) in level.tiles, "a level has no tile"


def check(name):
    with open(name, "rb") as file:
        data = file.read()
    check_signature(data, 0, b"ZVSRFB{FC3D43BA-281B-4C12-9870-6FDCC9FAADF1}")
    count = struct.unpack_from("<I", data, 49)[0]
    slots = struct.unpack_from("<32q", data, 53)
    assert 1 <= count <= 32 and slots[0] == 509, f"{count} levels, the first at {slots[0]}"
    assert not any(slots[count + 1:]) and data[309:509] == bytes(200), "what is not used is not zero"
    levels = [Store(data, slots[i]) for i in range(count)]
    check_picture(levels[0])
    assert levels[0].reserved == bytes(200), "its levels are said to be old"
    for above, level in zip(levels, levels[1:]):
        check_level(level, above)
    print(f"{name}: {levels[0].width} x {levels[0].height}, format {levels[0].format}, {count} levels")


if __name__ == "__main__":
    assert len(sys.argv) > 1, "no file is given"
    for each in sys.argv[1:]:
        check(each)
