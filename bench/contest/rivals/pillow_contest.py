#!/usr/bin/python3
"""Pillow's part in the contest: does jobs on request, so that the contest program can give it its turns.

Reads requests from standard input, a line each, and answers on standard output:

    prepare N JOB FROM TO BYTES TABLEBYTES    followed by the pixels of a square and a colour table (R, G, B, A); FROM
                                              and TO are the sides of source and result. "ready": Pillow's own picture
                                              of the source is made, untimed; from now on the job is N
    run N TIMES                               the seconds that so many runs took
    result N                                  the number of bytes, then the pixels of the last run in the form the
                                              contest compares
    forget N                                  "gone": its pictures are

A JOB is a name of JOBS, with its arguments behind colons.
"""
import sys
import time

try:
    from PIL import Image, ImageEnhance, ImageFilter, __version__
except ImportError as error:
    print("failed:", error, flush=True)
    sys.exit(1)

# Memory of pictures is kept between runs, so that no run pays for fresh pages.
Image.core.set_blocks_max(4096)
Image.core.set_block_size(16 << 20)

NO_DITHER = Image.Dither.NONE
DIFFUSION = Image.Dither.FLOYDSTEINBERG


class Source:
    def __init__(self, side, target, pixels, table):
        self.size, self.target, self.pixels, self.table = (side, side), (target, target), pixels, table

    def picture(self, mode, raw=None):
        return Image.frombytes(mode, self.size, self.pixels, "raw", raw or mode)

    def four_channels(self):
        """The bytes B, G, R, A as they are: the colours of "RGBA" would be multiplied with alpha when resized."""
        return self.picture("CMYK")

    def indexed(self):
        picture = self.picture("P")
        picture.putpalette(self.table, "RGBA")
        return picture

    def opaque(self):
        return self.picture("RGBA", "BGRA").convert("RGB")

    def palette(self):
        """A picture that only carries the colour table, as Image.quantize wants it."""
        carrier = Image.new("P", (1, 1))
        carrier.putpalette(b"".join(self.table[i:i + 3] for i in range(0, len(self.table), 4)))
        return carrier


def raw_bytes(mode):
    return lambda picture: picture.tobytes("raw", mode)


def bgra(picture):
    return picture.convert("RGBA").tobytes("raw", "BGRA")


def grey(picture):
    return picture.convert("L").tobytes()


def quantize(source, colours, method):
    # The octree needs the fourth channel, the median cut works without.
    picture, colours, method = source.opaque(), int(colours), Image.Quantize[method]
    if method == Image.Quantize.FASTOCTREE:
        picture = picture.convert("RGBA")
    return lambda: picture.quantize(colours, method)


def diffuse(source, colours, method):
    choose, picture = quantize(source, colours, method), source.opaque()
    return lambda: picture.quantize(int(colours), dither=DIFFUSION, palette=choose())


def to_palette(dither):
    def prepare(source):
        picture, palette = source.opaque(), source.palette()
        return lambda: picture.quantize(256, dither=dither, palette=palette)
    return prepare


def prepared(make, run):
    """A job that runs on a picture which is made beforehand."""
    def prepare(source):
        picture = make(source)
        return lambda: run(picture)
    return prepare


def numbers(text):
    return [float(number) for number in text.split(",")]


def point(source, levels):
    picture, table = source.four_channels(), [int(level) for level in numbers(levels)] * 3 + list(range(256))
    return lambda: picture.point(table)


def color(source, amount):
    picture, amount = source.picture("RGBA", "BGRA"), float(amount)
    return lambda: ImageEnhance.Color(picture).enhance(amount)


def convolve(source, factors):
    factors = numbers(factors)
    side = 3 if len(factors) == 9 else 5
    # Pillow takes the rows of a kernel from the bottom up.
    rows = [factors[i:i + side] for i in range(0, len(factors), side)]
    kernel = ImageFilter.Kernel((side, side), sum(reversed(rows), []), 1)
    picture = source.four_channels()
    return lambda: picture.filter(kernel)


def median(source, span):
    picture, chosen = source.four_channels(), ImageFilter.MedianFilter(int(span))
    return lambda: picture.filter(chosen)


def reduce(source, times):
    picture, times = source.four_channels(), int(times)
    return lambda: picture.reduce(times)


def resize(source, method):
    picture, method = source.four_channels(), Image.Resampling[method]
    return lambda: picture.resize(source.target, method)


def itself(result):
    return result


# Job: how to prepare it, giving what a run does; what the contest compares of a run's result.
JOBS = {
    "bgra_rgba": (lambda s: lambda: s.picture("RGBA", "BGRA"), raw_bytes("RGBA")),
    "bgr_bgra": (lambda s: lambda: s.picture("RGB", "BGR"), bgra),
    "bgra_bgr": (prepared(Source.opaque, lambda p: p.tobytes("raw", "BGR")), itself),
    "premultiply": (prepared(lambda s: s.picture("RGBA", "BGRA"), lambda p: p.convert("RGBa")), raw_bytes("BGRa")),
    "unpremultiply": (prepared(lambda s: s.picture("RGBa", "BGRa"), lambda p: p.convert("RGBA")), raw_bytes("BGRA")),
    "bgra_grey8": (prepared(lambda s: s.picture("RGBA", "BGRA"), lambda p: p.convert("L")), grey),
    "grey8_bgra": (prepared(lambda s: s.picture("L"), lambda p: p.convert("RGBA")), bgra),
    "grey16_grey8": (lambda s: lambda: s.picture("L", "L;16"), grey),
    "grey1_grey8": (lambda s: lambda: s.picture("1"), grey),
    "palette8_bgra": (prepared(Source.indexed, lambda p: p.convert("RGBA")), bgra),
    "bgra_grey1": (prepared(lambda s: s.picture("RGBA", "BGRA"),
                            lambda p: p.convert("1", dither=NO_DITHER).tobytes()), itself),
    "quantize": (quantize, bgra),
    "diffuse": (diffuse, bgra),
    "palette": (to_palette(NO_DITHER), bgra),
    "palette_diffuse": (to_palette(DIFFUSION), bgra),
    "web_diffuse": (prepared(Source.opaque, lambda p: p.convert("P", dither=DIFFUSION)), bgra),
    "point": (point, raw_bytes("CMYK")),
    "color": (color, raw_bytes("BGRA")),
    "convolve": (convolve, raw_bytes("CMYK")),
    "median": (median, raw_bytes("CMYK")),
    "reduce": (reduce, raw_bytes("CMYK")),
    "resize": (resize, raw_bytes("CMYK")),
}


class Run:
    """A job at work on a source."""

    def __init__(self, source, job):
        name, *arguments = job.split(":")
        prepare, self.compared = JOBS[name]
        self.run, self.result = prepare(source, *arguments), None

    def timed(self, times):
        self.result = None
        start = time.perf_counter()
        for _ in range(times):
            result = self.run()
        seconds = time.perf_counter() - start
        self.result = result
        return seconds


def serve(requests, answers):
    runs = {}

    def answer(text, pixels=b""):
        answers.write(text.encode() + b"\n" + pixels)
        answers.flush()

    for line in requests:
        verb, number, *words = line.decode().split()
        if verb == "prepare":
            side, target, count, table_count = map(int, words[1:])
            runs[number] = Run(Source(side, target, requests.read(count), requests.read(table_count)), words[0])
            answer("ready")
        elif verb == "run":
            answer(repr(runs[number].timed(int(words[0]))))
        elif verb == "result":
            pixels = runs[number].compared(runs[number].result)
            answer(str(len(pixels)), pixels)
        elif verb == "forget":
            del runs[number]
            answer("gone")


if __name__ == "__main__":
    print("Pillow", __version__, flush=True)
    serve(sys.stdin.buffer, sys.stdout.buffer)
