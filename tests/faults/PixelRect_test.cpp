// Every request for memory fails once, and for good, in all that a pixel rect does.
#include <memory>

#include "faults/FaultInjection.h"
#include "faults/FaultyBitmaps.h"
#include "zbm/ColorTableMatcher.h"
#include "zbm/ZPixelRect.h"

namespace faults {
namespace {

using zbm::ZPixelRect;

constexpr RECT kRegion{1, 0, 5, 3}, kOtherRegion{0, 1, 4, 3};

/// A bitmap, and a rect of it.
struct Work {
    Work(ColorFormat bitmapFormat, ColorFormat format)
        : bitmap(MakePicture<ZBasicMemBitmap>(bitmapFormat)), rect(bitmap, kRegion, format, nullptr) {}
    ZBasicMemBitmap bitmap;
    ZPixelRect rect;
};

/// Everything that a rect shows of itself.
struct Contents {
    explicit Contents(const ZPixelRect& rect)
        : width(rect.GetWidth()), height(rect.GetHeight()), format(rect.GetColorFormat()) {
        for (unsigned y = 0; y < height; ++y)
            for (unsigned x = 0; x < width; ++x)
                pixels.push_back(testkit::PixelAt(rect.GetRowPtr(static_cast<int>(y)), static_cast<int>(x), format));
        for (unsigned i = 0; i < rect.GetNumColorTableItems(); ++i) colors.push_back(rect.GetColorTableItem(i));
    }
    bool operator==(const Contents&) const = default;

    unsigned width, height;
    ColorFormat format;
    std::vector<std::uint32_t> pixels;
    std::vector<shr::Color4b> colors;
};

bool HoldsNoPixels(const ZPixelRect& rect) {
    return rect.GetFirstRowPtr() == nullptr && rect.GetWidth() == 0 && rect.GetHeight() == 0 && rect.GetStride() == 0 &&
           rect.GetNumColorTableItems() == 0;
}

/// Calls `check` for rects of every format over bitmaps of every format.
template <class Check>
void ForEveryPair(Check check) {
    for (const ColorFormat bitmapFormat : kFormats)
        for (const ColorFormat format : kFormats) {
            SCOPED_TRACE(testkit::FormatName(format) + " over " + testkit::FormatName(bitmapFormat));
            check(bitmapFormat, format);
            if (testing::Test::HasFailure()) return;
        }
}

/// Requests that at least fail, both ways of failing: pixels, and those in between where the formats differ.
unsigned LeastRequests(ColorFormat bitmapFormat, ColorFormat format) {
    if (!ReachesLibraries()) return 0;
    return bitmapFormat == format ? 2 : 4;
}

TEST(PixelRectRequests, FailingInTheConstructorLeaveNothing) {
    ForEveryPair([](ColorFormat bitmapFormat, ColorFormat format) {
        const ZBasicMemBitmap bitmap = MakePicture<ZBasicMemBitmap>(bitmapFormat);
        const unsigned failed = FailEveryRequest(
            [] { return std::unique_ptr<ZPixelRect>(); },
            [&](auto& rect) {
                OrBadAlloc([&] { rect = std::make_unique<ZPixelRect>(bitmap, kRegion, format, nullptr); });
            },
            [](auto& rect, Outcome outcome) { EXPECT_EQ(rect != nullptr, outcome == Outcome::done); });
        EXPECT_GE(failed, LeastRequests(bitmapFormat, format));
    });
}

TEST(PixelRectRequests, FailingInAFetchOfAnotherRegionLeaveTheRectAsItWas) {
    ForEveryPair([](ColorFormat bitmapFormat, ColorFormat format) {
        const ZBasicMemBitmap bitmap = MakePicture<ZBasicMemBitmap>(bitmapFormat);
        const Contents before(ZPixelRect(bitmap, kRegion, format, nullptr));
        const Contents after(ZPixelRect(bitmap, kOtherRegion, format, nullptr));
        const unsigned failed =
            FailEveryRequest([&] { return std::make_unique<Work>(bitmapFormat, format); },
                             [](auto& work) { OrBadAlloc([&] { work->rect.Fetch(kOtherRegion, nullptr); }); },
                             [&](auto& work, Outcome outcome) {
                                 EXPECT_TRUE(Contents(work->rect) == (outcome == Outcome::done ? after : before));
                                 work->rect.Fetch(kOtherRegion, nullptr);
                                 EXPECT_TRUE(Contents(work->rect) == after);
                             });
        EXPECT_GE(failed, LeastRequests(bitmapFormat, format));
    });
}

TEST(PixelRectRequests, FailingInAFreshStartLeaveARectWithoutPixelsThatCanBeFetchedInto) {
    ForEveryPair([](ColorFormat bitmapFormat, ColorFormat format) {
        const ZBasicMemBitmap other = MakePicture<ZBasicMemBitmap>(format);
        const Contents after(ZPixelRect(other, kOtherRegion, bitmapFormat, nullptr));
        const ZPixelRect toAssign(other, kOtherRegion, bitmapFormat, nullptr);
        const auto check = [&](auto act) {
            const unsigned failed = FailEveryRequest([&] { return std::make_unique<Work>(bitmapFormat, format); }, act,
                                                     [&](auto& work, Outcome outcome) {
                                                         if (outcome == Outcome::done) {
                                                             EXPECT_TRUE(Contents(work->rect) == after);
                                                             return;
                                                         }
                                                         EXPECT_TRUE(HoldsNoPixels(work->rect));
                                                         work->rect.Fetch(other, kOtherRegion, bitmapFormat, nullptr);
                                                         EXPECT_TRUE(Contents(work->rect) == after);
                                                     });
            EXPECT_GE(failed, LeastRequests(bitmapFormat, format));
        };
        check([&](auto& work) { OrBadAlloc([&] { work->rect.Fetch(other, kOtherRegion, bitmapFormat, nullptr); }); });
        check([&](auto& work) { OrBadAlloc([&] { work->rect = toAssign; }); });
    });
}

TEST(PixelRectRequests, FailingInACommitLeaveTheBitmapAndTheRectAsTheyWere) {
    ForEveryPair([](ColorFormat bitmapFormat, ColorFormat format) {
        const auto makeWork = [&] {
            auto work = std::make_unique<Work>(bitmapFormat, format);
            for (int y = 0; y < 3; ++y)
                for (int x = 0; x < 4; ++x)
                    testkit::SetPixelAt(work->rect.GetRowPtr(y), x, format, x % 2 == 0 ? 0u : ~0u);
            return work;
        };
        const auto expected = makeWork();
        expected->rect.CommitPixels(nullptr);
        const Contents edited(expected->rect);
        const unsigned failed = FailEveryRequest(
            makeWork, [](auto& work) { work->rect.CommitPixels(nullptr); },
            [&](auto& work, Outcome outcome) {
                if (outcome == Outcome::failed) {
                    EXPECT_TRUE(testkit::IsFormulaPicture(work->bitmap));
                    EXPECT_TRUE(Contents(work->rect) == edited);
                    work->rect.CommitPixels(nullptr);
                }
                EXPECT_TRUE(testkit::AreEqual(work->bitmap, expected->bitmap));
                EXPECT_TRUE(Contents(work->rect) == edited);
            });
        // Of the same format nothing is needed; an indexed bitmap needs a matcher, of four parts.
        const bool needsMatcher = testkit::TableSize(bitmapFormat) != 0;
        if (ReachesLibraries()) { EXPECT_GE(failed, bitmapFormat == format ? 0u : needsMatcher ? 12u : 2u); }
    });
}

TEST(PixelRectRequests, FailingInACommitOfAnEditedTableLeaveTheBitmapAsItWas) {
    for (const ColorFormat format : {shr::INDEXED_1, shr::INDEXED_4, shr::INDEXED_8}) {
        const unsigned failed = FailEveryRequest(
            [&] {
                auto work = std::make_unique<Work>(format, format);
                const std::uint32_t first = testkit::PixelAt(work->rect.GetRowPtr(0), 0, format);
                work->rect.SetColorTableItem(first, work->rect.GetColorTableItem(first == 0 ? 1 : 0));
                work->rect.CommitPixels(nullptr);  // from here on it has a matcher, which every commit replaces
                testkit::FillByFormula(work->bitmap);
                return work;
            },
            [](auto& work) { work->rect.CommitPixels(nullptr); },
            [&](auto& work, Outcome outcome) {
                EXPECT_EQ(bool{testkit::IsFormulaPicture(work->bitmap)}, outcome == Outcome::failed);
                work->rect.CommitPixels(nullptr);
                EXPECT_FALSE(testkit::IsFormulaPicture(work->bitmap));
            });
        EXPECT_GE(failed, ReachesLibraries() ? 12u : 0u);
    }
}

TEST(MatcherRequests, FailingInTheConstructorLeaveNothing) {
    const shr::Color4b colors[] = {{0, 0, 0}, {255, 255, 255}};
    const unsigned failed = FailEveryRequest(
        [] { return std::unique_ptr<zbm::ColorTableMatcher>(); },
        [&](auto& matcher) { matcher = std::make_unique<zbm::ColorTableMatcher>(colors, 2); },
        [](auto& matcher, Outcome outcome) { EXPECT_EQ(matcher != nullptr, outcome == Outcome::done); });
    EXPECT_GE(failed, ReachesLibraries() ? 10u : 2u);
}

}  // namespace
}  // namespace faults
