#!/usr/bin/env python3
"""Decodes compressed blocks, and compares what the golden ones hold with what is known of it.

    read_block.py FOLDER       the folder with the golden blocks

An independent reader of what docs/file-formats.md says: it stands on Python's standard library and the program `zstd`,
shares nothing with the library that wrote the blocks, and refuses whatever the description does not allow.
"""
import hashlib
import os
import subprocess
import sys

EMPTY, STORED, REPEATED, ZSTD, PLANES = range(5)
CONSTANT, BYTES, PAIRS, JOINT = range(4)
NONE, LEFT, UP, MEDIAN = range(4)
ESCAPE = 15


class Damaged(Exception):
    pass


def require(condition, what):
    if not condition:
        raise Damaged(what)


class Bytes:
    """What is left of some bytes."""

    def __init__(self, data):
        self.data = data

    def take(self, count):
        require(count <= len(self.data), "too short")
        piece, self.data = self.data[:count], self.data[count:]
        return piece

    def byte(self):
        return self.take(1)[0]

    def varint(self):
        value = 0
        for group in range(9):
            byte = self.byte()
            value |= (byte & 127) << 7 * group
            if byte < 128:
                require(byte != 0 or group == 0, "a number in a longer form than it needs")
                return value
        raise Damaged("a number that does not end")


def checksum(data):
    padded = data + bytes(-len(data) % 32)
    s, t = [0] * 8, [0] * 8
    for k in range(0, len(padded), 4):
        i = k // 4 % 8
        s[i] = s[i] + int.from_bytes(padded[k:k + 4], "little") & 0xFFFFFFFF
        t[i] = t[i] + s[i] & 0xFFFFFFFF
    h = len(data)
    for i in range(8):
        h = (h ^ s[i]) * 0x9E3779B1 & 0xFFFFFFFF
        h ^= h >> 15
        h = (h ^ t[i]) * 0x85EBCA77 & 0xFFFFFFFF
        h ^= h >> 13
    return h


def decode(block, n):
    """The n bytes that a block holds."""
    if n == 0:
        require(block == bytes([EMPTY]), "no bytes, but no empty block")
        return b""
    require(6 + (n - 1) // 32768 <= len(block) <= n + 5, "a length that no block of so many bytes has")
    body, end = block[:-4], block[-4:]
    require(checksum(body) == int.from_bytes(end, "little"), "checksum")
    forms = {STORED: stored, REPEATED: repeated, ZSTD: frame, PLANES: planes}
    require(body[0] in forms, "an unknown kind")
    return forms[body[0]](Bytes(body[1:]), n)


def stored(body, n):
    require(len(body.data) == n, "a block of another size")
    return body.data


def repeated(body, n):
    least = 6 + (n - 1) // 32768
    block_bytes = 1 + len(body.data) + 4
    require(body.varint() == n, "a block of another size")
    period = body.byte()
    require(1 <= period <= 4 and period < n, "period")
    pattern = body.take(period)
    require(not body.data or block_bytes == least, "zeros that fill up nothing")
    require(not any(body.data), "a filler that is not zero")
    return (pattern * (n // period + 1))[:n]


def frame(body, n):
    require(body.data[:4] == bytes([0x28, 0xB5, 0x2F, 0xFD]), "no zstd frame")
    run = subprocess.run(["zstd", "-d", "-q", "-c"], input=body.data, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    require(run.returncode == 0, "zstd: " + run.stderr.decode())
    require(len(run.stdout) == n, "a frame with content of another size")
    return run.stdout


class Plane:
    def __init__(self, coding, predictor):
        self.coding, self.predictor = coding, predictor
        self.value = 0          # of a constant one
        self.partner = None     # of the first of two joint ones: the second
        self.escapes = 0        # how many
        self.residuals = []


def planes(body, n):
    require(body.varint() == n, "a block of another size")
    flags = body.byte()
    step, color, words = (flags & 3) + 1, bool(flags & 4), bool(flags & 8)
    require(flags < 16 and (not color or step >= 3) and (not words or step == 2), "layout")
    row_bytes = body.varint()
    require(step <= row_bytes <= n, "length of a row")
    height, width = n // row_bytes, row_bytes // step
    kept = read_planes(body, step, height * width)
    require(not words or all(p.coding != CONSTANT and p.predictor == kept[0].predictor for p in kept), "words")

    firsts = [p for p in kept if p.coding != CONSTANT and not any(p is q.partner for q in kept)]
    packed_bytes = sum(height * ((width + 1) // 2 if p.coding == PAIRS else width) for p in firsts)
    rest_bytes = n - height * width * step
    content = Bytes(frame(body, packed_bytes + rest_bytes + sum(p.escapes for p in kept)))
    packed = [(p, content.take(height * ((width + 1) // 2 if p.coding == PAIRS else width))) for p in firsts]
    rest = Bytes(content.take(rest_bytes))
    for plane, data in packed:
        unpack(plane, data, height, width, Bytes(content.take(plane.escapes)))
    for plane in kept:
        if plane.coding == CONSTANT:
            plane.residuals = [plane.value] * (height * width)

    if words:
        samples = restore_words(kept, height, width)
    else:
        samples = [restore(p.residuals, p.predictor, height, width, 256) for p in kept]
    pixels = zip(*samples)
    if color:
        pixels = map(undo_color, pixels)
    return with_rest([bytes(pixel) for pixel in pixels], rest, height, width, row_bytes - width * step)


def read_planes(body, step, samples):
    kept = []
    first_joint = None
    for _ in range(step):
        code = body.byte()
        require(code < 16, "an unknown plane")
        plane = Plane(code & 3, code >> 2)
        kept.append(plane)
        most = 0
        if plane.coding == CONSTANT:
            require(plane.predictor == NONE, "a constant plane with a predictor")
            plane.value = body.byte()
        elif plane.coding == PAIRS:
            most = samples
        elif plane.coding == JOINT and first_joint is None:
            first_joint, most = plane, 2 * samples
        elif plane.coding == JOINT:
            first_joint.partner, first_joint = plane, None
        if most:
            plane.escapes = body.varint()
            require(plane.escapes <= most, "more escapes than residuals")
    require(first_joint is None, "a joint plane with no other")
    return kept


def unpack(plane, data, height, width, escapes):
    def residual(half):
        if half != ESCAPE:
            return half - 7 & 255
        value = escapes.byte()
        require(8 <= value <= 248, "an escape that needed none")
        return value

    if plane.coding == BYTES:
        plane.residuals = list(data)
    elif plane.coding == JOINT:
        both = [residual(half) for byte in data for half in (byte >> 4, byte & 15)]
        plane.residuals, plane.partner.residuals = both[0::2], both[1::2]
    else:
        row_bytes = (width + 1) // 2
        for y in range(height):
            halves = [half for byte in data[y * row_bytes:(y + 1) * row_bytes] for half in (byte >> 4, byte & 15)]
            require(halves[width:] in ([], [7]), "filler behind an odd row")
            plane.residuals += [residual(half) for half in halves[:width]]
    require(not escapes.data, "escapes are left over")


def restore(residuals, predictor, height, width, modulus):
    samples = []
    for i, residual in enumerate(residuals):
        x, y = i % width, i // width
        left = samples[i - 1] if x > 0 else 0
        up = samples[i - width] if y > 0 else 0
        up_left = samples[i - width - 1] if x > 0 and y > 0 else 0
        prediction = {NONE: 0, LEFT: left, UP: up, MEDIAN: sorted((left, up, left + up - up_left))[1]}[predictor]
        samples.append((residual + prediction) % modulus)
    return samples


def restore_words(kept, height, width):
    folded = [low + 256 * high for low, high in zip(kept[0].residuals, kept[1].residuals)]
    residuals = [f // 2 if f % 2 == 0 else -(f + 1) // 2 for f in folded]
    samples = restore(residuals, kept[0].predictor, height, width, 65536)
    return [s & 255 for s in samples], [s >> 8 for s in samples]


def undo_color(pixel):
    b, g, r = pixel[:3]
    g = g - (b + r + 1) // 4 + 64
    return (b + g - 128) % 256, g % 256, (r + g - 128) % 256, *pixel[3:]


def with_rest(pixels, rest, height, width, row_rest):
    rows = [b"".join(pixels[y * width:(y + 1) * width]) + rest.take(row_rest) for y in range(height)]
    return b"".join(rows) + rest.data


# What the golden blocks hold, as the formulas that made it say: how many bytes, and their SHA-256.
GOLDEN = {
    "drawing": (4800, "f60473e9ab1967fde95e03f2eb302af9218581e6c1b517e838c3ed181451e178"),
    "drawing-planes": (21600, "1c87760cbbd83d89508dd954e18e1632a752ddde1760152c0e56deca16709b02"),
    "photo-bgra": (4800, "bc4a1cc40ac30a1bdb285717964b587b3cd5c1dec3a54ddbd0dab5bcaa57842b"),
    "photo-bgra-fast": (4800, "bc4a1cc40ac30a1bdb285717964b587b3cd5c1dec3a54ddbd0dab5bcaa57842b"),
    "photo-bgr-padded": (3720, "e23a6a3c428618a165d1bae5237a862b6a44a322a7d057bd719ab5ed79b1ec1e"),
    "photo-grey": (2400, "69df602348f99076faa228374d996bcc38a1e01e100b62253f40d7cb0c010b01"),
    "grey-words": (2400, "16ac87f59a8d64748f8950bdf58f6fc866e1a5606a4bfbbabe158412ce2a72e0"),
    "photo-grain": (4800, "2876ac1d43807d7ebb7d7c4f7f7566d8b28b9ebab685def3e9ff39842f7697d6"),
    "mask": (960, "4a24d3ca6f770555b2be8a1e41d4316bb953129dc801691b2140311bd7cb5469"),
}


def main(folder):
    for name, (n, digest) in GOLDEN.items():
        with open(os.path.join(folder, name + ".block"), "rb") as file:
            block = file.read()
        try:
            content = decode(block, n)
        except Damaged as damage:
            sys.exit(f"{name}: {damage}")
        if hashlib.sha256(content).hexdigest() != digest:
            sys.exit(f"{name}: other bytes")
        print(f"{name}: {n} bytes")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main(sys.argv[1])
