#include "pictures/Exif.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

/// Orientation 6, 72 by 300 pixels an inch, in either byte order.
Bytes MakeExif(bool bigEndian) {
    Bytes bytes;
    const auto put = [&](std::uint32_t value, int count) {
        for (int i = 0; i < count; ++i) {
            const int shift = 8 * (bigEndian ? count - 1 - i : i);
            bytes.push_back(static_cast<std::uint8_t>(value >> shift));
        }
    };
    const auto entry = [&](std::uint32_t tag, std::uint32_t type, std::uint32_t value) {
        put(tag, 2);
        put(type, 2);
        put(1, 4);
        // A short value stands at the start of its four bytes.
        put(value, type == 3 ? 2 : 4);
        if (type == 3) put(0, 2);
    };
    bytes = bigEndian ? Bytes{'M', 'M'} : Bytes{'I', 'I'};
    put(42, 2);
    put(8, 4);
    put(4, 2);
    entry(0x112, 3, 6);
    entry(0x11A, 5, 62);
    entry(0x11B, 5, 70);
    entry(0x128, 3, 2);
    put(0, 4);
    for (const std::uint32_t value : {72u, 1u, 300u, 1u}) put(value, 4);
    return bytes;
}

TEST(ReadExif, TakesOrientationAndResolutionInEitherByteOrder) {
    for (const bool bigEndian : {false, true}) {
        const Bytes bytes = MakeExif(bigEndian);
        const tool::Exif exif = tool::ReadExif(bytes.data(), bytes.size());
        EXPECT_EQ(exif.orientation, 6);
        EXPECT_EQ(exif.xPixelsPerMeter, 2835);
        EXPECT_EQ(exif.yPixelsPerMeter, 11811);
    }
}

TEST(ReadExif, GivesDefaultsForNothingAndForOtherData) {
    for (const Bytes& bytes : {Bytes{}, Bytes{'M'}, Bytes(100, 0), Bytes(100, 0xFF)}) {
        const tool::Exif exif = tool::ReadExif(bytes.data(), bytes.size());
        EXPECT_EQ(exif.orientation, 1);
        EXPECT_EQ(exif.xPixelsPerMeter, 0);
    }
}

TEST(ReadExif, StaysInsideItsDataHoweverDamaged) {
    const Bytes whole = MakeExif(true);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        // A block of exactly that length, so that a checked build sees every step beyond it.
        const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        tool::ReadExif(part.data(), part.size());
    }
    for (std::size_t i = 0; i < whole.size(); ++i) {
        for (const int value : {0, 1, 0x7F, 0xFF}) {
            Bytes damaged = whole;
            damaged[i] = static_cast<std::uint8_t>(value);
            const tool::Exif exif = tool::ReadExif(damaged.data(), damaged.size());
            EXPECT_GE(exif.orientation, 1);
            EXPECT_LE(exif.orientation, 8);
            EXPECT_GE(exif.xPixelsPerMeter, 0);
        }
    }
}

}  // namespace
