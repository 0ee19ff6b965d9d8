// Pixels go from one context to another. The same on both systems.
#include <gtest/gtest.h>

#include <limits>

#include "support/gdi/Section.h"

namespace {

using testkit::Columns;
using testkit::IsUntouched;
using testkit::Rows;
using testkit::Section;

/// Colours tell column and row, as those of PlacesDib.
void FillWithPlaces(Section& section) {
    for (int y = 0; y < section.height; ++y)
        for (int x = 0; x < section.width; ++x)
            section.pixels[y * section.width + x] = 0xAB000000u | static_cast<std::uint32_t>(y << 8 | x);
}

TEST(BitBlt, CopiesARectangleWithAllFourBytes) {
    Section to(8, 8), from(8, 8);
    FillWithPlaces(from);
    EXPECT_TRUE(BitBlt(to.dc, 1, 2, 3, 4, from.dc, 4, 3, SRCCOPY));
    GdiFlush();
    EXPECT_EQ(Columns(to, 2), ".456....");
    EXPECT_EQ(Rows(to, 1), "..3456..");
    EXPECT_EQ(to.At(1, 2), 0xAB000304u);
}

TEST(BitBlt, LeavesWhatTheSourceDoesNotHave) {
    Section to(8, 8), from(4, 4);
    FillWithPlaces(from);
    EXPECT_TRUE(BitBlt(to.dc, 1, 1, 6, 6, from.dc, 2, -2, SRCCOPY));
    GdiFlush();
    EXPECT_EQ(Columns(to, 3), ".23.....");
    EXPECT_EQ(Rows(to, 1), "...0123.");
}

TEST(BitBlt, IsConfinedToTheClipAndThePicture) {
    Section to(8, 8), from(8, 8);
    FillWithPlaces(from);
    IntersectClipRect(to.dc, 2, 2, 5, 20);
    EXPECT_TRUE(BitBlt(to.dc, -3, 0, 20, 20, from.dc, 0, 0, SRCCOPY));
    GdiFlush();
    EXPECT_EQ(Columns(to, 4), "..567...");
    EXPECT_EQ(Columns(to, 1), "........");
    EXPECT_EQ(Rows(to, 2), "..234567");
}

TEST(BitBlt, CopiesWithinAPictureAsIfThroughAnother) {
    for (const int by : {-2, 2}) {
        Section section(8, 8);
        FillWithPlaces(section);
        EXPECT_TRUE(BitBlt(section.dc, 2 + by, 2 + by, 4, 4, section.dc, 2, 2, SRCCOPY));
        GdiFlush();
        for (int y = 2; y < 6; ++y)
            for (int x = 2; x < 6; ++x)
                EXPECT_EQ(section.At(x + by, y + by), 0xAB000000u | static_cast<unsigned>(y << 8 | x));
    }
}

TEST(BitBlt, IsHarmlessWithoutContexts) {
    Section section(4, 4);
    EXPECT_FALSE(BitBlt(nullptr, 0, 0, 4, 4, section.dc, 0, 0, SRCCOPY));
    EXPECT_FALSE(BitBlt(section.dc, 0, 0, 4, 4, nullptr, 0, 0, SRCCOPY));
    EXPECT_TRUE(IsUntouched(section));
}

}  // namespace
