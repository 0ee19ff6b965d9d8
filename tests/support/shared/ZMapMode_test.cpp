#include "shr/ZMapMode.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using shr::ZMapMode;

POINT ToDevice(const ZMapMode& mapping, LONG x, LONG y) {
    POINT point{x, y};
    mapping.LPtoDP(&point, 1);
    return point;
}
POINT ToLogical(const ZMapMode& mapping, LONG x, LONG y) {
    POINT point{x, y};
    mapping.DPtoLP(&point, 1);
    return point;
}
testing::AssertionResult Is(POINT point, LONG x, LONG y) {
    if (point.x == x && point.y == y) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "(" << point.x << ", " << point.y << ")";
}

ZMapMode Scaling(int windowWidth, int windowHeight, int viewportWidth, int viewportHeight) {
    ZMapMode mapping(nullptr);
    mapping.SetMapMode(MM_ANISOTROPIC, windowWidth, windowHeight, viewportWidth, viewportHeight);
    return mapping;
}

TEST(ZMapMode, MapsAPointToItselfAtFirst) {
    const ZMapMode mapping(nullptr);
    EXPECT_EQ(mapping.GetMapMode(), MM_TEXT);
    EXPECT_TRUE(Is(ToDevice(mapping, -5, 7), -5, 7));
    EXPECT_TRUE(Is(ToLogical(mapping, -5, 7), -5, 7));
}

TEST(ZMapMode, MapsTheWindowOntoTheViewport) {
    ZMapMode mapping = Scaling(254, 254, 10000, 10000);
    EXPECT_EQ(mapping.GetMapMode(), MM_ANISOTROPIC);
    EXPECT_TRUE(Is(ToDevice(mapping, 127, 254), 5000, 10000));
    mapping.SetWindowOrgEx(10, 20);
    mapping.SetWindowExtEx(30, 40);
    mapping.SetViewportOrgEx(-100, 200);
    mapping.SetViewportExtEx(90, -10);
    EXPECT_TRUE(Is(ToDevice(mapping, 10, 20), -100, 200));
    EXPECT_TRUE(Is(ToDevice(mapping, 40, 60), -10, 190));
    EXPECT_TRUE(Is(ToLogical(mapping, -10, 190), 40, 60));
}

TEST(ZMapMode, RoundsHalvesUp) {
    const ZMapMode mapping = Scaling(2, -2, 1, 1);
    EXPECT_TRUE(Is(ToDevice(mapping, 1, 1), 1, 0));
    EXPECT_TRUE(Is(ToDevice(mapping, -1, -1), 0, 1));
    EXPECT_TRUE(Is(ToDevice(mapping, 3, 3), 2, -1));
}

TEST(ZMapMode, ExtentsOfZeroAreHarmless) {
    ZMapMode mapping = Scaling(0, 5, 7, 0);
    mapping.SetWindowOrgEx(1, 2);
    mapping.SetViewportOrgEx(3, 4);
    EXPECT_TRUE(Is(ToDevice(mapping, 100, 100), 3, 4));
    EXPECT_TRUE(Is(ToLogical(mapping, 100, 100), 1, 2));
}

TEST(ZMapMode, IsExactAndEndsAtTheEndsOfAllNumbers) {
    constexpr int kMin = std::numeric_limits<int>::min(), kMax = std::numeric_limits<int>::max();
    const ZMapMode mapping = Scaling(kMax, 1, kMax - 1, kMax);
    EXPECT_TRUE(Is(ToDevice(mapping, kMax, 1), kMax - 1, kMax));
    EXPECT_TRUE(Is(ToDevice(mapping, 1 << 30, 2), (1 << 30) - 1, kMax));
    EXPECT_TRUE(Is(ToDevice(mapping, 0, -2), 0, kMin));
}

TEST(ZMapMode, TextHasExtentsOfOneAndForgetsTheOrigins) {
    ZMapMode mapping = Scaling(3, 4, 5, 6);
    mapping.SetViewportOrgEx(7, 8);
    mapping.SetMapMode(MM_TEXT, 9, 9, 2, 2);
    EXPECT_TRUE(Is(ToDevice(mapping, 11, 12), 11, 12));
}

TEST(ZMapMode, TakesTheMappingOfAContext) {
    const HDC dc = CreateCompatibleDC(nullptr);
    SetMapMode(dc, MM_ANISOTROPIC);
    SetWindowExtEx(dc, 2, 4, nullptr);
    SetViewportExtEx(dc, 10, 40, nullptr);
    SetWindowOrgEx(dc, 1, 2, nullptr);
    SetViewportOrgEx(dc, 3, 4, nullptr);
    const ZMapMode mapping(dc);
    DeleteDC(dc);
    EXPECT_EQ(mapping.GetMapMode(), MM_ANISOTROPIC);
    EXPECT_TRUE(Is(ToDevice(mapping, 3, 6), 13, 44));
    EXPECT_TRUE(Is(ToDevice(ZMapMode(dc), 3, 6), 3, 6)) << "of a context that is no more";
}

}  // namespace
