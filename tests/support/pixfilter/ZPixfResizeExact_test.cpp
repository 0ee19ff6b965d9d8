// What the resampling filters compute: against plain whole-number sums of the same weights, and against the formulas of
// their kernels in floating point.
#include <algorithm>
#include <cmath>
#include <optional>

#include "ResizePictures.h"
#include "base/Kernels.h"
#include "emulated/EmulatedKernels.h"
#include "resample/ResampleWeights.h"
#include "support_code/KernelLevels.h"

namespace zpixf::resampling {
namespace {

using std::int64_t;

ResampleWeights WeightsOf(Method method, unsigned from, unsigned to) {
    switch (method) {
        case Method::bilinear: return {from == 2 * to ? ResampleKernel::box : ResampleKernel::triangle, from, to};
        case Method::catmullRom: return {ResampleKernel::catmullRom, from, to};
        case Method::mitchell: return {ResampleKernel::mitchell, from, to};
        default: return {ResampleKernel::bSpline, from, to};
    }
}

struct Pixels {
    unsigned first;
    std::vector<int64_t> weights;
};

std::vector<Pixels> AllWeights(const ResampleWeights& weights) {
    std::vector<Pixels> all;
    for (unsigned x = 0; x < weights.Output(); ++x) {
        const auto span = weights.SpanOf(x);
        ResampleWeights::Walk walk(weights, span);
        all.push_back({span.first, {}});
        for (unsigned i = 0; i < span.Count(); ++i) all.back().weights.push_back(walk.Next());
    }
    return all;
}

/// Halves go up and down like the fields of a chequered board that is counted from the nearer borders.
bool RoundsUp(unsigned x, unsigned y, const ResizePicture& picture) {
    return (std::min(x, picture.width - 1 - x) + std::min(y, picture.height - 1 - y)) % 2 == 0;
}

/// a / b to nearest, as a byte.
std::uint8_t Divided(int64_t a, int64_t b, bool roundsUp) {
    if (a <= 0) return 0;
    const int64_t quotient = a / b, twiceRest = 2 * (a % b);
    const int64_t rounded = quotient + (twiceRest > b || (twiceRest == b && roundsUp) ? 1 : 0);
    return static_cast<std::uint8_t>(std::min<int64_t>(rounded, 255));
}

ResizePicture Reference(Method method, const ResizePicture& from, unsigned width, unsigned height) {
    const ResampleWeights across = WeightsOf(method, from.width, width), down = WeightsOf(method, from.height, height);
    const auto columns = AllWeights(across), lines = AllWeights(down);
    const int64_t one = int64_t{1} << (across.Bits() + down.Bits());
    ResizePicture to(width, height);
    for (unsigned y = 0; y < height; ++y)
        for (unsigned x = 0; x < width; ++x) {
            const bool up = RoundsUp(x, y, to);
            int64_t weighted[3] = {}, plain[4] = {};
            for (std::size_t j = 0; j < lines[y].weights.size(); ++j)
                for (std::size_t i = 0; i < columns[x].weights.size(); ++i) {
                    const std::uint8_t* pixel =
                        from.At(columns[x].first + static_cast<unsigned>(i), lines[y].first + static_cast<unsigned>(j));
                    const int64_t weight = columns[x].weights[i] * lines[y].weights[j];
                    for (int c = 0; c < 4; ++c) plain[c] += weight * pixel[c];
                    for (int c = 0; c < 3; ++c) weighted[c] += weight * (pixel[c] * pixel[3]);
                }
            for (int c = 0; c < 3; ++c)
                to.At(x, y)[c] = plain[3] > 0 ? Divided(weighted[c], plain[3], up) : Divided(plain[c], one, up);
            to.At(x, y)[3] = Divided(plain[3], one, up);
        }
    return to;
}

/// None stands for the widest one in plain words.
using Level = std::optional<cpu::Level>;

std::vector<Level> Levels() {
    std::vector<Level> levels = {std::nullopt};
    for (const cpu::Level level : testkit::LevelsHere()) levels.emplace_back(level);
    return levels;
}

class EveryLevel : public testing::TestWithParam<Level> {
protected:
    void SetUp() override {
        if (GetParam())
            ASSERT_TRUE(UseKernels(*GetParam()));
        else
            UseKernels(kEmulatedResampleKernels);
    }
    void TearDown() override { UseKernels(cpu::Choose()); }
};

struct Sizes {
    unsigned width, height, toWidth, toHeight;
};
constexpr Sizes kSizes[] = {
    {1, 1, 1, 1},     {1, 1, 9, 5},    {5, 7, 1, 1},     {8, 6, 4, 3},       {9, 6, 4, 3},
    {16, 5, 8, 5},    {5, 16, 5, 8},   {30, 34, 15, 17}, {13, 11, 13, 11},   {17, 9, 40, 31},
    {40, 31, 17, 9},  {12, 50, 70, 7}, {67, 3, 5, 80},   {2, 2, 300, 3},     {700, 4, 3, 9},
    {600, 8, 299, 4}, {3, 130, 5, 3},  {9, 260, 4, 2},   {33, 100, 16, 101}, {64, 64, 32, 32},
};

TEST_P(EveryLevel, GivesTheSumsOfThePlainReference) {
    for (const Method method : kWeighted)
        for (const Sizes& s : kSizes)
            for (const Alpha alpha : {Alpha::opaque, Alpha::varied, Alpha::rare}) {
                const ResizePicture from = NoisePicture(s.width, s.height, alpha);
                ASSERT_EQ(Resized(method, from, s.toWidth, s.toHeight).bytes,
                          Reference(method, from, s.toWidth, s.toHeight).bytes)
                    << static_cast<int>(method) << ": " << s.width << " x " << s.height << " -> " << s.toWidth << " x "
                    << s.toHeight << ", alpha " << static_cast<int>(alpha);
            }
}

// One pixel that is not opaque, far off, has only some lines, or all sums of a line, go the way of alpha.
TEST_P(EveryLevel, GivesOpaquePixelsTheSameWithAndWithoutTheArithmeticOfAlpha) {
    for (const Method method : kWeighted)
        for (const Sizes& s :
             {Sizes{80, 60, 31, 23}, Sizes{20, 15, 77, 52}, Sizes{80, 60, 40, 30}, Sizes{9, 300, 7, 3}}) {
            const ResizePicture opaque = NoisePicture(s.width, s.height, Alpha::opaque);
            ResizePicture pierced = opaque;
            std::memset(pierced.At(s.width - 1, s.height / 2), 0, 4);
            const ResizePicture a = Resized(method, opaque, s.toWidth, s.toHeight);
            const ResizePicture b = Resized(method, pierced, s.toWidth, s.toHeight);
            EXPECT_NE(a.bytes, b.bytes);
            for (unsigned y = 0; y < s.toHeight; ++y)
                ASSERT_EQ(std::memcmp(a.At(0, y), b.At(0, y), std::size_t{4} * (s.toWidth / 2 - 1)), 0) << "line " << y;
        }
}

// The colours are such that a pixel that is almost opaque changes the mean of its four, whichever way halves go there.
TEST_P(EveryLevel, OverlooksNoPixelThatIsNotOpaqueWhenItHalves) {
    constexpr std::uint8_t kOpaque[] = {1, 254, 100, 255}, kPierced[] = {255, 0, 100, 254};
    for (unsigned width = 2; width <= 70; width += width < 40 ? 2 : 10)
        for (unsigned y = 0; y < 2; ++y)
            for (unsigned x = 0; x < width; ++x) {
                ResizePicture picture(width, 2);
                for (unsigned i = 0; i < 2 * width; ++i) std::memcpy(picture.At(i % width, i / width), kOpaque, 4);
                std::memcpy(picture.At(x, y), kPierced, 4);
                ASSERT_EQ(Resized(Method::bilinear, picture, width / 2, 1).bytes,
                          Reference(Method::bilinear, picture, width / 2, 1).bytes)
                    << x << ", " << y << " of " << width;
                picture.At(x, y)[3] = 255;
                ASSERT_EQ(Resized(Method::bilinear, picture, width / 2, 1).bytes,
                          Reference(Method::bilinear, picture, width / 2, 1).bytes);
            }
}

// All sums of four, in each channel, and halves both ways.
TEST_P(EveryLevel, HalvesEverySumOfFour) {
    ResizePicture from(2 * 1021, 4);
    for (unsigned x = 0; x < 1021; ++x)
        for (unsigned i = 0; i < 8; ++i) {
            std::uint8_t* pixel = from.At(2 * x + i % 2, i / 2);
            for (unsigned c = 0; c < 3; ++c) pixel[c] = static_cast<std::uint8_t>(((x + 340 * c) % 1021 + i % 4) / 4);
            pixel[3] = 255;
        }
    EXPECT_EQ(Resized(Method::bilinear, from, 1021, 2).bytes, Reference(Method::bilinear, from, 1021, 2).bytes);
}

INSTANTIATE_TEST_SUITE_P(Resample, EveryLevel, testing::ValuesIn(Levels()), [](const auto& level) {
    return level.param ? testkit::NameOf(*level.param) : std::string("emulated");
});

/// The kernels as published, by distance in their own unit.
double KernelOf(Method method, double t) {
    t = std::abs(t);
    if (method == Method::bilinear) return std::max(0.0, 1 - t);
    const double b = method == Method::catmullRom ? 0 : method == Method::mitchell ? 1.0 / 3 : 1;
    const double c = method == Method::catmullRom ? 0.5 : method == Method::mitchell ? 1.0 / 3 : 0;
    if (t < 1) return ((12 - 9 * b - 6 * c) * t * t * t + (-18 + 12 * b + 6 * c) * t * t + (6 - 2 * b)) / 6;
    if (t < 2)
        return ((-b - 6 * c) * t * t * t + (6 * b + 30 * c) * t * t + (-12 * b - 48 * c) * t + (8 * b + 24 * c)) / 6;
    return 0;
}

/// One line of single values, resized in floating point.
std::vector<double> Oracle(Method method, const std::vector<double>& from, unsigned to) {
    const double ratio = static_cast<double>(from.size()) / to, stretch = std::max(ratio, 1.0);
    std::vector<double> result(to);
    for (unsigned x = 0; x < to; ++x) {
        if (method == Method::bilinear && from.size() == std::size_t{2} * to) {
            result[x] = (from[2 * x] + from[2 * x + 1]) / 2;
            continue;
        }
        const double centre = (x + 0.5) * ratio, reach = 2 * stretch + 1;
        const auto first = static_cast<std::size_t>(std::max(0.0, std::floor(centre - reach)));
        const auto end = static_cast<std::size_t>(std::min(static_cast<double>(from.size()), centre + reach));
        double sum = 0, weights = 0;
        for (std::size_t i = first; i < end; ++i) {
            const double weight = KernelOf(method, (static_cast<double>(i) + 0.5 - centre) / stretch);
            sum += weight * from[i];
            weights += weight;
        }
        result[x] = sum / weights;
    }
    return result;
}

double WorstError(Method method, const ResizePicture& line, unsigned to) {
    const bool isDown = line.width == 1;
    const ResizePicture resized = Resized(method, line, isDown ? 1 : to, isDown ? to : 1);
    double worst = 0;
    for (std::size_t c = 0; c < 3; ++c) {
        std::vector<double> values;
        for (std::size_t i = c; i < line.bytes.size(); i += 4) values.push_back(line.bytes[i]);
        const auto expected = Oracle(method, values, to);
        for (unsigned i = 0; i < to; ++i)
            worst = std::max(worst, std::abs(std::clamp(expected[i], 0.0, 255.0) - resized.bytes[4 * i + c]));
    }
    return worst;
}

TEST(ResizeOracle, IsMetWithinALevelForEveryPairOfSizesUpTo64EachWay) {
    for (const Method method : kWeighted)
        for (unsigned from = 1; from <= 64; ++from) {
            const ResizePicture line = NoisePicture(from, 1, Alpha::opaque, from), column = Transposed(line);
            for (unsigned to = 1; to <= 64; ++to) {
                // Half a level is the rounding of the result; the weights may add little to it.
                ASSERT_LT(WorstError(method, line, to), 0.55)
                    << static_cast<int>(method) << ": " << from << " -> " << to;
                ASSERT_LT(WorstError(method, column, to), 0.55)
                    << static_cast<int>(method) << ": " << from << " -> " << to;
            }
        }
}

TEST(ResizeOracle, IsMetWithinALevelForLargeOddSizes) {
    for (const Method method : kWeighted)
        for (const auto& [from, to] : {std::pair(10007u, 13u),
                                       {10007u, 4001u},
                                       {997u, 9973u},
                                       {65537u, 1u},
                                       {4097u, 2048u},
                                       {30011u, 101u},
                                       {9001u, 4500u}}) {
            const ResizePicture line = NoisePicture(from, 1, Alpha::opaque, to);
            EXPECT_LT(WorstError(method, line, to), 0.55) << static_cast<int>(method) << ": " << from << " -> " << to;
            EXPECT_LT(WorstError(method, Transposed(line), to), 0.55) << from << " -> " << to;
        }
}

TEST(Resize, CommutesWithTransposingAndMirroring) {
    for (const Method method : kWeighted)
        for (const Sizes& s : kSizes)
            for (const Alpha alpha : {Alpha::opaque, Alpha::varied, Alpha::rare}) {
                const ResizePicture from = NoisePicture(s.width, s.height, alpha, 7);
                const ResizePicture to = Resized(method, from, s.toWidth, s.toHeight);
                ASSERT_EQ(Resized(method, Transposed(from), s.toHeight, s.toWidth).bytes, Transposed(to).bytes);
                ASSERT_EQ(Resized(method, Mirrored(from), s.toWidth, s.toHeight).bytes, Mirrored(to).bytes);
                ASSERT_EQ(Resized(method, UpsideDown(from), s.toWidth, s.toHeight).bytes, UpsideDown(to).bytes);
            }
}

TEST(Resize, LeavesAPictureOfOneColourAsItIs) {
    for (const Method method :
         {Method::nearest, Method::bilinear, Method::catmullRom, Method::mitchell, Method::bSpline})
        for (const Sizes& s : kSizes)
            for (const int alpha : {0, 1, 77, 255}) {
                ResizePicture from(s.width, s.height), to(s.toWidth, s.toHeight);
                for (ResizePicture* picture : {&from, &to})
                    for (std::size_t i = 0; i < picture->bytes.size(); ++i)
                        picture->bytes[i] =
                            static_cast<std::uint8_t>(i % 4 == 3 ? alpha : 255 - 31 * static_cast<int>(i % 4));
                ASSERT_EQ(Resized(method, from, s.toWidth, s.toHeight).bytes, to.bytes);
            }
}

TEST(Resize, ToTheSameSizeChangesNothingByTheKernelsThatPassThroughTheirPixels) {
    const ResizePicture from = NoisePicture(31, 14, Alpha::opaque);
    for (const Method method : {Method::nearest, Method::bilinear, Method::catmullRom})
        EXPECT_EQ(Resized(method, from, 31, 14).bytes, from.bytes);
}

double MeanOf(const ResizePicture& picture, unsigned channel) {
    double sum = 0;
    for (std::size_t i = channel; i < picture.bytes.size(); i += 4) sum += picture.bytes[i];
    return sum / static_cast<double>(picture.bytes.size() / 4);
}

/// Noise among a few levels, evenly spread over those between `low` and `high`.
ResizePicture NoiseBetween(double low, double high) {
    ResizePicture picture = NoisePicture(512, 512, Alpha::opaque);
    std::uint32_t seed = 5;
    for (std::size_t i = 0; i < picture.bytes.size(); ++i)
        if (i % 4 != 3) picture.bytes[i] = static_cast<std::uint8_t>(low + (high - low) * NextRandom(seed) / 65536);
    return picture;
}

ResizePicture Slope() {
    ResizePicture slope = NoisePicture(512, 512, Alpha::opaque);
    for (unsigned y = 0; y < 512; ++y)
        for (unsigned x = 0; x < 512; ++x)
            for (unsigned c = 0; c < 3; ++c) slope.At(x, y)[c] = static_cast<std::uint8_t>((x * (c + 1) + y) / 9);
    return slope;
}

void ExpectNoDrift(Method method, const ResizePicture& first, unsigned leastSide) {
    ResizePicture level = first;
    for (unsigned side = 256; side >= leastSide; side /= 2) {
        level = Resized(method, level, side, side);
        // (A last single pixel may be half a level off by its own rounding alone.)
        for (unsigned c = 0; c < 3; ++c)
            EXPECT_NEAR(MeanOf(level, c), MeanOf(first, c), side == 1 ? 0.75 : 0.5)
                << "method " << static_cast<int>(method) << ", side " << side;
    }
}

TEST(ResizePyramid, KeepsTheMeanWithinHalfALevelOverAllHalvings) {
    ExpectNoDrift(Method::bilinear, NoisePicture(512, 512, Alpha::opaque), 1);
    ExpectNoDrift(Method::bilinear, Slope(), 1);
    // Between two levels a rule that favours one way of rounding halves would carry all to one of them.
    for (const auto& [low, high] : {std::pair(0.0, 11.0), {0.6, 1.6}, {0.5, 1.5}, {0.4, 1.4}, {37.3, 38.9}, {7.0, 9.9}})
        ExpectNoDrift(Method::bilinear, NoiseBetween(low, high), 1);
    // (The cubics weigh the pixels at a border less, which is no drift: only while these are few do means compare.)
    for (const Method method : kWeighted) {
        ExpectNoDrift(method, NoisePicture(512, 512, Alpha::opaque), 32);
        ExpectNoDrift(method, NoiseBetween(0, 11), 32);
        ExpectNoDrift(method, NoiseBetween(100, 101.9), 32);
    }
}

TEST(ResizeBilinear, TakesTheRoundedMeanOfTwoByTwoForAnExactHalf) {
    // All sums of four; of halves either neighbour, as the pixel's place says.
    ResizePicture from(2 * 1021, 2);
    for (unsigned sum = 0; sum <= 1020; ++sum)
        for (unsigned i = 0; i < 4; ++i) {
            std::uint8_t* pixel = from.At(2 * sum + i % 2, i / 2);
            pixel[0] = pixel[1] = pixel[2] = static_cast<std::uint8_t>((sum + i) / 4);
            pixel[3] = 255;
        }
    const ResizePicture to = Resized(Method::bilinear, from, 1021, 1);
    for (unsigned sum = 0; sum <= 1020; ++sum)
        for (unsigned c = 0; c < 3; ++c) ASSERT_EQ(to.At(sum, 0)[c], (sum + (RoundsUp(sum, 0, to) ? 2 : 1)) / 4) << sum;
}

}  // namespace
}  // namespace zpixf::resampling
