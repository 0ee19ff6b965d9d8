#!/usr/bin/env python3
"""Computes every filter anew, as docs/filters.md defines it, and compares with what the library gave, bit for bit.

    filters_reference.py FILTERS_DUMP      (the program beside this file)

The functions follow the document, section by section, and nothing else: plain words, no shortcuts. A picture is a list
of lines of pixels (B, G, R, A). Whole numbers are Python's, of any size; floats are IEEE doubles, one rounding a step.
"""
import functools
import itertools
import math
import struct
import subprocess
import sys

HALF = 0.5 + 2.0 ** -32


def clamp(value, low=0, high=255):
    return max(low, min(high, value))


# Brightness, contrast, saturation, desaturation


def map_levels(picture, level_of):
    return [[(level_of(b), level_of(g), level_of(r), a) for b, g, r, a in line] for line in picture]


def brightness(picture, amount):
    change = lambda c: amount * (255 - c) if amount >= 0 else amount * c
    return map_levels(picture, lambda c: clamp(c + math.floor(change(c) + HALF)))


def tangent_of_quarters(angle):
    x = angle * 0.78539816339744830962
    square = x * x
    sine = cosine = 1.0
    for n in range(20, 0, -2):
        cosine = 1 - square / (n * (n - 1)) * cosine
        sine = 1 - square / (n * (n + 1)) * sine
    return x * sine / cosine


def contrast(picture, amount):
    tangent = tangent_of_quarters(1 - abs(amount))
    slope = tangent if amount <= 0 else 1 / tangent if tangent * 255 > 1 else 255.0
    return map_levels(picture, lambda c: clamp(math.floor(127.5 + slope * (c - 127.5) + HALF)))


def thousandfold_luma(pixel):
    return 114 * pixel[0] + 587 * pixel[1] + 299 * pixel[2]


def saturation(picture, amount):
    A = math.floor(amount * 2 ** 14 + 0.5)

    def saturated(pixel):
        luma = ((2 ** 14 - A) * thousandfold_luma(pixel) + 500 * 2 ** 14) // 1000
        return tuple(clamp((A * c + luma) // 2 ** 14) for c in pixel[:3]) + pixel[3:]

    return [[saturated(pixel) for pixel in line] for line in picture]


def desaturation(picture):
    grey = lambda pixel: (thousandfold_luma(pixel) + 500) // 1000
    return [[(grey(pixel),) * 3 + pixel[3:] for pixel in line] for line in picture]


# Convolutions


def neighbourhood(picture, x, y, side):
    """The pixels that a window of `side` by `side` about a pixel holds, row by row; the border's beyond borders."""
    reach, width, height = side // 2, len(picture[0]), len(picture)
    return [picture[clamp(y + j, 0, height - 1)][clamp(x + i, 0, width - 1)]
            for j in range(-reach, reach + 1) for i in range(-reach, reach + 1)]


def each_neighbourhood(picture, side, color_of):
    """Each of B, G and R by itself from the neighbourhood's; alpha is handed through."""
    def result(x, y):
        channels = list(zip(*neighbourhood(picture, x, y, side)))
        return tuple(color_of(channel) for channel in channels[:3]) + (picture[y][x][3],)

    return [[result(x, y) for x in range(len(picture[0]))] for y in range(len(picture))]


def convolution(picture, side, kernel, divisor, bias):
    if divisor == 0:
        total = magnitudes = 0.0
        for k in kernel:
            total += k
            magnitudes += abs(k)
        divisor = total if abs(total) > 2.0 ** -40 * magnitudes else 1.0

    def color(levels):
        total = 0.0
        for k, c in zip(kernel, levels):
            total += k * c
        return int(clamp(math.floor(total / divisor + bias + HALF)))

    return each_neighbourhood(picture, side, color)


def outer(column, row):
    return [a * b for a in column for b in row]


MODES = {  # kernel, divisor, bias
    (3, "blur"): ([1] * 9, 9, 0),
    (5, "blur"): ([1] * 25, 25, 0),
    (3, "gaussian"): (outer((1, 2, 1), (1, 2, 1)), 16, 0),
    (5, "gaussian"): (outer((1, 4, 6, 4, 1), (1, 4, 6, 4, 1)), 256, 0),
    (3, "sharpen"): ([0, -1, 0, -1, 5, -1, 0, -1, 0], 1, 0),
    (5, "sharpen"): ([-1] * 6 + [2, 2, 2, -1, -1, 2, 8, 2, -1, -1, 2, 2, 2] + [-1] * 6, 8, 0),
    (3, "edge"): ([-1] * 4 + [8] + [-1] * 4, 1, 0),
    (5, "edge"): ([0, 0, -1, 0, 0, 0, -1, -2, -1, 0, -1, -2, 16, -2, -1, 0, -1, -2, -1, 0, 0, 0, -1, 0, 0], 1, 0),
    (3, "sobelHorizontal"): (outer((-1, 0, 1), (1, 2, 1)), 1, 128),
    (5, "sobelHorizontal"): (outer((-1, -2, 0, 2, 1), (1, 4, 6, 4, 1)), 16, 128),
    (3, "sobelVertical"): (outer((1, 2, 1), (-1, 0, 1)), 1, 128),
    (5, "sobelVertical"): (outer((1, 4, 6, 4, 1), (-1, -2, 0, 2, 1)), 16, 128),
    (3, "emboss"): ([(i + j > 2) - (i + j < 2) for j in range(3) for i in range(3)], 1, 128),
    (5, "emboss"): ([(i + j > 4) - (i + j < 4) for j in range(5) for i in range(5)], 3, 128),
}


def mode(picture, side, name):
    kernel, divisor, bias = MODES[side, name]
    return convolution(picture, side, kernel, divisor, bias)


def sharpening(picture, amount):
    a = abs(amount)
    if amount < 0:
        return convolution(picture, 3, [a] * 4 + [9 - 8 * a] + [a] * 4, 9, 0)
    return convolution(picture, 3, [0, -a, 0, -a, 1 + 4 * a, -a, 0, -a, 0], 1, 0)


# Median


def median(picture, span):
    side = min(span | 1, 255)
    return each_neighbourhood(picture, side, lambda levels: sorted(levels)[(side * side + 1) // 2 - 1])


# Resampling

POINT = 28
ONE = 1 << POINT


def cubic(t, a, b, c, d):
    value = a * ONE
    for coefficient in (b, c, d):
        value = (value * t >> POINT) + coefficient * ONE
    return value


# How far each reaches, and its values, times a number that does not matter.
KERNELS = {
    "box": (0.5, lambda t: ONE),
    "bilinear": (1, lambda t: ONE - t),
    "bicubic0": (2, lambda t: cubic(t, 3, -5, 0, 2) if t < ONE else cubic(t, -1, 5, -8, 4)),
    "bicubic1": (2, lambda t: cubic(t, 21, -36, 0, 16) if t < ONE else cubic(t, -7, 36, -60, 32)),
    "bicubic2": (2, lambda t: cubic(t, 3, -6, 0, 4) if t < ONE else cubic(t, -1, 6, -12, 8)),
}


def weight_bits(before, after):
    return clamp(15 + max(before // after, 1).bit_length() - 1, 15, 18)


def weights(kernel, before, after, place):
    """Pairs of an input pixel and its weight, for the output pixel at `place`."""
    if kernel == "bilinear" and before == 2 * after:
        kernel = "box"
    reach, value_at = KERNELS[kernel]
    unit = 2 * max(before, after)
    distance = lambda i: abs((2 * place + 1) * before - (2 * i + 1) * after)
    reached = [i for i in range(before) if distance(i) < reach * unit]
    values = [value_at(distance(i) * ONE // unit) for i in reached]
    coarser = max(len(reached).bit_length() - 9, 0)
    if coarser:
        values = [value + (1 << coarser >> 1) >> coarser for value in values]
    whole, total, sums = 1 << weight_bits(before, after), sum(values), [0]
    running = 0
    for value in values:
        running += value
        sums.append(nearest_part(running, total, whole))
    return [(i, sums[n + 1] - sums[n]) for n, i in enumerate(reached)]


def nearest_part(part, total, whole):
    """whole * part / total to nearest; a half toward whole / 2."""
    if 2 * part > total:
        return whole - nearest_part(total - part, total, whole)
    return (2 * part * whole + total) // (2 * total)


def weighed(values, pairs):
    return [sum(weight * values[i][c] for i, weight in pairs) for c in range(4)]


def sums_across(line, across):
    return [weighed(line, pairs) for pairs in across]


def resize(picture, kernel, width, height):
    before_width, before_height = len(picture[0]), len(picture)
    if kernel == "nearest":
        return [[picture[(2 * y + 1) * before_height // (2 * height)][(2 * x + 1) * before_width // (2 * width)]
                 for x in range(width)] for y in range(height)]
    across = [weights(kernel, before_width, width, x) for x in range(width)]
    plain = [sums_across(line, across) for line in picture]
    premultiplied = [sums_across([(b * a, g * a, r * a, a) for b, g, r, a in line], across) for line in picture]
    scale = 2.0 ** -(weight_bits(before_width, width) + weight_bits(before_height, height))
    result = []
    for y in range(height):
        down = weights(kernel, before_height, height, y)
        is_opaque = all(pixel[3] == 255 for i, _ in down for pixel in picture[i])
        line = []
        for x in range(width):
            is_up = (min(x, width - 1 - x) + min(y, height - 1 - y)) % 2 == 0
            tie_breaker = 2.0 ** -37 if is_up else -(2.0 ** -37)
            rounded = lambda value: round(clamp(value + tie_breaker, 0.0, 255.0))
            plain_values = [s * scale for s in weighed([row[x] for row in plain], down)]
            values = [s * scale for s in weighed([row[x] for row in premultiplied], down)]
            alpha = values[3]
            if is_opaque:
                line.append(tuple(rounded(value) for value in plain_values))
            elif alpha > 0:
                reciprocal = 1 / alpha
                line.append(tuple(rounded(value * reciprocal) for value in values[:3]) + (rounded(alpha),))
            else:
                line.append(tuple(rounded(value) for value in plain_values[:3]) + (0,))
        result.append(line)
    return result


# Colour quantisers


class Point:
    """Pixels of like colour: how many, the sums of their channels, and the mean, halves up."""

    def __init__(self, weight=0, sums=(0, 0, 0)):
        self.weight, self.sums = weight, tuple(sums)
        if weight:
            self.mean = tuple((2 * s + weight) // (2 * weight) for s in self.sums)

    def __add__(self, other):
        return Point(self.weight + other.weight, map(sum, zip(self.sums, other.sums)))


def total_of(points):
    return Point(sum(p.weight for p in points), [sum(p.sums[c] for p in points) for c in range(3)])


def gather(points, key_of):
    """Points of one key put together, in the order in which the keys come."""
    groups = {}
    for point in points:
        groups.setdefault(key_of(point), []).append(point)
    return {key: total_of(group) for key, group in groups.items()}


def upper_bits(bits):
    return lambda point: tuple(level >> (8 - bits) for level in point.mean)


def colors_of(picture):
    pixels = [pixel for line in picture for pixel in line]
    counted = [pixel[:3] for pixel in pixels if pixel[3]] or [pixel[:3] for pixel in pixels]
    return list(gather([Point(1, color) for color in counted], lambda point: point.mean).values())


def in_cells(colors, bits):
    if len(colors) <= 2 ** 14:
        return colors
    cells = gather(colors, upper_bits(bits))
    return [cells[key] for key in sorted(cells)]


def points_of(colors):
    return in_cells(colors, 6)


def finest_points(colors):
    return in_cells(colors, 8 if len(colors) <= 2 ** 18 else 7 if len(colors) <= 2 ** 19 else 6)


def squared_distance(a, b):
    blue, green, red = a[0] - b[0], a[1] - b[1], a[2] - b[2]
    return blue * blue + green * green + red * red


def nearest(palette, color):
    distances = [squared_distance(entry, color) for entry in palette]
    return distances.index(min(distances))


def first_largest(items, key):
    return max(range(len(items)), key=lambda i: (key(items[i]), -i))


def cut_into_boxes(points, count, best_cut):
    """`best_cut` gives for a box (use, channel, first value of the upper part)."""
    boxes = [(points, best_cut(points))]
    while len(boxes) < count:
        at = first_largest(boxes, lambda box: box[1][0])
        box, (use, channel, start) = boxes[at]
        if not use > 0:
            break
        parts = [[p for p in box if p.mean[channel] < start], [p for p in box if p.mean[channel] >= start]]
        boxes[at] = (parts[0], best_cut(parts[0]))
        boxes.append((parts[1], best_cut(parts[1])))
    return [total_of(box) for box, _ in boxes]


def extent(box, channel):
    values = [point.mean[channel] for point in box]
    return max(values) - min(values)


def median_cut(box):
    channel = first_largest(range(3), lambda c: extent(box, c))
    width, whole = extent(box, channel), sum(p.weight for p in box)
    if width == 0:
        return 0, channel, 0
    by_value = {}
    for point in box:
        by_value[point.mean[channel]] = by_value.get(point.mean[channel], 0) + point.weight
    values = sorted(by_value)
    below, start = by_value[values[0]], 1
    while start < len(values) - 1 and below + by_value[values[start]] // 2 < whole // 2:
        below += by_value[values[start]]
        start += 1
    return float(whole) * width, channel, values[start]


def gain(a, b):
    square = 0.0
    for c in range(3):
        difference = a.sums[c] / a.weight - b.sums[c] / b.weight
        square += difference * difference
    return square * (float(a.weight) * b.weight / (a.weight + b.weight))


def variance_cut(box):
    best = (0.0, 0, 0)
    whole = total_of(box)
    for channel in range(3):
        slices = gather(box, lambda point: point.mean[channel])
        values = sorted(slices)
        below = Point()
        for i in range(1, len(values)):
            below += slices[values[i - 1]]
            above = Point(whole.weight - below.weight, [s - t for s, t in zip(whole.sums, below.sums)])
            use = gain(below, above)
            if use > best[0]:
                best = (use, channel, values[i])
    return best


def refine(palette, points):
    for round_number in range(7):
        nearest_entries = [nearest(palette, point.mean) for point in points]
        errors = [float(p.weight) * squared_distance(p.mean, palette[i]) for p, i in zip(points, nearest_entries)]
        followers = [[] for _ in palette]
        for p, i in zip(points, nearest_entries):
            followers[i].append(p)
        before = list(palette)
        if round_number < 6:
            palette = [total_of(group).mean if group else old for group, old in zip(followers, palette)]
        has_moved = palette != before
        without = [at for at, group in enumerate(followers) if not group]
        worst = sorted(range(len(points)), key=lambda i: (-errors[i], points[i].mean))
        for at, i in zip(without, worst):
            palette[at] = points[i].mean
        if not has_moved and not without:
            break
    return palette


def merge_in_pairs(points, count):
    def loss(a, b):
        square = 0.0
        for c in range(3):
            difference = means[a][c] - means[b][c]
            square += difference * difference
        return square * (weights[a] * weights[b] / (weights[a] + weights[b]))

    def find_partner(i):
        best = (math.inf, None)
        for j in groups:
            if j != i and loss(i, j) < best[0]:
                best = (loss(i, j), j)
        partners[i] = best

    def measure(i):
        weights[i] = float(groups[i].weight)
        means[i] = [s / groups[i].weight for s in groups[i].sums]

    groups, weights, means, partners = dict(enumerate(points)), {}, {}, {}
    for i in groups:
        measure(i)
    for i in groups:
        find_partner(i)
    while len(groups) > count:
        kept = min(groups, key=lambda i: (partners[i][0], i))
        gone = partners[kept][1]
        groups[kept] += groups.pop(gone)
        measure(kept)
        for i in groups:
            if i == kept or partners[i][1] in (kept, gone):
                find_partner(i)
    return [groups[i] for i in sorted(groups)]


def fine_mean(point):
    return tuple((2 * 16 * s + point.weight) // (2 * point.weight) for s in point.sums)


class Clusters:
    """Centres in sixteenths of levels, and the points that are nearest to each."""

    def __init__(self, points, centers):
        self.points, self.places = points, [fine_mean(point) for point in points]
        self.start(centers)

    def start(self, centers):
        self.centers = list(centers)
        self.belongs = [nearest(self.centers, place) for place in self.places]

    def errors(self):
        return [float(point.weight) * squared_distance(place, self.centers[i])
                for point, place, i in zip(self.points, self.places, self.belongs)]

    def error(self):
        total = 0.0
        for error in self.errors():
            total += error
        return total

    def settle(self, rounds):
        for _ in range(rounds):
            weights, sums = [0] * len(self.centers), [[0, 0, 0] for _ in self.centers]
            for point, place, i in zip(self.points, self.places, self.belongs):
                weights[i] += point.weight
                for c in range(3):
                    sums[i][c] += point.weight * place[c]
            moved = [tuple((2 * s + w) // (2 * w) for s in sum3) if w else center
                     for w, sum3, center in zip(weights, sums, self.centers)]
            if moved == self.centers:
                return
            self.start(moved)

    def best_swaps(self):
        """From the most promising on: the centre taken away, the one cut, and what takes their places."""
        costs = [0.0] * len(self.centers)
        for point, place, i in zip(self.points, self.places, self.belongs):
            distances = [squared_distance(place, center) for center in self.centers]
            second = min(distances[:i] + distances[i + 1:])
            costs[i] += float(point.weight) * (second - distances[i])
        swaps = []
        for cut in range(len(self.centers)):
            members = [point for point, i in zip(self.points, self.belongs) if i == cut]
            if len(members) < 2:
                continue
            parts = cut_into_boxes(members, 2, variance_cut)
            for removed in range(len(self.centers)):
                if removed != cut:
                    swaps.append((gain(*parts) * 256 - costs[removed], removed, cut, parts))
        return sorted(swaps, key=lambda swap: -swap[0])

    def exchange(self, tries):
        has_gained = len(self.centers) > 1
        while has_gained and tries:
            has_gained = False
            for _, removed, cut, parts in self.best_swaps():
                if has_gained or not tries:
                    break
                tries -= 1
                old, before = self.centers, self.error()
                centers = list(old)
                centers[removed], centers[cut] = map(fine_mean, parts)
                self.start(centers)
                self.settle(4)
                has_gained = self.error() < 0.9999 * before
                if not has_gained:
                    self.start(old)


def coarse_points(points, count):
    bits = 8
    while len(points) > max(2 ** 13, 128 * count):
        bits -= 1
        points = list(gather(points, upper_bits(bits)).values())
    return points


def best_of_coarse(points, count):
    boxes = cut_into_boxes(points, 512 + 2 * count, variance_cut)
    starts = [cut_into_boxes(points, count, variance_cut), merge_in_pairs(boxes, count)]
    by_cutting, by_merging = [Clusters(points, map(fine_mean, start)) for start in starts]
    by_cutting.settle(6)
    by_merging.settle(6)
    best = by_cutting if by_cutting.error() < by_merging.error() else by_merging
    if count <= 64:
        best.exchange(48)
    best.settle(40)
    return best.centers


def with_emphasis(point):
    factor = math.floor(16 * math.sqrt(math.sqrt(math.sqrt(point.weight))))
    return Point(point.weight * factor, [s * factor for s in point.sums])


def best_greys(points, count):
    levels = sorted(points, key=lambda point: point.mean)

    def error(start, end):
        mean = total_of(levels[start:end]).mean[0]
        total = 0.0
        for point in levels[start:end]:
            total += float(point.weight) * (point.mean[0] - mean) ** 2
        return total

    errors = {(start, end): error(start, end) for end in range(len(levels) + 1) for start in range(end)}
    best = {end: (errors[0, end], [0]) for end in range(1, len(levels) + 1)}
    for k in range(2, count + 1):
        best = {end: min(((best[start][0] + errors[start, end], best[start][1] + [start])
                          for start in range(k - 1, end)), key=lambda choice: choice[0])
                for end in range(k, len(levels) + 1)}
    starts = best[len(levels)][1]
    return [total_of(levels[start:end]).mean for start, end in zip(starts, starts[1:] + [len(levels)])]


def median5(colors, count):
    points = points_of(colors)
    merged = list(gather(points, upper_bits(5)).values())
    boxes = cut_into_boxes(points if len(merged) < count else merged, count, median_cut)
    return [box.mean for box in boxes]


def median8(colors, count):
    points = finest_points(colors)
    if all(b == g == r for b, g, r in (point.mean for point in points)):
        return best_greys(points, count)
    weighed = [with_emphasis(point) for point in points] if count >= 32 else points
    clusters = Clusters(weighed, best_of_coarse(coarse_points(weighed, count), count))
    clusters.settle(10)
    return refine([tuple((c + 8) // 16 for c in center) for center in clusters.centers], points)


def popularity(colors, count):
    points = points_of(colors)

    def most_frequent(colors):
        return [p.mean for p in sorted(colors, key=lambda p: -p.weight)[:count]]

    def error(palette):
        total = 0.0
        for p in points:
            total += float(p.weight) * min(squared_distance(p.mean, entry) for entry in palette)
        return total

    best = most_frequent(points)
    least = error(best)
    for bits in (6, 5, 4, 3, 2, 1):
        cells = list(gather(points, upper_bits(bits)).values())
        if len(cells) < count:
            break
        if len(cells) == len(points):  # the same colours, so the same palette
            continue
        palette = most_frequent(cells)
        if error(palette) <= 0.5 * least:
            best, least = palette, error(palette)
    return best


QUANTIZERS = {"median5": median5, "median8": median8, "popularity": popularity}


def quantizer(picture, by, colors):
    found = colors_of(picture)
    palette = [p.mean for p in found] if len(found) <= colors else QUANTIZERS[by](found, colors)
    known = {}
    for line in picture:
        for pixel in line:
            if pixel[:3] not in known:
                known[pixel[:3]] = nearest(palette, pixel[:3])
    return palette, [[known[pixel[:3]] for pixel in line] for line in picture]


# Ditherers

VGA = [(0, 0, 0), (128, 0, 0), (0, 128, 0), (128, 128, 0), (0, 0, 128), (128, 0, 128), (0, 128, 128), (192, 192, 192),
       (128, 128, 128), (255, 0, 0), (0, 255, 0), (255, 255, 0), (0, 0, 255), (255, 0, 255), (0, 255, 255),
       (255, 255, 255)]  # R, G, B


def fixed_palette(count):
    if count >= 256:
        steps = range(0, 256, 51)
        cube = [(b, g, r) for r in steps for g in steps for b in steps]
        greys = [(2 * 255 * i + 45) // 90 for i in range(46)]
        return cube + [(grey,) * 3 for grey in greys if grey not in steps]
    if count >= 16:
        return [(b, g, r) for r, g, b in VGA]
    return [(0, 0, 0), (255, 255, 255)]


def to_luma(picture):
    luma = lambda b, g, r: (7471 * b + 38470 * g + 19595 * r + 32768) // 65536
    return [[(luma(*pixel[:3]),) * 3 + pixel[3:] for pixel in line] for line in picture]


def ditherer(picture, by, palette, strength):
    shown = to_luma(picture) if all(b == g == r for b, g, r in palette) else picture
    if by == "diffuse":
        return palette, diffuse(shown, palette)
    bayer = bayer_thresholds if len(set(palette)) < 32 else short_bayer_thresholds
    return palette, ordered(shown, palette, {"ordered": bayer, "blue-noise": blue_noise_thresholds}[by], strength)


def bayer_rank(x, y):
    rank = 0
    for i in range(6):
        rank = 4 * rank + 2 * ((x >> i ^ y >> i) & 1) + (y >> i & 1)
    return rank


def bayer_thresholds(x, y):
    """Of the mixture (0 .. 1023) and of the lattice (0 .. 3)."""
    rank = bayer_rank(x, y)
    return rank // 4, (2 * (rank >> 6 & 1) + (rank >> 7 & 1) + rank) % 4


def short_bayer_thresholds(x, y):
    rank = bayer_rank(x, y)
    return 16 * (rank // 64) + (10 if rank & 32 else 6), 2 * (rank >> 6 & 1) + (rank >> 7 & 1)


def bell(sigma, side):
    away = lambda d: min(d, side - d) ** 2
    return [[round(2 ** 40 * math.exp(-(away(dx) + away(dy)) / (2 * sigma ** 2))) for dx in range(side)]
            for dy in range(side)]


class Spots:
    """Places of a square that are set, with the sums of the bells around them."""

    def __init__(self, places):
        self.bell, self.set, self.sums = bell(1.5, 64), set(), [0] * 4096
        for place in places:
            self.turn(place)

    def turn(self, place):
        sign = -1 if place in self.set else 1
        self.set ^= {place}
        for other in range(4096):
            self.sums[other] += sign * self.bell[(other // 64 - place // 64) % 64][(other - place) % 64]

    def cluster(self):
        return max(sorted(self.set), key=lambda place: self.sums[place])

    def void(self):
        return min((place for place in range(4096) if place not in self.set), key=lambda place: self.sums[place])


@functools.lru_cache(None)
def blue_noise():
    state, first = 1, []
    while len(first) < 409:
        state = (1664525 * state + 1013904223) % 2 ** 32
        if state >> 20 not in first:
            first.append(state >> 20)
    spots = Spots(first)
    while True:
        cluster = spots.cluster()
        spots.turn(cluster)
        void = spots.void()
        spots.turn(void)
        if void == cluster:
            break
    first, ranks = set(spots.set), {}
    for rank in reversed(range(409)):
        ranks[spots.cluster()] = rank
        spots.turn(spots.cluster())
    spots = Spots(first)
    for rank in range(409, 4096):
        ranks[spots.void()] = rank
        spots.turn(spots.void())
    return ranks


def blue_noise_thresholds(x, y):
    return divmod(blue_noise()[64 * y + x], 4)


def lattice_level(level, step, threshold):
    base = level // 8 * 8
    above = 8 if level == 255 and step > 1 else level - base
    return min(255, base + step * ((above + (3 - threshold) * step // 4) // step))


def ordered(picture, palette, thresholds_at, strength):
    mixer = Mixer(palette, strength)
    result = []
    for y, line in enumerate(picture):
        indices = []
        for x, pixel in enumerate(line):
            color = pixel[:3]
            if color in palette:
                indices.append(palette.index(color))
                continue
            mixture_threshold, lattice_threshold = thresholds_at(x % 64, y % 64)
            step = mixer.step_around(tuple(level // 8 * 8 + 4 for level in color))
            entries, ends = mixer.mixture_of(tuple(lattice_level(v, step, lattice_threshold) for v in color))
            indices.append(palette.index(entries[sum(end <= 1023 - mixture_threshold for end in ends)]))
        result.append(indices)
    return result


REGULAR, TOLERANCE = 1e-8, 1e-7


def squared_distance(a, b):
    return sum((p - q) ** 2 for p, q in zip(a, b))


def single(value):
    """Rounded to a 32-bit float. (Of sums, products and quotients of such doubles lose nothing that would tell.)"""
    return struct.unpack("f", struct.pack("f", value))[0]


def rising_bits(value):
    """Without the lowest byte."""
    bits = struct.unpack("i", struct.pack("f", value))[0]
    return (bits ^ (bits >> 31 & 0x7FFFFFFF)) >> 8


class Mixer:
    """The search for mixtures, operation by operation as the document lists it."""

    def __init__(self, palette, strength):
        self.strength = strength
        self.palette = list(dict.fromkeys(palette))
        corners = sum(all(v in (0, 255) for v in entry) for entry in self.palette)
        few = len(self.palette) < 32
        if corners == 8 or all(b == g == r for b, g, r in palette):
            spread, self.reach, along_greys, self.for_two, self.for_four = 0.005, 0.0, 1.0 / 6, 4, 1000
        elif few:
            spread, self.reach, along_greys, self.for_two, self.for_four = 0.041, 1.9, 1.0 / 64, 32, 64
        else:
            spread, self.reach, along_greys, self.for_two, self.for_four = 0.0285, 1.9, 1.0 / 64, 20, 40
        if len(self.palette) < 4:
            self.reach = 0.0
        self.spread, self.along_greys, self.reach = single(spread), single(along_greys), single(single(self.reach) ** 2)
        self.mixtures, self.steps, self.nears = {}, {}, {}

    def fourth(self, color):
        return sorted(squared_distance(entry, color) for entry in self.palette)[:4][-1]

    def step_around(self, color):
        if color not in self.steps:
            fourth = self.fourth(color)
            self.steps[color] = (1 if self.strength == 0 or fourth < self.for_two ** 2 else
                                 2 if fourth < self.for_four ** 2 else 4)
        return self.steps[color]

    def near(self, color):
        """The numbers of the entries that are looked at."""
        cell = tuple(v // 8 * 8 for v in color)
        if self.reach > 0:
            return range(len(self.palette))
        if cell not in self.nears:
            outside = [[max(low - v, v - (low + 7)) for v, low in zip(entry, cell)] for entry in self.palette]
            limit = 0
            for corner in itertools.product((0, 1), repeat=3):
                beyond = [sum((out + 7) ** 2 for out in outs) for entry, outs in zip(self.palette, outside)
                          if all(v >= low + 7 if high else v <= low for v, low, high in zip(entry, cell, corner))]
                limit = max(limit, min(beyond, default=math.inf))
            self.nears[cell] = [i for i, outs in enumerate(outside) if sum(max(0, out) ** 2 for out in outs) <= limit]
        return self.nears[cell]

    def mixture_of(self, color):
        """Entries from dark to light, and at which of 1024 parts the share of each ends."""
        if color not in self.mixtures:
            self.choose(color)
            held = [[self.candidates[place][0], share] for place, share in self.search()]
            if self.strength < 1:
                self.draw_to_nearest(held, nearest(self.palette, color))
            held.sort(key=lambda share: (thousandfold_luma(self.palette[share[0]]), share[0]))
            ends, total = [], 0.0
            for _, share in held[:-1]:
                total += share
                ends.append(int(total * 1024 + 0.5))
            self.mixtures[color] = [self.palette[entry] for entry, _ in held], ends + [1024]
        return self.mixtures[color]

    def draw_to_nearest(self, held, entry):
        for share in held:
            share[1] *= self.strength
        places = [place for place, share in enumerate(held) if share[0] == entry]
        if not places and len(held) == 4:
            places = [min(range(4), key=lambda i: held[i][1])]
        elif not places:
            held.append([entry, 0.0])
            places = [len(held) - 1]
        held[places[0]] = [entry, held[places[0]][1] + (1 - self.strength)]

    def choose(self, color):
        """The candidates: entry, offset from the colour, cost."""
        self.candidates = []
        limit = single(self.reach * self.fourth(color))
        for i in self.near(color):
            entry = self.palette[i]
            distance = squared_distance(entry, color)
            if self.reach > 0 and distance >= limit:
                continue
            way = single(distance * single(1 / limit)) if self.reach > 0 else 0.0
            q = [p - c for p, c in zip(entry, color)]
            along = float(sum(q))
            weighed = single(distance - single(self.along_greys * (along * along)))
            cost = single(self.spread * single(weighed / single(1 - single(way * way))))
            self.candidates.append((i, q, cost))

    def steepest(self, mean):
        f = [single(2 * m) for m in mean]
        slopes = []
        for _, q, cost in self.candidates:
            slope = single(single(q[0] * f[0]) + single(q[1] * f[1]))
            slopes.append(rising_bits(single(single(slope + single(q[2] * f[2])) + cost)))
        return slopes.index(min(slopes))

    def slope(self, place, mean):
        _, q, cost = self.candidates[place]
        return 2 * (q[0] * mean[0] + q[1] * mean[1] + q[2] * mean[2]) + cost

    def search(self):
        distances = [squared_distance(q, (0, 0, 0)) for _, q, _ in self.candidates]
        held = [[distances.index(min(distances)), 1.0]]
        for _ in range(64):
            mean = [0.0, 0.0, 0.0]
            for place, share in held:
                mean = [m + share * v for m, v in zip(mean, self.candidates[place][1])]
            new = self.steepest(mean)
            if any(other == new for other, _ in held):
                break
            if self.slope(new, mean) >= self.slope(held[0][0], mean) - TOLERANCE or len(held) == 6:
                break
            held.append([new, 0.0])
            self.settle(held)
        while len(held) > 4:
            smallest = min(range(len(held)), key=lambda i: held[i][1])
            rest = 1 - held.pop(smallest)[1]
            for share in held:
                share[1] /= rest
        return held

    def settle(self, held):
        while len(held) > 1:
            best = self.best_shares([place for place, _ in held])
            way, dropped = 1.0, None
            for i, (_, share) in enumerate(held):
                if best[i] > 0:
                    continue
                reach = share / (share - best[i])
                if reach < way or dropped is None:
                    way, dropped = min(way, reach), i
            for share, aim in zip(held, best):
                share[1] = aim if dropped is None else share[1] + way * (aim - share[1])
            if dropped is None:
                return
            held.pop(dropped)
        held[0][1] = 1.0

    def best_shares(self, places):
        _, origin, first_cost = self.candidates[places[0]]
        others = [self.candidates[place] for place in places[1:]]
        n = len(others)
        dot = lambda a, b: float(a[0] * b[0] + a[1] * b[1] + a[2] * b[2])
        edges = [[v - o for v, o in zip(q, origin)] for _, q, _ in others]
        rows = [[2 * dot(a, b) + 2 * REGULAR for b in edges] + [2 * REGULAR - 2 * dot(a, origin) - (cost - first_cost)]
                for a, (_, _, cost) in zip(edges, others)]
        for i in range(n):
            rows[i][i] += 2 * REGULAR
        per_pivot = []
        for column in range(n):
            per_pivot.append(1 / rows[column][column])
            for i in range(column + 1, n):
                factor = rows[column][i] * per_pivot[column]
                for j in range(i, n + 1):
                    rows[i][j] -= factor * rows[column][j]
        best = [1.0] + [0.0] * n
        for i in range(n - 1, -1, -1):
            value = rows[i][n]
            for j in range(i + 1, n):
                value -= rows[i][j] * best[j + 1]
            best[i + 1] = value * per_pivot[i]
            best[0] -= best[i + 1]
        return best


def limits(palette):
    """L and M."""
    corners = set(itertools.product((0, 255), repeat=3))
    if all(b == g == r for b, g, r in palette):
        corners = {(0, 0, 0), (255, 255, 255)}
    if corners <= set(palette):
        return 256, 256
    gaps = []
    for a in dict.fromkeys(palette):
        distances = [max(abs(p - q) for p, q in zip(a, b)) for b in palette if a != b]
        gaps.append(min(distances + [256]))
    return clamp(2 * sorted(gaps)[len(gaps) // 2], 16, 256), 0


def diffuse(picture, palette):
    L, M = limits(palette)
    sixteenths = [[16 * level for level in entry] for entry in palette]
    known = {}

    def near(value):
        if value not in known:
            known[value] = nearest(sixteenths, value)
        return known[value]

    width = len(picture[0])
    errors = [[0, 0, 0] for _ in range(width)]
    result = []
    for y, line in enumerate(picture):
        below = [[0, 0, 0] for _ in range(width)]
        ahead = [0, 0, 0]
        indices = [0] * width
        step = 1 if y // 4 % 2 == 0 else -1
        for x in range(width)[::step]:
            color, is_seen = line[x][:3], line[x][3] != 0
            value = [16 * level for level in color]
            if is_seen:
                value = [v + clamp(a + e, -16 * L, 16 * L) for v, a, e in zip(value, ahead, errors[x])]
                value = [clamp(v, -16 * M, 16 * (255 + M)) for v in value]
            entry = near(tuple(value))
            indices[x] = entry
            error = [v - 16 * p for v, p in zip(value, palette[entry])] if is_seen else [0, 0, 0]
            for c, e in enumerate(error):
                behind, under, ahead[c] = 3 * e // 16, 5 * e // 16, 7 * e // 16
                below[x][c] += under
                below[x - step if 0 <= x - step < width else x][c] += behind
                below[x + step if 0 <= x + step < width else x][c] += e - behind - under - ahead[c]
                if not 0 <= x + step < width:
                    below[x][c] += ahead[c]
        errors = below
        result.append(indices)
    return result


# Records and comparison


def lines_of(data, width, height):
    pixels = [tuple(data[i:i + 4]) for i in range(0, 4 * width * height, 4)]
    return [pixels[y * width:(y + 1) * width] for y in range(height)]


def unpacked(data, width, height, bits):
    line_bytes = (width * bits + 7) // 8
    index = lambda y, x: data[y * line_bytes + x * bits // 8] >> (8 - bits - x * bits % 8) & (1 << bits) - 1
    return [[index(y, x) for x in range(width)] for y in range(height)]


class Record:
    def __init__(self, stream, line):
        self.line = line
        self.words = dict(word.split("=", 1) for word in line.split())
        self.width, self.height = self.size("in")
        self.out_width, self.out_height = self.size("out")
        self.bits = int(self.words["bits"])
        self.input = lines_of(stream.read(4 * self.width * self.height), self.width, self.height)
        self.output = stream.read((self.out_width * self.bits + 7) // 8 * self.out_height)
        entries = int(self.words["palette"])
        self.palette = lines_of(stream.read(4 * entries), entries, 1)[0]

    def size(self, word):
        return map(int, self.words[word].split("x"))

    def number(self, word):
        return float.fromhex(self.words[word])

    def expected(self):
        """The pixels, or of what has a palette (palette, indices)."""
        words, filter_name = self.words, self.words["filter"]
        if filter_name in ("brightness", "contrast", "saturation", "sharpening"):
            return globals()[filter_name](self.input, self.number("amount"))
        if filter_name == "desaturation":
            return desaturation(self.input)
        if filter_name == "mode":
            return mode(self.input, int(words["side"]), words["mode"])
        if filter_name == "convolution":
            kernel = [float.fromhex(k) for k in words["kernel"].split(",")]
            return convolution(self.input, int(words["side"]), kernel, self.number("divisor"), self.number("bias"))
        if filter_name == "median":
            return median(self.input, int(words["span"]))
        if filter_name == "resize":
            return resize(self.input, words["kernel"], self.out_width, self.out_height)
        if filter_name == "quantizer":
            return quantizer(self.input, words["by"], int(words["colors"]))
        if filter_name == "ditherer":
            palette = [entry[:3] for entry in self.palette]
            if words["given"] != "own":
                palette = fixed_palette(int(words["given"]) or (256 if self.bits == 32 else 1 << self.bits))
            return ditherer(self.input, words["by"], palette, float.fromhex(words.get("strength", "1")))
        raise ValueError("no such filter: " + filter_name)

    def difference(self):
        """What is not as expected, as a text; an empty one if all is."""
        expected = self.expected()
        if isinstance(expected, tuple):
            palette, indices = expected
            if [entry[:3] for entry in self.palette] != [tuple(entry) for entry in palette]:
                return f"the palette is {self.palette}, not {palette}"
            if any(entry[3] for entry in self.palette):
                return "the palette's fourth bytes are not 0"
            if self.bits == 32:
                expected = [[tuple(palette[i]) + pixel[3:] for i, pixel in zip(line, pixels)]
                            for line, pixels in zip(indices, self.input)]
            else:
                expected = indices
        if self.bits == 32:
            given = lines_of(self.output, self.out_width, self.out_height)
        else:
            given = unpacked(self.output, self.out_width, self.out_height, self.bits)
        differing = [(x, y) for y in range(self.out_height) for x in range(self.out_width)
                     if given[y][x] != expected[y][x]]
        if not differing:
            return ""
        x, y = differing[0]
        return f"{len(differing)} pixels differ; ({x}, {y}) is {given[y][x]}, not {expected[y][x]}"


KINDS = {"brightness", "contrast", "saturation", "desaturation", "sharpening", "mode", "convolution", "median",
         "resize", "quantizer", "ditherer"}


def main():
    dump = subprocess.Popen([sys.argv[1]], stdout=subprocess.PIPE)
    met, failures, count = set(), 0, 0
    for header in iter(dump.stdout.readline, b""):
        record = Record(dump.stdout, header.decode().strip())
        met.add(record.words["filter"])
        count += 1
        difference = record.difference()
        if difference:
            failures += 1
            print(f"{record.line[:200]}\n    {difference[:400]}")
    if dump.wait() != 0:
        sys.exit("the program that runs the filters failed")
    if met != KINDS:
        sys.exit(f"not met: {KINDS - met}")
    print(f"{count} results compared, {failures} differ")
    sys.exit(failures != 0)


if __name__ == "__main__":
    main()
