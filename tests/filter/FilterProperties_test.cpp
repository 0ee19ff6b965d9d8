// Whatever the size, the tiles, the format and the class of a bitmap: filtered row of tiles by row of tiles it becomes
// what the filter makes of the whole picture at one go. Bitmaps are made at random; a failure tells the seed.
#include <gtest/gtest.h>

#include <functional>

#include "filter/FlatPicture.h"
#include "filter/RandomPicture.h"
#include "support_code/FormulaPicture.h"
#include "zpixf/ZPixfAdjust.h"
#include "zpixf/ZPixfConvolution.h"
#include "zpixf/ZPixfDither.h"
#include "zpixf/ZPixfMedian.h"
#include "zpixf/ZPixfNull.h"
#include "zpixf/ZPixfResize.h"

namespace {

using shr::ColorFormat;
using testkit::Dice;
using testkit::FlatPicture;
using testkit::Flattened;
using testkit::Holds;
using testkit::Layout;
using zbm::ZBasicMemBitmap;

/// A change of a bitmap in place, and the filter that it stands for.
struct Change {
    std::function<bool(ZBasicMemBitmap& bitmap)> apply;
    std::unique_ptr<zpixf::ZPixFilterBase> filter;
};

/// -1.00 to 1.00, but not the amount that changes nothing.
double RandomAmount(Dice& dice, double neutral) {
    const double amount = dice.Between(-100, 100) / 100.0;
    return amount == neutral ? 0.37 : amount;
}

template <class Filter>
using Setter = void (Filter::*)(double);

template <class Filter, Setter<Filter> kSet, bool (zbm::ZBitmap::*kApply)(double, shr::IProgress*)>
Change MakeByAmount(Dice& dice) {
    const double amount = RandomAmount(dice, std::is_same_v<Filter, zpixf::ZPixfSaturation> ? 1 : 0);
    auto filter = std::make_unique<Filter>();
    (filter.get()->*kSet)(amount);
    return {[amount](auto& bitmap) { return (bitmap.*kApply)(amount, nullptr); }, std::move(filter)};
}

Change MakeGray(Dice&) {
    return {[](auto& bitmap) { return bitmap.ConvertToGrayScale(nullptr); },
            std::make_unique<zpixf::ZPixfDesaturate>()};
}

std::vector<double> RandomKernel(Dice& dice, std::size_t size) {
    std::vector<double> kernel(size);
    const double unit = dice.OneIn(2) ? 1 : 0.3;
    for (double& coefficient : kernel) coefficient = unit * dice.Between(-4, 6);
    return kernel;
}

template <class Filter, std::size_t kSize, bool (zbm::ZBitmap::*kApply)(double* const, double, double, shr::IProgress*)>
Change MakeByKernel(Dice& dice) {
    auto kernel = RandomKernel(dice, kSize);
    const double divisor = dice.Between(0, 20), bias = dice.Between(-100, 100);
    auto filter = std::make_unique<Filter>();
    filter->SetUserConvolution(kernel.data(), divisor, bias);
    return {[=](auto& bitmap) mutable { return (bitmap.*kApply)(kernel.data(), divisor, bias, nullptr); },
            std::move(filter)};
}

template <class Filter, class Mode, bool (zbm::ZBitmap::*kApply)(Mode, shr::IProgress*)>
Change MakeByMode(Dice& dice) {
    const auto mode = static_cast<Mode>(dice.Between(2, 8));
    auto filter = std::make_unique<Filter>();
    filter->SetConvolution(mode);
    return {[mode](auto& bitmap) { return (bitmap.*kApply)(mode, nullptr); }, std::move(filter)};
}

Change MakeMedian(Dice& dice) {
    constexpr unsigned kSpans[] = {1, 2, 3, 5, 7, 15, 64, 255};
    const unsigned span = kSpans[dice.Below(dice.OneIn(4) ? 8 : 6)];
    auto filter = std::make_unique<zpixf::ZPixfMedian>();
    filter->SetSpan(span);
    return {[span](auto& bitmap) { return bitmap.MedianFilter(span, nullptr); }, std::move(filter)};
}

template <class Filter, zbm::QuantMethod kMethod>
Change MakeQuantize(Dice& dice) {
    const int colors = dice.OneIn(3) ? 256 : dice.Between(1, 20);
    auto filter = std::make_unique<Filter>();
    filter->SetDesiredColors(static_cast<unsigned>(colors));
    return {[colors](auto& bitmap) {
                std::vector<RGBQUAD> palette;
                return bitmap.QuantizeColors(kMethod, colors, palette, nullptr) && !palette.empty();
            },
            std::move(filter)};
}

/// For filters that no adjustment runs in place.
template <class Filter>
Change MakeOf(Dice&) {
    return {[](auto& bitmap) {
                Filter filter;
                return bitmap.FilterScanLines(filter, nullptr);
            },
            std::make_unique<Filter>()};
}

struct Kind {
    const char* name;
    Change (*make)(Dice& dice);
};

using zbm::ZBitmap;
using namespace zpixf;  // its filters, by the dozen
constexpr Kind kKinds[] = {
    {"Brightness", &MakeByAmount<ZPixfBrightness, &ZPixfBrightness::SetBrightness, &ZBitmap::ChangeBrightness>},
    {"Contrast", &MakeByAmount<ZPixfContrast, &ZPixfContrast::SetContrast, &ZBitmap::ChangeContrast>},
    {"Saturation", &MakeByAmount<ZPixfSaturation, &ZPixfSaturation::SetSaturation, &ZBitmap::ChangeSaturation>},
    {"GrayScale", &MakeGray},
    {"Kernel3x3", &MakeByKernel<ZPixfConvolution3, 9, &ZBitmap::Convolute3x3>},
    {"Mode3x3", &MakeByMode<ZPixfConvolution3, ZPixf3x3Mode, &ZBitmap::Convolute3x3>},
    {"Kernel5x5", &MakeByKernel<ZPixfConvolution5, 25, &ZBitmap::Convolute5x5>},
    {"Mode5x5", &MakeByMode<ZPixfConvolution5, ZPixf5x5Mode, &ZBitmap::Convolute5x5>},
    {"Median", &MakeMedian},
    {"Sharpen", &MakeByAmount<ZPixfConvolution3, &ZPixfConvolution3::SetSharpeningConvolution, &ZBitmap::Sharpen>},
    {"QuantizeMedian5", &MakeQuantize<ZPixfQuantizeMedian5, zbm::QuantMedian5>},
    {"QuantizeMedian8", &MakeQuantize<ZPixfQuantizeMedian8, zbm::QuantMedian8>},
    {"QuantizePopularity", &MakeQuantize<ZPixfQuantizePopularity, zbm::QuantPopularity>},
    {"DitherOrdered", &MakeOf<ZPixfDitherOrdered>},
    {"DitherDiffuse", &MakeOf<ZPixfDitherDiffuse>},
    {"Null", &MakeOf<ZPixfNull>},
    {"Nearest", &MakeOf<ZPixfResize>},
    {"Bilinear", &MakeOf<ZPixfResizeBilinear>},
    {"Bicubic", &MakeOf<ZPixfResizeBicubic>},
};

class FilterProperties : public testing::TestWithParam<std::size_t> {};
INSTANTIATE_TEST_SUITE_P(Kinds, FilterProperties, testing::Range(std::size_t{0}, std::size(kKinds)),
                         [](const auto& test) { return std::string(kKinds[test.param].name); });

TEST_P(FilterProperties, InPlaceTheResultIsThatOfTheWholePictureAtOneGo) {
    for (unsigned i = 1; i <= 60; ++i) {
        const unsigned seed = 1000 * static_cast<unsigned>(GetParam()) + i;
        Dice dice(seed);
        const Layout layout = testkit::RandomLayout(dice);
        SCOPED_TRACE("seed " + std::to_string(seed) + ": " + layout.Describe());
        const auto bitmap = testkit::RandomBitmap(dice, layout);
        const Change change = kKinds[GetParam()].make(dice);
        // Twice, since the second time begins with what the first has left behind.
        for (int time = 0; time < 2; ++time) {
            const FlatPicture before = Flattened(*bitmap);
            const FlatPicture expected = FilteredWhole(*change.filter, before, before);
            ASSERT_TRUE(change.apply(*bitmap));
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

std::unique_ptr<ZPixFilterBase> MakeResizing(int method) {
    if (method == zbm::ResizePlain) return std::make_unique<ZPixfResize>();
    if (method == zbm::ResizeBilinear) return std::make_unique<ZPixfResizeBilinear>();
    auto filter = std::make_unique<ZPixfResizeBicubic>();
    filter->SetMode(method - zbm::ResizeBicubic0);
    return filter;
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
