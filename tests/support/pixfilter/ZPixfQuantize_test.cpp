#include "zpixf/ZPixfQuantize.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/Kernels.h"

namespace zpixf {
namespace {

using Pixel = std::array<std::uint8_t, 4>;
using Bytes = std::vector<std::uint8_t>;

struct Picture {
    unsigned width = 0, height = 0;
    std::vector<Pixel> pixels;
    std::vector<unsigned> pulled = {};  ///< the lines asked for
    unsigned failingLine = ~0u, throwingLine = ~0u;

    static bool Read(void* userData, unsigned line, void* buffer) {
        auto& picture = *static_cast<Picture*>(userData);
        picture.pulled.push_back(line);
        if (line == picture.failingLine) return false;
        if (line == picture.throwingLine) throw std::runtime_error("the source broke");
        const auto row = picture.pixels.begin() + static_cast<std::ptrdiff_t>(std::size_t{line} * picture.width);
        std::copy_n(row, picture.width, static_cast<Pixel*>(buffer));
        return true;
    }
};

std::uint8_t Byte(unsigned value) { return static_cast<std::uint8_t>(value); }

Picture MakePicture(unsigned width, unsigned height, const std::function<Pixel(unsigned, unsigned)>& color) {
    Picture picture{width, height, {}};
    for (unsigned y = 0; y < height; ++y)
        for (unsigned x = 0; x < width; ++x) picture.pixels.push_back(color(x, y));
    return picture;
}

Picture NoisePicture(unsigned width, unsigned height) {
    std::mt19937 random(17);
    return MakePicture(width, height, [&](unsigned, unsigned) {
        const auto bits = random();
        return Pixel{Byte(bits & 255), Byte(bits >> 8 & 255), Byte(bits >> 16 & 255), 255};
    });
}

/// Soft shades over a few surfaces, with a little grain: made of integers, so that it is the same everywhere.
Picture ShadesPicture(unsigned side) {
    std::mt19937 random(23);
    return MakePicture(side, side, [&](unsigned x, unsigned y) {
        const unsigned u = 256 * x / side, v = 256 * y / side, grain = static_cast<unsigned>(random() % 6);
        if ((u - 170) * (u - 170) + (v - 80) * (v - 80) < 3000)
            return Pixel{Byte(40 + v / 4), Byte(90 + u / 4), Byte(180 + grain), 255};
        if (v > 150) return Pixel{Byte(30 + u / 8 + grain), Byte(70 + v / 3), Byte(50 + (u + v) / 8), 255};
        return Pixel{Byte(200 + u / 6 + grain), Byte(140 + v / 2), Byte(90 + (u * v >> 10)), 255};
    });
}

/// As many different colours as asked for, each of several pixels.
Picture PictureOfColors(unsigned count) {
    return MakePicture(64, 16, [&](unsigned x, unsigned y) {
        const unsigned i = (64 * y + x) % count;
        return Pixel{Byte(i * 37 % 256), Byte(i * 101 % 256), Byte(i), Byte(1 + i % 255)};
    });
}

void Connect(ZPixFilterBase& filter, Picture& picture, unsigned channels, unsigned bits) {
    filter.SetInputFormat(ZPixFormat(picture.width, picture.height, 4, 8));
    filter.SetOutputFormat(ZPixFormat(picture.width, picture.height, channels, bits));
    filter.SetScanLineFunction(&Picture::Read, &picture);
}

struct Result {
    std::vector<Pixel> palette;
    Bytes indices;
};

std::vector<Pixel> PaletteOf(const ZPixFilterBase& filter) {
    std::vector<Pixel> palette;
    for (unsigned i = 0; i < filter.GetOutputFormat().GetNumColors(); ++i) {
        const RGBQUAD& entry = filter.GetOutputFormat().GetColors()[i];
        palette.push_back({entry.rgbBlue, entry.rgbGreen, entry.rgbRed, entry.rgbReserved});
    }
    return palette;
}

Result Quantize(ZPixfQuantize& filter, Picture& picture, unsigned colors) {
    Connect(filter, picture, 1, 8);
    filter.SetDesiredColors(colors);
    EXPECT_TRUE(filter.Start());
    Result result{PaletteOf(filter), Bytes(picture.pixels.size())};
    for (unsigned y = 0; y < picture.height; ++y)
        EXPECT_TRUE(filter.FilterScanline(y, &result.indices[std::size_t{y} * picture.width]));
    filter.Stop();
    return result;
}

int Distance(const Pixel& a, const Pixel& b) {
    int sum = 0;
    for (unsigned c = 0; c < 3; ++c) sum += (a[c] - b[c]) * (a[c] - b[c]);
    return sum;
}

unsigned NearestByTrial(const std::vector<Pixel>& palette, const Pixel& pixel) {
    unsigned best = 0;
    for (unsigned i = 1; i < palette.size(); ++i)
        if (Distance(palette[i], pixel) < Distance(palette[best], pixel)) best = i;
    return best;
}

void ExpectNearest(const Picture& picture, const Result& result) {
    for (std::size_t i = 0; i < picture.pixels.size(); ++i)
        ASSERT_EQ(result.indices[i], NearestByTrial(result.palette, picture.pixels[i])) << "pixel " << i;
}

void ExpectDistinct(const std::vector<Pixel>& palette) {
    const std::set<Pixel> distinct(palette.begin(), palette.end());
    EXPECT_EQ(distinct.size(), palette.size());
}

void ExpectExact(const Picture& picture, const Result& result) {
    for (std::size_t i = 0; i < picture.pixels.size(); ++i)
        ASSERT_EQ(Distance(result.palette[result.indices[i]], picture.pixels[i]), 0) << "pixel " << i;
}

double Psnr(const Picture& picture, const std::vector<Pixel>& palette) {
    double sum = 0;
    for (const Pixel& pixel : picture.pixels) sum += Distance(palette[NearestByTrial(palette, pixel)], pixel);
    return 10 * std::log10(65025.0 * 3 * static_cast<double>(picture.pixels.size()) / sum);
}

struct Kind {
    const char* name;
    std::function<std::unique_ptr<ZPixfQuantize>()> make;
    ZPixfType type;
    double psnr256, psnr16;     ///< that the shades come out with, at least
    std::uint32_t fingerprint;  ///< of what the shades come to in 64 colours
};

const Kind kKinds[] = {
    {"Median5", [] { return std::make_unique<ZPixfQuantizeMedian5>(); }, ZPixfType::QuantizeMedian5, 45, 32.5,
     3264474793u},
    {"Median8", [] { return std::make_unique<ZPixfQuantizeMedian8>(); }, ZPixfType::QuantizeMedian8, 45.6, 34.5,
     1523324473u},
    {"Popularity", [] { return std::make_unique<ZPixfQuantizePopularity>(); }, ZPixfType::QuantizePopularity, 44, 31,
     1367225870u},
};

class EveryQuantizer : public testing::TestWithParam<Kind> {
protected:
    EveryQuantizer() : filter(GetParam().make()) {}
    ~EveryQuantizer() override { UseKernels(cpu::Choose()); }
    std::unique_ptr<ZPixfQuantize> filter;
};

TEST_P(EveryQuantizer, TellsItsType) { EXPECT_EQ(filter->FilterType(), GetParam().type); }

TEST_P(EveryQuantizer, KeepsAPictureOfFewColorsExact) {
    for (const unsigned count : {1u, 2u, 3u, 16u, 17u, 200u, 256u})
        for (const unsigned desired : {count, 256u}) {
            Picture picture = PictureOfColors(count);
            const Result result = Quantize(*filter, picture, desired);
            EXPECT_EQ(result.palette.size(), count);
            ExpectExact(picture, result);
        }
}

TEST_P(EveryQuantizer, GivesFewColorsInTheOrderInWhichTheyAppear) {
    const std::vector<Pixel> colors = {{9, 9, 9, 255}, {200, 0, 0, 255}, {0, 0, 0, 255}, {0, 100, 0, 255}};
    for (const unsigned desired : {4u, 5u}) {
        Picture picture = MakePicture(16, 4, [&](unsigned x, unsigned) { return colors[x * x / 64]; });
        std::vector<Pixel> expected = colors;
        for (Pixel& entry : expected) entry[3] = 0;
        EXPECT_EQ(Quantize(*filter, picture, desired).palette, expected);
    }
}

TEST_P(EveryQuantizer, UsesAllDesiredColorsWhereThePictureHasMore) {
    Picture pictures[] = {
        NoisePicture(200, 200),  // cells
        ShadesPicture(64),       // single colours
        PictureOfColors(257),
        // All in one cell of 5 bits.
        MakePicture(64, 8,
                    [](unsigned x, unsigned y) {
                        return Pixel{Byte(x / 8), Byte(x % 8), Byte(y), 255};
                    }),
        // As many as there are, and as close together as they can lie.
        MakePicture(26, 26 * 26,
                    [](unsigned x, unsigned y) {
                        return Pixel{Byte(x), Byte(y % 26), Byte(y / 26), 255};
                    }),
    };
    for (Picture& picture : pictures)
        for (const unsigned desired : {1u, 2u, 3u, 16u, 100u, 255u, 256u}) {
            const Result result = Quantize(*filter, picture, desired);
            EXPECT_EQ(result.palette.size(), desired);
            ExpectDistinct(result.palette);
        }
}

TEST_P(EveryQuantizer, GivesEachPixelTheNearestEntry) {
    for (const unsigned desired : {1u, 16u, 256u}) {
        Picture noise = NoisePicture(150, 150);
        ExpectNearest(noise, Quantize(*filter, noise, desired));
        Picture shades = ShadesPicture(100);
        ExpectNearest(shades, Quantize(*filter, shades, desired));
    }
}

TEST_P(EveryQuantizer, GivesTransparentPixelsNoSayInThePalette) {
    Picture picture = NoisePicture(100, 300);
    for (unsigned i = 0; i < picture.pixels.size(); ++i) picture.pixels[i][3] = 0;
    // Four visible colours, the first of them in the last line.
    for (unsigned i = 0; i < 4; ++i) picture.pixels[29990 + i] = {Byte(60 * i), 90, Byte(200 - 50 * i), Byte(1 + i)};
    const Result result = Quantize(*filter, picture, 4);
    ASSERT_EQ(result.palette.size(), 4u);
    for (unsigned i = 0; i < 4; ++i)
        EXPECT_EQ(Distance(result.palette[result.indices[29990 + i]], picture.pixels[29990 + i]), 0);
    ExpectNearest(picture, result);
}

TEST_P(EveryQuantizer, TakesThePaletteFromTransparentPixelsIfAllAre) {
    Picture picture = PictureOfColors(40);
    for (Pixel& pixel : picture.pixels) pixel[3] = 0;
    const Result result = Quantize(*filter, picture, 64);
    EXPECT_EQ(result.palette.size(), 40u);
    ExpectExact(picture, result);
}

TEST_P(EveryQuantizer, SetsReservedBytesOfThePaletteToZero) {
    Picture picture = NoisePicture(50, 50);
    for (const Pixel& entry : Quantize(*filter, picture, 30).palette) EXPECT_EQ(entry[3], 0);
}

TEST_P(EveryQuantizer, PacksIndicesAndChangesOnlyTheBitsOfItsPixels) {
    for (const unsigned bits : {1u, 4u, 8u})
        for (unsigned width = 1; width <= 17; ++width) {
            Picture picture = NoisePicture(width, 5);
            const Result plain = Quantize(*filter, picture, 1u << bits);
            Connect(*filter, picture, 1, bits);
            filter->SetDesiredColors(1u << bits);
            ASSERT_TRUE(filter->Start());
            for (const std::uint8_t guard : {std::uint8_t{0x00}, std::uint8_t{0xFF}, std::uint8_t{0xA5}})
                for (unsigned y = 0; y < picture.height; ++y) {
                    Bytes row(width + 8, guard), expected = row;
                    for (unsigned x = 0; x < width; ++x) {
                        const unsigned shift = 8 - bits - x * bits % 8, mask = (1u << bits) - 1;
                        std::uint8_t& byte = expected[x * bits / 8];
                        byte = Byte((byte & ~(mask << shift) & 0xFF) | unsigned{plain.indices[y * width + x]} << shift);
                    }
                    ASSERT_TRUE(filter->FilterScanline(y, row.data()));
                    ASSERT_EQ(row, expected) << bits << " bits, " << width << " pixels";
                }
        }
}

TEST_P(EveryQuantizer, GivesColorsWithTheAlphaOfTheInput) {
    Picture picture = NoisePicture(37, 40);
    for (unsigned i = 0; i < picture.pixels.size(); ++i) picture.pixels[i][3] = Byte(i % 256);
    const Result plain = Quantize(*filter, picture, 20);
    Connect(*filter, picture, 4, 8);
    filter->SetDesiredColors(20);
    ASSERT_TRUE(filter->Start());
    EXPECT_EQ(PaletteOf(*filter), plain.palette);
    for (unsigned y = 0; y < picture.height; ++y) {
        std::vector<Pixel> row(picture.width + 1, Pixel{1, 2, 3, 4});
        ASSERT_TRUE(filter->FilterScanline(y, row.data()));
        for (unsigned x = 0; x < picture.width; ++x) {
            const unsigned i = y * picture.width + x;
            Pixel expected = plain.palette[plain.indices[i]];
            expected[3] = picture.pixels[i][3];
            ASSERT_EQ(row[x], expected);
        }
        EXPECT_EQ(row.back(), (Pixel{1, 2, 3, 4}));
    }
}

TEST_P(EveryQuantizer, MapsPartsOfAnySizeAsItsLines) {
    for (const auto& [channels, bits] : {std::pair{1u, 1u}, {1u, 4u}, {1u, 8u}, {4u, 8u}}) {
        Picture picture = NoisePicture(64, 3);
        Connect(*filter, picture, channels, bits);
        filter->SetDesiredColors(2);
        ASSERT_TRUE(filter->Start());
        Bytes lines(3 * 64 * channels * bits / 8);
        for (unsigned y = 0; y < 3; ++y) ASSERT_TRUE(filter->FilterScanline(y, &lines[y * 64 * channels * bits / 8]));
        for (const unsigned count : {8u, 64u, 192u}) {  // also more than a line has
            Bytes parts(lines.size());
            for (unsigned i = 0; i < 192; i += count)
                ASSERT_TRUE(filter->MapPixels(picture.pixels[i].data(), count, &parts[i * channels * bits / 8]));
            ASSERT_EQ(parts, lines) << count << " pixels to " << bits << " bits";
        }
        if (channels == 4) {
            ASSERT_TRUE(filter->MapPixels(picture.pixels[0].data(), 192, picture.pixels[0].data()));
            EXPECT_TRUE(std::equal(lines.begin(), lines.end(), picture.pixels[0].data())) << "in place";
        }
    }
}

TEST_P(EveryQuantizer, StartPullsEachLineOnceInOrderAndALineOnlyItself) {
    Picture picture = NoisePicture(5, 6);
    Connect(*filter, picture, 1, 8);
    ASSERT_TRUE(filter->Start());
    EXPECT_EQ(picture.pulled, (std::vector<unsigned>{0, 1, 2, 3, 4, 5}));
    picture.pulled.clear();
    Bytes row(5);
    for (const unsigned y : {3u, 0u, 5u, 5u, 1u, 0u}) ASSERT_TRUE(filter->FilterScanline(y, row.data()));
    EXPECT_EQ(picture.pulled, (std::vector<unsigned>{3, 0, 5, 5, 1, 0}));
}

TEST_P(EveryQuantizer, GivesTheSameLineWheneverItIsAskedFor) {
    Picture picture = NoisePicture(64, 32);
    const Result plain = Quantize(*filter, picture, 50);
    Connect(*filter, picture, 1, 8);
    ASSERT_TRUE(filter->Start());
    for (unsigned i = 0; i < 64; ++i) {
        const unsigned y = i * 13 % 32;
        Bytes row(64);
        ASSERT_TRUE(filter->FilterScanline(y, row.data()));
        EXPECT_TRUE(std::equal(row.begin(), row.end(), plain.indices.begin() + 64 * y));
    }
}

TEST_P(EveryQuantizer, GivesTheSameOnEveryKernelLevel) {
    Picture picture = ShadesPicture(90);
    ASSERT_TRUE(UseKernels(cpu::Level::base));
    const Result base = Quantize(*filter, picture, 100);
    for (const cpu::Level level : {cpu::Level::avx2, cpu::Level::avx512}) {
        if (!UseKernels(level)) continue;
        const Result other = Quantize(*filter, picture, 100);
        EXPECT_EQ(other.palette, base.palette);
        EXPECT_EQ(other.indices, base.indices);
    }
}

TEST_P(EveryQuantizer, GivesTheSameOnEverySystem) {
    Picture picture = ShadesPicture(200);
    const Result result = Quantize(*filter, picture, 64);
    std::uint32_t fingerprint = 2166136261u;
    const auto take = [&](std::uint8_t byte) { fingerprint = (fingerprint ^ byte) * 16777619u; };
    for (const Pixel& entry : result.palette) std::for_each(entry.begin(), entry.end(), take);
    std::for_each(result.indices.begin(), result.indices.end(), take);
    EXPECT_EQ(fingerprint, GetParam().fingerprint);
}

TEST_P(EveryQuantizer, KeepsCloseToThePicture) {
    Picture picture = ShadesPicture(160);
    std::vector<Pixel> even256, even16;  // what takes no look at the picture
    for (unsigned i = 0; i < 256; ++i)
        even256.push_back({Byte((i & 3) * 85), Byte((i >> 2 & 7) * 255 / 7), Byte((i >> 5) * 255 / 7), 0});
    for (unsigned i = 0; i < 16; ++i)
        even16.push_back({Byte((i & 1) * 255), Byte((i >> 1 & 3) * 85), Byte((i >> 3) * 255), 0});
    const double psnr256 = Psnr(picture, Quantize(*filter, picture, 256).palette);
    const double psnr16 = Psnr(picture, Quantize(*filter, picture, 16).palette);
    EXPECT_GE(psnr256, GetParam().psnr256);
    EXPECT_GE(psnr16, GetParam().psnr16);
    EXPECT_GE(psnr256, Psnr(picture, even256) + 5);
    EXPECT_GE(psnr16, Psnr(picture, even16) + 5);
}

TEST_P(EveryQuantizer, TakesPicturesOfAnyShape) {
    const unsigned sizes[][2] = {{1, 1}, {1, 3000}, {3000, 1}, {7, 501}};
    for (const auto& [width, height] : sizes) {
        Picture picture = NoisePicture(width, height);
        const Result result = Quantize(*filter, picture, 9);
        EXPECT_EQ(result.palette.size(), std::min<std::size_t>(9, picture.pixels.size()));
        ExpectNearest(picture, result);
    }
}

TEST_P(EveryQuantizer, TakesPicturesWithoutPixels) {
    const unsigned sizes[][2] = {{0, 0}, {5, 0}, {~0u, 0}, {0, 5}};
    for (const auto& [width, height] : sizes) {
        Picture picture{width, height, {}};
        Connect(*filter, picture, 1, 8);
        ASSERT_TRUE(filter->Start());
        EXPECT_EQ(PaletteOf(*filter), (std::vector<Pixel>{{0, 0, 0, 0}}));
        std::uint8_t guard = 99;
        for (unsigned y = 0; y < height; ++y) EXPECT_TRUE(filter->FilterScanline(y, &guard));
        EXPECT_FALSE(filter->FilterScanline(height, &guard));
        EXPECT_EQ(guard, 99);
    }
}

TEST_P(EveryQuantizer, RefusesWhatDoesNotSuit) {
    struct Unsuitable {
        ZPixFormat input, output;
        unsigned colors;
    };
    const ZPixFormat colors(4, 4, 4, 8), indices(4, 4, 1, 8);
    const Unsuitable cases[] = {
        {ZPixFormat(4, 4, 3, 8), indices, 8},
        {ZPixFormat(4, 4, 4, 16), indices, 8},
        {ZPixFormat(4, 4, 1, 8), indices, 8},
        {colors, ZPixFormat(5, 4, 1, 8), 8},
        {colors, ZPixFormat(4, 3, 1, 8), 8},
        {colors, ZPixFormat(4, 4, 1, 2), 4},
        {colors, ZPixFormat(4, 4, 1, 16), 8},
        {colors, ZPixFormat(4, 4, 3, 8), 8},
        {colors, ZPixFormat(4, 4, 1, 0), 1},
        {colors, ZPixFormat(4, 4, 1, 1), 3},
        {colors, ZPixFormat(4, 4, 1, 4), 17},
        {colors, indices, 0},
        {colors, indices, 257},
        {colors, colors, 257},
        {colors, colors, ~0u},
    };
    Picture picture = NoisePicture(4, 4);
    for (const Unsuitable& unsuitable : cases) {
        filter->SetInputFormat(unsuitable.input);
        filter->SetOutputFormat(unsuitable.output);
        filter->SetScanLineFunction(&Picture::Read, &picture);
        filter->SetDesiredColors(unsuitable.colors);
        EXPECT_FALSE(filter->Start());
        EXPECT_FALSE(filter->IsStarted());
        EXPECT_EQ(filter->GetErrorModule(), L"ZPixFilteru");
        EXPECT_EQ(filter->GetErrorFile(), "ZPixfQuantize");
        EXPECT_FALSE(filter->GetErrorDescription().IsEmpty());
        EXPECT_TRUE(picture.pulled.empty());
        EXPECT_EQ(filter->GetOutputFormat().GetColors(), nullptr);
    }
    EXPECT_EQ(Quantize(*filter, picture, 16).palette.size(), 16u);
}

TEST_P(EveryQuantizer, FailsWhereItsSourceDoesAndStartsAgainAfterwards) {
    for (unsigned failing = 0; failing < 4; ++failing) {
        Picture picture = NoisePicture(6, 4);
        Connect(*filter, picture, 1, 8);
        filter->SetDesiredColors(7);
        picture.failingLine = failing;
        EXPECT_FALSE(filter->Start());
        EXPECT_FALSE(filter->IsStarted());
        EXPECT_EQ(filter->GetOutputFormat().GetColors(), nullptr);
        EXPECT_FALSE(filter->GetErrorDescription().IsEmpty());
        Bytes row(6);
        EXPECT_FALSE(filter->FilterScanline(0, row.data()));
        EXPECT_FALSE(filter->GetErrorDescription().IsEmpty());

        picture.failingLine = ~0u;
        ASSERT_TRUE(filter->Start());
        EXPECT_TRUE(filter->GetErrorDescription().IsEmpty());
        picture.failingLine = failing;
        for (unsigned y = 0; y < 4; ++y) EXPECT_EQ(filter->FilterScanline(y, row.data()), y != failing);
        EXPECT_FALSE(filter->GetErrorDescription().IsEmpty());
        picture.failingLine = ~0u;
        EXPECT_TRUE(filter->FilterScanline(failing, row.data()));
    }
}

TEST_P(EveryQuantizer, LetsAnExceptionOfItsSourceThroughAndStaysUsable) {
    for (unsigned throwing = 0; throwing < 4; ++throwing) {
        Picture picture = NoisePicture(6, 4);
        Connect(*filter, picture, 1, 8);
        filter->SetDesiredColors(7);
        picture.throwingLine = throwing;
        EXPECT_THROW(filter->Start(), std::runtime_error);
        EXPECT_FALSE(filter->IsStarted());
        Bytes row(6);
        EXPECT_FALSE(filter->FilterScanline(0, row.data()));

        picture.throwingLine = ~0u;
        ASSERT_TRUE(filter->Start());
        picture.throwingLine = throwing;
        EXPECT_THROW(filter->FilterScanline(throwing, row.data()), std::runtime_error);
        EXPECT_TRUE(filter->IsStarted());
        picture.throwingLine = ~0u;
        EXPECT_TRUE(filter->FilterScanline(throwing, row.data()));
    }
}

TEST_P(EveryQuantizer, IsHarmlessBeforeStartAfterStopAndWhenStoppedTwice) {
    Picture picture = NoisePicture(6, 4);
    Bytes row(6, 50);
    filter->Stop();
    EXPECT_FALSE(filter->FilterScanline(0, row.data()));
    Connect(*filter, picture, 1, 8);
    EXPECT_FALSE(filter->FilterScanline(0, row.data()));
    ASSERT_TRUE(filter->Start());
    filter->Stop();
    filter->Stop();
    EXPECT_FALSE(filter->FilterScanline(0, row.data()));
    EXPECT_EQ(row, Bytes(6, 50));
    EXPECT_FALSE(filter->GetErrorDescription().IsEmpty());
    ASSERT_TRUE(filter->Start());  // and is destroyed without Stop
}

TEST_P(EveryQuantizer, KeepsToTheShapeItWasStartedWith) {
    Picture picture = NoisePicture(6, 4);
    Connect(*filter, picture, 1, 8);
    ASSERT_TRUE(filter->Start());
    filter->SetOutputFormat(ZPixFormat(6000, 4, 4, 8));
    Bytes row(7, 0xEE);
    ASSERT_TRUE(filter->FilterScanline(1, row.data()));
    EXPECT_EQ(row[6], 0xEE);
}

INSTANTIATE_TEST_SUITE_P(Kinds, EveryQuantizer, testing::ValuesIn(kKinds),
                         [](const auto& kind) { return std::string(kind.param.name); });

TEST(ZPixfQuantizePopularity, TakesTheColorsThatOccurMost) {
    // Colour i has i + 1 pixels, or ten times as many if it is to win.
    const std::set<unsigned> winners = {1, 4, 8};
    std::vector<Pixel> pixels;
    std::set<Pixel> expected;
    for (unsigned i = 0; i < 9; ++i) {
        const Pixel color{Byte(i % 3 * 127), Byte(i / 3 * 127), Byte(i * 30), 255};
        pixels.insert(pixels.end(), winners.count(i) != 0 ? 10 * (i + 5) : i + 1, color);
        if (winners.count(i) != 0) expected.insert({color[0], color[1], color[2], 0});
    }
    const auto count = static_cast<unsigned>(pixels.size());
    Picture picture{1, count, std::move(pixels)};
    ZPixfQuantizePopularity filter;
    const std::vector<Pixel> palette = Quantize(filter, picture, 3).palette;
    EXPECT_EQ(std::set<Pixel>(palette.begin(), palette.end()), expected);
}

TEST(ZPixfQuantizePopularity, DoesNotSpendAllEntriesOnOneLargeSurface) {
    // Three quarters are shades of one blue, the rest of two other colours.
    Picture picture = MakePicture(128, 128, [](unsigned x, unsigned y) {
        const unsigned i = x * 7 + y * 13;
        if (y < 96) return Pixel{Byte(128 + i % 64), Byte(i / 64 % 32), Byte(x % 32), 255};
        return x < 64 ? Pixel{Byte(10 + y % 7), Byte(200 + x % 32), 20, 255}
                      : Pixel{0, Byte(y % 16), Byte(220 + x % 16), 255};
    });
    ZPixfQuantizePopularity filter;
    const std::vector<Pixel> palette = Quantize(filter, picture, 16).palette;
    const auto hasNear = [&](const Pixel& color) {
        return Distance(palette[NearestByTrial(palette, color)], color) < 1000;
    };
    EXPECT_TRUE(hasNear({160, 16, 16, 0}));
    EXPECT_TRUE(hasNear({13, 215, 20, 0}));
    EXPECT_TRUE(hasNear({0, 8, 228, 0}));
}

TEST(ZPixfQuantizePopularity, TakesACoarserColorThatJustHalvesTheError) {
    Picture picture = MakePicture(4, 1, [](unsigned x, unsigned) { return Pixel{Byte(x / 2 * 2), 0, 0, 255}; });
    ZPixfQuantizePopularity filter;  // two pixels 2 away from one of the colours, or four 1 away from their mean
    EXPECT_EQ(Quantize(filter, picture, 1).palette, (std::vector<Pixel>{{1, 0, 0, 0}}));
}

TEST(ZPixfQuantizeMedian5, GivesEachCellOfFiveBitsAnEntryWhereThereAreJustAsMany) {
    Picture picture = MakePicture(9, 1, [](unsigned x, unsigned) { return Pixel{Byte(x < 8 ? x : 200), 0, 0, 255}; });
    ZPixfQuantizeMedian5 filter;
    EXPECT_EQ(Quantize(filter, picture, 2).palette, (std::vector<Pixel>{{4, 0, 0, 0}, {200, 0, 0, 0}}));
}

TEST(ZPixfQuantizePopularity, TakesTheCornersOfTheCubeWhereOnlyTheySpanThePicture) {
    // Half of the pixels in the dark eighth of the cube, the others spread over the other seven.
    std::mt19937 random(31);
    Picture picture = MakePicture(64, 64, [&](unsigned x, unsigned y) {
        const unsigned corner = y < 32 ? 0 : 1 + x % 7;
        const auto level = [&](unsigned channel) {
            return Byte((corner >> channel & 1) * 128 + static_cast<unsigned>(random() % 128));
        };
        const std::uint8_t blue = level(0), green = level(1);
        return Pixel{blue, green, level(2), 255};
    });
    ZPixfQuantizePopularity filter;
    std::set<unsigned> corners;
    for (const Pixel& entry : Quantize(filter, picture, 8).palette)
        corners.insert((entry[0] >> 7) + 2u * (entry[1] >> 7) + 4u * (entry[2] >> 7));
    EXPECT_EQ(corners.size(), 8u);
}

TEST(ZPixfQuantizeMedian8, ComesCloserThanMedian5) {
    for (const unsigned colors : {4u, 16u, 64u, 256u}) {
        Picture picture = ShadesPicture(128);
        ZPixfQuantizeMedian5 quick;
        ZPixfQuantizeMedian8 good;
        EXPECT_GT(Psnr(picture, Quantize(good, picture, colors).palette),
                  Psnr(picture, Quantize(quick, picture, colors).palette));
    }
}

TEST(ZPixfQuantizeMedian8, TellsColorsApartThatFiveBitsDoNot) {
    // Four close shades on one side and four on the other, all within two cells of 5 bits, with one odd pixel.
    const Pixel shades[] = {{64, 64, 64, 255}, {65, 64, 64, 255}, {70, 71, 70, 255}, {71, 71, 71, 255}};
    Picture picture = MakePicture(32, 32, [&](unsigned x, unsigned) { return shades[x % 4]; });
    ZPixfQuantizeMedian8 filter;
    const Result result = Quantize(filter, picture, 2);
    ASSERT_EQ(result.palette.size(), 2u);
    EXPECT_EQ(result.indices[0], result.indices[1]);
    EXPECT_EQ(result.indices[2], result.indices[3]);
    EXPECT_NE(result.indices[0], result.indices[2]);
}

TEST(ZPixfQuantizeMedian8, GivesAGreyPictureTheBestGreysFromDarkToLight) {
    const std::uint8_t levels[] = {10, 200, 12, 90, 94, 190};
    Picture picture = MakePicture(6, 5, [&](unsigned x, unsigned) {
        return Pixel{levels[x], levels[x], levels[x], 255};
    });
    ZPixfQuantizeMedian8 filter;
    EXPECT_EQ(Quantize(filter, picture, 3).palette,
              (std::vector<Pixel>{{11, 11, 11, 0}, {92, 92, 92, 0}, {195, 195, 195, 0}}));
}

TEST(ZPixfQuantizeMedian8, LeavesTransparentPixelsOutWhereColorsAreMany) {
    // More than are counted in the order in which they come; the transparent ones are where no others are.
    Picture picture = MakePicture(200, 200, [](unsigned x, unsigned y) {
        if ((x + y) % 2 == 0) return Pixel{255, Byte(y), 250, 0};
        return Pixel{Byte(x % 90), Byte(y), Byte(x / 2), 255};
    });
    ZPixfQuantizeMedian8 filter;
    const std::vector<Pixel> palette = Quantize(filter, picture, 64).palette;
    for (Pixel& pixel : picture.pixels)
        if (pixel[3] == 0) pixel = {0, 0, 0, 0};
    EXPECT_EQ(Quantize(filter, picture, 64).palette, palette);
    for (const Pixel& entry : palette) EXPECT_LT(entry[0], 90);
}

}  // namespace
}  // namespace zpixf
