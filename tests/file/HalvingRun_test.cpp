// A half is made tile by tile. That gives the bits of the way line by line, which bitmaps of derived classes still go,
// and each report finds the lines that it finds there.
#include <gtest/gtest.h>

#include <random>

#include "file/FileBitmapTesting.h"
#include "file/TileWays.h"

namespace {

using namespace testkit;
using shr::ColorFormat;
using zbm::ResizeBilinear;
using zbm::ZBasicMemBitmap;
using zbm::ZBitmap;
using zbm::ZScanRectFileBitmap;

struct Shape {
    int width, height, tileWidth, tileHeight;  ///< of the half, and of the tiles of what is halved
};

/// Halves in several tiles and with several reports, of tiles whose halves fill whole ones, of others that fit, and of
/// some that do not.
std::vector<Shape> Shapes() {
    std::vector<Shape> shapes = {{1, 1, 512, 512}, {520, 3, 512, 512}, {3, 520, 512, 512}, {520, 103, 256, 2},
                                 {5, 211, 16, 6},  {1100, 2, 2048, 4}, {37, 105, 8, 8},    {37, 105, 48, 7}};
    std::mt19937 random(11);
    const auto below = [&](unsigned count) { return static_cast<int>(random() % count); };
    for (int i = 0; i < 3; ++i)
        shapes.push_back({1 + below(560), 1 + below(250), 16 + 16 * below(40), 2 + 2 * below(99)});
    return shapes;
}

template <class Bitmap>
Bitmap Picture(const Shape& shape, ColorFormat format, Alpha alpha) {
    return PictureOf<Bitmap>({2 * shape.width, 2 * shape.height}, {shape.tileWidth, shape.tileHeight}, format, alpha);
}

std::string NameOf(const Shape& shape) {
    return std::to_string(shape.width) + " x " + std::to_string(shape.height) + " of tiles of " +
           std::to_string(shape.tileWidth) + " x " + std::to_string(shape.tileHeight);
}

class Halving : public FileBitmapTest, public testing::WithParamInterface<ColorFormat> {
protected:
    const shr::ZString other = scratch.File("other"), source = scratch.File("source");
};
INSTANTIATE_TEST_SUITE_P(Formats, Halving, testing::ValuesIn(kFormats),
                         [](const auto& test) { return FormatName(test.param); });

TEST_P(Halving, InMemoryShowsTheSameAtEveryReport) {
    int turn = 0;
    for (const Shape& shape : Shapes()) {
        const Alpha alpha = kAlphas[turn++ % 3];
        auto tiles = Picture<ZBasicMemBitmap>(shape, GetParam(), alpha);
        auto lines = Picture<LineByLine>(shape, GetParam(), alpha);
        ZBasicMemBitmap ofTiles(1, 1, shr::BGRA_32), ofLines(1, 1, shr::BGRA_32);
        LinesDone watchesTiles(ofTiles), watchesLines(ofLines);
        const RECT whole = WholeOf(tiles);
        ASSERT_TRUE(ofTiles.Create(shape.width, shape.height, tiles, whole, ResizeBilinear, &watchesTiles));
        ASSERT_TRUE(ofLines.Create(shape.width, shape.height, lines, whole, ResizeBilinear, &watchesLines));
        ASSERT_EQ(watchesTiles.fractions, watchesLines.fractions);
        ASSERT_EQ(watchesTiles.seen, watchesLines.seen) << NameOf(shape);
        ASSERT_TRUE(AreEqual(ofTiles, ofLines)) << NameOf(shape);
        ASSERT_TRUE(ofTiles.Create(shape.width, shape.height, tiles, whole, ResizeBilinear, nullptr));
        ASSERT_TRUE(AreEqual(ofTiles, ofLines)) << "without reports, " << NameOf(shape);
    }
}

TEST_P(Halving, CancelledAtAnyReportEndsTheSameWay) {
    const Shape shape{300, 305, 512, 512};
    for (int cancelAt = 1; cancelAt <= 6; ++cancelAt) {
        auto tiles = Picture<ZBasicMemBitmap>(shape, GetParam(), Alpha::mixed);
        auto lines = Picture<LineByLine>(shape, GetParam(), Alpha::mixed);
        ZBasicMemBitmap ofTiles(1, 1, shr::BGRA_32), ofLines(1, 1, shr::BGRA_32);
        LinesDone cancelsTiles(ofTiles, cancelAt), cancelsLines(ofLines, cancelAt);
        const auto create = [&](ZBasicMemBitmap& result, ZBasicMemBitmap& from, TestProgress& progress) {
            return OutcomeOf([&] {
                return result.Create(shape.width, shape.height, from, WholeOf(from), ResizeBilinear, &progress);
            });
        };
        ASSERT_EQ(create(ofTiles, tiles, cancelsTiles), create(ofLines, lines, cancelsLines)) << cancelAt;
        ASSERT_EQ(cancelsTiles.seen, cancelsLines.seen) << cancelAt;
        ASSERT_EQ(ofTiles.IsEmpty(), ofLines.IsEmpty()) << cancelAt;
    }
}

TEST_P(Halving, OnFilesLeavesTheSameBytes) {
    for (const Shape& shape : Shapes()) {
        OnFile(source, Picture<ZBasicMemBitmap>(shape, GetParam(), Alpha::mixed))->Close();
        ZScanRectFileBitmap file(L"", L"", false), ofTiles(L"", L"", false), ofLines(L"", L"", false);
        file.Open(source, true);
        auto lines = Picture<LineByLine>(shape, GetParam(), Alpha::mixed);
        TestProgress reportsTiles, reportsLines;
        const RECT whole = WholeOf(lines);
        ASSERT_TRUE(ofTiles.Create(name, shape.width, shape.height, file, whole, ResizeBilinear, &reportsTiles));
        ASSERT_TRUE(ofLines.Create(other, shape.width, shape.height, lines, whole, ResizeBilinear, &reportsLines));
        EXPECT_EQ(reportsTiles.fractions, reportsLines.fractions);
        ofTiles.Close();
        ofLines.Close();
        ASSERT_EQ(ReadWhole(name), ReadWhole(other)) << NameOf(shape);
    }
}

TEST_P(Halving, GivesTheLinesOfPicturesThatArePartsOfOthers) {
    auto tiles = Picture<ZBasicMemBitmap>({70, 70, 32, 32}, GetParam(), Alpha::mixed);
    auto lines = Picture<LineByLine>({70, 70, 32, 32}, GetParam(), Alpha::mixed);
    ZBasicMemBitmap ofTiles(1, 1, shr::BGRA_32), ofLines(1, 1, shr::BGRA_32);
    for (const RECT& part : {RECT{0, 0, 138, 140}, RECT{0, 2, 140, 140}, RECT{16, 32, 48, 64}}) {
        const int width = static_cast<int>(part.right - part.left) / 2;
        const int height = static_cast<int>(part.bottom - part.top) / 2;
        ASSERT_TRUE(ofTiles.Create(width, height, tiles, part, ResizeBilinear, nullptr));
        ASSERT_TRUE(ofLines.Create(width, height, lines, part, ResizeBilinear, nullptr));
        EXPECT_TRUE(AreEqual(ofTiles, ofLines)) << part.left;
    }
}

}  // namespace
