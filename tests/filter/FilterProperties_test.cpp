// Whatever the size, the tiles, the format and the class of a bitmap: filtered row of tiles by row of tiles it becomes
// what the filter makes of the whole picture at one go. Bitmaps are made at random; a failure tells the seed.
#include <gtest/gtest.h>

#include "filter/FlatPicture.h"
#include "filter/RandomChange.h"
#include "filter/RandomPicture.h"
#include "support_code/FormulaPicture.h"

namespace {

using shr::ColorFormat;
using testkit::Dice;
using testkit::FlatPicture;
using testkit::Flattened;
using testkit::Holds;
using testkit::Layout;
using testkit::MakeResizing;
using zbm::ZBasicMemBitmap;
using zbm::ZBitmap;
using zpixf::ZPixfNull;
using zpixf::ZPixfResizeBilinear;

class FilterProperties : public testing::TestWithParam<std::size_t> {};
INSTANTIATE_TEST_SUITE_P(Kinds, FilterProperties, testing::Range(std::size_t{0}, std::size(testkit::kChanges)),
                         [](const auto& test) { return std::string(testkit::kChanges[test.param].name); });

TEST_P(FilterProperties, InPlaceTheResultIsThatOfTheWholePictureAtOneGo) {
    for (unsigned i = 1; i <= 60; ++i) {
        const unsigned seed = 1000 * static_cast<unsigned>(GetParam()) + i;
        Dice dice(seed);
        const Layout layout = testkit::RandomLayout(dice);
        SCOPED_TRACE("seed " + std::to_string(seed) + ": " + layout.Describe());
        const auto bitmap = testkit::RandomBitmap(dice, layout);
        const testkit::Change change = testkit::kChanges[GetParam()].make(dice);
        // Twice, since the second time begins with what the first has left behind.
        for (int time = 0; time < 2; ++time) {
            const FlatPicture before = Flattened(*bitmap);
            const FlatPicture expected = FilteredWhole(*change.filter, before, before);
            ASSERT_TRUE(change.apply(*bitmap, nullptr));
            ASSERT_TRUE(Holds(*bitmap, expected));
        }
    }
}

/// A bitmap of the size and format, as it is when it has just been made.
FlatPicture NewPicture(int width, int height, ColorFormat format) {
    return Flattened(ZBasicMemBitmap(width, height, format));
}

/// What creations replace: the bitmaps stay from case to case.
struct Results {
    std::unique_ptr<ZBasicMemBitmap> bitmaps[3] = {
        testkit::MakeBitmap({1, 1, 1, 1, shr::BGRA_32, testkit::BitmapClass::basic}),
        testkit::MakeBitmap({1, 1, 1, 1, shr::BGRA_32, testkit::BitmapClass::withReductions}),
        testkit::MakeBitmap({1, 1, 1, 1, shr::BGRA_32, testkit::BitmapClass::derived})};
};

testing::AssertionResult HasDetailsOf(const ZBasicMemBitmap& bitmap, const ZBasicMemBitmap& source) {
    if (bitmap.GetScanRectWidth() != 512 || bitmap.GetScanRectHeight() != 512)
        return testing::AssertionFailure() << "its tiles are not of 512 x 512";
    if (bitmap.GetXResolution() != source.GetXResolution() || bitmap.GetYResolution() != source.GetYResolution())
        return testing::AssertionFailure() << "its resolution is another";
    return testing::AssertionSuccess();
}

// Each result is made twice, the second time in the place of one of the same shape.

TEST(CreationProperties, AnotherFormatIsThatOfTheWholePictureAtOneGo) {
    Results results;
    for (unsigned seed = 1; seed <= 200; ++seed) {
        Dice dice(seed);
        const Layout layout = testkit::RandomLayout(dice);
        const ColorFormat format = testkit::RandomFormat(dice);
        SCOPED_TRACE("seed " + std::to_string(seed) + ": " + layout.Describe() + ", to " + testkit::FormatName(format));
        ZBasicMemBitmap& result = *results.bitmaps[dice.Below(3)];
        for (int time = 0; time < 2; ++time) {
            const auto source = testkit::RandomBitmap(dice, layout);
            ASSERT_TRUE(result.Create(format, *source, nullptr));
            if (format == layout.format) {
                ASSERT_TRUE(testkit::AreEqual(result, *source));
                continue;
            }
            ZPixfNull handThrough;
            const FlatPicture former = NewPicture(layout.width, layout.height, format);
            ASSERT_TRUE(Holds(result, FilteredWhole(handThrough, Flattened(*source), former)));
            ASSERT_TRUE(HasDetailsOf(result, *source));
        }
    }
}

/// A part of the picture, often all of it, often a single line or column.
RECT RandomPart(Dice& dice, const Layout& layout) {
    if (dice.OneIn(3)) return {0, 0, layout.width, layout.height};
    const int left = dice.Below(layout.width), top = dice.Below(layout.height);
    return {left, top, dice.OneIn(3) ? left + 1 : dice.Between(left + 1, layout.width),
            dice.OneIn(3) ? top + 1 : dice.Between(top + 1, layout.height)};
}

TEST(CreationProperties, AnotherSizeIsThatOfTheWholePartAtOneGo) {
    Results results;
    for (unsigned seed = 1; seed <= 200; ++seed) {
        Dice dice(seed);
        const Layout layout = testkit::RandomLayout(dice);
        const RECT part = RandomPart(dice, layout);
        const int method = dice.Between(1, 5), width = testkit::RandomSide(dice, 64),
                  height = dice.OneIn(4) ? dice.Between(500, 530) : testkit::RandomSide(dice, 64);
        SCOPED_TRACE(testing::Message() << "seed " << seed << ": " << layout.Describe() << ", from " << part.left
                                        << ", " << part.top << " to " << part.right << ", " << part.bottom << " at "
                                        << width << " x " << height << " by method " << method);
        ZBasicMemBitmap& result = *results.bitmaps[dice.Below(3)];
        const auto filter = MakeResizing(method);
        const FlatPicture former = NewPicture(width, height, layout.format);
        for (int time = 0; time < 2; ++time) {
            const auto source = testkit::RandomBitmap(dice, layout);
            ASSERT_TRUE(result.Create(width, height, *source, part, static_cast<zbm::ResizeMethod>(method), nullptr));
            ASSERT_TRUE(Holds(result, FilteredWhole(*filter, Flattened(*source, part), former)));
            ASSERT_TRUE(HasDetailsOf(result, *source));
        }
    }
}

/// Whether these are the levels of the picture.
void ExpectReductions(ZBitmap& bitmap) {
    FlatPicture before = Flattened(bitmap);
    if (testkit::TableSize(before.format) > 0) {
        ZPixfNull handThrough;
        before = FilteredWhole(handThrough, before, NewPicture(before.width, before.height, shr::BGRA_32));
    }
    unsigned level = 0;
    while (before.width / 2 > 16 && before.height / 2 > 16) {
        ZBitmap* reduction = bitmap.GetPtrToPOTReduction(++level);
        ASSERT_NE(reduction, nullptr);
        ZPixfResizeBilinear halve;
        before = FilteredWhole(halve, before, NewPicture(before.width / 2, before.height / 2, before.format));
        ASSERT_TRUE(Holds(*reduction, before)) << "level " << level;
    }
    ASSERT_EQ(bitmap.GetPtrToPOTReduction(level + 1), nullptr);
}

TEST(CreationProperties, EachReductionIsTheWholeOfTheOneBeforeAtHalfTheSize) {
    zbm::ZMemBitmap bitmap(1, 1, shr::BGRA_32);
    for (unsigned seed = 1; seed <= 60; ++seed) {
        Dice dice(seed);
        Layout layout = testkit::RandomLayout(dice);
        layout.width = dice.OneIn(3) ? 128 : dice.Between(32, 150);
        layout.height = dice.Between(32, 150);
        SCOPED_TRACE("seed " + std::to_string(seed) + ": " + layout.Describe());
        bitmap.Create(layout.width, layout.height, layout.format, layout.tileWidth, layout.tileHeight);
        for (int time = 0; time < 2; ++time) {
            testkit::FillAtRandom(bitmap, dice);
            ASSERT_TRUE(bitmap.CommitAll(nullptr, true));
            ExpectReductions(bitmap);
            if (HasFatalFailure()) return;
        }
    }
}

}  // namespace
