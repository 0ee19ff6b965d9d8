#include <gtest/gtest.h>

#include <limits>
#include <memory>

#include "shr/ColorFormat.h"
#include "support/shared/PackedPixels.h"

namespace shr::test {
namespace {

constexpr int kLargest = std::numeric_limits<int>::max();

class CopyPixelsOfFormat : public testing::TestWithParam<int> {
protected:
    const ColorFormat format = static_cast<ColorFormat>(GetParam());
    const std::size_t bitsPerPixel = static_cast<std::size_t>(ColorFmtToBPP[format]);

    void CopyOneByOne(Bytes& destination, int destinationX, const Bytes& source, int sourceX, int count) const {
        CopyBitByBit(destination.data(), static_cast<std::size_t>(destinationX) * bitsPerPixel, source.data(),
                     static_cast<std::size_t>(sourceX) * bitsPerPixel, static_cast<std::size_t>(count) * bitsPerPixel);
    }
};

INSTANTIATE_TEST_SUITE_P(AllFormats, CopyPixelsOfFormat, testing::Range(1, kColorFormats),
                         [](const auto& tested) { return "Format" + std::to_string(tested.param); });

TEST_P(CopyPixelsOfFormat, CopiesAsTheLoopOverSinglePixelsAndLeavesTheNeighboursAlone) {
    std::mt19937 random(static_cast<unsigned>(GetParam()));
    for (int round = 0; round < 2000; ++round) {
        const int destinationX = static_cast<int>(random() % 70), sourceX = static_cast<int>(random() % 70);
        const int count = static_cast<int>(random() % (round % 50 == 0 ? 5000 : 200));
        const std::size_t rowBytes = RowBytes(static_cast<std::uint64_t>(70 + count), format) + 8;
        const Bytes source = RandomBytes(random, rowBytes);
        Bytes copied = RandomBytes(random, rowBytes), expected = copied;
        CopyPixels(copied.data(), destinationX, source.data(), sourceX, count, format);
        CopyOneByOne(expected, destinationX, source, sourceX, count);
        ASSERT_EQ(copied, expected) << destinationX << " <- " << sourceX << ", " << count << " pixels";
    }
}

TEST_P(CopyPixelsOfFormat, CopiesShortRunsBetweenAllPlacesNearTheStart) {
    std::mt19937 random(static_cast<unsigned>(GetParam()));
    const Bytes source = RandomBytes(random, 256), ground = RandomBytes(random, 256);
    for (int destinationX = 0; destinationX <= 9; ++destinationX) {
        for (int sourceX = 0; sourceX <= 9; ++sourceX) {
            for (int count = 0; count <= 50; ++count) {
                Bytes copied = ground, expected = ground;
                CopyPixels(copied.data(), destinationX, source.data(), sourceX, count, format);
                CopyOneByOne(expected, destinationX, source, sourceX, count);
                ASSERT_EQ(copied, expected) << destinationX << " <- " << sourceX << ", " << count << " pixels";
            }
        }
    }
}

/// A heap block of just the bytes that hold the pixels `x` .. `x + count - 1` of a row; so the sanitizers see any
/// access outside of them.
class ExactRow {
public:
    ExactRow(std::mt19937& random, int x, int count, std::size_t bitsPerPixel)
        : firstByte(static_cast<std::size_t>(x) * bitsPerPixel / 8),
          byteCount((static_cast<std::size_t>(x + count) * bitsPerPixel + 7) / 8 - firstByte),
          bytes(new std::uint8_t[byteCount]) {
        for (std::size_t i = 0; i < byteCount; ++i) bytes[i] = static_cast<std::uint8_t>(random());
    }
    /// Where the row would start, which may lie before the block.
    void* Row() const { return reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(bytes.get()) - firstByte); }
    /// The row as if it were all there.
    Bytes Whole() const {
        Bytes whole(firstByte, 0);
        whole.insert(whole.end(), bytes.get(), bytes.get() + byteCount);
        return whole;
    }

private:
    std::size_t firstByte, byteCount;
    std::unique_ptr<std::uint8_t[]> bytes;
};

TEST_P(CopyPixelsOfFormat, TouchesOnlyBytesThatHoldThePixels) {
    std::mt19937 random(static_cast<unsigned>(GetParam()));
    for (int round = 0; round < 4000; ++round) {
        const int destinationX = static_cast<int>(random() % 20), sourceX = static_cast<int>(random() % 20);
        const int count = 1 + static_cast<int>(random() % (round % 8 == 0 ? 1200 : 40));
        const ExactRow source(random, sourceX, count, bitsPerPixel),
            destination(random, destinationX, count, bitsPerPixel);
        Bytes expected = destination.Whole();
        CopyOneByOne(expected, destinationX, source.Whole(), sourceX, count);
        CopyPixels(destination.Row(), destinationX, source.Row(), sourceX, count, format);
        ASSERT_EQ(destination.Whole(), expected);
    }
}

TEST_P(CopyPixelsOfFormat, CountsPositionsIn64Bits) {
    constexpr int kCount = 8;
    const int x = kLargest - kCount;
    std::mt19937 random(static_cast<unsigned>(GetParam()));
    const ExactRow start(random, 0, kCount, bitsPerPixel);
    Bytes block(64, 0x5A);
    const std::size_t firstBit = static_cast<std::size_t>(x) * bitsPerPixel;
    void* const farRow = reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(block.data()) - firstBit / 8);

    Bytes expected = block;
    CopyBitByBit(expected.data(), firstBit % 8, start.Whole().data(), 0, kCount * bitsPerPixel);
    CopyPixels(farRow, x, start.Row(), 0, kCount, format);
    EXPECT_EQ(block, expected);

    Bytes back(64, 0);
    CopyPixels(back.data(), 0, farRow, x, kCount, format);
    back.resize(start.Whole().size());
    EXPECT_EQ(back, start.Whole());
}

TEST_P(CopyPixelsOfFormat, LeavesThePaddingOfARowAlone) {
    for (int width = 1; width <= 40; ++width) {
        const std::size_t rowBytes = RowBytes(static_cast<unsigned>(width), format);
        const std::size_t pixelBytes = PixelBytes(static_cast<unsigned>(width), format);
        const Bytes source(rowBytes, 0x00);
        Bytes copied(rowBytes, 0xEE);
        CopyPixels(copied.data(), 0, source.data(), 0, width, format);
        for (std::size_t i = pixelBytes; i < rowBytes; ++i)
            ASSERT_EQ(copied[i], 0xEE) << width << " pixels, byte " << i;
    }
}

TEST_P(CopyPixelsOfFormat, CopiesNothingForACountOrAPositionThatIsNone) {
    const Bytes source(64, 0x00), ground(64, 0xEE);
    Bytes destination = ground;
    for (const int count : {0, -1, -kLargest - 1}) CopyPixels(destination.data(), 1, source.data(), 1, count, format);
    for (const int x : {-1, -kLargest - 1}) {
        CopyPixels(destination.data(), x, source.data(), 0, 1, format);
        CopyPixels(destination.data(), 0, source.data(), x, 1, format);
    }
    EXPECT_EQ(destination, ground);
}

TEST(CopyPixels, ChangesOnlyTheBitsOfThePixelsItWrites) {
    const Bytes zeroes(4, 0x00), ones(4, 0xFF);
    Bytes row = ones;
    CopyPixels(row.data(), 2, zeroes.data(), 0, 3, GRAYSCALE_1);
    EXPECT_EQ(row, (Bytes{0xC7, 0xFF, 0xFF, 0xFF}));
    row = zeroes;
    CopyPixels(row.data(), 6, ones.data(), 1, 5, INDEXED_1);
    EXPECT_EQ(row, (Bytes{0x03, 0xE0, 0x00, 0x00}));
    row = ones;
    CopyPixels(row.data(), 1, zeroes.data(), 0, 3, GRAYSCALE_4);
    EXPECT_EQ(row, (Bytes{0xF0, 0x00, 0xFF, 0xFF}));
    row = zeroes;
    CopyPixels(row.data(), 2, ones.data(), 3, 3, INDEXED_4);
    EXPECT_EQ(row, (Bytes{0x00, 0xFF, 0xF0, 0x00}));
}

TEST(CopyPixels, TakesTheLeftmostPixelFromTheMostSignificantBits) {
    const Bytes source{0x12, 0x34, 0x56, 0x78};
    Bytes row(4, 0x00);
    CopyPixels(row.data(), 0, source.data(), 1, 5, INDEXED_4);
    EXPECT_EQ(row, (Bytes{0x23, 0x45, 0x60, 0x00}));
    row.assign(4, 0x00);
    CopyPixels(row.data(), 0, source.data(), 3, 16, INDEXED_1);  // 00010010 00110100 0101...
    EXPECT_EQ(row, (Bytes{0x91, 0xA2, 0x00, 0x00}));
}

TEST(CopyPixels, IgnoresWhatIsNoFormat) {
    const Bytes source(64, 0x00), ground(64, 0xEE);
    Bytes destination = ground;
    for (const int value : {0, 14, -1, kLargest})
        CopyPixels(destination.data(), 0, source.data(), 0, 8, static_cast<ColorFormat>(value));
    EXPECT_EQ(destination, ground);
}

}  // namespace
}  // namespace shr::test
