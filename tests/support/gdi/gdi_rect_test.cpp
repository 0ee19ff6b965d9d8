#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "gdi/gdi.h"

namespace {

constexpr LONG kMin = std::numeric_limits<LONG>::min(), kMax = std::numeric_limits<LONG>::max();
constexpr RECT kPoison{-77, -78, -79, -80};

testing::AssertionResult HoldsExactly(const RECT& rect, LONG left, LONG top, LONG right, LONG bottom) {
    if (rect.left == left && rect.top == top && rect.right == right && rect.bottom == bottom)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "(" << rect.left << ", " << rect.top << ", " << rect.right << ", "
                                       << rect.bottom << ")";
}

TEST(SetRect, StoresTheFourCoordinatesAsTheyAre) {
    RECT rect = kPoison;
    EXPECT_NE(SetRect(&rect, 5, -6, kMin, kMax), FALSE);
    EXPECT_TRUE(HoldsExactly(rect, 5, -6, kMin, kMax));
}

TEST(SetRectEmpty, StoresZeroes) {
    RECT rect = kPoison;
    EXPECT_NE(SetRectEmpty(&rect), FALSE);
    EXPECT_TRUE(HoldsExactly(rect, 0, 0, 0, 0));
}

TEST(IsRectEmpty, HoldsWithoutWidthOrHeight) {
    const RECT onePixel{3, 4, 4, 5}, noWidth{3, 4, 3, 9}, noHeight{3, 4, 9, 4}, mirrored{9, 9, 3, 3},
        whole{kMin, kMin, kMax, kMax};
    EXPECT_EQ(IsRectEmpty(&onePixel), FALSE);
    EXPECT_EQ(IsRectEmpty(&whole), FALSE);
    EXPECT_NE(IsRectEmpty(&noWidth), FALSE);
    EXPECT_NE(IsRectEmpty(&noHeight), FALSE);
    EXPECT_NE(IsRectEmpty(&mirrored), FALSE);
}

TEST(EqualRect, ComparesEachCoordinate) {
    const RECT rect{1, 2, 3, 4};
    EXPECT_NE(EqualRect(&rect, &rect), FALSE);
    const RECT others[] = {{0, 2, 3, 4}, {1, 0, 3, 4}, {1, 2, 0, 4}, {1, 2, 3, 0}};
    for (const RECT& other : others) EXPECT_EQ(EqualRect(&rect, &other), FALSE);
    const RECT empty{0, 0, 0, 0}, emptyElsewhere{7, 7, 7, 7};
    EXPECT_EQ(EqualRect(&empty, &emptyElsewhere), FALSE);
}

TEST(OffsetRect, MovesAllFourCoordinates) {
    RECT rect{1, 2, 3, 4};
    EXPECT_NE(OffsetRect(&rect, 10, -20), FALSE);
    EXPECT_TRUE(HoldsExactly(rect, 11, -18, 13, -16));
}

struct IntersectCase {
    const char* name;
    RECT a, b;
    bool meets;
    RECT common;
};

class IntersectRectCases : public testing::TestWithParam<IntersectCase> {};

TEST_P(IntersectRectCases, GivesTheCommonPartEitherWayRound) {
    const IntersectCase& c = GetParam();
    for (const bool swapped : {false, true}) {
        RECT result = kPoison;
        const BOOL meets = swapped ? IntersectRect(&result, &c.b, &c.a) : IntersectRect(&result, &c.a, &c.b);
        EXPECT_EQ(meets != FALSE, c.meets);
        EXPECT_TRUE(HoldsExactly(result, c.common.left, c.common.top, c.common.right, c.common.bottom));
    }
}

INSTANTIATE_TEST_SUITE_P(
    HandMade, IntersectRectCases,
    testing::Values(IntersectCase{"Overlap", {0, 0, 10, 10}, {5, 6, 20, 30}, true, {5, 6, 10, 10}},
                    IntersectCase{"Inside", {0, 0, 10, 10}, {2, 3, 4, 5}, true, {2, 3, 4, 5}},
                    IntersectCase{"Same", {1, 2, 3, 4}, {1, 2, 3, 4}, true, {1, 2, 3, 4}},
                    IntersectCase{"Cross", {0, 4, 10, 6}, {4, 0, 6, 10}, true, {4, 4, 6, 6}},
                    IntersectCase{"CommonEdge", {0, 0, 10, 10}, {10, 0, 20, 10}, false, {0, 0, 0, 0}},
                    IntersectCase{"CommonCorner", {0, 0, 10, 10}, {10, 10, 20, 20}, false, {0, 0, 0, 0}},
                    IntersectCase{"Apart", {0, 0, 10, 10}, {50, 50, 60, 60}, false, {0, 0, 0, 0}},
                    IntersectCase{"OneHasNoWidth", {0, 0, 10, 10}, {5, 0, 5, 10}, false, {0, 0, 0, 0}},
                    IntersectCase{"OneIsMirrored", {0, 0, 10, 10}, {8, 8, 2, 2}, false, {0, 0, 0, 0}},
                    IntersectCase{"BothEmpty", {5, 5, 5, 5}, {5, 5, 5, 5}, false, {0, 0, 0, 0}},
                    IntersectCase{"Widest", {kMin, kMin, kMax, kMax}, {-1, -2, 3, 4}, true, {-1, -2, 3, 4}}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(IntersectRect, TakesASourceAsItsDestination) {
    const RECT a{0, 0, 10, 10}, b{5, 6, 20, 30};
    RECT first = a, second = b;
    EXPECT_NE(IntersectRect(&first, &first, &b), FALSE);
    EXPECT_TRUE(HoldsExactly(first, 5, 6, 10, 10));
    EXPECT_NE(IntersectRect(&second, &a, &second), FALSE);
    EXPECT_TRUE(HoldsExactly(second, 5, 6, 10, 10));
    RECT alone = a;
    EXPECT_NE(IntersectRect(&alone, &alone, &alone), FALSE);
    EXPECT_TRUE(HoldsExactly(alone, 0, 0, 10, 10));
}

bool Contains(const RECT& rect, LONG x, LONG y) {
    return x >= rect.left && x < rect.right && y >= rect.top && y < rect.bottom;
}

/// All rectangles with corners in 0 .. 3, those without area and mirrored ones included.
std::vector<RECT> SmallRects() {
    std::vector<RECT> rects;
    for (LONG i = 0; i < 256; ++i) rects.push_back({i & 3, i >> 2 & 3, i >> 4 & 3, i >> 6});
    return rects;
}

TEST(IntersectRect, HoldsExactlyThePointsThatBothRectanglesHold) {
    const std::vector<RECT> rects = SmallRects();
    for (const RECT& a : rects) {
        for (const RECT& b : rects) {
            RECT result = kPoison;
            const bool meets = IntersectRect(&result, &a, &b) != FALSE;
            bool anyPoint = false;
            for (LONG y = -1; y < 4; ++y) {
                for (LONG x = -1; x < 4; ++x) {
                    const bool inBoth = Contains(a, x, y) && Contains(b, x, y);
                    anyPoint |= inBoth;
                    ASSERT_EQ(Contains(result, x, y), inBoth);
                }
            }
            ASSERT_EQ(meets, anyPoint);
            ASSERT_TRUE(meets || HoldsExactly(result, 0, 0, 0, 0));
        }
    }
}

}  // namespace
