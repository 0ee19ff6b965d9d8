#!/usr/bin/env python3
"""Makes the thresholds of the dither by blue noise and prints them as support/pixfilter/src/dither/BlueNoise.cpp.

    scripts/blue_noise.py > support/pixfilter/src/dither/BlueNoise.cpp

R. A. Ulichney, The Void-and-Cluster Method for Dither Array Generation (1993), on a square that repeats. A place is in
the tightest cluster, or in the largest void, where a Gaussian bell around every pixel that is set sums to the most, or
the least. The bell is rounded to integers, so that every machine finds the same.
"""
import math

SIDE = 64
PLACES = SIDE * SIDE
SIGMA = 1.5
SET_AT_FIRST = PLACES // 10

BELL = [[round(2**40 * math.exp(-(min(dx, SIDE - dx) ** 2 + min(dy, SIDE - dy) ** 2) / (2 * SIGMA**2)))
         for dx in range(SIDE)] for dy in range(SIDE)]


class Pixels:
    """Which pixels are set, and what their bells sum to at each place."""

    def __init__(self, places):
        self.is_set = [False] * PLACES
        self.sums = [0] * PLACES
        for place in places:
            self.turn(place)

    def turn(self, place):
        """Sets the pixel, or clears it if it is set."""
        self.is_set[place] = not self.is_set[place]
        sign = 1 if self.is_set[place] else -1
        top, left = divmod(place, SIDE)
        for y in range(SIDE):
            bell = BELL[(y - top) % SIDE]
            row = y * SIDE
            for x in range(SIDE):
                self.sums[row + x] += sign * bell[(x - left) % SIDE]

    def tightest_cluster(self):
        return max((place for place in range(PLACES) if self.is_set[place]), key=self.sums.__getitem__)

    def largest_void(self):
        return min((place for place in range(PLACES) if not self.is_set[place]), key=self.sums.__getitem__)


def scattered(count):
    """As many different places, as a small generator of random numbers gives them."""
    state, places = 1, []
    while len(places) < count:
        state = (1664525 * state + 1013904223) % 2**32
        if state >> 20 not in places:
            places.append(state >> 20)
    return places


def evened(pixels):
    """Moves pixels from clusters into voids until the pixel moved would come back."""
    while True:
        cluster = pixels.tightest_cluster()
        pixels.turn(cluster)
        void = pixels.largest_void()
        pixels.turn(void)
        if void == cluster:
            return [place for place in range(PLACES) if pixels.is_set[place]]


def ranks():
    """Of each place; a light pixel of 4096 levels is one whose rank is below its level."""
    first = evened(Pixels(scattered(SET_AT_FIRST)))
    rank_of = [0] * PLACES
    pixels = Pixels(first)
    for rank in reversed(range(len(first))):
        place = pixels.tightest_cluster()
        pixels.turn(place)
        rank_of[place] = rank
    pixels = Pixels(first)
    # Ulichney's third phase, which for the lighter half removes clusters of the pixels not set, finds the same places:
    # the bells of all pixels sum to the same everywhere.
    for rank in range(len(first), PLACES):
        place = pixels.largest_void()
        pixels.turn(place)
        rank_of[place] = rank
    return rank_of


def main():
    rank_of = ranks()
    print("// Made by scripts/blue_noise.py.")
    print('#include "dither/BlueNoise.h"\n')
    print("namespace zpixf {\n")
    print("// clang-format off")
    print("const std::uint16_t kBlueNoise[kBlueNoiseSide][kBlueNoiseSide] = {")
    for y in range(SIDE):
        row = [f"{rank:4}" for rank in rank_of[y * SIDE:(y + 1) * SIDE]]
        lines = [", ".join(row[start:start + 16]) for start in range(0, SIDE, 16)]
        print("    {" + ",\n     ".join(lines) + "},")
    print("};")
    print("// clang-format on\n")
    print("}  // namespace zpixf")


if __name__ == "__main__":
    main()
