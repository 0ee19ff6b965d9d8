#pragma once
// Colour-table matching in the plainest words: the judge of the matcher.
#include <cstdint>
#include <random>
#include <vector>

#include "shr/Color4b.h"

namespace testkit {

using Colors = std::vector<shr::Color4b>;

inline bool HaveSameRgb(shr::Color4b a, shr::Color4b b) {
    return a.red == b.red && a.green == b.green && a.blue == b.blue;
}

inline int SquaredDistance(shr::Color4b a, shr::Color4b b) {
    const int red = a.red - b.red, green = a.green - b.green, blue = a.blue - b.blue;
    return red * red + green * green + blue * blue;
}

inline unsigned PlainNearest(const Colors& table, shr::Color4b color) {
    unsigned best = 0;
    for (unsigned i = 1; i < table.size(); ++i)
        if (SquaredDistance(table[i], color) < SquaredDistance(table[best], color)) best = i;
    return best;
}

inline shr::Color4b CenterOfCell(int red, int green, int blue) {
    const auto center = [](int k) { return static_cast<std::uint8_t>(8 * k + 4); };
    return {center(red), center(green), center(blue)};
}

/// The last entry of that colour; -1 where there is none.
inline int PlainExact(const Colors& table, shr::Color4b color) {
    for (std::size_t i = table.size(); i-- > 0;)
        if (HaveSameRgb(table[i], color)) return static_cast<int>(i);
    return -1;
}

inline unsigned PlainMatchNearest(const Colors& table, shr::Color4b color) {
    const int exact = PlainExact(table, color);
    return exact >= 0 ? static_cast<unsigned>(exact) : PlainNearest(table, color);
}

inline unsigned PlainMatchExactOrApproximate(const Colors& table, shr::Color4b color) {
    const int exact = PlainExact(table, color);
    if (exact >= 0) return static_cast<unsigned>(exact);
    return PlainNearest(table, CenterOfCell(color.red / 8, color.green / 8, color.blue / 8));
}

inline shr::Color4b RandomColor(std::mt19937& random) {
    const auto bits = static_cast<std::uint32_t>(random());
    const auto byte = [&](int shift) { return static_cast<std::uint8_t>(bits >> shift); };
    return {byte(0), byte(8), byte(16), byte(24)};
}

/// Colours all over the cube: entries with equal colours, and several in one cell, among them.
inline Colors RandomTable(unsigned count, unsigned seed) {
    std::mt19937 random(seed);
    Colors table;
    for (unsigned i = 0; i < count; ++i) {
        shr::Color4b color = RandomColor(random);
        if (i % 8 == 5) color = table[i / 2];
        if (i % 8 == 6) color.green = static_cast<std::uint8_t>(table[i / 2].green ^ 1), color.red = table[i / 2].red;
        table.push_back(color);
    }
    return table;
}

}  // namespace testkit
