// Bitmaps made from bitmaps: exact copies, other formats, other sizes.
#include <gtest/gtest.h>

#include <cstring>

#include "core/OpenBitmaps.h"
#include "core/checks/BasicMemBitmapChecks.h"
#include "core/checks/BitmapChecks.h"
#include "support_code/ExpectError.h"
#include "support_code/FormulaPicture.h"
#include "support_code/TestProgress.h"
#include "zbm/ZPixelRect.h"
#include "zpixf/ZPixfResize.h"

namespace {

using shr::ColorFormat;
using testkit::AreEqual;
using testkit::FormulaBitmap;
using testkit::OpenBasicMemBitmap;
using testkit::OpenBitmap;
using testkit::RaisesInternalError;
using testkit::TestProgress;
using zbm::BasicMemBitmapCheck;
using zbm::BitmapCheck;
using zbm::ZBasicMemBitmap;

const std::vector<std::string> kOneTask = {"Creating image..."};

bool IsEmpty(const zbm::ZBitmap& bitmap) {
    return bitmap.GetColorFormat() == shr::FORMAT_NONE && bitmap.GetNumScanRectRows() == 0;
}

/// Throws something of its own at the report of that number.
struct Thrown {};
class ThrowingProgress : public shr::IProgress {
public:
    explicit ThrowingProgress(int report) : left(report) {}
    void StartTask(const shr::ZString&, int, int) override {}
    void EndTask() override {}
    void SetProgress(double) override {
        if (--left == 0) throw Thrown();
    }

private:
    int left;
};

int LocksLeft(const std::vector<std::string>& calls) {
    int locks = 0;
    for (const std::string& call : calls) locks += call[0] == 'L' ? 1 : call[0] == 'U' ? -1 : 0;
    return locks;
}

// --- exact copies

TEST(CreateCopy, TakesOverEverythingWithTheTiles) {
    for (const ColorFormat format : testkit::kFormats) {
        TestProgress progress;
        ZBasicMemBitmap source = FormulaBitmap(37, 23, format, 13, 9), copy(1, 1, shr::BGRA_32);
        ASSERT_TRUE(copy.Create(source, &progress));
        EXPECT_TRUE(AreEqual(copy, source)) << format;
        EXPECT_EQ(progress.TaskTexts(), kOneTask);
        // Three rows of three tiles, each reported.
        std::vector<double> expected;
        for (int i = 1; i <= 9; ++i) expected.push_back(i / 9.0);
        ASSERT_EQ(progress.fractions.size(), 9u);
        for (std::size_t i = 0; i < 9; ++i) EXPECT_NEAR(progress.fractions[i], expected[i], 1e-12);
    }
}

TEST(CreateCopy, OfItselfChangesNothing) {
    TestProgress progress;
    ZBasicMemBitmap bitmap = FormulaBitmap(37, 23, shr::BGR_24, 13, 9);
    EXPECT_TRUE(bitmap.Create(bitmap, &progress));
    EXPECT_TRUE(testkit::IsFormulaPicture(bitmap));
    EXPECT_TRUE(progress.tasks.empty());
}

TEST(CreateCopy, LocksAndCommitsTileByTile) {
    OpenBitmap source(4, 2, shr::BGR_24, 2, 2);
    OpenBasicMemBitmap copy(1, 1, shr::BGRA_32);
    source.calls.clear();
    copy.calls.clear();
    ASSERT_TRUE(copy.Create(source, nullptr));
    EXPECT_EQ(source.calls, (std::vector<std::string>{"Lock 0,0", "Unlock 0,0", "Lock 0,1", "Unlock 0,1"}));
    EXPECT_EQ(copy.calls,
              (std::vector<std::string>{"Lock 0,0", "Commit 0,0", "Unlock 0,0", "Lock 0,1", "Commit 0,1", "Unlock 0,1",
                                        "FillColorTable 0", "SetXResolution " + std::to_string(source.xResolution),
                                        "SetYResolution " + std::to_string(source.yResolution)}));
}

TEST(CreateCopy, CancelledIsFalseAndLeavesItEmptyAndUsable) {
    ZBasicMemBitmap source = FormulaBitmap(37, 23, shr::INDEXED_4, 13, 9);
    for (int report = 1; report <= 9; ++report) {
        TestProgress progress(report);
        ZBasicMemBitmap copy = FormulaBitmap(5, 5, shr::BGR_24, 2, 2);
        EXPECT_FALSE(copy.Create(source, &progress));
        EXPECT_TRUE(IsEmpty(copy));
        EXPECT_EQ(progress.openTasks, 0);
        EXPECT_TRUE(copy.Create(source, nullptr));
        EXPECT_TRUE(AreEqual(copy, source));
    }
}

TEST(CreateCopy, WhateverElseIsThrownPassesOnAndLeavesItEmpty) {
    OpenBasicMemBitmap source(37, 23, shr::INDEXED_4, 13, 9);
    for (int report = 1; report <= 9; ++report) {
        ThrowingProgress progress(report);
        ZBasicMemBitmap copy = FormulaBitmap(5, 5, shr::BGR_24, 2, 2);
        source.calls.clear();
        EXPECT_THROW(static_cast<void>(copy.Create(source, &progress)), Thrown);
        EXPECT_TRUE(IsEmpty(copy));
        EXPECT_EQ(LocksLeft(source.calls), 0);
    }
}

// --- formats

TEST(CreateInFormat, RefusesItselfAndWhatIsNoFormat) {
    ZBasicMemBitmap bitmap = FormulaBitmap(9, 7, shr::BGR_24, 4, 4), source = bitmap;
    EXPECT_TRUE(RaisesInternalError([&] { return bitmap.Create(shr::BGR_24, bitmap, nullptr); },
                                    BasicMemBitmapCheck::convertedSelf));
    EXPECT_TRUE(RaisesInternalError([&] { return bitmap.Create(shr::FORMAT_NONE, bitmap, nullptr); },
                                    BasicMemBitmapCheck::convertedSelf));
    for (const int format : {0, 14, -1})
        EXPECT_TRUE(
            RaisesInternalError([&] { return bitmap.Create(static_cast<ColorFormat>(format), source, nullptr); },
                                BasicMemBitmapCheck::convertedFormat));
    EXPECT_TRUE(testkit::IsFormulaPicture(bitmap));
}

TEST(CreateInFormat, OfTheSameFormatIsAnExactCopy) {
    TestProgress progress;
    ZBasicMemBitmap source = FormulaBitmap(37, 23, shr::INDEXED_8, 13, 9), copy(1, 1, shr::BGRA_32);
    ASSERT_TRUE(copy.Create(shr::INDEXED_8, source, &progress));
    EXPECT_TRUE(AreEqual(copy, source));
    EXPECT_EQ(progress.TaskTexts(), kOneTask);
}

std::vector<unsigned char> AsBgra(const zbm::ZBitmap& bitmap) {
    const zbm::ZPixelRect rect(bitmap, 0, 0, bitmap.GetPixelWidth(), bitmap.GetPixelHeight(), shr::BGRA_32, nullptr);
    const auto* first = rect.GetFirstRowPtr();
    return {first, first + std::size_t{4} * rect.GetWidth() * rect.GetHeight()};
}

/// The source by way of format 10, a pixel rect at a time.
ZBasicMemBitmap ByWayOfBgra(const ZBasicMemBitmap& source, ColorFormat format) {
    const int width = source.GetPixelWidth(), height = source.GetPixelHeight();
    ZBasicMemBitmap result(width, height, format);
    const zbm::ZPixelRect from(source, 0, 0, width, height, shr::BGRA_32, nullptr);
    zbm::ZPixelRect to(result, 0, 0, width, height, shr::BGRA_32, nullptr);
    std::memcpy(to.GetFirstRowPtr(), from.GetFirstRowPtr(), std::size_t{4} * from.GetWidth() * from.GetHeight());
    to.CommitPixels(nullptr);
    result.SetXResolution(source.GetXResolution());
    result.SetYResolution(source.GetYResolution());
    return result;
}

TEST(CreateInFormat, ConvertsEveryPairAndKeepsTransparencyAndResolution) {
    for (const ColorFormat from : testkit::kFormats)
        for (const ColorFormat to : testkit::kFormats) {
            if (from == to || testkit::TableSize(to) != 0) continue;
            ZBasicMemBitmap source = FormulaBitmap(37, 23, from, 13, 9), result(1, 1, shr::BGRA_32);
            ASSERT_TRUE(result.Create(to, source, nullptr));
            EXPECT_TRUE(AreEqual(result, ByWayOfBgra(source, to))) << from << " to " << to;
        }
}

TEST(CreateInFormat, AnIndexedFormatGetsColorsOfItsOwnAndKeepsTransparency) {
    for (const ColorFormat to : {shr::INDEXED_1, shr::INDEXED_4, shr::INDEXED_8}) {
        ZBasicMemBitmap source(37, 23, shr::BGRA_32, 13, 9), result(1, 1, shr::BGRA_32);
        // As many colours as fit, and a diagonal edge of transparency.
        const int colors = testkit::TableSize(to);
        for (int y = 0; y < 23; ++y)
            for (int x = 0; x < 37; ++x) {
                const auto color = static_cast<std::uint32_t>((x + 37 * y) % colors) * 0x010305u;
                testkit::SetPixel(source, x, y, color | (x + y < 30 ? 0xFF000000u : 0x7F000000u));
            }
        ASSERT_TRUE(result.Create(to, source, nullptr));
        EXPECT_EQ(result.GetColorFormat(), to);
        for (int y = 0; y < 23; ++y)
            for (int x = 0; x < 37; ++x) {
                const shr::Color4b color = result.GetColorTableItem(testkit::GetPixel(result, x, y));
                const std::uint32_t value = static_cast<std::uint32_t>(color.red << 16 | color.green << 8 | color.blue);
                ASSERT_EQ(value, testkit::GetPixel(source, x, y) & 0xFFFFFF) << x << ", " << y;
                ASSERT_EQ(testkit::GetMask(result, x, y), x + y < 30) << x << ", " << y;
            }
    }
}

TEST(CreateInFormat, TheMaskAndNotTheAlphaOfItsColorsTellsWhatIsOpaqueInAnIndexedPicture) {
    for (const ColorFormat from : {shr::INDEXED_1, shr::INDEXED_4, shr::INDEXED_8})
        for (const bool opaque : {true, false}) {
            ZBasicMemBitmap source = FormulaBitmap(37, 23, from, 13, 9), result(1, 1, shr::BGRA_32);
            for (int y = 0; y < 23; ++y)
                for (int x = 0; x < 37; ++x) testkit::SetMask(source, x, y, opaque);
            ASSERT_TRUE(result.Create(shr::BGRA_32, source, nullptr));
            for (int y = 0; y < 23; ++y)
                for (int x = 0; x < 37; ++x)
                    ASSERT_EQ(testkit::GetPixel(result, x, y) >> 24, opaque ? 255u : 0u) << x << ", " << y;
        }
}

TEST(CreateInFormat, GivesTilesOf512) {
    ZBasicMemBitmap source = FormulaBitmap(37, 23, shr::BGR_24, 13, 9), result(1, 1, shr::BGRA_32);
    ASSERT_TRUE(result.Create(shr::BGRA_32, source, nullptr));
    EXPECT_EQ(result.GetScanRectWidth(), 512);
    EXPECT_EQ(result.GetScanRectHeight(), 512);
}

TEST(CreateInFormat, WhatIsThrownPassesOnAndLeavesItEmpty) {
    for (const ColorFormat format : {shr::BGR_24, shr::INDEXED_8}) {
        OpenBasicMemBitmap source(5, 250, shr::BGRA_32, 16, 16);
        for (int report = 1;; ++report) {
            TestProgress progress(report);
            ZBasicMemBitmap result = FormulaBitmap(5, 5, shr::BGR_24, 2, 2);
            source.calls.clear();
            bool cancelled = false;
            try {
                EXPECT_TRUE(result.Create(format, source, &progress));
            } catch (const shr::AbortException&) { cancelled = true; }
            EXPECT_EQ(IsEmpty(result), cancelled);
            EXPECT_EQ(LocksLeft(source.calls), 0);
            EXPECT_EQ(progress.openTasks, 0);
            if (!cancelled) break;
            ASSERT_LT(report, 20);
        }
    }
}

// --- sizes

constexpr RECT kWhole{0, 0, 37, 23};

bool Resize(ZBasicMemBitmap& result, int width, int height, zbm::ZBitmap& source, RECT rect = kWhole,
            int method = zbm::ResizeBilinear) {
    return result.Create(width, height, source, rect, static_cast<zbm::ResizeMethod>(method), nullptr);
}

TEST(CreateResized, ChecksItsArgumentsInOrderBeforeAnythingChanges) {
    ZBasicMemBitmap bitmap = FormulaBitmap(9, 7, shr::BGR_24, 4, 4), source = FormulaBitmap(37, 23, shr::BGR_24, 13, 9);
    struct Bad {
        RECT rect;
        BasicMemBitmapCheck check;
    };
    constexpr Bad kBad[] = {
        {{-1, -1, 38, 24}, BasicMemBitmapCheck::resizedLeft}, {{38, -1, 38, 24}, BasicMemBitmapCheck::resizedLeft},
        {{0, -1, 38, 24}, BasicMemBitmapCheck::resizedRight}, {{0, -1, -1, 24}, BasicMemBitmapCheck::resizedRight},
        {{5, -1, 5, 24}, BasicMemBitmapCheck::resizedTop},    {{5, 24, 5, 24}, BasicMemBitmapCheck::resizedTop},
        {{5, 6, 5, 24}, BasicMemBitmapCheck::resizedBottom},  {{5, 6, 5, -1}, BasicMemBitmapCheck::resizedBottom},
        {{5, 6, 5, 6}, BasicMemBitmapCheck::resizedWidth},    {{6, 6, 5, 6}, BasicMemBitmapCheck::resizedWidth},
        {{5, 6, 37, 6}, BasicMemBitmapCheck::resizedHeight},  {{5, 7, 37, 6}, BasicMemBitmapCheck::resizedHeight},
    };
    for (const Bad& bad : kBad)
        EXPECT_TRUE(RaisesInternalError([&] { Resize(bitmap, 5, 5, source, bad.rect, 99); }, bad.check))
            << zbm::Check(bad.check).Line();
    EXPECT_TRUE(RaisesInternalError(
        [&] {
            Resize(bitmap, 5, 5, bitmap, {-1, 0, 0, 0});
        },
        BasicMemBitmapCheck::resizedSelf));
    EXPECT_TRUE(testkit::IsFormulaPicture(bitmap));
}

TEST(CreateResized, RunsInATaskOfTheSameTextAsTheOtherCreations) {
    ZBasicMemBitmap source = FormulaBitmap(37, 23, shr::BGR_24, 13, 9), bitmap(1, 1, shr::BGRA_32);
    TestProgress resized, converted;
    ASSERT_TRUE(bitmap.Create(5, 150, source, kWhole, zbm::ResizePlain, &resized));
    EXPECT_EQ(resized.TaskTexts(), kOneTask);
    EXPECT_EQ(resized.fractions, (std::vector<double>{0, 100 / 150.0, 1}));
    ASSERT_TRUE(bitmap.Create(shr::BGRA_32, source, &converted));
    EXPECT_EQ(converted.TaskTexts(), kOneTask);
    EXPECT_EQ(converted.fractions, (std::vector<double>{0, 1}));
    EXPECT_EQ(resized.openTasks + converted.openTasks, 0);
}

TEST(CreateResized, RefusesAnUnknownMethodAndIsThenEmpty) {
    ZBasicMemBitmap source = FormulaBitmap(37, 23, shr::BGR_24, 13, 9);
    for (const int method : {0, 6, -1}) {
        ZBasicMemBitmap bitmap = FormulaBitmap(9, 7, shr::BGR_24, 4, 4);
        EXPECT_TRUE(RaisesInternalError([&] { Resize(bitmap, 5, 5, source, kWhole, method); },
                                        BasicMemBitmapCheck::resizeMethod));
        EXPECT_TRUE(IsEmpty(bitmap));
    }
}

TEST(CreateResized, LeavesBadSizesToTheLayout) {
    ZBasicMemBitmap source = FormulaBitmap(37, 23, shr::BGR_24, 13, 9), bitmap(1, 1, shr::BGRA_32);
    EXPECT_TRUE(RaisesInternalError([&] { Resize(bitmap, -1, 5, source); }, BitmapCheck::pixelSize));
    EXPECT_TRUE(IsEmpty(bitmap));
    for (const auto& [width, height] : {std::pair{0, 5}, std::pair{5, 0}, std::pair{0, 0}}) {
        EXPECT_TRUE(Resize(bitmap, width, height, source)) << width << " x " << height;
        EXPECT_EQ(bitmap.GetPixelWidth(), width);
        EXPECT_EQ(bitmap.GetPixelHeight(), height);
    }
}

TEST(CreateResized, KeepsFormatAndResolutionAndGivesTilesOf512) {
    for (const ColorFormat format : testkit::kFormats) {
        ZBasicMemBitmap source = FormulaBitmap(37, 23, format, 13, 9), bitmap(1, 1, shr::BGRA_32);
        ASSERT_TRUE(Resize(bitmap, 50, 11, source));
        EXPECT_EQ(bitmap.GetColorFormat(), format);
        EXPECT_EQ(bitmap.GetPixelWidth(), 50);
        EXPECT_EQ(bitmap.GetPixelHeight(), 11);
        EXPECT_EQ(bitmap.GetScanRectWidth(), 512);
        EXPECT_EQ(bitmap.GetXResolution(), source.GetXResolution());
        EXPECT_EQ(bitmap.GetYResolution(), source.GetYResolution());
    }
}

/// What the filter alone makes of the rectangle.
std::vector<unsigned char> Filtered(zpixf::ZPixFilterBase& filter, const zbm::ZPixelRect& source, int width,
                                    int height) {
    filter.SetInputFormat(zpixf::ZPixFormat(source.GetWidth(), source.GetHeight()));
    filter.SetOutputFormat(zpixf::ZPixFormat(static_cast<unsigned>(width), static_cast<unsigned>(height)));
    const auto read = [](void* rect, unsigned line, void* buffer) {
        const auto& from = *static_cast<const zbm::ZPixelRect*>(rect);
        std::memcpy(buffer, from.GetRowPtr(static_cast<int>(line)), std::size_t{4} * from.GetWidth());
        return true;
    };
    filter.SetScanLineFunction(read, const_cast<zbm::ZPixelRect*>(&source));
    EXPECT_TRUE(filter.Start());
    std::vector<unsigned char> result(std::size_t{4} * static_cast<unsigned>(width) * static_cast<unsigned>(height));
    for (int y = 0; y < height; ++y)
        EXPECT_TRUE(filter.FilterScanline(static_cast<unsigned>(y),
                                          &result[std::size_t{4} * static_cast<unsigned>(y * width)]));
    return result;
}

TEST(CreateResized, TakesTheRectangleThroughTheFilterOfTheMethod) {
    zpixf::ZPixfResize plain;
    zpixf::ZPixfResizeBilinear bilinear;
    zpixf::ZPixfResizeBicubic cubic[3];
    for (int mode = 0; mode < 3; ++mode) cubic[mode].SetMode(mode);
    zpixf::ZPixFilterBase* const filters[] = {&plain, &bilinear, &cubic[0], &cubic[1], &cubic[2]};
    for (const RECT& rect : {kWhole, RECT{3, 10, 31, 22}, RECT{36, 22, 37, 23}})
        for (int method = 1; method <= 5; ++method) {
            ZBasicMemBitmap source = FormulaBitmap(37, 23, shr::BGRA_32, 13, 9), bitmap(1, 1, shr::BGRA_32);
            ASSERT_TRUE(Resize(bitmap, 19, 30, source, rect, method));
            const zbm::ZPixelRect part(source, rect, shr::BGRA_32, nullptr);
            EXPECT_EQ(AsBgra(bitmap), Filtered(*filters[method - 1], part, 19, 30)) << "method " << method;
        }
}

TEST(CreateResized, ToTheSameSizeRunsTheFilterAllTheSame) {
    ZBasicMemBitmap source = FormulaBitmap(37, 23, shr::BGRA_32, 13, 9), bitmap(1, 1, shr::BGRA_32);
    ASSERT_TRUE(Resize(bitmap, 37, 23, source, kWhole, zbm::ResizeBicubic2));
    EXPECT_EQ(bitmap.GetScanRectWidth(), 512);
    EXPECT_NE(AsBgra(bitmap), AsBgra(source)) << "a B-spline blurs even then";
}

TEST(CreateResized, CarriesTheMaskAlong) {
    ZBasicMemBitmap source(40, 40, shr::BGR_24, 13, 9), bitmap(1, 1, shr::BGRA_32);
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 40; ++x) {
            testkit::SetPixel(source, x, y, x < 20 ? 0x0000FF : 0xFF0000);  // opaque blue, transparent red
            testkit::SetMask(source, x, y, x < 20);
        }
    ASSERT_TRUE(Resize(bitmap, 20, 20, source, {0, 0, 40, 40}));
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 20; ++x) {
            ASSERT_EQ(testkit::GetMask(bitmap, x, y), x < 10);
            if (x < 10) { ASSERT_EQ(testkit::GetPixel(bitmap, x, y), 0x0000FFu) << "no red bleeds into the blue"; }
        }
}

}  // namespace
