// Contexts over the caller's memory, and numbers at the ends of what 32 bits hold. Guard bytes lie around each surface.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "gdi/gdi_mapping.h"
#include "support/gdi/Section.h"

namespace {

using testkit::PlacesDib;

constexpr int kMin = std::numeric_limits<int>::min(), kMax = std::numeric_limits<int>::max();
constexpr std::uint8_t kGuard = 0x5C;

/// A surface at an odd address, with gaps between its rows.
struct Surface {
    static constexpr int kWidth = 7, kHeight = 5, kGap = 3, kDistance = 4 * kWidth + kGap, kFront = 33;
    std::vector<std::uint8_t> bytes = std::vector<std::uint8_t>(kFront + kDistance * kHeight + 40, kGuard);
    bool bottomUp;
    HDC dc;

    explicit Surface(bool isBottomUp)
        : bottomUp(isBottomUp),
          dc(gdi::CreateSurfaceDC(Row(0), kWidth, kHeight, isBottomUp ? -kDistance : kDistance)) {}
    ~Surface() { DeleteDC(dc); }
    Surface(const Surface&) = delete;
    Surface& operator=(const Surface&) = delete;

    std::uint8_t* Row(int y) { return bytes.data() + kFront + kDistance * (bottomUp ? kHeight - 1 - y : y); }
    std::uint32_t At(int x, int y) {
        std::uint32_t pixel;
        std::memcpy(&pixel, Row(y) + 4 * x, 4);
        return pixel;
    }
    bool IsGuarded() {
        std::vector<std::uint8_t> rest = bytes;
        for (int y = 0; y < kHeight; ++y) std::fill_n(rest.begin() + (Row(y) - bytes.data()), 4 * kWidth, kGuard);
        return rest == std::vector<std::uint8_t>(rest.size(), kGuard);
    }
};

class SurfaceContext : public testing::TestWithParam<bool> {};

TEST_P(SurfaceContext, DrawsIntoTheCallersPixelsAndNothingElse) {
    Surface surface(GetParam());
    ASSERT_NE(surface.dc, nullptr);
    const PlacesDib dib(9, 8);
    EXPECT_EQ(SetDIBitsToDevice(surface.dc, -1, -2, 9, 8, 0, 0, 0, 8, dib.bits.data(), &dib.info, 0), 8);
    for (int y = 0; y < Surface::kHeight; ++y)
        for (int x = 0; x < Surface::kWidth; ++x)
            ASSERT_EQ(surface.At(x, y), 0xAB000000u | static_cast<unsigned>((5 - y) << 8 | (x + 1)));
    EXPECT_TRUE(surface.IsGuarded());
    EXPECT_EQ(StretchDIBits(surface.dc, -3, -3, 40, 40, 0, 0, 9, 8, dib.bits.data(), &dib.info, 0, SRCCOPY), 8);
    EXPECT_TRUE(surface.IsGuarded());
}

TEST_P(SurfaceContext, RectanglesAtTheEndsOfAllNumbersStayWithinIt) {
    Surface surface(GetParam());
    const PlacesDib dib(9, 8);
    const int ends[] = {kMin, kMin + 1, -1, 0, 1, kMax - 1, kMax};
    for (const int start : ends)
        for (const int size : ends)
            for (const int sourceStart : ends)
                for (const int sourceSize : ends) {
                    StretchDIBits(surface.dc, start, start, size, size, sourceStart, sourceStart, sourceSize,
                                  sourceSize, dib.bits.data(), &dib.info, 0, SRCCOPY);
                    SetDIBitsToDevice(surface.dc, start, start, static_cast<DWORD>(size),
                                      static_cast<DWORD>(sourceSize), sourceStart, sourceStart,
                                      static_cast<UINT>(sourceSize), static_cast<UINT>(size), dib.bits.data(),
                                      &dib.info, 0);
                }
    EXPECT_TRUE(surface.IsGuarded());
}

INSTANTIATE_TEST_SUITE_P(Rows, SurfaceContext, testing::Bool(),
                         [](const auto& tested) { return tested.param ? "BottomUp" : "TopDown"; });

TEST(SurfaceContext, RefusesWhatIsNoSurface) {
    std::uint8_t pixels[64];
    EXPECT_EQ(gdi::CreateSurfaceDC(nullptr, 2, 2, 8), nullptr);
    EXPECT_EQ(gdi::CreateSurfaceDC(pixels, 0, 2, 8), nullptr);
    EXPECT_EQ(gdi::CreateSurfaceDC(pixels, 2, -2, 8), nullptr);
    EXPECT_EQ(gdi::CreateSurfaceDC(pixels, 2, 2, 7), nullptr);
    EXPECT_EQ(gdi::CreateSurfaceDC(pixels, 2, 2, -7), nullptr);
    EXPECT_EQ(gdi::CreateSurfaceDC(pixels, kMax, 2, kMax), nullptr);
}

TEST(SurfaceContext, TakesASectionInItsPlaceAndReturns) {
    std::uint32_t pixel = 7;
    const HDC dc = gdi::CreateSurfaceDC(&pixel, 1, 1, 4);
    {
        BITMAPINFO info{};
        info.bmiHeader = {sizeof(BITMAPINFOHEADER), 4, 4, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        const HBITMAP section = CreateDIBSection(nullptr, &info, 0, nullptr, nullptr, 0);
        const HGDIOBJ surface = SelectObject(dc, section);
        EXPECT_TRUE(DeleteObject(section));  // its pixels stay as long as they are selected
        const PlacesDib dib(4, 4);
        EXPECT_EQ(SetDIBitsToDevice(dc, 0, 0, 4, 4, 0, 0, 0, 4, dib.bits.data(), &dib.info, 0), 4);
        EXPECT_EQ(pixel, 7u);
        EXPECT_EQ(SelectObject(dc, surface), section);
        EXPECT_EQ(SelectObject(dc, section), nullptr);
    }
    const PlacesDib dib(1, 1);
    EXPECT_EQ(SetDIBitsToDevice(dc, 0, 0, 1, 1, 0, 0, 0, 1, dib.bits.data(), &dib.info, 0), 1);
    EXPECT_EQ(pixel, 0xAB000000u);
    EXPECT_TRUE(DeleteDC(dc));
}

TEST(SoftwareContext, RefusesSourcesOfNegativeSizeAndOtherOperations) {
    testkit::Section section(8, 8);
    const PlacesDib dib(8, 8);
    EXPECT_EQ(StretchDIBits(section.dc, 0, 0, 8, 8, 7, 7, -8, 8, dib.bits.data(), &dib.info, 0, SRCCOPY), 0);
    EXPECT_EQ(StretchDIBits(section.dc, 0, 0, 8, 8, 7, 7, 8, -8, dib.bits.data(), &dib.info, 0, SRCCOPY), 0);
    EXPECT_EQ(StretchDIBits(section.dc, 0, 0, 8, 8, 0, 0, 8, 8, dib.bits.data(), &dib.info, 0, SRCCOPY + 1), 0);
    EXPECT_EQ(StretchDIBits(section.dc, 0, 0, 8, 8, 0, 0, 8, 8, dib.bits.data(), &dib.info, 1, SRCCOPY), 0);
    EXPECT_EQ(SelectClipRgn(section.dc, reinterpret_cast<HRGN>(&section)), ERROR);
    EXPECT_TRUE(testkit::IsUntouched(section));
}

TEST(SoftwareContext, RestoresNothingFromHeightsBeyondAllStacks) {
    testkit::Section section(2, 2);
    EXPECT_EQ(SaveDC(section.dc), 1);
    EXPECT_FALSE(RestoreDC(section.dc, kMin));
    EXPECT_FALSE(RestoreDC(section.dc, kMax));
    EXPECT_TRUE(RestoreDC(section.dc, 1));
}

TEST(AxisMapping, StaysWithin32BitsWhateverIsMapped) {
    const std::int32_t values[] = {kMin, kMin + 1, -3, -1, 0, 1, 2, kMax - 1, kMax};
    for (const std::int32_t org : values)
        for (const std::int32_t ext : values)
            for (const std::int32_t toOrg : values)
                for (const std::int32_t toExt : values)
                    for (const std::int32_t value : values) {
                        const gdi::AxisMapping mapping{org, ext, toOrg, toExt};
                        long double exact = toOrg;
                        if (ext != 0) {
                            const long double scaled = (static_cast<long double>(value) - org) * toExt / ext;
                            exact = std::clamp<long double>(std::floor(scaled + 0.5L) + toOrg, kMin, kMax);
                        }
                        ASSERT_EQ(mapping.ToDevice(value), static_cast<std::int32_t>(exact))
                            << org << " " << ext << " " << toOrg << " " << toExt << " " << value;
                    }
}

}  // namespace
