#include "zpixf/ZPixfMedian.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "base/Kernels.h"
#include "emulated/EmulatedKernels.h"

// The kernels as they are for a processor whose vectors are not known.
#define SIMD_NO_VECTORS
#include "median/MedianHistogramKernels.inl"

namespace median_tests {
namespace {

using zpixf::UseKernels;
using zpixf::ZPixfMedian;
using zpixf::ZPixFormat;
using zpixf::ZPixfType;

using Bytes = std::vector<std::uint8_t>;

/// A picture of 4 bytes a pixel that counts how often each of its lines is fetched.
struct Picture {
    unsigned width, height;
    Bytes pixels = Bytes(std::size_t{4} * width * height);
    std::vector<unsigned> fetched = std::vector<unsigned>(height);
    std::vector<unsigned> order = {};

    std::size_t LineBytes() const { return std::size_t{4} * width; }
    const std::uint8_t* Line(unsigned y) const { return pixels.data() + y * LineBytes(); }
    static bool Fetch(void* self, unsigned line, void* buffer) {
        auto& picture = *static_cast<Picture*>(self);
        ++picture.fetched.at(line);
        picture.order.push_back(line);
        if (picture.width != 0) std::memcpy(buffer, picture.Line(line), picture.LineBytes());
        return true;
    }
};

using Draw = std::function<std::uint8_t(std::mt19937&)>;

Picture Drawn(unsigned width, unsigned height, const Draw& draw) {
    std::mt19937 random(width * 1000 + height);
    Picture picture{width, height};
    for (auto& byte : picture.pixels) byte = draw(random);
    return picture;
}

std::uint8_t AnyByte(std::mt19937& random) { return static_cast<std::uint8_t>(random()); }
Picture RandomPicture(unsigned width, unsigned height) { return Drawn(width, height, &AnyByte); }

/// The definition, word for word: every window's values sorted, and the middle one taken.
Bytes SortEveryWindow(const Picture& picture, unsigned span) {
    const int width = static_cast<int>(picture.width), height = static_cast<int>(picture.height);
    const int radius = static_cast<int>(span | 1) / 2;
    Bytes medians = picture.pixels, values;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (unsigned channel = 0; channel < 3; ++channel) {
                values.clear();
                for (int i = y - radius; i <= y + radius; ++i)
                    for (int j = x - radius; j <= x + radius; ++j)
                        values.push_back(picture.Line(static_cast<unsigned>(std::clamp(
                            i, 0, height - 1)))[4 * std::clamp(j, 0, width - 1) + static_cast<int>(channel)]);
                const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
                std::nth_element(values.begin(), middle, values.end());
                medians[static_cast<std::size_t>(y * width + x) * 4 + channel] = *middle;
            }
    return medians;
}

/// The same, each picture's once for all levels.
const Bytes& MedianBySorting(const Picture& picture, unsigned span) {
    static std::map<std::tuple<unsigned, unsigned, Bytes>, Bytes> known;
    const auto [place, isNew] = known.try_emplace({span | 1, picture.width, picture.pixels});
    if (isNew) place->second = SortEveryWindow(picture, span);
    return place->second;
}

/// A filter that is started on a picture.
struct Started {
    ZPixfMedian filter;

    Started(Picture& picture, unsigned span) {
        filter.SetSpan(span);
        filter.SetInputFormat(ZPixFormat(picture.width, picture.height));
        filter.SetOutputFormat(ZPixFormat(picture.width, picture.height));
        filter.SetScanLineFunction(&Picture::Fetch, &picture);
        EXPECT_TRUE(filter.Start());
    }

    /// A line; in a buffer of just its size, so that a sanitizer sees what is written beyond it, and guards do.
    Bytes Line(const Picture& picture, unsigned y) {
        constexpr std::size_t kGuard = 64;
        Bytes line(picture.LineBytes() + kGuard, 0xA5);
        EXPECT_TRUE(filter.FilterScanline(y, line.data())) << y;
        EXPECT_EQ(std::count(line.end() - kGuard, line.end(), 0xA5), static_cast<std::ptrdiff_t>(kGuard));
        line.resize(picture.LineBytes());
        return line;
    }

    Bytes Pass(const Picture& picture) {
        Bytes result;
        for (unsigned y = 0; y < picture.height; ++y) {
            const Bytes line = Line(picture, y);
            result.insert(result.end(), line.begin(), line.end());
        }
        return result;
    }
};

enum class Kernels { base, avx2, avx512, plain };

class MedianLevel : public testing::TestWithParam<Kernels> {
protected:
    void SetUp() override {
        if (GetParam() == Kernels::plain) {
            UseKernels(zpixf::kEmulatedMedianKernels);
            return UseKernels(zpixf::kKernels);
        }
        const auto level = static_cast<cpu::Level>(GetParam());
        // A processor without the level has nothing of it to be tested.
        UseKernels(cpu::Runs(level) ? level : cpu::Level::base);
    }
    ~MedianLevel() override { UseKernels(cpu::Choose()); }

    static void ExpectMedians(Picture picture, unsigned span) {
        SCOPED_TRACE(testing::Message() << picture.width << " x " << picture.height << ", span " << span);
        ASSERT_EQ(Started(picture, span).Pass(picture), MedianBySorting(picture, span));
    }
};

std::string NameOf(const testing::TestParamInfo<Kernels>& kernels) {
    constexpr const char* kNames[] = {"base", "avx2", "avx512", "plain"};
    return kNames[static_cast<int>(kernels.param)];
}
INSTANTIATE_TEST_SUITE_P(Levels, MedianLevel,
                         testing::Values(Kernels::base, Kernels::avx2, Kernels::avx512, Kernels::plain), &NameOf);

TEST_P(MedianLevel, IsWhatOneFindsByHand) {
    // Each channel on its own; the borders' pixels count again and again at the corners.
    Picture picture{3, 3, {9, 1, 0, 7, 2, 2, 0, 8, 8, 3, 0, 9,  //
                           4, 4, 0, 6, 5, 5, 0, 5, 1, 6, 0, 4,  //
                           3, 7, 0, 3, 6, 8, 0, 2, 7, 9, 0, 1}};
    // Blue is 9 2 8 / 4 5 1 / 3 6 7: around its first pixel 9 9 2 9 9 2 4 4 5, sorted 2 2 4 4 5 9 9 9 9.
    const Bytes medians = {5, 2, 0, 7, 5, 3, 0, 8, 5, 3, 0, 9,  //
                           4, 4, 0, 6, 5, 5, 0, 5, 6, 6, 0, 4,  //
                           4, 7, 0, 3, 5, 7, 0, 2, 6, 8, 0, 1};
    EXPECT_EQ(Started(picture, 3).Pass(picture), medians);
}

TEST_P(MedianLevel, IsTheMiddleOfTheSortedWindowInPicturesOfAnySmallSize) {
    for (unsigned width = 1; width <= 40; ++width)
        for (const unsigned height : {1u, 2u, 3u, 4u, 7u})
            for (unsigned span = 0; span <= 9; ++span) ExpectMedians(RandomPicture(width, height), span);
    for (unsigned height = 1; height <= 40; ++height)
        for (const unsigned width : {1u, 2u, 5u})
            for (unsigned span = 2; span <= 9; ++span) ExpectMedians(RandomPicture(width, height), span);
}

// Blocks and vectors of the kernels end within such lines in every way.
TEST_P(MedianLevel, IsTheMiddleOfTheSortedWindowInLongLines) {
    for (const unsigned width : {63u, 64u, 65u, 127u, 128u, 129u, 130u, 255u, 256u, 257u, 263u, 511u, 513u, 530u})
        for (const unsigned span : {3u, 5u, 7u}) ExpectMedians(RandomPicture(width, 6), span);
}

TEST_P(MedianLevel, IsTheMiddleOfTheSortedWindowForLargeWindows) {
    for (const unsigned span : {11u, 15u, 31u}) ExpectMedians(RandomPicture(37, 40), span);
    ExpectMedians(RandomPicture(40, 9), 101);
    ExpectMedians(RandomPicture(5, 33), 101);
    ExpectMedians(RandomPicture(9, 7), 255);
    ExpectMedians(RandomPicture(130, 2), 255);
    ExpectMedians(RandomPicture(1, 1), 255);
    ExpectMedians(RandomPicture(257, 1), 255);
    ExpectMedians(RandomPicture(1, 257), 255);
}

TEST_P(MedianLevel, IsTheMiddleOfTheSortedWindowWithFewValuesAndSlopes) {
    for (const unsigned span : {3u, 5u, 7u, 9u, 15u, 31u}) {
        ExpectMedians(Drawn(37, 21, [](std::mt19937& r) { return r() % 2 != 0 ? 255 : 0; }), span);
        ExpectMedians(Drawn(37, 21, [](std::mt19937& r) { return static_cast<std::uint8_t>(127 + r() % 2); }), span);
        ExpectMedians(Drawn(37, 21, [](std::mt19937& r) { return static_cast<std::uint8_t>(r() % 3 * 16); }), span);
        ExpectMedians(Drawn(37, 21, [](std::mt19937& r) { return r() % 40 == 0 ? 255 : 30; }), span);
        ExpectMedians(Drawn(90, 11, [n = 0u](std::mt19937&) mutable { return static_cast<std::uint8_t>(n++ / 2); }),
                      span);
    }
}

// Medians that change from one coarse bin to another and back after a few columns, and after many.
TEST_P(MedianLevel, FollowsStripesOfAnyWidth) {
    for (const unsigned stripe : {1u, 4u, 5u, 9u, 30u})
        for (const unsigned span : {7u, 15u, 31u}) {
            Picture picture{150, 5};
            for (std::size_t i = 0; i < picture.pixels.size(); ++i)
                picture.pixels[i] = static_cast<std::uint8_t>(i / 4 % picture.width / stripe * 67 + i % 5);
            ExpectMedians(picture, span);
        }
}

TEST_P(MedianLevel, KeepsConstantPicturesUpToTheLargestWindow) {
    for (const int value : {0, 1, 15, 16, 127, 128, 254, 255})
        for (const unsigned span : {3u, 5u, 7u, 101u, 255u}) {
            Picture picture = Drawn(33, 5, [&](std::mt19937&) { return static_cast<std::uint8_t>(value); });
            ASSERT_EQ(Started(picture, span).Pass(picture), picture.pixels) << span;
        }
}

TEST_P(MedianLevel, PullsEachLineOnceAndInOrderInAPass) {
    for (const unsigned span : {0u, 1u, 3u, 5u, 7u, 31u, 255u})
        for (const unsigned height : {1u, 2u, 3u, 30u}) {
            Picture picture = RandomPicture(11, height);
            Started(picture, span).Pass(picture);
            EXPECT_EQ(picture.fetched, std::vector<unsigned>(height, 1)) << span;
            EXPECT_TRUE(std::is_sorted(picture.order.begin(), picture.order.end()));
        }
}

TEST_P(MedianLevel, HandsAlphaThroughWhateverItIs) {
    for (const unsigned span : {0u, 3u, 5u, 7u, 101u}) {
        Picture picture = RandomPicture(41, 9);
        const Bytes medians = Started(picture, span).Pass(picture);
        for (std::size_t i = 3; i < medians.size(); i += 4) ASSERT_EQ(medians[i], picture.pixels[i]) << span;
    }
}

TEST_P(MedianLevel, BeginsAnewWithLine0EvenOnAChangedPicture) {
    for (const unsigned span : {1u, 3u, 5u, 7u, 31u})
        for (const unsigned reached : {1u, 2u, 7u, 20u}) {
            Picture picture = RandomPicture(19, 20);
            Started run(picture, span);
            for (unsigned y = 0; y < reached; ++y) run.Line(picture, y);
            picture.pixels = RandomPicture(20, 19).pixels;
            picture.fetched.assign(picture.height, 0);
            EXPECT_EQ(run.Pass(picture), MedianBySorting(picture, span)) << span << ' ' << reached;
            EXPECT_EQ(picture.fetched, std::vector<unsigned>(picture.height, 1));
        }
}

TEST_P(MedianLevel, SkipsLinesAndRepeatsThem) {
    for (const unsigned span : {1u, 3u, 5u, 7u, 9u, 31u})
        for (const unsigned step : {1u, 2u, 3u, 4u, 5u, 9u, 17u, 39u})
            for (const unsigned first : {0u, 1u, 6u}) {
                Picture picture = RandomPicture(9, 41);
                const Bytes expected = MedianBySorting(picture, span);
                Started run(picture, span);
                for (unsigned y = first; y < picture.height; y += step)
                    for (int repeat = 0; repeat < 2; ++repeat) {
                        const Bytes line = run.Line(picture, y);
                        ASSERT_TRUE(std::equal(line.begin(), line.end(), &expected[y * picture.LineBytes()]))
                            << "span " << span << ", step " << step << ", line " << y;
                    }
            }
}

TEST(ZPixfMedian, RaisesEvenSpansToTheNextOddOneAndBoundsThem) {
    Picture picture = RandomPicture(13, 12);
    const auto medians = [&](unsigned span) { return Started(picture, span).Pass(picture); };
    EXPECT_EQ(medians(0), picture.pixels);
    EXPECT_EQ(medians(1), picture.pixels);
    EXPECT_EQ(medians(2), medians(3));
    EXPECT_EQ(medians(4), medians(5));
    EXPECT_EQ(medians(6), medians(7));
    EXPECT_NE(medians(3), medians(5));
    EXPECT_NE(medians(5), medians(7));
    for (const unsigned span : {254u, 256u, 257u, 100000u, 0xFFFFFFFFu}) EXPECT_EQ(medians(span), medians(255));
}

TEST(ZPixfMedian, HasASpanOf3UntilOneIsSet) {
    Picture picture = RandomPicture(13, 12);
    const Bytes medians = Started(picture, 3).Pass(picture);
    ZPixfMedian filter;
    filter.SetInputFormat(ZPixFormat(13, 12));
    filter.SetOutputFormat(ZPixFormat(13, 12));
    filter.SetScanLineFunction(&Picture::Fetch, &picture);
    ASSERT_TRUE(filter.Start());
    Bytes line(picture.LineBytes());
    ASSERT_TRUE(filter.FilterScanline(0, line.data()));
    EXPECT_TRUE(std::equal(line.begin(), line.end(), medians.begin()));
}

TEST(ZPixfMedian, TakesASpanThatIsSetWhileItRunsAtTheNextStart) {
    Picture picture = RandomPicture(13, 12);
    Started run(picture, 5);
    run.filter.SetSpan(1);
    EXPECT_EQ(run.Pass(picture), MedianBySorting(picture, 5));
    ASSERT_TRUE(run.filter.Start());
    EXPECT_EQ(run.Pass(picture), picture.pixels);
}

TEST(ZPixfMedian, IsAFilterThatLeavesAlphaAlone) { EXPECT_EQ(ZPixfMedian().FilterType(), ZPixfType::Median); }

struct FormatCase {
    const char* name;
    ZPixFormat input, output;
};

class MedianFormats : public testing::TestWithParam<FormatCase> {};

TEST_P(MedianFormats, AreRefusedWithADescription) {
    for (const unsigned span : {1u, 3u, 5u, 7u}) {
        Picture picture = RandomPicture(8, 8);
        ZPixfMedian filter;
        filter.SetSpan(span);
        filter.SetInputFormat(GetParam().input);
        filter.SetOutputFormat(GetParam().output);
        filter.SetScanLineFunction(&Picture::Fetch, &picture);
        EXPECT_FALSE(filter.Start());
        EXPECT_FALSE(filter.IsStarted());
        EXPECT_FALSE(filter.GetErrorDescription().IsEmpty());
        EXPECT_EQ(filter.GetErrorFile(), L"ZPixfMedian");
        EXPECT_GT(filter.GetErrorLine(), 0);
        Bytes line(4 * 8);
        EXPECT_FALSE(filter.FilterScanline(0, line.data()));
        EXPECT_EQ(picture.order.size(), 0u);
        filter.SetInputFormat(ZPixFormat(8, 8));
        filter.SetOutputFormat(ZPixFormat(8, 8));
        EXPECT_TRUE(filter.Start());
    }
}

INSTANTIATE_TEST_SUITE_P(Unsuitable, MedianFormats,
                         testing::Values(FormatCase{"ThreeChannelsIn", ZPixFormat(8, 8, 3), ZPixFormat(8, 8)},
                                         FormatCase{"ThreeChannelsOut", ZPixFormat(8, 8), ZPixFormat(8, 8, 3)},
                                         FormatCase{"SixteenBitsIn", ZPixFormat(8, 8, 4, 16), ZPixFormat(8, 8)},
                                         FormatCase{"SixteenBitsOut", ZPixFormat(8, 8), ZPixFormat(8, 8, 4, 16)},
                                         FormatCase{"IndexedOut", ZPixFormat(8, 8), ZPixFormat(8, 8, 1, 8, 256)},
                                         FormatCase{"OtherWidth", ZPixFormat(8, 8), ZPixFormat(9, 8)},
                                         FormatCase{"OtherHeight", ZPixFormat(8, 8), ZPixFormat(8, 7)}),
                         [](const auto& format) { return std::string(format.param.name); });

TEST(ZPixfMedian, IsHarmlessWithoutStartAndAfterStop) {
    Picture picture = RandomPicture(8, 8);
    Bytes line(4 * 8);
    for (const unsigned span : {1u, 3u, 5u, 7u}) {
        Started run(picture, span);
        run.filter.Stop();
        run.filter.Stop();
        EXPECT_FALSE(run.filter.FilterScanline(0, line.data()));
        ASSERT_TRUE(run.filter.Start());
        EXPECT_FALSE(run.filter.FilterScanline(8, line.data()));
        EXPECT_EQ(run.Pass(picture), MedianBySorting(picture, span));
    }
    ZPixfMedian never;
    EXPECT_FALSE(never.FilterScanline(0, line.data()));
    never.Stop();
}

TEST(ZPixfMedian, GivesNothingOfPicturesWithoutPixels) {
    for (const unsigned span : {1u, 3u, 5u, 7u, 255u}) {
        Picture flat{7, 0}, thin{0, 3};
        std::uint8_t untouched = 77;
        EXPECT_FALSE(Started(flat, span).filter.FilterScanline(0, &untouched));
        Started run(thin, span);
        for (unsigned y = 0; y < 3; ++y) EXPECT_TRUE(run.filter.FilterScanline(y, &untouched));
        EXPECT_EQ(untouched, 77);
    }
}

}  // namespace
}  // namespace median_tests
