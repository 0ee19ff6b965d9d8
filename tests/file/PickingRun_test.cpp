// Nearest pixels are taken tile by tile. That gives the bits of the way line by line, which bitmaps of derived classes
// still go, and each report finds the lines that it finds there.
#include <gtest/gtest.h>

#include <random>

#include "file/FileBitmapTesting.h"
#include "file/TileWays.h"

namespace {

using namespace testkit;
using shr::ColorFormat;
using zbm::ResizePlain;
using zbm::ZBasicMemBitmap;
using zbm::ZBitmap;
using zbm::ZScanRectFileBitmap;

struct Case {
    SIZE input, tile;
    RECT part;  ///< of the input
    SIZE result;
};

RECT WholeOf(SIZE size) { return {0, 0, size.cx, size.cy}; }

Case Whole(SIZE input, SIZE tile, SIZE result) { return {input, tile, WholeOf(input), result}; }

/// Larger and smaller results, some only one way, of whole inputs and of parts that begin at odd places; of tiles much
/// smaller and larger than those of the result.
std::vector<Case> Cases() {
    std::vector<Case> cases = {
        Whole({1, 1}, {512, 512}, {7, 5}),       Whole({40, 30}, {16, 8}, {1, 1}),
        Whole({100, 300}, {48, 7}, {100, 300}),  Whole({53, 41}, {8, 8}, {212, 123}),
        Whole({300, 200}, {64, 32}, {113, 211}), Whole({1030, 20}, {512, 512}, {523, 40}),
        Whole({90, 6}, {16, 4}, {4500, 3}),      {{200, 150}, {32, 16}, {37, 21, 161, 149}, {93, 160}},
    };
    std::mt19937 random(5);
    const auto upTo = [&](int count) { return 1 + static_cast<LONG>(random() % static_cast<unsigned>(count)); };
    for (int i = 0; i < 4; ++i) {
        const SIZE input{upTo(400), upTo(300)};
        const RECT part{upTo(static_cast<int>(input.cx)) - 1, upTo(static_cast<int>(input.cy)) - 1, input.cx, input.cy};
        cases.push_back({input, {8 * upTo(30), upTo(90)}, part, {upTo(600), upTo(320)}});
    }
    return cases;
}

std::string NameOf(const Case& c) {
    return std::to_string(c.part.right - c.part.left) + " x " + std::to_string(c.part.bottom - c.part.top) + " to " +
           std::to_string(c.result.cx) + " x " + std::to_string(c.result.cy) + " of tiles of " +
           std::to_string(c.tile.cx) + " x " + std::to_string(c.tile.cy);
}

template <class Source>
bool Resize(ZBasicMemBitmap& result, Source& source, const Case& c, shr::IProgress* progress) {
    return result.Create(static_cast<int>(c.result.cx), static_cast<int>(c.result.cy), source, c.part, ResizePlain,
                         progress);
}

class Picking : public FileBitmapTest, public testing::WithParamInterface<ColorFormat> {
protected:
    const shr::ZString other = scratch.File("other"), source = scratch.File("source");
};
INSTANTIATE_TEST_SUITE_P(Formats, Picking, testing::ValuesIn(kFormats),
                         [](const auto& test) { return FormatName(test.param); });

TEST_P(Picking, InMemoryShowsTheSameAtEveryReport) {
    int turn = 0;
    for (const Case& c : Cases()) {
        const Alpha alpha = kAlphas[turn++ % 3];
        auto tiles = PictureOf<ZBasicMemBitmap>(c.input, c.tile, GetParam(), alpha);
        auto lines = PictureOf<LineByLine>(c.input, c.tile, GetParam(), alpha);
        ZBasicMemBitmap ofTiles(1, 1, shr::BGRA_32), ofLines(1, 1, shr::BGRA_32);
        LinesDone watchesTiles(ofTiles), watchesLines(ofLines);
        ASSERT_TRUE(Resize(ofTiles, tiles, c, &watchesTiles));
        ASSERT_TRUE(Resize(ofLines, lines, c, &watchesLines));
        ASSERT_EQ(watchesTiles.fractions, watchesLines.fractions);
        ASSERT_EQ(watchesTiles.seen, watchesLines.seen) << NameOf(c);
        ASSERT_TRUE(AreEqual(ofTiles, ofLines)) << NameOf(c);
        ASSERT_TRUE(Resize(ofTiles, tiles, c, nullptr));
        ASSERT_TRUE(AreEqual(ofTiles, ofLines)) << "without reports, " << NameOf(c);
    }
}

TEST_P(Picking, CancelledAtAnyReportEndsTheSameWay) {
    const Case c = Whole({90, 120}, {32, 32}, {140, 305});
    for (int cancelAt = 1; cancelAt <= 6; ++cancelAt) {
        auto tiles = PictureOf<ZBasicMemBitmap>(c.input, c.tile, GetParam(), Alpha::mixed);
        auto lines = PictureOf<LineByLine>(c.input, c.tile, GetParam(), Alpha::mixed);
        ZBasicMemBitmap ofTiles(1, 1, shr::BGRA_32), ofLines(1, 1, shr::BGRA_32);
        LinesDone cancelsTiles(ofTiles, cancelAt), cancelsLines(ofLines, cancelAt);
        ASSERT_EQ(OutcomeOf([&] { return Resize(ofTiles, tiles, c, &cancelsTiles); }),
                  OutcomeOf([&] { return Resize(ofLines, lines, c, &cancelsLines); }))
            << cancelAt;
        ASSERT_EQ(cancelsTiles.seen, cancelsLines.seen) << cancelAt;
        ASSERT_EQ(ofTiles.IsEmpty(), ofLines.IsEmpty()) << cancelAt;
    }
}

TEST_P(Picking, OnFilesLeavesTheSameBytes) {
    for (const Case& c : Cases()) {
        auto tiles = PictureOf<ZBasicMemBitmap>(c.input, c.tile, GetParam(), Alpha::mixed);
        auto lines = PictureOf<LineByLine>(c.input, c.tile, GetParam(), Alpha::mixed);
        ZScanRectFileBitmap ofTiles(L"", L"", false), ofLines(L"", L"", false);
        TestProgress reportsTiles, reportsLines;
        const auto width = static_cast<int>(c.result.cx), height = static_cast<int>(c.result.cy);
        ASSERT_TRUE(ofTiles.Create(name, width, height, tiles, c.part, ResizePlain, &reportsTiles));
        ASSERT_TRUE(ofLines.Create(other, width, height, lines, c.part, ResizePlain, &reportsLines));
        EXPECT_EQ(reportsTiles.fractions, reportsLines.fractions);
        ofTiles.Close();
        ofLines.Close();
        ASSERT_EQ(ReadWhole(name), ReadWhole(other)) << NameOf(c);
    }
}

TEST_P(Picking, OfAFileGivesWhatTheSameInMemoryGives) {
    for (const Case& c : Cases()) {
        auto inMemory = PictureOf<ZBasicMemBitmap>(c.input, c.tile, GetParam(), Alpha::mixed);
        OnFile(source, inMemory)->Close();
        ZScanRectFileBitmap onFile(L"", L"", false);
        onFile.Open(source, true);
        ZBasicMemBitmap ofMemory(1, 1, shr::BGRA_32), ofFile(1, 1, shr::BGRA_32);
        ASSERT_TRUE(Resize(ofMemory, inMemory, c, nullptr));
        ASSERT_TRUE(Resize(ofFile, onFile, c, nullptr));
        ASSERT_TRUE(AreEqual(ofMemory, ofFile)) << NameOf(c);
    }
}

}  // namespace
