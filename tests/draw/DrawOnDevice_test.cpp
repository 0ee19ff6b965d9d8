// Drawing on device contexts, beside drawing into memory. The same on both systems.
#include <gtest/gtest.h>

#include "core/checks/BitmapChecks.h"
#include "support/gdi/Section.h"
#include "support_code/ExpectError.h"
#include "support_code/FormulaPicture.h"
#include "support_code/TestProgress.h"
#include "zbm/Drawing.h"

namespace {

using namespace testkit;
using zbm::DrawOptions;
using zbm::SourceArea;

void FillWithNoise(Section& section) {
    for (int i = 0; i < section.width * section.height; ++i)
        section.pixels[i] = static_cast<std::uint32_t>(i) * 2654435761u;
}

/// The colours, without the bytes of which devices make nothing.
std::vector<std::uint32_t> ColorsOf(const Section& section) {
    GdiFlush();
    std::vector<std::uint32_t> colors(section.pixels, section.pixels + section.width * section.height);
    for (std::uint32_t& color : colors) color &= 0xFFFFFF;
    return colors;
}

zbm::PixelSurface SurfaceOf(const Section& section) {
    return {reinterpret_cast<std::uint8_t*>(section.pixels), std::ptrdiff_t{4} * section.width, section.width,
            section.height, zbm::SurfaceLayout::bgrx};
}

const SourceArea kArea{-3.25, 2.5, 40, 30};

TEST(DrawOnDevice, GivesWhatDrawingIntoMemoryGives) {
    for (const ColorFormat format : {shr::BGRA_32, shr::BGR_24, shr::PBGRA_32, shr::INDEXED_8}) {
        const zbm::ZBasicMemBitmap bitmap = FormulaBitmap(33, 37, format, 16, 16);
        for (const auto background :
             {DrawOptions::Background::kept, DrawOptions::Background::color, DrawOptions::Background::checkerboard}) {
            DrawOptions options;
            options.background = background;
            options.clip = RECT{3, 1, 90, 60};
            Section onDevice(100, 70), inMemory(100, 70);
            FillWithNoise(onDevice);
            FillWithNoise(inMemory);
            ASSERT_TRUE(bitmap.DrawOnDevice(onDevice.dc, {-4, 5, 95, 68}, kArea, options, nullptr));
            ASSERT_TRUE(bitmap.DrawOnPixels(SurfaceOf(inMemory), {-4, 5, 95, 68}, kArea, options, nullptr));
            EXPECT_EQ(ColorsOf(onDevice), ColorsOf(inMemory)) << FormatName(format);
        }
    }
}

TEST(DrawOnDevice, CountsInPixelsWhateverUnitsAreSetAndGivesThemBack) {
    const zbm::ZBasicMemBitmap bitmap = FormulaBitmap(33, 37, shr::BGR_24, 16, 16);
    Section mapped(100, 70), plain(100, 70);
    SetMapMode(mapped.dc, MM_ANISOTROPIC);
    SetWindowOrgEx(mapped.dc, 5, -6, nullptr);
    SetWindowExtEx(mapped.dc, 1000, -700, nullptr);
    SetViewportOrgEx(mapped.dc, 7, 9, nullptr);
    SetViewportExtEx(mapped.dc, 100, 70, nullptr);
    ASSERT_TRUE(bitmap.DrawOnDevice(mapped.dc, {10, 10, 80, 60}, kArea, {}, nullptr));
    ASSERT_TRUE(bitmap.DrawOnDevice(plain.dc, {10, 10, 80, 60}, kArea, {}, nullptr));
    EXPECT_EQ(ColorsOf(mapped), ColorsOf(plain));
    POINT origin{};
    SIZE extent{};
    EXPECT_EQ(GetMapMode(mapped.dc), MM_ANISOTROPIC);
    EXPECT_TRUE(GetWindowOrgEx(mapped.dc, &origin));
    EXPECT_EQ(origin.x, 5);
    EXPECT_TRUE(GetViewportOrgEx(mapped.dc, &origin));
    EXPECT_EQ(origin.y, 9);
    EXPECT_TRUE(GetWindowExtEx(mapped.dc, &extent));
    EXPECT_EQ(extent.cy, -700);
}

TEST(DrawOnDevice, StaysWithinWhatTheContextIsConfinedTo) {
    const zbm::ZBasicMemBitmap bitmap = FormulaBitmap(33, 37, shr::BGR_24, 16, 16);
    Section section(100, 70);
    IntersectClipRect(section.dc, 20, 30, 22, 31);
    DrawOptions options;
    options.background = DrawOptions::Background::color;
    ASSERT_TRUE(bitmap.DrawOnDevice(section.dc, {0, 0, 100, 70}, kArea, options, nullptr));
    GdiFlush();
    for (int y = 0; y < 70; ++y)
        for (int x = 0; x < 100; ++x)
            EXPECT_EQ(section.At(x, y) == kUntouched, !(y == 30 && (x == 20 || x == 21))) << x << ' ' << y;
}

/// Bands are of 1 MiB: more than one is needed here, and one of them stands wide.
TEST(DrawOnDevice, GoesOnFromBandToBandWithoutASeam) {
    const zbm::ZBasicMemBitmap bitmap = FormulaBitmap(70, 50, shr::BGRA_32, 16, 16);
    for (const SIZE size : {SIZE{700, 900}, SIZE{300000, 3}}) {
        Section onDevice(size.cx, size.cy), inMemory(size.cx, size.cy);
        const RECT all{0, 0, size.cx, size.cy};
        ASSERT_TRUE(bitmap.DrawOnDevice(onDevice.dc, all, {0, 0, 70, 50}, {}, nullptr));
        ASSERT_TRUE(bitmap.DrawOnPixels(SurfaceOf(inMemory), all, {0, 0, 70, 50}, {}, nullptr));
        EXPECT_EQ(ColorsOf(onDevice), ColorsOf(inMemory));
    }
}

TEST(DrawOnDevice, ReportsRisingPartsAndStopsAtAnyOfThem) {
    const zbm::ZBasicMemBitmap bitmap = FormulaBitmap(70, 50, shr::BGRA_32, 16, 16);
    Section section(700, 900);
    TestProgress progress;
    ASSERT_TRUE(bitmap.DrawOnDevice(section.dc, {0, 0, 700, 900}, {0, 0, 70, 50}, {}, &progress));
    ASSERT_GE(progress.fractions.size(), 4u);
    EXPECT_TRUE(std::is_sorted(progress.fractions.begin(), progress.fractions.end()));
    EXPECT_NEAR(progress.fractions.back(), 1, 1e-9);
    EXPECT_EQ(progress.TaskTexts(), std::vector<std::string>{"Drawing image..."});
    for (int report = 1; report <= static_cast<int>(progress.fractions.size()); ++report) {
        TestProgress cancelling(report);
        EXPECT_FALSE(bitmap.DrawOnDevice(section.dc, {0, 0, 700, 900}, {0, 0, 70, 50}, {}, &cancelling));
        EXPECT_EQ(cancelling.openTasks, 0);
        EXPECT_EQ(SaveDC(section.dc), 1);
        RestoreDC(section.dc, 1);
    }
}

TEST(DrawOnDevice, DrawsNothingWithoutAContextOrWhereNothingIsSeen) {
    const zbm::ZBasicMemBitmap bitmap = FormulaBitmap(8, 8, shr::BGR_24, 8, 8);
    EXPECT_TRUE(bitmap.DrawOnDevice(nullptr, {0, 0, 8, 8}, {0, 0, 8, 8}, {}, nullptr));
    HDC gone = nullptr;
    {
        const Section section(8, 8);
        gone = section.dc;
    }
    EXPECT_TRUE(bitmap.DrawOnDevice(gone, {0, 0, 8, 8}, {0, 0, 8, 8}, {}, nullptr));
    const Section section(8, 8);
    EXPECT_TRUE(bitmap.DrawOnDevice(section.dc, {8, 0, 16, 8}, {0, 0, 8, 8}, {}, nullptr));
    EXPECT_TRUE(bitmap.DrawOnDevice(section.dc, {4, 4, 4, 4}, {0, 0, 8, 8}, {}, nullptr));
    EXPECT_TRUE(IsUntouched(section));
    EXPECT_TRUE(RaisesInternalError(
        [&] {
            (void)bitmap.DrawOnDevice(section.dc, {0, 0, 8, 8}, {0, 0, 0, 8}, {}, nullptr);
        },
        zbm::BitmapCheck::drawnArea));
}

TEST(DrawOnDevice, ReachesTheEdgesOf32Bits) {
    const zbm::ZBasicMemBitmap bitmap = FormulaBitmap(8, 8, shr::BGR_24, 8, 8);
    constexpr int least = std::numeric_limits<int>::min(), most = std::numeric_limits<int>::max();
    Section section(20, 20);
    DrawOptions options;
    options.clip = RECT{least, least, most, most};
    EXPECT_TRUE(bitmap.DrawOnDevice(section.dc, {least, least, most, most}, {0, 0, 8, 8}, options, nullptr));
    EXPECT_EQ(section.At(0, 0) & 0xFFFFFF, section.At(19, 19) & 0xFFFFFF);
    EXPECT_NE(section.At(0, 0), kUntouched);
}

}  // namespace
