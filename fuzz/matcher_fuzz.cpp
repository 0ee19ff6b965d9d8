// Matches random colours against a random table, one by one and in rows of random shape, and compares with the plain
// search.
//
// An input starts with a head of 8 bytes: number of colours less 1; destination format (low 2 bits) and source format
// (next 4); width; height (low 3 bits) and rows upwards (bit 3); bytes between the rows of the destination and of the
// source; number of colours of the source's table; nothing. The table follows, 4 bytes a colour, and the rest, over
// and over, is both the colours to match and the source's pixels. What is missing is 0.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "convert/ConvertEveryPair.h"
#include "convert/PlainMatcher.h"
#include "convert/Reference.h"
#include "convert/ZBMColorFormat.h"
#include "shr/ColorFormat.h"
#include "zbm/ColorTableMatcher.h"

namespace {

using shr::Color4b;
using shr::ColorFormat;
using testkit::Colors;

constexpr std::size_t kHeadBytes = 8;
constexpr std::size_t kProbes = 64;

void Require(bool condition) {
    if (!condition) std::abort();
}

/// The input as an endless row of bytes.
struct Input {
    const std::uint8_t* data;
    std::size_t size;

    std::uint8_t At(std::size_t i) const { return i < size ? data[i] : std::uint8_t{0}; }
    std::uint8_t Rest(std::size_t start, std::size_t i) const {
        return start < size ? data[start + i % (size - start)] : std::uint8_t{0};
    }
};

Color4b ColorAt(const Input& input, std::size_t i) {
    return {input.At(i), input.At(i + 1), input.At(i + 2), input.At(i + 3)};
}

void MatchOneByOne(const zbm::ColorTableMatcher& matcher, const Colors& table, const Input& input, std::size_t rest) {
    for (std::size_t i = 0; i < kProbes; ++i) {
        Color4b color(input.Rest(rest, 4 * i), input.Rest(rest, 4 * i + 1), input.Rest(rest, 4 * i + 2),
                      input.Rest(rest, 4 * i + 3));
        if (i % 4 == 1) color = table[color.red % table.size()];
        if (i % 4 == 2) color.blue = table[color.red % table.size()].blue;
        Require(matcher.MatchExactOrApproximate(color) == testkit::PlainMatchExactOrApproximate(table, color));
        Require(matcher.MatchNearest(color) == testkit::PlainMatchNearest(table, color));
    }
}

/// Rows in memory of the exact size, from an odd address on.
struct Block {
    Block(std::uint32_t width, std::uint32_t height, ColorFormat format, unsigned slack)
        : rowBytes(static_cast<std::size_t>(shr::PixelBytes(width, format))),
          step(static_cast<int>(rowBytes + slack)),
          size(height == 0 ? 1 : 1 + static_cast<std::size_t>(step) * (height - 1) + rowBytes),
          bytes(new std::uint8_t[size]) {}

    std::size_t rowBytes;
    int step;
    std::size_t size;
    std::unique_ptr<std::uint8_t[]> bytes;
};

struct Shape {
    ColorFormat dstFormat, srcFormat;
    std::uint32_t width, height;
    bool upwards;
};

using Convert = void (*)(const zbm::PixelRows&, std::uint32_t, const zbm::ConstPixelRows&, std::uint32_t, std::uint32_t,
                         std::uint32_t, const zbm::ColorTableMatcher&);

void MatchRows(Convert convert, const zbm::ColorTableMatcher& matcher, const Shape& shape, const Block& source,
               unsigned dstSlack, const Colors& srcTable, ColorFormat plainFormat, const Colors& plainTable) {
    const Block made(shape.width, shape.height, shape.dstFormat, dstSlack);
    const Block plain(shape.width, shape.height, shape.dstFormat, dstSlack);
    for (std::size_t i = 0; i < made.size; ++i) made.bytes[i] = plain.bytes[i] = static_cast<std::uint8_t>(37 * i);
    const bool flip = shape.upwards && shape.height > 0;
    const auto first = [&](const Block& block) {
        return block.bytes.get() + 1 + (flip ? static_cast<std::ptrdiff_t>(block.step) * (shape.height - 1) : 0);
    };
    const int sign = flip ? -1 : 1;
    convert({first(made), shape.dstFormat, sign * made.step}, 256,
            {first(source), shape.srcFormat, sign * source.step, srcTable.data()},
            static_cast<std::uint32_t>(srcTable.size()), shape.width, shape.height, matcher);
    zbm::reference::ConvertPixelsToColorTable(
        {plain.bytes.get() + 1, shape.dstFormat, plain.step},
        {source.bytes.get() + 1, plainFormat, source.step, plainTable.data()},
        static_cast<std::uint32_t>(plainTable.size()), shape.width, shape.height, [&](Color4b color) {
            const unsigned index = matcher.MatchExactOrApproximate(color);
            return static_cast<std::uint8_t>(shape.dstFormat == shr::INDEXED_4 ? index & 15 : index);
        });
    for (std::size_t i = 0; i < made.size; ++i) Require(made.bytes[i] == plain.bytes[i]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Input input{data, size};
    Colors table(input.At(0) + 1u);
    for (std::size_t i = 0; i < table.size(); ++i) table[i] = ColorAt(input, kHeadBytes + 4 * i);
    const std::size_t rest = kHeadBytes + 4 * table.size();
    const zbm::ColorTableMatcher matcher(table.data(), static_cast<unsigned>(table.size()));
    MatchOneByOne(matcher, table, input, rest);

    const Shape shape{static_cast<ColorFormat>(shr::INDEXED_1 + (input.At(1) & 3) % 3),
                      static_cast<ColorFormat>(1 + (input.At(1) >> 2 & 15) % 13), input.At(2) * 3u, input.At(3) & 7u,
                      (input.At(3) & 8) != 0};
    const Block source(shape.width, shape.height, shape.srcFormat, input.At(5));
    for (std::size_t i = 0; i < source.size; ++i) source.bytes[i] = input.Rest(rest, i);
    Colors srcTable(input.At(6));
    for (std::size_t i = 0; i < srcTable.size(); ++i) srcTable[i] = ColorAt(input, kHeadBytes + 2 * i);
    MatchRows(zbm::ConvertPixelsToColorTable, matcher, shape, source, input.At(4), srcTable, shape.srcFormat, srcTable);

    // By way of the converter, the greys of few levels are as good as indices into their ramp.
    if (shape.srcFormat == shr::PBGRA_32) return 0;
    const bool isBit = shape.srcFormat == shr::GRAYSCALE_1, isNibble = shape.srcFormat == shr::GRAYSCALE_4;
    const Colors ramp = isBit ? Colors(shr::GRAYSCALE_1_Color4bTable, shr::GRAYSCALE_1_Color4bTable + 2)
                              : Colors(shr::GRAYSCALE_4_Color4bTable, shr::GRAYSCALE_4_Color4bTable + 16);
    MatchRows(zbm::ConvertEveryPairToColorTable, matcher, shape, source, input.At(4), srcTable,
              isBit      ? shr::INDEXED_1
              : isNibble ? shr::INDEXED_4
                         : shape.srcFormat,
              isBit || isNibble ? ramp : srcTable);
    return 0;
}
