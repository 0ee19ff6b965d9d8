#include "shr/CopyPixelRows.h"

#include <gtest/gtest.h>

#include <tuple>

#include "support/shared/PackedPixels.h"

namespace shr::test {
namespace {

class CopyPixelRowsOf : public testing::TestWithParam<std::tuple<int, CopyWrites>> {
protected:
    const ColorFormat format = static_cast<ColorFormat>(std::get<0>(GetParam()));
    const CopyWrites writes = std::get<1>(GetParam());
};

INSTANTIATE_TEST_SUITE_P(AllFormats, CopyPixelRowsOf,
                         testing::Combine(testing::Range(1, kColorFormats),
                                          testing::Values(CopyWrites::cached, CopyWrites::streamed)),
                         [](const auto& tested) {
                             const bool cached = std::get<1>(tested.param) == CopyWrites::cached;
                             return "Format" + std::to_string(std::get<0>(tested.param)) +
                                    (cached ? "Cached" : "Streamed");
                         });

/// Rows in a block of bytes, from the top or from the bottom up.
template <class Byte>
PixelRuns<Byte> Runs(Byte* block, std::ptrdiff_t rowBytes, int rows, int x, bool bottomUp) {
    if (bottomUp) return {block + (rows - 1) * rowBytes, -rowBytes, x};
    return {block, rowBytes, x};
}

TEST_P(CopyPixelRowsOf, CopiesAsRowByRowWhicheverWayTheRowsLie) {
    std::mt19937 random(7);
    for (int round = 0; round < 400; ++round) {
        const int rows = static_cast<int>(random() % 6), count = static_cast<int>(random() % 150);
        const int targetX = static_cast<int>(random() % 20), sourceX = static_cast<int>(random() % 20);
        const auto targetBytes = static_cast<std::ptrdiff_t>(RowBytes(200, format) + random() % 3);
        const auto sourceBytes = static_cast<std::ptrdiff_t>(RowBytes(200, format) + random() % 3);
        const std::size_t block = static_cast<std::size_t>(std::max(targetBytes, sourceBytes)) * 6 + 8;
        const Bytes source = RandomBytes(random, block);
        Bytes copied = RandomBytes(random, block), expected = copied;

        const auto from = Runs(source.data(), sourceBytes, std::max(rows, 1), sourceX, random() % 2 == 0);
        const bool bottomUp = random() % 2 == 0;
        const auto to = Runs(copied.data(), targetBytes, std::max(rows, 1), targetX, bottomUp);
        const auto judge = Runs(expected.data(), targetBytes, std::max(rows, 1), targetX, bottomUp);
        CopyPixelRows(to, from, count, rows, format, writes);
        for (int row = 0; row < rows; ++row)
            CopyPixels(judge.firstRow + row * judge.stride, targetX, from.firstRow + row * from.stride, sourceX, count,
                       format);
        ASSERT_EQ(copied, expected) << "round " << round;
    }
}

TEST_P(CopyPixelRowsOf, CopiesNothingWithoutPixelsOrWithoutRows) {
    Bytes source(64, 0x5A), target(64, 0xC3);
    const Bytes ground = target;
    CopyPixelRows({target.data(), 8, 0}, {source.data(), 8, 0}, 0, 4, format, writes);
    CopyPixelRows({target.data(), 8, 0}, {source.data(), 8, 0}, -1, 4, format, writes);
    CopyPixelRows({target.data(), 8, 0}, {source.data(), 8, 0}, 1, 0, format, writes);
    CopyPixelRows({target.data(), -8, 0}, {source.data(), -8, 0}, 1, -3, format, writes);
    CopyPixelRows({target.data(), 8, 0}, {source.data(), 8, 0}, 1, 4, FORMAT_NONE, writes);
    EXPECT_EQ(target, ground);
}

TEST_P(CopyPixelRowsOf, CopiesALineAsAnyOtherWhereverTheNextOneLies) {
    std::mt19937 random(11);
    for (int round = 0; round < 400; ++round) {
        const int count = static_cast<int>(random() % 150) - 1;
        const int targetX = static_cast<int>(random() % 20), sourceX = static_cast<int>(random() % 20);
        const auto rowBytes = static_cast<std::ptrdiff_t>(RowBytes(200, format));
        const Bytes source = RandomBytes(random, static_cast<std::size_t>(3 * rowBytes));
        Bytes copied = RandomBytes(random, static_cast<std::size_t>(rowBytes) + random() % 8), expected = copied;
        const std::ptrdiff_t step = (static_cast<std::ptrdiff_t>(random() % 3) - 1) * rowBytes;
        CopyPixelLine({copied.data(), 0, targetX}, {source.data() + rowBytes, step, sourceX}, count, format, writes);
        FinishCopyWrites();
        CopyPixels(expected.data(), targetX, source.data() + rowBytes, sourceX, count, format);
        ASSERT_EQ(copied, expected) << "round " << round;
    }
}

TEST(CopyPixelRows, StreamsFromAndToExactBlocks) {
    std::mt19937 random(3);
    for (const int count : {1, 3, 4, 15, 16, 17, 40, 64, 333}) {
        const auto rowBytes = static_cast<std::size_t>(4 * count);
        const Bytes source = RandomBytes(random, 3 * rowBytes);
        Bytes target(3 * rowBytes);
        const auto step = static_cast<std::ptrdiff_t>(rowBytes);
        CopyPixelRows({target.data(), step, 0}, {source.data(), step, 0}, count, 3, BGRA_32, CopyWrites::streamed);
        ASSERT_EQ(target, source) << count << " pixels";
    }
}

}  // namespace
}  // namespace shr::test
