#include "zpixf/ZPixfAdjust.h"

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <numeric>
#include <string>

#include "PointPicture.h"
#include "adjust/ZPixfAdjustLevels.h"
#include "base/Kernels.h"
#include "emulated/EmulatedKernels.h"
#include "zpixf/ZPixfNull.h"

// The kernels as they are for a processor whose vectors are not known.
#define SIMD_NO_VECTORS
#include "adjust/AdjustKernels.inl"

namespace zpixf {
namespace {

constexpr cpu::Level kLevels[] = {cpu::Level::base, cpu::Level::avx2, cpu::Level::avx512};

/// Calls `test` for every level of the kernels that this processor has, and for the widest in plain words.
template <class Test>
void OnEveryLevel(const Test& test) {
    for (const cpu::Level level : kLevels)
        if (UseKernels(level)) test();
    UseKernels(kEmulatedAdjustKernels);
    test();
    UseKernels(cpu::Choose());
}

/// 256 pixels with all levels in each colour, and another alpha each.
PointPicture AllLevels() {
    PointPicture picture{256, 1};
    for (unsigned x = 0; x < 256; ++x) {
        const std::uint8_t pixel[] = {static_cast<std::uint8_t>(x), static_cast<std::uint8_t>(255 - x),
                                      static_cast<std::uint8_t>(x * 37 + 5), static_cast<std::uint8_t>(x * 11 + 3)};
        std::copy_n(pixel, 4, &picture.pixels[4 * x]);
    }
    return picture;
}

PixelBytes MapColors(const PixelBytes& pixels, const LevelTable& levels) {
    PixelBytes mapped = pixels;
    for (std::size_t i = 0; i < mapped.size(); ++i)
        if (i % 4 != 3) mapped[i] = levels[mapped[i]];
    return mapped;
}

int FloorOfQuotient(std::int64_t dividend, std::int64_t divisor) {
    return static_cast<int>(dividend / divisor - (dividend % divisor < 0 ? 1 : 0));
}

/// level + n / denominator of the way to white or black, halves up.
LevelTable ExactBrightness(int n, int denominator) {
    LevelTable levels;
    for (int level = 0; level < 256; ++level) {
        const std::int64_t change = std::int64_t{n} * (n > 0 ? 255 - level : level);
        levels[static_cast<unsigned>(level)] =
            static_cast<std::uint8_t>(level + FloorOfQuotient(2 * change + denominator, 2 * denominator));
    }
    return levels;
}

PixelBytes Brightened(double amount, const PointPicture& picture) {
    ZPixfBrightness filter;
    filter.SetBrightness(amount);
    return Filtered(filter, picture);
}

PixelBytes Contrasted(double amount, const PointPicture& picture) {
    ZPixfContrast filter;
    filter.SetContrast(amount);
    return Filtered(filter, picture);
}

PixelBytes Saturated(double amount, const PointPicture& picture) {
    ZPixfSaturation filter;
    filter.SetSaturation(amount);
    return Filtered(filter, picture);
}

PixelBytes Desaturated(const PointPicture& picture) {
    ZPixfDesaturate filter;
    return Filtered(filter, picture);
}

TEST(ZPixfBrightness, MovesEveryLevelByTheAmountOfItsDistanceForFractionsOfEveryKind) {
    const PointPicture picture = AllLevels();
    OnEveryLevel([&] {
        for (const int denominator : {256, 1000, 510, 77})
            for (int n = -denominator; n <= denominator; ++n)
                ASSERT_EQ(Brightened(static_cast<double>(n) / denominator, picture),
                          MapColors(picture.pixels, ExactBrightness(n, denominator)))
                    << n << " / " << denominator;
    });
}

TEST(ZPixfBrightness, GivesWhiteForOneBlackForMinusOneAndTheSameForZero) {
    const PointPicture picture = AllLevels();
    LevelTable white, black;
    white.fill(255);
    black.fill(0);
    EXPECT_EQ(Brightened(1, picture), MapColors(picture.pixels, white));
    EXPECT_EQ(Brightened(-1, picture), MapColors(picture.pixels, black));
    EXPECT_EQ(Brightened(0, picture), picture.pixels);
    ZPixfBrightness untouched;
    EXPECT_EQ(Filtered(untouched, picture), picture.pixels);
}

/// The levels by the C library, unless a rounding is so near to a half that its last bits could decide.
LevelTable ContrastByTangent(double amount, bool& isClear) {
    const long double slope = std::tan((static_cast<long double>(amount) + 1) * 0.785398163397448309616L);
    LevelTable levels;
    for (int level = 0; level < 256; ++level) {
        const long double raised = 128 + slope * (level - 127.5L);
        if (raised > -1 && raised < 257 && std::fabs(raised - std::round(raised)) < 1e-8L) isClear = false;
        levels[static_cast<unsigned>(level)] = static_cast<std::uint8_t>(std::clamp(std::floor(raised), 0.0L, 255.0L));
    }
    return levels;
}

TEST(ZPixfContrast, TurnsTheLevelsAboutMidGreyByTheTangent) {
    const PointPicture picture = AllLevels();
    OnEveryLevel([&] {
        int numClear = 0;
        for (int n = -999; n < 1000; ++n) {
            bool isClear = true;
            const LevelTable levels = ContrastByTangent(n / 1000.0, isClear);
            numClear += isClear ? 1 : 0;
            ASSERT_TRUE(!isClear || Contrasted(n / 1000.0, picture) == MapColors(picture.pixels, levels)) << n;
        }
        EXPECT_GE(numClear, 1995);
    });
}

TEST(ZPixfContrast, GivesMidGreyForMinusOneAThresholdForOneAndTheSameForZero) {
    const PointPicture picture = AllLevels();
    LevelTable grey, threshold;
    grey.fill(128);
    for (unsigned level = 0; level < 256; ++level) threshold[level] = level < 128 ? 0 : 255;
    EXPECT_EQ(Contrasted(-1, picture), MapColors(picture.pixels, grey));
    EXPECT_EQ(Contrasted(1, picture), MapColors(picture.pixels, threshold));
    EXPECT_EQ(Contrasted(0, picture), picture.pixels);
}

/// The same number on every system, or the levels depend on it.
TEST(ZPixfContrast, HasTheLevelsThatItHadOnTheFirstSystem) {
    const PointPicture picture = AllLevels();
    std::uint64_t hash = 0xcbf29ce484222325u;
    for (int n = -4096; n <= 4096; ++n)
        for (const std::uint8_t byte : Contrasted(n / 4096.0, picture)) hash = (hash ^ byte) * 0x100000001b3u;
    EXPECT_EQ(hash, 5260828805584746149u);
}

template <class Filter>
PixelBytes FilteredBy(void (Filter::*set)(double), double amount, const PointPicture& picture) {
    Filter filter;
    (filter.*set)(amount);
    return Filtered(filter, picture);
}

template <class Filter>
void ExpectLimits(void (Filter::*set)(double)) {
    const PointPicture picture = RandomPicture(60, 1);
    const double infinity = std::numeric_limits<double>::infinity();
    const auto with = [&](double amount) { return FilteredBy(set, amount, picture); };
    for (const double beyond : {1.0000001, 7.0, 1e300, infinity}) {
        EXPECT_EQ(with(beyond), with(1));
        EXPECT_EQ(with(-beyond), with(-1));
    }
    EXPECT_EQ(with(std::numeric_limits<double>::quiet_NaN()), with(0));
    EXPECT_EQ(with(std::numeric_limits<double>::denorm_min()), with(0));
}

TEST(ZPixfAdjust, TakesWhatIsBeyondTheLimitsForThemAndNoNumberForZero) {
    ExpectLimits(&ZPixfBrightness::SetBrightness);
    ExpectLimits(&ZPixfContrast::SetContrast);
    ExpectLimits(&ZPixfSaturation::SetSaturation);
}

bool HasForm(const LevelTable& levels) {
    const std::optional<LevelForm> form = FindLevelForm(levels);
    if (!form) return false;
    for (unsigned level = 0; level < 256; ++level)
        if (UncappedLevel(*form, level) > 32767 || ApplyLevelForm(*form, level) != levels[level]) return false;
    return true;
}

std::vector<double> Sorted(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    values.erase(std::unique(values.begin(), values.end()), values.end());
    return values;
}

/// How many of the tables between the amounts at which they change are tried here. All of them have a form: 1 shows it,
/// and takes some seconds.
constexpr std::size_t kStepThroughTables = 5;

/// A level changes where the amount times its distance passes a half.
TEST(LevelForm, IsFoundForTheBrightnessOfEveryAmount) {
    std::vector<double> changes = {0, 1};
    for (int distance = 1; distance < 256; ++distance)
        for (int half = 1; half <= 2 * distance; half += 2) changes.push_back(half / (2.0 * distance));
    changes = Sorted(changes);
    const auto tableOf = [](double amount) {
        LevelTable levels;
        for (int level = 0; level < 256; ++level) {
            const double change = std::floor(amount * (amount > 0 ? 255 - level : level) + 0.5);
            levels[static_cast<unsigned>(level)] = static_cast<std::uint8_t>(level + static_cast<int>(change));
        }
        return levels;
    };
    for (std::size_t i = 1; i < changes.size(); i += kStepThroughTables) {
        const double between = (changes[i - 1] + changes[i]) / 2;
        ASSERT_TRUE(HasForm(tableOf(between))) << between;
        ASSERT_TRUE(HasForm(tableOf(-between))) << -between;
    }
}

/// A level changes where the slope times its distance from mid-grey is whole.
TEST(LevelForm, IsFoundForTheContrastOfEveryAmount) {
    std::vector<double> changes = {0, 255};
    for (int distance = 1; distance < 256; distance += 2)
        for (int steps = 1; steps <= 128; ++steps) changes.push_back(2.0 * steps / distance);
    changes = Sorted(changes);
    for (std::size_t i = 1; i < changes.size(); i += kStepThroughTables) {
        const double slope = (changes[i - 1] + changes[i]) / 2;
        LevelTable levels;
        for (int level = 0; level < 256; ++level)
            levels[static_cast<unsigned>(level)] =
                static_cast<std::uint8_t>(std::clamp(std::floor(128 + slope * (level - 127.5)), 0.0, 255.0));
        ASSERT_TRUE(HasForm(levels)) << slope;
    }
}

/// A host's own filter.
class Gamma : public ZPixfLevels {
public:
    explicit Gamma(double newExponent) : exponent(newExponent) {}
    ZPixfType FilterType() const override { return ZPixfType::KeepsAlpha; }
    LevelTable Levels() const override {
        LevelTable levels;
        for (unsigned level = 0; level < 256; ++level)
            levels[level] = static_cast<std::uint8_t>(255 * std::pow(level / 255.0, exponent));
        return levels;
    }

private:
    double exponent;
};

TEST(ZPixfLevels, LooksUpLevelsThatLieOnNoLine) {
    const PointPicture picture = AllLevels();
    for (const double exponent : {0.5, 1.0, 2.2}) {
        Gamma filter(exponent);
        EXPECT_EQ(FindLevelForm(filter.Levels()).has_value(), exponent == 1.0);
        EXPECT_EQ(Filtered(filter, picture), MapColors(picture.pixels, filter.Levels()));
    }
}

TEST(ZPixfLevels, TakesTablesOfAnyKind) {
    std::mt19937 random(5);
    for (unsigned kind = 0; kind < 200; ++kind) {
        LevelTable levels;
        for (unsigned level = 0; level < 256; ++level) {
            const unsigned values[] = {
                static_cast<unsigned>(random()), 255 - level, kind, level & kind, level > kind ? 255u : 0u,
                level < kind ? 255u : 0u};
            levels[level] = static_cast<std::uint8_t>(values[kind % 6]);
        }
        const std::optional<LevelForm> form = FindLevelForm(levels);
        if (!form) continue;
        for (unsigned level = 0; level < 256; ++level) ASSERT_EQ(ApplyLevelForm(*form, level), levels[level]) << kind;
    }
}

/// luma + n / 2^14 * (c - luma), with the exact luma, halves up.
PixelBytes ExactSaturation(const PixelBytes& pixels, int n) {
    PixelBytes saturated = pixels;
    constexpr std::int64_t kOne = 16384;
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        if (i % 4 == 3) continue;
        const std::uint8_t* pixel = &pixels[i - i % 4];
        const std::int64_t luma = 114 * pixel[0] + 587 * pixel[1] + 299 * pixel[2];
        const std::int64_t thousandths = luma * kOne + n * (1000 * std::int64_t{pixels[i]} - luma);
        saturated[i] =
            static_cast<std::uint8_t>(std::clamp(FloorOfQuotient(2 * thousandths + 1000 * kOne, 2000 * kOne), 0, 255));
    }
    return saturated;
}

/// Colours from all corners, edges and the middle of the cube.
PointPicture ManyColors() {
    std::vector<unsigned> steps = {0, 1, 2, 3, 127, 128, 252, 253, 254, 255};
    for (unsigned step = 13; step < 252; step += 17) steps.push_back(step);
    PointPicture picture{static_cast<unsigned>(steps.size() * steps.size()), static_cast<unsigned>(steps.size())};
    std::size_t i = 0;
    for (const unsigned blue : steps)
        for (const unsigned green : steps)
            for (const unsigned red : steps) {
                const std::uint8_t pixel[] = {static_cast<std::uint8_t>(blue), static_cast<std::uint8_t>(green),
                                              static_cast<std::uint8_t>(red), static_cast<std::uint8_t>(i * 7)};
                std::copy_n(pixel, 4, &picture.pixels[4 * i++]);
            }
    return picture;
}

TEST(ZPixfSaturation, MovesEachChannelFromTheExactLuma) {
    const PointPicture picture = ManyColors();
    OnEveryLevel([&] {
        for (const int n : {-16384, -16383, -15617, -15616, -15615, -12000, -8192, -5461, -1,    0,     1,
                            2,      383,    384,    385,    4096,   8191,   8192,  11111, 16000, 16383, 16384})
            ASSERT_EQ(Saturated(n / 16384.0, picture), ExactSaturation(picture.pixels, n)) << n;
    });
}

/// Some colours with this blue whose results in blue lie next to where rounding changes.
std::vector<std::uint32_t> ColorsNextToAStep(int n, int blue) {
    constexpr int kStep = 16384 * 1000, kNear = 400;
    std::vector<std::uint32_t> colors;
    for (int red = 0; red < 256; ++red)
        for (int green = 0; green < 256; ++green) {
            const std::int64_t luma = 114 * blue + 587 * green + 299 * red;
            const std::int64_t thousandths = (16384 - n) * luma + std::int64_t{1000} * n * blue + kStep / 2;
            const auto beyond = static_cast<int>((thousandths % kStep + kStep) % kStep);
            if (beyond < kNear || beyond >= kStep - kNear)
                colors.push_back(static_cast<std::uint32_t>(blue | green << 8 | red << 16));
        }
    return colors;
}

TEST(ZPixfSaturation, RoundsExactlyNextToEveryStep) {
    std::mt19937 random(11);
    std::size_t numColors = 0;
    for (int round = 0; round < 60; ++round) {
        const int n = round < 4 ? -16383 + round : static_cast<int>(random() % 32768) - 16384;
        const std::vector<std::uint32_t> colors = ColorsNextToAStep(n, static_cast<int>(random() % 256));
        if (colors.empty()) continue;
        numColors += colors.size();
        PointPicture picture{static_cast<unsigned>(colors.size()), 1};
        std::memcpy(picture.pixels.data(), colors.data(), 4 * colors.size());
        OnEveryLevel([&] { ASSERT_EQ(Saturated(n / 16384.0, picture), ExactSaturation(picture.pixels, n)) << n; });
    }
    EXPECT_GT(numColors, 100u);
}

TEST(ZPixfSaturation, IsNeutralAtOneAndIfNotSetGreyAtZeroAndComplementaryAtMinusOne) {
    const PointPicture picture = ManyColors();
    EXPECT_EQ(Saturated(1, picture), picture.pixels);
    ZPixfSaturation untouched;
    EXPECT_EQ(Filtered(untouched, picture), picture.pixels);
    EXPECT_EQ(Saturated(0, picture), Desaturated(picture));
    EXPECT_EQ(Saturated(-1, picture), ExactSaturation(picture.pixels, -16384));
}

TEST(ZPixfSaturation, TakesAnAmountForTheNearestOfItsUnits) {
    const PointPicture picture = ManyColors();
    for (const double amount : {0.3, 0.7, -0.123, 0.99999}) {
        const int n = static_cast<int>(std::floor(amount * 16384 + 0.5));
        EXPECT_EQ(Saturated(amount, picture), ExactSaturation(picture.pixels, n)) << amount;
    }
}

TEST(ZPixfDesaturate, GivesTheRoundedLumaOfEveryColorThereIs) {
    std::vector<std::uint32_t> colors(1 << 16), greys(1 << 16);
    OnEveryLevel([&] {
        for (std::uint32_t red = 0; red < 256; ++red) {
            for (std::uint32_t i = 0; i < 65536; ++i) {
                const std::uint32_t luma = (299 * red + 587 * (i >> 8) + 114 * (i & 255) + 500) / 1000;
                colors[i] = i | red << 16 | (i * 5) << 24;
                greys[i] = luma * 0x10101 | (i * 5) << 24;
            }
            auto* const pixels = reinterpret_cast<std::uint8_t*>(colors.data());
            ActiveAdjustKernels().desaturate({pixels, pixels, colors.size(), false});
            ASSERT_TRUE(colors == greys) << red;
        }
    });
}

TEST(ZPixfDesaturate, KeepsGreys) {
    PointPicture picture = AllLevels();
    for (std::size_t i = 0; i < picture.pixels.size(); ++i)
        if (i % 4 != 3) picture.pixels[i] = static_cast<std::uint8_t>(i / 4);
    EXPECT_EQ(Desaturated(picture), picture.pixels);
}

/// Plain loops, as there are where no vectors are known.
TEST(AdjustKernels, GiveTheSameWithoutVectors) {
    const PointPicture picture = RandomPicture(1001, 1);
    const auto expectSame = [&](const std::function<void(const AdjustKernels&, const AdjustedPixels&)>& run) {
        OnEveryLevel([&] {
            PixelBytes plain = picture.pixels, fast = picture.pixels;
            run(kKernels, {plain.data(), plain.data(), 1001, false});
            run(ActiveAdjustKernels(), {fast.data(), fast.data(), 1001, false});
            EXPECT_EQ(plain, fast);
        });
    };
    for (const double amount : {-1.0, -0.7, 0.0, 0.2, 1.0}) {
        const auto factor = static_cast<int>(amount * kSaturationOne);
        expectSame(
            [&](const AdjustKernels& kernels, const AdjustedPixels& pixels) { kernels.saturate(factor, pixels); });
    }
    expectSame([&](const AdjustKernels& kernels, const AdjustedPixels& pixels) { kernels.desaturate(pixels); });
    for (LevelForm form : {LevelForm{250, 85, 40000, 77, 0, 1},
                           {255, 85, 32767, 0, 3000, 0},
                           {255, 0, 32767, 0, 0, 0},
                           {255, 0, 30000, 2000, 0, 0},
                           {200, 0, 32767, 0, 500, 0}})
        for (; form.shift <= 8; ++form.shift)
            expectSame(
                [&](const AdjustKernels& kernels, const AdjustedPixels& pixels) { kernels.mapLevels(form, pixels); });
}

/// From any address to any other, past the caches and not, with nothing beside written.
TEST(AdjustKernels, GiveTheSameElsewhere) {
    const PointPicture picture = RandomPicture(400, 1);
    const auto expectSame = [&](const AdjustKernels& kernels, std::size_t fromBeyond, std::size_t toBeyond,
                                std::size_t count, bool pastCaches) {
        PixelBytes expected = picture.pixels, from(picture.pixels.size() + 64), to(from.size() + 64, 0x5A);
        kKernels.desaturate({expected.data(), expected.data(), count, false});
        std::copy(picture.pixels.begin(), picture.pixels.end(), from.begin() + static_cast<std::ptrdiff_t>(fromBeyond));
        PixelBytes around = to;
        std::copy_n(expected.begin(), 4 * count, around.begin() + static_cast<std::ptrdiff_t>(toBeyond));
        kernels.desaturate({from.data() + fromBeyond, to.data() + toBeyond, count, pastCaches});
        ASSERT_EQ(to, around) << fromBeyond << " " << toBeyond << " " << count << " " << pastCaches;
    };
    OnEveryLevel([&] {
        for (const std::size_t fromBeyond : {0u, 4u, 21u})
            for (std::size_t toBeyond = 0; toBeyond < 64; ++toBeyond)
                for (const std::size_t count : {0u, 1u, 15u, 31u, 32u, 33u, 63u, 64u, 150u, 399u})
                    for (const bool pastCaches : {false, true})
                        ASSERT_NO_FATAL_FAILURE(
                            expectSame(ActiveAdjustKernels(), fromBeyond, toBeyond, count, pastCaches));
    });
}

/// Levels that no form gives.
class Scrambled final : public ZPixfLevels {
public:
    ZPixfType FilterType() const override { return ZPixfType::KeepsAlpha; }

protected:
    std::array<std::uint8_t, 256> Levels() const override {
        std::array<std::uint8_t, 256> levels{};
        for (unsigned i = 0; i < 256; ++i) levels[i] = static_cast<std::uint8_t>(i * 89 + 7);
        return levels;
    }
};

TEST(FiltersOfSinglePixels, CopyWhatTheyChange) {
    constexpr std::size_t kCount = 2102;
    const PointPicture picture = RandomPicture(701, 3);
    ZPixfBrightness brightness;
    brightness.SetBrightness(0.3);
    ZPixfSaturation saturation, same;
    saturation.SetSaturation(-0.4);
    Scrambled scrambled;
    ZPixfDesaturate desaturation;
    ZPixfNull handThrough;
    for (ZPixfPointwise* filter : std::initializer_list<ZPixfPointwise*>{&brightness, &scrambled, &saturation, &same,
                                                                         &desaturation, &handThrough}) {
        const ZPixFormat format(701, 3, 4, 8, 0);
        filter->SetInputFormat(format);
        filter->SetOutputFormat(format);
        filter->SetScanLineFunction([](void*, unsigned, void*) { return false; }, nullptr);
        ASSERT_TRUE(filter->Start());
        PixelBytes expected(picture.pixels.begin(), picture.pixels.begin() + 4 * kCount);
        ASSERT_TRUE(filter->ChangePixels(expected.data(), kCount));
        expected.resize(picture.pixels.size(), 0x5A);
        for (const shr::CopyWrites writes : {shr::CopyWrites::cached, shr::CopyWrites::streamed}) {
            PixelBytes copy(picture.pixels.size(), 0x5A);
            ASSERT_TRUE(filter->CopyChanged(picture.pixels.data(), copy.data(), kCount, writes));
            EXPECT_EQ(copy, expected) << static_cast<int>(filter->FilterType());
        }
    }
}

TEST(FiltersOfSinglePixels, DoNotCopyPartsOfBytes) {
    ZPixfNull filter;
    filter.SetOutputFormat(ZPixFormat(3, 1, 1, 4, 16));
    std::uint8_t from = 0x5A, to = 0xC3;
    EXPECT_FALSE(filter.CopyChanged(&from, &to, 1, shr::CopyWrites::cached));
    EXPECT_EQ(to, 0xC3);
}

TEST(FiltersOfSinglePixels, HandThroughWhatIsLargerThanARowOfTheCopy) {
    const ZPixFormat format(1 << 20, 1, 4, 8, 0);
    ZPixfNull filter;
    filter.SetInputFormat(format);
    filter.SetOutputFormat(format);
    std::vector<std::uint8_t> from(4 * 700'001), to(from.size());
    for (std::size_t i = 0; i < from.size(); ++i) from[i] = static_cast<std::uint8_t>(i * 7 + (i >> 11));
    ASSERT_TRUE(filter.CopyChanged(from.data(), to.data(), 700'001, shr::CopyWrites::streamed));
    EXPECT_TRUE(from == to);
}

// What all of them have in common.

struct FilterCase {
    const char* name;
    ZPixfType type;
    std::unique_ptr<ZPixFilterBase> (*make)();
};

const FilterCase kFilters[] = {
    {"Brightness", ZPixfType::Brightness,
     [] {
         auto filter = std::make_unique<ZPixfBrightness>();
         filter->SetBrightness(-0.3);
         return std::unique_ptr<ZPixFilterBase>(std::move(filter));
     }},
    {"Contrast", ZPixfType::Contrast,
     [] {
         auto filter = std::make_unique<ZPixfContrast>();
         filter->SetContrast(0.4);
         return std::unique_ptr<ZPixFilterBase>(std::move(filter));
     }},
    {"Saturation", ZPixfType::Saturation,
     [] {
         auto filter = std::make_unique<ZPixfSaturation>();
         filter->SetSaturation(-0.5);
         return std::unique_ptr<ZPixFilterBase>(std::move(filter));
     }},
    {"Desaturate", ZPixfType::Desaturate,
     [] { return std::unique_ptr<ZPixFilterBase>(std::make_unique<ZPixfDesaturate>()); }},
    {"Lookup", ZPixfType::KeepsAlpha, [] { return std::unique_ptr<ZPixFilterBase>(std::make_unique<Gamma>(0.5)); }},
};

class EveryAdjustment : public testing::TestWithParam<FilterCase> {
protected:
    std::unique_ptr<ZPixFilterBase> filter = GetParam().make();
};

INSTANTIATE_TEST_SUITE_P(Filters, EveryAdjustment, testing::ValuesIn(kFilters),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST_P(EveryAdjustment, IsOfItsType) { EXPECT_EQ(filter->FilterType(), GetParam().type); }

TEST_P(EveryAdjustment, WorksOnEachPixelAloneAndHandsItsAlphaThroughAtAnyWidth) {
    OnEveryLevel([&] {
        for (unsigned width = 0; width <= 67; ++width) {
            const PointPicture picture = RandomPicture(width, 1);
            const PixelBytes result = Filtered(*filter, picture);
            PixelBytes one;
            for (unsigned x = 0; x < width; ++x) {
                PointPicture pixel{1, 1};
                std::copy_n(picture.Line(0) + 4 * x, 4, pixel.pixels.begin());
                const PixelBytes alone = Filtered(*filter, pixel);
                EXPECT_EQ(alone[3], pixel.pixels[3]);
                one.insert(one.end(), alone.begin(), alone.end());
            }
            ASSERT_EQ(result, one) << width;
        }
    });
}

TEST_P(EveryAdjustment, PullsExactlyTheLineThatItGivesInAnyOrder) {
    PointPicture picture = RandomPicture(20, 9);
    const PixelBytes whole = Filtered(*filter, picture);
    Connect(*filter, picture);
    ASSERT_TRUE(filter->Start());
    EXPECT_TRUE(picture.fetched.empty());
    const std::vector<unsigned> asked = {0, 1, 2, 5, 8, 0, 3};
    for (const unsigned line : asked) {
        const PixelBytes result = LineOf(*filter, line);
        EXPECT_TRUE(std::equal(result.begin(), result.end(), whole.begin() + line * 80)) << line;
    }
    EXPECT_EQ(picture.fetched, asked);
}

TEST_P(EveryAdjustment, DoesNotStartOnFormatsThatDoNotSuit) {
    PointPicture picture = RandomPicture(4, 4);
    const ZPixFormat good(4, 4);
    const ZPixFormat bad[] = {ZPixFormat(4, 4, 3, 8),     ZPixFormat(4, 4, 1, 8), ZPixFormat(4, 4, 4, 16),
                              ZPixFormat(4, 4, 4, 8, 16), ZPixFormat(5, 4),       ZPixFormat(4, 3)};
    for (const ZPixFormat& format : bad)
        for (const bool isInput : {false, true}) {
            Connect(*filter, picture);
            filter->SetInputFormat(isInput ? format : good);
            filter->SetOutputFormat(isInput ? good : format);
            EXPECT_FALSE(filter->Start());
            EXPECT_FALSE(filter->GetErrorDescription().IsEmpty());
            EXPECT_EQ(filter->GetErrorFile(), L"ZPixfAdjust");
            EXPECT_GT(filter->GetErrorLine(), 0);
        }
    Connect(*filter, picture);
    EXPECT_TRUE(filter->Start());
}

TEST_P(EveryAdjustment, IsHarmlessWithoutStartAfterStopAndForPicturesWithoutPixels) {
    PixelBytes line(400);
    EXPECT_FALSE(filter->FilterScanline(0, line.data()));
    filter->Stop();
    filter->Stop();
    PointPicture picture = RandomPicture(4, 4);
    Connect(*filter, picture);
    ASSERT_TRUE(filter->Start());
    filter->Stop();
    EXPECT_FALSE(filter->FilterScanline(0, line.data()));
    for (const auto& [width, height] : {std::pair(0u, 0u), std::pair(0u, 3u), std::pair(3u, 0u)})
        EXPECT_TRUE(Filtered(*filter, PointPicture{width, height}).empty());
}

TEST_P(EveryAdjustment, TellsOfASourceThatFailsAndGoesOn) {
    PointPicture picture = RandomPicture(4, 4);
    const PixelBytes whole = Filtered(*filter, picture);
    picture.failingLine = 2;
    Connect(*filter, picture);
    ASSERT_TRUE(filter->Start());
    PixelBytes line(16);
    EXPECT_TRUE(filter->FilterScanline(1, line.data()));
    EXPECT_FALSE(filter->FilterScanline(2, line.data()));
    EXPECT_FALSE(filter->GetErrorDescription().IsEmpty());
    picture.failingLine = ~0u;
    EXPECT_EQ(PassOf(*filter), whole);
}

}  // namespace
}  // namespace zpixf
