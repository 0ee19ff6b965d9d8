// Contexts, what is set in them, and handles that are none. The same on both systems.
#include <gtest/gtest.h>

#include <limits>

#include "support/gdi/Section.h"

namespace {

using testkit::Section;

constexpr int kMax = std::numeric_limits<int>::max();

testing::AssertionResult HoldsExactly(const RECT& rect, LONG left, LONG top, LONG right, LONG bottom) {
    if (rect.left == left && rect.top == top && rect.right == right && rect.bottom == bottom)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "(" << rect.left << ", " << rect.top << ", " << rect.right << ", "
                                       << rect.bottom << ")";
}

RECT ClipBox(HDC dc) {
    RECT box{-7, -7, -7, -7};
    GetClipBox(dc, &box);
    return box;
}

TEST(GdiContext, BeginsWithOnePixelInPixels) {
    const HDC dc = CreateCompatibleDC(nullptr);
    ASSERT_NE(dc, nullptr);
    RECT box;
    EXPECT_EQ(GetClipBox(dc, &box), SIMPLEREGION);
    EXPECT_TRUE(HoldsExactly(box, 0, 0, 1, 1));
    EXPECT_EQ(GetMapMode(dc), MM_TEXT);
    EXPECT_EQ(GetStretchBltMode(dc), BLACKONWHITE);
    SIZE extent{};
    EXPECT_TRUE(GetWindowExtEx(dc, &extent) && extent.cx == 1 && extent.cy == 1);
    EXPECT_TRUE(GetViewportExtEx(dc, &extent) && extent.cx == 1 && extent.cy == 1);
    EXPECT_TRUE(DeleteDC(dc));
}

TEST(GdiContext, HandlesThatAreNoneAreHarmless) {
    const HDC gone = CreateCompatibleDC(nullptr);
    ASSERT_TRUE(DeleteDC(gone));
    for (const HDC dc : {gone, HDC{nullptr}}) {
        RECT box;
        POINT point{3, 4};
        SIZE size;
        EXPECT_EQ(GetClipBox(dc, &box), 0);
        EXPECT_EQ(SaveDC(dc), 0);
        EXPECT_FALSE(RestoreDC(dc, -1));
        EXPECT_EQ(IntersectClipRect(dc, 0, 0, 1, 1), 0);
        EXPECT_EQ(SelectClipRgn(dc, nullptr), 0);
        EXPECT_EQ(SetMapMode(dc, MM_ANISOTROPIC), 0);
        EXPECT_EQ(GetMapMode(dc), 0);
        EXPECT_FALSE(SetWindowOrgEx(dc, 1, 1, nullptr));
        EXPECT_FALSE(SetViewportOrgEx(dc, 1, 1, nullptr));
        EXPECT_FALSE(SetWindowExtEx(dc, 1, 1, nullptr));
        EXPECT_FALSE(SetViewportExtEx(dc, 1, 1, nullptr));
        EXPECT_FALSE(GetWindowExtEx(dc, &size));
        EXPECT_FALSE(LPtoDP(dc, &point, 1));
        EXPECT_FALSE(DPtoLP(dc, &point, 1));
        EXPECT_EQ(SetStretchBltMode(dc, COLORONCOLOR), 0);
        EXPECT_EQ(GetStretchBltMode(dc), 0);
        testkit::PlacesDib dib(2, 2);
        EXPECT_EQ(SetDIBitsToDevice(dc, 0, 0, 2, 2, 0, 0, 0, 2, dib.bits.data(), &dib.info, 0), 0);
        EXPECT_EQ(StretchDIBits(dc, 0, 0, 2, 2, 0, 0, 2, 2, dib.bits.data(), &dib.info, 0, SRCCOPY), 0);
        EXPECT_FALSE(DeleteDC(dc));
    }
    EXPECT_FALSE(DeleteObject(nullptr));
    Section section(2, 2);
    EXPECT_EQ(SelectObject(section.dc, nullptr), nullptr);
}

TEST(GdiContext, ABitmapIsInOneContextAtATime) {
    Section section(5, 3);
    const HDC other = CreateCompatibleDC(nullptr);
    EXPECT_EQ(SelectObject(other, section.bitmap), nullptr);
    EXPECT_TRUE(HoldsExactly(ClipBox(other), 0, 0, 1, 1));
    EXPECT_EQ(SelectObject(section.dc, section.bitmap), section.bitmap);
    EXPECT_TRUE(DeleteDC(other));
}

TEST(GdiContext, ABitmapOutlivesItsContextAndGoesToTheNext) {
    BITMAPINFO info{};
    info.bmiHeader = {sizeof(BITMAPINFOHEADER), 4, 4, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void* bits = nullptr;
    const HBITMAP bitmap = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    ASSERT_NE(bits, nullptr);
    for (int i = 0; i < 2; ++i) {
        const HDC dc = CreateCompatibleDC(nullptr);
        ASSERT_NE(SelectObject(dc, bitmap), nullptr);
        EXPECT_TRUE(HoldsExactly(ClipBox(dc), 0, 0, 4, 4));
        EXPECT_TRUE(DeleteDC(dc));
    }
    EXPECT_TRUE(DeleteObject(bitmap));
}

TEST(GdiContext, ASectionIsZeroAndHoldsTheLowestRowFirst) {
    BITMAPINFO info{};
    info.bmiHeader = {sizeof(BITMAPINFOHEADER), 3, 2, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void* bits = nullptr;
    const HBITMAP bitmap = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    const HDC dc = CreateCompatibleDC(nullptr);
    const HGDIOBJ before = SelectObject(dc, bitmap);
    const auto* pixels = static_cast<const std::uint32_t*>(bits);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(pixels[i], 0u);
    testkit::PlacesDib dib(1, 1);
    EXPECT_EQ(SetDIBitsToDevice(dc, 1, 0, 1, 1, 0, 0, 0, 1, dib.bits.data(), &dib.info, 0), 1);
    GdiFlush();
    for (int i = 0; i < 6; ++i) EXPECT_EQ(pixels[i] != 0, i == 4);
    EXPECT_EQ(SelectObject(dc, before), bitmap);
    EXPECT_TRUE(DeleteObject(bitmap));
    EXPECT_TRUE(DeleteDC(dc));
}

TEST(GdiContext, SectionsThatCannotBeAreRefused) {
    const auto make = [](LONG width, LONG height) {
        BITMAPINFO info{};
        info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        void* bits = nullptr;
        return CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    };
    EXPECT_EQ(make(0, 4), nullptr);
    EXPECT_EQ(make(-4, 4), nullptr);
    EXPECT_EQ(make(4, 0), nullptr);
    EXPECT_EQ(make(100000, 100000), nullptr);
    EXPECT_EQ(make(kMax, 1), nullptr);
}

TEST(GdiContext, WhatIsSavedComesBack) {
    Section section(16, 16);
    const HDC dc = section.dc;
    SetMapMode(dc, MM_ANISOTROPIC);
    SetViewportExtEx(dc, 3, 4, nullptr);
    SetViewportOrgEx(dc, 5, 6, nullptr);
    SetStretchBltMode(dc, COLORONCOLOR);
    EXPECT_EQ(SaveDC(dc), 1);
    SetMapMode(dc, MM_TEXT);
    SetViewportOrgEx(dc, 0, 0, nullptr);
    SetStretchBltMode(dc, HALFTONE);
    IntersectClipRect(dc, 1, 1, 2, 2);
    EXPECT_EQ(SaveDC(dc), 2);
    EXPECT_TRUE(RestoreDC(dc, -1));
    EXPECT_TRUE(HoldsExactly(ClipBox(dc), 1, 1, 2, 2));
    EXPECT_TRUE(RestoreDC(dc, -1));
    SIZE extent;
    POINT origin;
    EXPECT_EQ(GetMapMode(dc), MM_ANISOTROPIC);
    EXPECT_TRUE(GetViewportExtEx(dc, &extent) && extent.cx == 3 && extent.cy == 4);
    EXPECT_TRUE(GetViewportOrgEx(dc, &origin) && origin.x == 5 && origin.y == 6);
    EXPECT_EQ(GetStretchBltMode(dc), COLORONCOLOR);
    EXPECT_FALSE(RestoreDC(dc, -1));
}

TEST(GdiContext, RestoringALevelDropsThoseAbove) {
    Section section(4, 4);
    for (int level = 1; level <= 3; ++level) {
        SetWindowOrgEx(section.dc, level, 0, nullptr);
        EXPECT_EQ(SaveDC(section.dc), level);
    }
    for (const int none : {0, 4, -4}) EXPECT_FALSE(RestoreDC(section.dc, none)) << none;
    EXPECT_TRUE(RestoreDC(section.dc, 2));
    POINT origin;
    EXPECT_TRUE(GetWindowOrgEx(section.dc, &origin) && origin.x == 2);
    EXPECT_EQ(SaveDC(section.dc), 2);
}

TEST(GdiContext, RestoringSelectsTheBitmapOfThatTime) {
    Section section(4, 4);
    BITMAPINFO info{};
    info.bmiHeader = {sizeof(BITMAPINFOHEADER), 2, 2, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void* bits = nullptr;
    const HBITMAP other = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    SaveDC(section.dc);
    EXPECT_EQ(SelectObject(section.dc, other), section.bitmap);
    EXPECT_EQ(ClipBox(section.dc).right, 2);
    EXPECT_TRUE(RestoreDC(section.dc, -1));
    EXPECT_EQ(ClipBox(section.dc).right, 4);
    EXPECT_TRUE(DeleteObject(other));
}

TEST(GdiClip, IsIntersectedInWhateverOrderItsCornersCome) {
    Section section(16, 16);
    EXPECT_EQ(IntersectClipRect(section.dc, 4, 5, -3, 9), SIMPLEREGION);
    EXPECT_TRUE(HoldsExactly(ClipBox(section.dc), 0, 5, 4, 9));
    EXPECT_EQ(IntersectClipRect(section.dc, 8, 5, 9, 9), NULLREGION);
    RECT box{1, 2, 3, 4};
    EXPECT_EQ(GetClipBox(section.dc, &box), NULLREGION);
    EXPECT_EQ(SelectClipRgn(section.dc, nullptr), SIMPLEREGION);
    EXPECT_TRUE(HoldsExactly(ClipBox(section.dc), 0, 0, 16, 16));
}

TEST(GdiClip, IsGivenAndToldInLogicalUnits) {
    Section section(16, 16);
    SetMapMode(section.dc, MM_ANISOTROPIC);
    SetWindowExtEx(section.dc, 10, 10, nullptr);
    SetViewportExtEx(section.dc, -3, 5, nullptr);
    SetViewportOrgEx(section.dc, 7, 1, nullptr);
    EXPECT_TRUE(HoldsExactly(ClipBox(section.dc), 23, -2, -30, 30));
    IntersectClipRect(section.dc, 3, 4, 11, 12);
    EXPECT_TRUE(HoldsExactly(ClipBox(section.dc), 10, 4, 3, 12));
    SetMapMode(section.dc, MM_TEXT);
    SetViewportOrgEx(section.dc, 0, 0, nullptr);
    EXPECT_TRUE(HoldsExactly(ClipBox(section.dc), 4, 3, 6, 7));
}

TEST(GdiMapping, TextHasExtentsOfOneAndKeepsThem) {
    Section section(4, 4);
    SIZE extent{-1, -1};
    EXPECT_TRUE(SetViewportExtEx(section.dc, 7, 8, &extent));
    EXPECT_TRUE(extent.cx == 1 && extent.cy == 1);
    EXPECT_TRUE(SetWindowExtEx(section.dc, 7, 8, nullptr));
    EXPECT_TRUE(GetViewportExtEx(section.dc, &extent) && extent.cx == 1 && extent.cy == 1);
    EXPECT_TRUE(GetWindowExtEx(section.dc, &extent) && extent.cx == 1 && extent.cy == 1);
}

TEST(GdiMapping, ReturningToTextKeepsTheOriginsAlone) {
    Section section(4, 4);
    EXPECT_EQ(SetMapMode(section.dc, MM_ANISOTROPIC), MM_TEXT);
    EXPECT_EQ(SetMapMode(section.dc, 0), 0);
    EXPECT_EQ(SetMapMode(section.dc, 99), 0);
    SIZE extent{-1, -1};
    EXPECT_FALSE(SetViewportExtEx(section.dc, 0, 5, nullptr));
    EXPECT_FALSE(SetWindowExtEx(section.dc, 5, 0, nullptr));
    EXPECT_TRUE(SetViewportExtEx(section.dc, 7, 8, &extent));
    EXPECT_TRUE(extent.cx == 1 && extent.cy == 1);
    EXPECT_TRUE(SetWindowExtEx(section.dc, 3, 5, nullptr));
    POINT origin{-1, -1};
    EXPECT_TRUE(SetViewportOrgEx(section.dc, 10, 20, &origin));
    EXPECT_TRUE(origin.x == 0 && origin.y == 0);
    EXPECT_TRUE(SetWindowOrgEx(section.dc, 1, 2, nullptr));
    EXPECT_EQ(SetMapMode(section.dc, MM_TEXT), MM_ANISOTROPIC);
    EXPECT_TRUE(GetViewportExtEx(section.dc, &extent) && extent.cx == 1 && extent.cy == 1);
    EXPECT_TRUE(GetViewportOrgEx(section.dc, &origin) && origin.x == 10 && origin.y == 20);
    EXPECT_TRUE(GetWindowOrgEx(section.dc, &origin) && origin.x == 1 && origin.y == 2);
}

TEST(GdiMapping, RoundsHalvesUp) {
    Section section(4, 4);
    SetMapMode(section.dc, MM_ANISOTROPIC);
    SetWindowExtEx(section.dc, 2, -4, nullptr);
    SetViewportExtEx(section.dc, 1, 1, nullptr);
    SetViewportOrgEx(section.dc, 100, 0, nullptr);
    POINT points[] = {{1, 2}, {-1, -2}, {3, 1}, {-3, 6}, {0, 3}};
    ASSERT_TRUE(LPtoDP(section.dc, points, 5));
    const POINT expected[] = {{101, 0}, {100, 1}, {102, 0}, {99, -1}, {100, -1}};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(points[i].x, expected[i].x) << i;
        EXPECT_EQ(points[i].y, expected[i].y) << i;
    }
    POINT back[] = {{101, 1}, {99, -2}};
    ASSERT_TRUE(DPtoLP(section.dc, back, 2));
    EXPECT_TRUE(back[0].x == 2 && back[0].y == -4 && back[1].x == -2 && back[1].y == 8);
    EXPECT_TRUE(LPtoDP(section.dc, points, 0));
}

TEST(GdiStretchMode, IsOneOfFour) {
    Section section(4, 4);
    EXPECT_EQ(SetStretchBltMode(section.dc, HALFTONE), BLACKONWHITE);
    EXPECT_EQ(SetStretchBltMode(section.dc, 0), 0);
    EXPECT_EQ(SetStretchBltMode(section.dc, 5), 0);
    EXPECT_EQ(GetStretchBltMode(section.dc), HALFTONE);
}

}  // namespace
