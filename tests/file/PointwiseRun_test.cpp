// Filters of single pixels change tiles where they lie. That gives the bits of the way line by line, which derived
// classes still go, and each report finds the lines that it finds there.
#include <gtest/gtest.h>

#include <random>

#include "file/FileBitmapTesting.h"
#include "file/TileWays.h"
#include "zbm/RunFilters.h"
#include "zpixf/ZPixfAdjust.h"
#include "zpixf/ZPixfNull.h"

namespace {

using namespace testkit;
using shr::ColorFormat;
using zbm::ZBasicMemBitmap;
using zbm::ZBitmap;
using zbm::ZScanRectFileBitmap;

using Adjust = bool (*)(ZBitmap& bitmap, shr::IProgress* progress);
const Adjust kAdjustments[] = {
    [](ZBitmap& bitmap, shr::IProgress* progress) { return bitmap.ChangeBrightness(0.3, progress); },
    [](ZBitmap& bitmap, shr::IProgress* progress) { return bitmap.ChangeContrast(-0.4, progress); },
    [](ZBitmap& bitmap, shr::IProgress* progress) { return bitmap.ChangeSaturation(-0.5, progress); },
    [](ZBitmap& bitmap, shr::IProgress* progress) { return bitmap.ConvertToGrayScale(progress); },
};

struct Shape {
    int width, height, tileWidth, tileHeight;
};
/// With several reports, and tiles that end within bands.
std::vector<Shape> Shapes() {
    std::mt19937 random(7);
    const auto between = [&](unsigned least, unsigned most) {
        return static_cast<int>(least + random() % (most - least + 1));
    };
    std::vector<Shape> shapes = {{1, 1, 1, 1}, {8, 301, 512, 512}, {5000, 3, 5000, 3}, {33, 101, 8, 1}};
    for (int i = 0; i < 4; ++i) shapes.push_back({between(1, 70), between(1, 320), between(1, 70), between(1, 130)});
    return shapes;
}

class Pointwise : public testing::TestWithParam<ColorFormat> {};
INSTANTIATE_TEST_SUITE_P(Formats, Pointwise, testing::ValuesIn(kFormats),
                         [](const auto& test) { return FormatName(test.param); });

TEST_P(Pointwise, AdjustmentInMemoryShowsTheSameAtEveryReport) {
    for (const Shape& shape : Shapes())
        for (const Adjust adjust : kAdjustments) {
            ZBasicMemBitmap tiles =
                FormulaBitmap(shape.width, shape.height, GetParam(), shape.tileWidth, shape.tileHeight);
            LineByLine lines(tiles.GetPixelWidth(), tiles.GetPixelHeight(), GetParam(), shape.tileWidth,
                             shape.tileHeight);
            FillByFormula(lines);
            Watcher watchesTiles(tiles), watchesLines(lines);
            ASSERT_TRUE(adjust(tiles, &watchesTiles) && adjust(lines, &watchesLines));
            ASSERT_EQ(watchesTiles.fractions, watchesLines.fractions);
            ASSERT_EQ(watchesTiles.seen, watchesLines.seen) << shape.width << " x " << shape.height;
            ASSERT_TRUE(AreEqual(tiles, lines)) << shape.width << " x " << shape.height;
            ASSERT_TRUE(adjust(tiles, nullptr) && adjust(lines, nullptr));
            ASSERT_TRUE(AreEqual(tiles, lines)) << "without reports";
        }
}

TEST_P(Pointwise, AdjustmentCancelledAtAnyReportLeavesTheSame) {
    for (int cancelAt = 1; cancelAt <= 5; ++cancelAt) {
        ZBasicMemBitmap tiles = FormulaBitmap(20, 305, GetParam(), 13, 77);
        LineByLine lines(20, 305, GetParam(), 13, 77);
        FillByFormula(lines);
        TestProgress cancelsTiles(cancelAt), cancelsLines(cancelAt);
        const std::string outcome = OutcomeOf([&] { return tiles.ChangeBrightness(0.5, &cancelsTiles); });
        ASSERT_EQ(outcome, OutcomeOf([&] { return lines.ChangeBrightness(0.5, &cancelsLines); }));
        ASSERT_TRUE(AreEqual(tiles, lines)) << cancelAt;
    }
}

TEST_P(Pointwise, CreationInAnyFormatGivesTheSame) {
    ZBasicMemBitmap tiles = FormulaBitmap(530, 103, GetParam(), 512, 512);
    LineByLine lines(530, 103, GetParam(), 512, 512);
    FillByFormula(lines);
    for (const ColorFormat format : kFormats) {
        if (format == GetParam()) continue;
        ZBasicMemBitmap ofTiles(1, 1, shr::BGRA_32), ofLines(1, 1, shr::BGRA_32);
        TestProgress reportsTiles, reportsLines;
        ASSERT_TRUE(ofTiles.Create(format, tiles, &reportsTiles));
        ASSERT_TRUE(ofLines.Create(format, lines, &reportsLines));
        EXPECT_EQ(reportsTiles.fractions, reportsLines.fractions);
        EXPECT_TRUE(AreEqual(ofTiles, ofLines)) << FormatName(format);
    }
}

class PointwiseOnFile : public FileBitmapTest, public testing::WithParamInterface<ColorFormat> {
protected:
    const shr::ZString other = scratch.File("other");
};
INSTANTIATE_TEST_SUITE_P(Formats, PointwiseOnFile, testing::ValuesIn(kFormats),
                         [](const auto& test) { return FormatName(test.param); });

TEST_P(PointwiseOnFile, AdjustmentShowsTheSameAtEveryReportAndLeavesTheSameBytes) {
    for (const Shape& shape : Shapes())
        for (const Adjust adjust : kAdjustments) {
            OnFile(name, FormulaBitmap(shape.width, shape.height, GetParam(), shape.tileWidth, shape.tileHeight))
                ->Close();
            WriteWhole(other, ReadWhole(name));
            ZScanRectFileBitmap tiles(L"", L"", false);
            tiles.Open(name, false);
            OpenFileBitmap lines;
            lines.Open(other, false);
            Watcher watchesTiles(tiles), watchesLines(lines);
            ASSERT_TRUE(adjust(tiles, &watchesTiles) && adjust(lines, &watchesLines));
            ASSERT_EQ(watchesTiles.fractions, watchesLines.fractions);
            ASSERT_EQ(watchesTiles.seen, watchesLines.seen) << shape.width << " x " << shape.height;
            tiles.Close();
            lines.Close();
            ASSERT_EQ(ReadWhole(name), ReadWhole(other)) << shape.width << " x " << shape.height;
        }
}

TEST_P(PointwiseOnFile, AdjustmentCancelledAtAnyReportLeavesTheSame) {
    for (int cancelAt = 1; cancelAt <= 5; ++cancelAt) {
        OnFile(name, FormulaBitmap(20, 305, GetParam(), 13, 77))->Close();
        WriteWhole(other, ReadWhole(name));
        ZScanRectFileBitmap tiles(L"", L"", false);
        tiles.Open(name, false);
        OpenFileBitmap lines;
        lines.Open(other, false);
        TestProgress cancelsTiles(cancelAt), cancelsLines(cancelAt);
        const std::string outcome = OutcomeOf([&] { return tiles.ChangeBrightness(0.5, &cancelsTiles); });
        ASSERT_EQ(outcome, OutcomeOf([&] { return lines.ChangeBrightness(0.5, &cancelsLines); }));
        ASSERT_TRUE(AreEqual(tiles, lines)) << cancelAt;
    }
}

TEST_P(PointwiseOnFile, CreationInAnyFormatGivesTheSameBytes) {
    ZBasicMemBitmap inTiles = FormulaBitmap(530, 103, GetParam(), 512, 512);
    LineByLine inLines(530, 103, GetParam(), 512, 512);
    FillByFormula(inLines);
    for (const ColorFormat format : kFormats) {
        ZScanRectFileBitmap ofTiles(L"", L"", false), ofLines(L"", L"", false), ofFile(L"", L"", false);
        ASSERT_TRUE(ofTiles.Create(name, format, inTiles, nullptr));
        ASSERT_TRUE(ofLines.Create(other, format, inLines, nullptr));
        ofTiles.Close();
        ofLines.Close();
        ASSERT_EQ(ReadWhole(name), ReadWhole(other)) << FormatName(format);
        ASSERT_TRUE(ofTiles.Create(name, inTiles, nullptr));
        ASSERT_TRUE(ofFile.Create(scratch.File("third"), format, ofTiles, nullptr));
        ofFile.Close();
        ASSERT_EQ(ReadWhole(scratch.File("third")), ReadWhole(other)) << FormatName(format) << " from a file";
    }
}

/// A host's own, that fails at a call.
class Invert final : public zpixf::ZPixfPointwise {
public:
    explicit Invert(zpixf::ZPixfType newType, int callThatFails = -1) : type(newType), failingCall(callThatFails) {}
    zpixf::ZPixfType FilterType() const override { return type; }
    bool ChangePixels(std::uint8_t* pixels, std::size_t count) override {
        if (calls++ == failingCall) return Fail("Invert", 7, L"The pixels fail.");
        for (std::size_t i = 0; i < 4 * count; ++i) pixels[i] = static_cast<std::uint8_t>(255 - pixels[i]);
        return true;
    }

protected:
    bool OnStart() override { return true; }

private:
    const zpixf::ZPixfType type;
    const int failingCall;
    int calls = 0;
};

TEST_P(Pointwise, FiltersOfAHostRunInChains) {
    for (const zpixf::ZPixfType type :
         {zpixf::ZPixfType::KeepsAlpha, zpixf::ZPixfType::MakesAlpha, zpixf::ZPixfType::Null}) {
        ZBasicMemBitmap tiles = FormulaBitmap(70, 90, GetParam(), 40, 33);
        LineByLine lines(70, 90, GetParam(), 40, 33);
        FillByFormula(lines);
        zpixf::ZPixfBrightness brightness;
        brightness.SetBrightness(-0.25);
        Invert invert(type);
        ASSERT_TRUE(zbm::RunFilters(tiles, {&invert}, nullptr) && zbm::RunFilters(lines, {&invert}, nullptr));
        ASSERT_TRUE(AreEqual(tiles, lines)) << static_cast<int>(type);
        ASSERT_TRUE(zbm::RunFilters(tiles, {&brightness, &invert}, nullptr));
        ASSERT_TRUE(zbm::RunFilters(lines, {&brightness, &invert}, nullptr));
        ASSERT_TRUE(AreEqual(tiles, lines)) << static_cast<int>(type);
    }
}

TEST(PointwiseFilter, ThatFailsSaysWhy) {
    for (const int call : {0, 1, 5}) {
        ZBasicMemBitmap bitmap = FormulaBitmap(70, 90, shr::BGR_24, 40, 33);
        Invert invert(zpixf::ZPixfType::KeepsAlpha, call);
        try {
            (void)zbm::RunFilters(bitmap, {&invert}, nullptr);
            FAIL() << "nothing is raised";
        } catch (const shr::Exception& error) {
            EXPECT_EQ(error.GetMessageText(), L"The pixels fail.");
            EXPECT_EQ(error.GetLine(), 7);
        }
        EXPECT_FALSE(invert.IsStarted());
        EXPECT_TRUE(bitmap.ChangeBrightness(0.5, nullptr)) << "and goes on";
    }
}

}  // namespace
