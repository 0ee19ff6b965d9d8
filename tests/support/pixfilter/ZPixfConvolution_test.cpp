#include "zpixf/ZPixfConvolution.h"

#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <string>

#include "PointPicture.h"
#include "base/Kernels.h"
#include "convolve/ZPixfConvolutionForm.h"
#include "emulated/EmulatedKernels.h"

// The kernels as they are for a processor whose vectors are not known.
#define SIMD_NO_VECTORS
#include "convolve/ConvolutionKernels.inl"

namespace zpixf {
namespace {

using Numbers = std::vector<double>;

struct Kernel {
    Numbers coefficients;  ///< 9 or 25
    double divisor = 0, bias = 0;

    unsigned Side() const { return coefficients.size() == 9 ? 3 : 5; }
};

template <class Test>
void OnEveryLevel(const Test& test) {
    for (const cpu::Level level : {cpu::Level::base, cpu::Level::avx2, cpu::Level::avx512})
        if (UseKernels(level)) test();
    UseKernels(kEmulatedConvolutionKernels);
    test();
    UseKernels(cpu::Choose());
}

/// Sums over the neighbourhood of every pixel, by what `toLevel` makes of the levels there.
template <class ToLevel>
PixelBytes ForEachNeighbourhood(const PointPicture& picture, unsigned side, const ToLevel& toLevel) {
    const int width = static_cast<int>(picture.width), height = static_cast<int>(picture.height);
    const int reach = static_cast<int>(side / 2);
    PixelBytes result = picture.pixels;
    std::vector<int> levels;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int channel = 0; channel < 3; ++channel) {
                levels.clear();
                for (int i = y - reach; i <= y + reach; ++i)
                    for (int j = x - reach; j <= x + reach; ++j)
                        levels.push_back(picture.Line(static_cast<unsigned>(
                            std::clamp(i, 0, height - 1)))[4 * std::clamp(j, 0, width - 1) + channel]);
                result[static_cast<std::size_t>(4 * (y * width + x) + channel)] = toLevel(levels);
            }
    return result;
}

/// As it is documented: in double, from the top left, with what counts as a half.
PixelBytes ByDefinition(const PointPicture& picture, const Kernel& kernel) {
    double divisor = kernel.divisor;
    if (divisor == 0) {
        for (const double k : kernel.coefficients) divisor += k;
        if (divisor == 0) divisor = 1;
    }
    return ForEachNeighbourhood(picture, kernel.Side(), [&](const std::vector<int>& levels) {
        double sum = 0;
        for (std::size_t i = 0; i < levels.size(); ++i) sum += kernel.coefficients[i] * levels[i];
        const double quotient = sum / divisor;
        const double value = std::floor(quotient + kernel.bias + 0.5 + 0x1p-32);
        return static_cast<std::uint8_t>(value > 255 ? 255 : value > 0 ? static_cast<int>(value) : 0);
    });
}

/// floor(sum / divisor + bias + 1/2) in whole numbers; the kernel's and the divisor are in units of 1 / scale.
PixelBytes InWholeNumbers(const PointPicture& picture, const Kernel& kernel, int scale = 1) {
    const std::int64_t divisor = std::llround(kernel.divisor * scale), bias = std::llround(kernel.bias);
    return ForEachNeighbourhood(picture, kernel.Side(), [&](const std::vector<int>& levels) {
        std::int64_t sum = 0;
        for (std::size_t i = 0; i < levels.size(); ++i) sum += std::llround(kernel.coefficients[i] * scale) * levels[i];
        const std::int64_t twice = 2 * sum + (2 * bias + 1) * divisor;
        const std::int64_t value = twice < 0 ? -1 : twice / (2 * divisor);
        return static_cast<std::uint8_t>(std::clamp<std::int64_t>(value, 0, 255));
    });
}

std::unique_ptr<ZPixFilterBase> MakeFilter(const Kernel& kernel) {
    if (kernel.Side() == 3) {
        auto filter = std::make_unique<ZPixfConvolution3>();
        filter->SetUserConvolution(kernel.coefficients.data(), kernel.divisor, kernel.bias);
        return filter;
    }
    auto filter = std::make_unique<ZPixfConvolution5>();
    filter->SetUserConvolution(kernel.coefficients.data(), kernel.divisor, kernel.bias);
    return filter;
}

PixelBytes Convolved(const Kernel& kernel, const PointPicture& picture) {
    return Filtered(*MakeFilter(kernel), picture);
}

ConvolutionWay WayOf(const Kernel& kernel) {
    ConvolutionForm form;
    double divisor = kernel.divisor;
    for (const double k : kernel.coefficients) divisor += kernel.divisor == 0 ? k : 0;
    return FindConvolutionForm(kernel.Side(), kernel.coefficients.data(), divisor == 0 ? 1 : divisor, kernel.bias,
                               form);
}

/// Levels that reach the ends of every sum.
PointPicture BlackAndWhite(unsigned width, unsigned height) {
    PointPicture picture = RandomPicture(width, height, 99);
    for (auto& byte : picture.pixels) byte = byte < 128 ? 0 : 255;
    return picture;
}

// Kernels of many kinds, drawn by chance.

struct KernelKind {
    const char* name;
    ConvolutionWay way;  ///< that most of them go
    std::function<Kernel(std::mt19937&, unsigned side)> draw;
};

int Between(std::mt19937& random, int least, int greatest) {
    return least + static_cast<int>(random() % static_cast<unsigned>(greatest - least + 1));
}
double Fraction(std::mt19937& random) { return static_cast<double>(random()) / 4294967296.0; }

Kernel Drawn(std::mt19937& random, unsigned side, const std::function<double()>& draw) {
    Kernel kernel;
    for (unsigned i = 0; i < side * side; ++i) kernel.coefficients.push_back(random() % 5 == 0 ? 0 : draw());
    return kernel;
}

/// The product of a column and a row.
Kernel Product(std::mt19937& random, unsigned side, int least, int greatest) {
    Numbers column, row;
    for (unsigned i = 0; i < side; ++i) {
        column.push_back(Between(random, least, greatest));
        row.push_back(Between(random, least, greatest));
    }
    Kernel kernel;
    for (const double a : column)
        for (const double b : row) kernel.coefficients.push_back(a * b);
    return kernel;
}

const KernelKind kKinds[] = {
    {"SmallWhole", ConvolutionWay::narrow,
     [](std::mt19937& random, unsigned side) {
         Kernel kernel = Drawn(random, side, [&] { return Between(random, -5, 5); });
         kernel.divisor = Between(random, 1, 20);
         kernel.bias = Between(random, -40, 200);
         return kernel;
     }},
    {"WholeOfDivisorOne", ConvolutionWay::narrow,
     [](std::mt19937& random, unsigned side) {
         Kernel kernel = Drawn(random, side, [&] { return Between(random, -3, 3); });
         kernel.divisor = random() % 2 == 0 ? 1 : -1;
         kernel.bias = Between(random, 0, 4) * 64;
         return kernel;
     }},
    {"Positive", ConvolutionWay::narrow,
     [](std::mt19937& random, unsigned side) {
         return Drawn(random, side, [&] { return Between(random, 1, side == 3 ? 28 : 10); });
     }},
    {"Separable", ConvolutionWay::separable,
     [](std::mt19937& random, unsigned) {
         Kernel kernel = Product(random, 5, -3, 4);
         kernel.divisor = Between(random, 1, 40);
         kernel.bias = Between(random, 0, 1) * 128;
         return kernel;
     }},
    {"WholeBeyondSixteenBits", ConvolutionWay::wide,
     [](std::mt19937& random, unsigned side) {
         Kernel kernel = Drawn(random, side, [&] { return Between(random, -900, 1250); });
         kernel.divisor = Between(random, 1, 1 << Between(random, 0, 13));
         kernel.bias = Between(random, -100, 100);
         return kernel;
     }},
    {"WholeOfFewTies", ConvolutionWay::wide,
     [](std::mt19937& random, unsigned side) {
         Kernel kernel = Drawn(random, side, [&] { return Between(random, 1, 1300); });
         kernel.divisor = 2 * Between(random, 2000, 4096);
         return kernel;
     }},
    {"LargeWhole", ConvolutionWay::fraction,
     [](std::mt19937& random, unsigned side) {
         Kernel kernel = Drawn(random, side, [&] { return Between(random, -32767, 32767); });
         kernel.divisor = Between(random, 1, 1 << 20);
         kernel.bias = Between(random, -1000, 1000);
         return kernel;
     }},
    {"LargeWholeByPowersOf2", ConvolutionWay::fraction,
     [](std::mt19937& random, unsigned side) {
         Kernel kernel = Drawn(random, side, [&] { return Between(random, -9000, 30000); });
         kernel.divisor = 1 << Between(random, 13, 20);
         return kernel;
     }},
    {"Quarters", ConvolutionWay::narrow,
     [](std::mt19937& random, unsigned side) {
         Kernel kernel = Drawn(random, side, [&] { return Between(random, -8, 8) * 0.25; });
         kernel.divisor = 1.5;
         kernel.bias = Between(random, 0, 100) * 0.125;
         return kernel;
     }},
    {"Tenths", ConvolutionWay::narrow,
     [](std::mt19937& random, unsigned side) {
         Kernel kernel = Drawn(random, side, [&] { return Between(random, -9, 9) / 10.0; });
         kernel.divisor = 1;
         return kernel;
     }},
    {"Numbers", ConvolutionWay::fraction,
     [](std::mt19937& random, unsigned side) {
         Kernel kernel = Drawn(random, side, [&] { return Fraction(random) * 2 - 0.7; });
         kernel.divisor = random() % 2 == 0 ? 1 : Fraction(random) * 5 - 6;
         kernel.bias = Fraction(random) * 99;
         return kernel;
     }},
    {"PositiveNumbers", ConvolutionWay::fraction,
     [](std::mt19937& random, unsigned side) { return Drawn(random, side, [&] { return Fraction(random); }); }},
    {"FewNumbers", ConvolutionWay::fraction,
     [](std::mt19937& random, unsigned side) {
         Kernel kernel = Drawn(random, side, [&] { return 0.0; });
         for (unsigned i = 0; i < 3; ++i) kernel.coefficients[random() % (side * side)] = Fraction(random);
         kernel.divisor = 0.9;
         return kernel;
     }},
    // Near to steps everywhere: sums are halves, but for a little that tells in double only.
    {"NearlyHalves", ConvolutionWay::fraction,
     [](std::mt19937& random, unsigned side) {
         Kernel kernel = Drawn(random, side, [&] { return Between(random, -2, 4) * 0.5 - Fraction(random) * 1e-11; });
         kernel.divisor = 1;
         return kernel;
     }},
    {"Huge", ConvolutionWay::plain,
     [](std::mt19937& random, unsigned side) {
         Kernel kernel = Drawn(random, side, [&] { return (Fraction(random) - 0.5) * 1e6; });
         kernel.divisor = random() % 2 == 0 ? 1 : 1e-3;
         kernel.bias = (Fraction(random) - 0.5) * 1e8;
         return kernel;
     }},
    {"Tiny", ConvolutionWay::fraction,
     [](std::mt19937& random, unsigned side) {
         Kernel kernel = Drawn(random, side, [&] { return (Fraction(random) - 0.4) * 1e-200; });
         kernel.divisor = 1e-200;
         kernel.bias = 3.25;
         return kernel;
     }},
};

class KernelsOfKind : public testing::TestWithParam<KernelKind> {};
INSTANTIATE_TEST_SUITE_P(Kinds, KernelsOfKind, testing::ValuesIn(kKinds),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST_P(KernelsOfKind, GiveWhatTheDefinitionSaysForEverySizeOnEveryLevel) {
    std::mt19937 random(11);
    std::map<ConvolutionWay, unsigned> ways;
    unsigned round = 0;
    for (unsigned height : {1u, 2u, 3u, 4u, 5u, 6u, 11u, 20u})
        for (unsigned width = 1; width <= 40; width += height < 5 ? 1 : 3) {
            const unsigned side = ++round % 2 == 0 ? 3 : 5;
            const Kernel kernel = GetParam().draw(random, side);
            ++ways[WayOf(kernel)];
            for (const PointPicture& picture : {RandomPicture(width, height, round), BlackAndWhite(width, height)}) {
                const PixelBytes expected = ByDefinition(picture, kernel);
                OnEveryLevel([&] { ASSERT_EQ(Convolved(kernel, picture), expected) << width << " x " << height; });
                ASSERT_FALSE(HasFailure());
            }
        }
    EXPECT_GT(ways[GetParam().way] * 2, round);
}

TEST_P(KernelsOfKind, GiveWhatTheDefinitionSaysForLongLines) {
    std::mt19937 random(12);
    for (const unsigned width : {127u, 128u, 129u, 135u, 136u, 137u, 256u, 300u, 1000u}) {
        const Kernel kernel = GetParam().draw(random, width % 2 == 0 ? 3 : 5);
        const PointPicture picture = RandomPicture(width, 2, width);
        const PixelBytes expected = ByDefinition(picture, kernel);
        OnEveryLevel([&] { ASSERT_EQ(Convolved(kernel, picture), expected) << width; });
    }
}

TEST_P(KernelsOfKind, GiveTheSameWithoutVectors) {
    std::mt19937 random(13);
    constexpr unsigned kWidth = 50;
    for (const unsigned wanted : {3u, 5u, 3u, 5u}) {
        Kernel kernel = GetParam().draw(random, wanted);
        const unsigned side = kernel.Side();
        const PointPicture picture = RandomPicture(kWidth, side);
        ConvolutionForm form;
        if (kernel.divisor == 0) kernel.divisor = 7;
        FindConvolutionForm(side, kernel.coefficients.data(), kernel.divisor, kernel.bias, form);
        PixelBytes result(4 * kWidth - 16);
        ConvolutionLines lines = {{}, {}, 0, result.data(), kWidth - 4};
        for (unsigned row = 0; row < side; ++row) lines.rows[row] = picture.Line(row) + 8;
        const PixelBytes expected = ByDefinition(picture, kernel);
        const auto first = expected.begin() + 4 * kWidth * (side / 2) + 8;
        for (const Convolve convolve :
             {kKernels.plain, kKernels.narrow, kKernels.separable, kKernels.wide, kKernels.fraction}) {
            convolve(form, lines);
            EXPECT_TRUE(std::equal(result.begin(), result.end(), first));
        }
        EXPECT_EQ(kKernels.layOut, nullptr);
    }
}

TEST(ZPixfConvolution, IsExactForWholeNumbersAndForFractions) {
    std::mt19937 random(21);
    for (unsigned round = 0; round < 300; ++round) {
        const int scale = std::vector<int>{1, 4, 10, 100, 3, 7}[round % 6];
        Kernel kernel = Drawn(random, round % 2 == 0 ? 3 : 5,
                              [&] { return Between(random, -6 * scale, 9 * scale) / 8 / static_cast<double>(scale); });
        kernel.divisor = Between(random, 1, 12 * scale) / static_cast<double>(scale);
        kernel.bias = Between(random, 0, 2) * 64;
        double magnitudes = 0;
        for (const double k : kernel.coefficients) magnitudes += std::fabs(k);
        kernel.divisor = std::max(kernel.divisor, std::ceil(magnitudes / 16));  // no stronger than is promised
        const PointPicture picture = RandomPicture(37, 6, round);
        const PixelBytes expected = InWholeNumbers(picture, kernel, scale);
        OnEveryLevel([&] { ASSERT_EQ(Convolved(kernel, picture), expected) << round; });
    }
}

TEST(ZPixfConvolution, SumsOfTheGreatestKernelsOfEachWayKeepWithinTheirBits) {
    Kernel all3{Numbers(9, 28), 252}, all5{Numbers(25, 10), 250}, mixed{Numbers(9), 1},
        wide{Numbers(25, 32767), 819175};
    for (unsigned i = 0; i < 9; ++i) mixed.coefficients[i] = i % 2 == 0 ? 28 : -29;
    Kernel negative{Numbers(25, -10), 1, 255}, lowest{Numbers(25, -32767), 1, 255};
    for (const Kernel& kernel : {all3, all5, mixed, wide, negative, lowest}) {
        PointPicture white{40, 7};
        std::fill(white.pixels.begin(), white.pixels.end(), std::uint8_t{255});
        for (const PointPicture& picture : {white, BlackAndWhite(40, 7), PointPicture{40, 7}})
            OnEveryLevel([&] { ASSERT_EQ(Convolved(kernel, picture), ByDefinition(picture, kernel)); });
    }
}

/// Every divisor, and every sum that gives a level.
TEST(WholeForm, DividesEverySumExactlyInSixteenBits) {
    unsigned numNarrow = 0;
    for (int divisor = 2; divisor <= 1024; ++divisor) {
        Numbers coefficients(9, 0);
        for (unsigned i = 0; i < 9; ++i) coefficients[i] = (std::min(divisor, 256) + static_cast<int>(i)) / 9;
        ConvolutionForm form;
        const ConvolutionWay way = FindConvolutionForm(3, coefficients.data(), divisor, 0, form);
        if (way != ConvolutionWay::narrow) continue;
        ++numNarrow;
        const auto last = static_cast<std::uint32_t>(std::min(65535, 256 * std::min(divisor, 256) - 1));
        for (std::uint32_t n = 0; n <= last; ++n)
            ASSERT_EQ((n * form.whole.reciprocal >> 16) >> form.whole.shift, n / static_cast<std::uint32_t>(divisor))
                << n << " / " << divisor;
    }
    EXPECT_GT(numNarrow, 250u);
}

/// The quotient steps only at multiples of the divisor.
TEST(FloatForm, DividesEverySumOfAWideKernelExactly) {
    unsigned numWide = 0;
    for (int divisor = 1; divisor <= 9000; ++divisor) {
        Numbers coefficients(9, 0);
        coefficients[0] = 32749;  // a prime beyond 16 bits
        ConvolutionForm form;
        const ConvolutionWay way = FindConvolutionForm(3, coefficients.data(), divisor, 0, form);
        ASSERT_EQ(way, divisor <= 8192 ? ConvolutionWay::wide : ConvolutionWay::fraction) << divisor;
        if (way != ConvolutionWay::wide) continue;
        ++numWide;
        const int greatest = 256 * divisor - 1;
        for (int multiple = 0; multiple <= greatest; multiple += divisor)
            for (const int n : {multiple, multiple + divisor - 1}) {
                const float product = (static_cast<float>(n) + 0.5f) * form.floats.scale;
                ASSERT_EQ(static_cast<int>(product), n / divisor) << n << " / " << divisor;
            }
    }
    EXPECT_EQ(numWide, 8192u);
}

/// Sums at the ends of their range and within, fused and not, against the same in double.
TEST(FloatForm, SumsOfAFractionKernelAreTooGreatByLessThanTheMargin) {
    std::mt19937 random(17);
    for (unsigned round = 0; round < 4000; ++round) {
        const unsigned side = round % 2 == 0 ? 3 : 5;
        const double range = std::ldexp(1.0, Between(random, -12, 5));
        Kernel kernel = Drawn(random, side, [&] { return (Fraction(random) - 0.4) * range; });
        kernel.divisor = 0.25 + Fraction(random);
        kernel.bias = Fraction(random) * 300 - 150;
        ConvolutionForm form;
        if (FindConvolutionForm(side, kernel.coefficients.data(), kernel.divisor, kernel.bias, form) !=
            ConvolutionWay::fraction)
            continue;
        const auto level = [&](double factor) {
            return round % 4 < 2 ? (factor < 0 ? 0 : 255) : Between(random, 0, 255);
        };
        float fused = form.floats.start, separate = form.floats.start;
        double exact = 0;
        for (unsigned tap = 0; tap < form.numTaps; ++tap) {
            const int c = level(form.factors[tap]);
            fused = std::fma(form.floats.factors[tap], static_cast<float>(c), fused);
            const float product = form.floats.factors[tap] * static_cast<float>(c);
            separate += product;
            exact += form.factors[tap] * c;
        }
        exact = std::ldexp(exact / kernel.divisor + kernel.bias + kConvolutionHalf, static_cast<int>(form.floats.bits));
        for (const float sum : {fused, separate}) {
            EXPECT_GE(std::nearbyint(sum), exact) << round;
            EXPECT_LE(std::nearbyint(sum), exact + form.floats.margin) << round;
        }
    }
}

TEST(ZPixfConvolution, TakesADivisorOfZeroForTheSumOfTheKernelOrOneIfThatIsZero) {
    const PointPicture picture = RandomPicture(30, 8);
    const Numbers sumOf11 = {1, 2, 3, 0, 1, 0, 1, 1, 2}, sumOf0 = {1, 2, -3, 4, 0, -4, 0, 1, -1};
    EXPECT_EQ(Convolved({sumOf11, 0, 5}, picture), Convolved({sumOf11, 11, 5}, picture));
    EXPECT_EQ(Convolved({sumOf0, 0, 90}, picture), Convolved({sumOf0, 1, 90}, picture));
    const Numbers almost0 = {0.1, 0.2, -0.3, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(Convolved({almost0, 0, 90}, picture), Convolved({almost0, 1, 90}, picture));
    EXPECT_EQ(Convolved({Numbers(9, 0), 0, 90.5}, picture), ByDefinition(picture, {Numbers(9, 0), 1, 90.5}));
}

TEST(ZPixfConvolution, ChangesNothingIfNothingIsSet) {
    const PointPicture picture = RandomPicture(30, 8);
    ZPixfConvolution3 three;
    ZPixfConvolution5 five;
    EXPECT_EQ(Filtered(three, picture), picture.pixels);
    EXPECT_EQ(Filtered(five, picture), picture.pixels);
}

TEST(ZPixfConvolution, RefusesWhatIsNoNumberAndWhatOverflows) {
    PointPicture picture = RandomPicture(8, 8);
    const double infinity = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    std::vector<Kernel> refused;
    for (const double bad : {infinity, -infinity, nan})
        for (const unsigned count : {9u, 25u}) {
            Kernel kernel{Numbers(count, 1), 1, 0};
            kernel.coefficients[count / 3] = bad;
            refused.push_back(kernel);
            refused.push_back({Numbers(count, 1), bad, 0});
            refused.push_back({Numbers(count, 1), 1, bad});
        }
    refused.push_back({Numbers(9, 1e308), 1, 0});
    for (const Kernel& kernel : refused) {
        const auto filter = MakeFilter(kernel);
        Connect(*filter, picture);
        EXPECT_FALSE(filter->Start());
        EXPECT_FALSE(filter->IsStarted());
        EXPECT_EQ(filter->GetErrorFile(), L"ZPixfConvolution");
        EXPECT_FALSE(filter->GetErrorDescription().IsEmpty());
    }
}

TEST(ZPixfConvolution, IsHarmlessForNumbersAtTheEndsOfTheirRange) {
    const PointPicture picture = RandomPicture(40, 5);
    const double least = std::numeric_limits<double>::denorm_min(), greatest = std::numeric_limits<double>::max();
    for (const Kernel& kernel :
         {Kernel{Numbers(9, 1), least, 0}, Kernel{Numbers(9, 1), -least, 0}, Kernel{Numbers(9, 1), greatest, 0},
          Kernel{Numbers(9, least), 1, 77}, Kernel{Numbers(25, 1), 25, greatest}, Kernel{Numbers(25, 1), 25, -greatest},
          Kernel{Numbers(25, greatest / 7000), 1, 0}, Kernel{Numbers(25, least), least, 0}})
        OnEveryLevel([&] { ASSERT_EQ(Convolved(kernel, picture), ByDefinition(picture, kernel)); });
}

// The modes.

struct ModeCase {
    const char* name;
    int mode;
    Kernel kernel;
    int flat;  ///< what a flat 100 becomes
};

const ModeCase kModes[] = {
    {"Blur3", 2, {{1, 1, 1, 1, 1, 1, 1, 1, 1}, 9, 0}, 100},
    {"Gaussian3", 3, {{1, 2, 1, 2, 4, 2, 1, 2, 1}, 16, 0}, 100},
    {"Sharpen3", 4, {{0, -1, 0, -1, 5, -1, 0, -1, 0}, 1, 0}, 100},
    {"Edge3", 5, {{-1, -1, -1, -1, 8, -1, -1, -1, -1}, 1, 0}, 0},
    {"SobelHorizontal3", 6, {{-1, -2, -1, 0, 0, 0, 1, 2, 1}, 1, 128}, 128},
    {"SobelVertical3", 7, {{-1, 0, 1, -2, 0, 2, -1, 0, 1}, 1, 128}, 128},
    {"Emboss3", 8, {{-1, -1, 0, -1, 0, 1, 0, 1, 1}, 1, 128}, 128},
    {"Blur5", 2, {Numbers(25, 1), 25, 0}, 100},
    {"Gaussian5",
     3,
     {{1, 4, 6, 4, 1, 4, 16, 24, 16, 4, 6, 24, 36, 24, 6, 4, 16, 24, 16, 4, 1, 4, 6, 4, 1}, 256, 0},
     100},
    {"Sharpen5",
     4,
     {{-1, -1, -1, -1, -1, -1, 2, 2, 2, -1, -1, 2, 8, 2, -1, -1, 2, 2, 2, -1, -1, -1, -1, -1, -1}, 8, 0},
     100},
    {"Edge5", 5, {{0, 0, -1, 0, 0, 0, -1, -2, -1, 0, -1, -2, 16, -2, -1, 0, -1, -2, -1, 0, 0, 0, -1, 0, 0}, 1, 0}, 0},
    {"SobelHorizontal5",
     6,
     {{-1, -4, -6, -4, -1, -2, -8, -12, -8, -2, 0, 0, 0, 0, 0, 2, 8, 12, 8, 2, 1, 4, 6, 4, 1}, 16, 128},
     128},
    {"SobelVertical5",
     7,
     {{-1, -2, 0, 2, 1, -4, -8, 0, 8, 4, -6, -12, 0, 12, 6, -4, -8, 0, 8, 4, -1, -2, 0, 2, 1}, 16, 128},
     128},
    {"Emboss5",
     8,
     {{-1, -1, -1, -1, 0, -1, -1, -1, 0, 1, -1, -1, 0, 1, 1, -1, 0, 1, 1, 1, 0, 1, 1, 1, 1}, 3, 128},
     128},
};

std::unique_ptr<ZPixFilterBase> MakeModeFilter(unsigned side, int mode) {
    if (side == 3) {
        auto filter = std::make_unique<ZPixfConvolution3>();
        filter->SetConvolution(static_cast<ZPixf3x3Mode>(mode));
        return filter;
    }
    auto filter = std::make_unique<ZPixfConvolution5>();
    filter->SetConvolution(static_cast<ZPixf5x5Mode>(mode));
    return filter;
}

class ConvolutionMode : public testing::TestWithParam<ModeCase> {};
INSTANTIATE_TEST_SUITE_P(Modes, ConvolutionMode, testing::ValuesIn(kModes),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST_P(ConvolutionMode, IsItsKernel) {
    const PointPicture picture = RandomPicture(150, 9);
    const PixelBytes expected = InWholeNumbers(picture, GetParam().kernel);
    OnEveryLevel(
        [&] { EXPECT_EQ(Filtered(*MakeModeFilter(GetParam().kernel.Side(), GetParam().mode), picture), expected); });
}

TEST_P(ConvolutionMode, GivesAFlatPictureOneLevel) {
    PointPicture picture{20, 9};
    std::fill(picture.pixels.begin(), picture.pixels.end(), std::uint8_t{100});
    const PixelBytes result = Filtered(*MakeModeFilter(GetParam().kernel.Side(), GetParam().mode), picture);
    for (std::size_t i = 0; i < result.size(); ++i) ASSERT_EQ(result[i], i % 4 == 3 ? 100 : GetParam().flat);
}

TEST_P(ConvolutionMode, GoesAWayInWholeNumbersOfSixteenBits) {
    EXPECT_LE(WayOf(GetParam().kernel), ConvolutionWay::narrow);
}

TEST(ConvolutionMode, DoesNotStartIfThereIsNoSuch) {
    PointPicture picture = RandomPicture(8, 8);
    for (const unsigned side : {3u, 5u})
        for (const int mode : {-1, 0, 9, 1000}) {
            const auto filter = MakeModeFilter(side, mode);
            Connect(*filter, picture);
            EXPECT_FALSE(filter->Start());
            EXPECT_FALSE(filter->GetErrorDescription().IsEmpty());
        }
}

PixelBytes Sharpened(double amount, const PointPicture& picture) {
    ZPixfConvolution3 filter;
    filter.SetConvolution(ZPixf3x3Mode::emboss);
    filter.SetSharpeningConvolution(amount);
    return Filtered(filter, picture);
}

TEST(ZPixfConvolution3, SharpensByACrossFromTheIdentityOn) {
    const PointPicture picture = RandomPicture(60, 9);
    EXPECT_EQ(Sharpened(0, picture), picture.pixels);
    EXPECT_EQ(Sharpened(1, picture), InWholeNumbers(picture, {{0, -1, 0, -1, 5, -1, 0, -1, 0}, 1, 0}));
    for (int n = 1; n < 100; ++n) {
        const double hundredths = n;
        const Kernel kernel{{0, -hundredths, 0, -hundredths, 100 + 4 * hundredths, -hundredths, 0, -hundredths, 0},
                            100};
        ASSERT_EQ(Sharpened(n / 100.0, picture), InWholeNumbers(picture, kernel)) << n;
    }
}

TEST(ZPixfConvolution3, BlursByABoxFromTheIdentityOn) {
    const PointPicture picture = RandomPicture(60, 9);
    EXPECT_EQ(Sharpened(-1, picture), InWholeNumbers(picture, {Numbers(9, 1), 9, 0}));
    for (int n = 1; n < 100; ++n) {
        Kernel kernel{Numbers(9, n), 900};
        kernel.coefficients[4] = 900 - 8 * n;
        ASSERT_EQ(Sharpened(-n / 100.0, picture), InWholeNumbers(picture, kernel)) << n;
    }
}

TEST(ZPixfConvolution3, SharpensWithinTheLimitsAndNotForWhatIsNoNumber) {
    const PointPicture picture = RandomPicture(60, 9);
    EXPECT_EQ(Sharpened(7, picture), Sharpened(1, picture));
    EXPECT_EQ(Sharpened(-1e300, picture), Sharpened(-1, picture));
    EXPECT_EQ(Sharpened(std::numeric_limits<double>::quiet_NaN(), picture), picture.pixels);
}

TEST(ZPixfConvolution, CopiesTheKernelThatItIsGiven) {
    const PointPicture picture = RandomPicture(20, 5);
    double coefficients[9] = {0, 0, 0, 0, 1, 0, 0, 0, 0};
    ZPixfConvolution3 filter;
    filter.SetUserConvolution(coefficients, 0, 0);
    coefficients[4] = -1;
    EXPECT_EQ(Filtered(filter, picture), picture.pixels);
    EXPECT_EQ(filter.FilterType(), ZPixfType::Convolution3);
    EXPECT_EQ(ZPixfConvolution5().FilterType(), ZPixfType::Convolution5);
}

// How lines are pulled.

const Kernel kSome3{{1, 2, 0, 1, 3, 0, 0, 1, 5}, 0, 0}, kSome5{Numbers(25, 1), 0, 0};

TEST(ZPixfConvolution, PullsEachLineOnceInAPassAndNotBeforeItIsNeeded) {
    for (const Kernel& kernel : {kSome3, kSome5})
        for (unsigned height = 1; height <= 12; ++height) {
            PointPicture picture = RandomPicture(9, height);
            const auto filter = MakeFilter(kernel);
            Connect(*filter, picture);
            ASSERT_TRUE(filter->Start());
            EXPECT_TRUE(picture.fetched.empty());
            std::vector<unsigned> expected;
            for (unsigned y = 0; y < height; ++y) {
                LineOf(*filter, y);
                while (expected.size() < std::min(height, y + kernel.Side() / 2 + 1))
                    expected.push_back(static_cast<unsigned>(expected.size()));
                EXPECT_EQ(picture.fetched, expected);
            }
        }
}

TEST(ZPixfConvolution, BeginsAnewWithLineZeroAndSkipsForward) {
    for (const Kernel& kernel : {kSome3, kSome5}) {
        PointPicture picture = RandomPicture(9, 30);
        const PixelBytes whole = Convolved(kernel, picture);
        const auto filter = MakeFilter(kernel);
        Connect(*filter, picture);
        ASSERT_TRUE(filter->Start());
        for (const unsigned line : {0u, 1u, 2u, 3u, 5u, 6u, 9u, 13u, 29u, 0u, 0u, 4u, 28u, 29u, 3u, 2u}) {
            const PixelBytes result = LineOf(*filter, line);
            EXPECT_TRUE(std::equal(result.begin(), result.end(), whole.begin() + line * 36)) << line;
        }
        picture.pixels = RandomPicture(9, 30, 7).pixels;
        EXPECT_EQ(PassOf(*filter), Convolved(kernel, picture));
        LineOf(*filter, 0);
        picture.pixels = RandomPicture(9, 30, 8).pixels;
        const PixelBytes again = LineOf(*filter, 0);
        const PixelBytes changed = Convolved(kernel, picture);
        EXPECT_TRUE(std::equal(again.begin(), again.end(), changed.begin()));
    }
}

TEST(ZPixfConvolution, DoesNotStartOnFormatsThatDoNotSuit) {
    PointPicture picture = RandomPicture(4, 4);
    const ZPixFormat good(4, 4);
    const ZPixFormat bad[] = {ZPixFormat(4, 4, 3, 8),     ZPixFormat(4, 4, 1, 8), ZPixFormat(4, 4, 4, 16),
                              ZPixFormat(4, 4, 4, 8, 16), ZPixFormat(5, 4),       ZPixFormat(4, 3)};
    for (const Kernel& kernel : {kSome3, kSome5})
        for (const ZPixFormat& format : bad)
            for (const bool isInput : {false, true}) {
                const auto filter = MakeFilter(kernel);
                Connect(*filter, picture);
                filter->SetInputFormat(isInput ? format : good);
                filter->SetOutputFormat(isInput ? good : format);
                EXPECT_FALSE(filter->Start());
                EXPECT_EQ(filter->GetErrorFile(), L"ZPixfConvolution");
                EXPECT_GT(filter->GetErrorLine(), 0);
            }
}

TEST(ZPixfConvolution, IsHarmlessWithoutStartAfterStopAndForPicturesWithoutPixels) {
    for (const Kernel& kernel : {kSome3, kSome5}) {
        const auto filter = MakeFilter(kernel);
        PixelBytes line(400);
        EXPECT_FALSE(filter->FilterScanline(0, line.data()));
        filter->Stop();
        filter->Stop();
        PointPicture picture = RandomPicture(4, 4);
        Connect(*filter, picture);
        ASSERT_TRUE(filter->Start());
        EXPECT_FALSE(filter->FilterScanline(4, line.data()));
        filter->Stop();
        EXPECT_FALSE(filter->FilterScanline(0, line.data()));
        for (const auto& [width, height] : {std::pair(0u, 0u), std::pair(0u, 3u), std::pair(3u, 0u)})
            EXPECT_TRUE(Filtered(*filter, PointPicture{width, height}).empty());
    }
}

}  // namespace
}  // namespace zpixf
