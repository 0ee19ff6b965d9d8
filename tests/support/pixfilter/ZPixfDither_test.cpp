#include "zpixf/ZPixfDither.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <memory>
#include <numeric>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/Kernels.h"
#include "dither/BlueNoise.h"

namespace zpixf {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Palette = std::vector<RGBQUAD>;
using Rgb = std::array<int, 3>;

enum class Method { ordered, blueNoise, diffuse };

std::unique_ptr<ZPixfDither> Make(Method method) {
    if (method == Method::ordered) return std::make_unique<ZPixfDitherOrdered>();
    if (method == Method::blueNoise) return std::make_unique<ZPixfDitherBlueNoise>();
    return std::make_unique<ZPixfDitherDiffuse>();
}

RGBQUAD Entry(int red, int green, int blue) {
    return {static_cast<BYTE>(blue), static_cast<BYTE>(green), static_cast<BYTE>(red), 0};
}

struct Picture {
    unsigned width, height;
    Bytes pixels;  // B, G, R, A

    Picture(unsigned newWidth, unsigned newHeight) : width(newWidth), height(newHeight) {
        pixels.assign(std::size_t{4} * width * height, 255);
    }
    std::uint8_t* At(unsigned x, unsigned y) { return &pixels[4 * (std::size_t{y} * width + x)]; }
    void Set(unsigned x, unsigned y, const Rgb& color, int alpha = 255) {
        const int bytes[] = {color[2], color[1], color[0], alpha};
        std::copy_n(bytes, 4, At(x, y));
    }
    static bool Read(void* userData, unsigned line, void* buffer) {
        auto& picture = *static_cast<Picture*>(userData);
        if (picture.width != 0) std::memcpy(buffer, picture.At(0, line), std::size_t{4} * picture.width);
        return true;
    }
};

Picture Flat(unsigned width, unsigned height, const Rgb& color) {
    Picture picture(width, height);
    for (unsigned y = 0; y < height; ++y)
        for (unsigned x = 0; x < width; ++x) picture.Set(x, y, color);
    return picture;
}

Picture Noise(unsigned width, unsigned height, unsigned seed) {
    Picture picture(width, height);
    std::mt19937 random(seed);
    for (std::uint8_t& byte : picture.pixels) byte = static_cast<std::uint8_t>(random() >> 24);
    return picture;
}

ZPixFormat Indexed(const Picture& picture, unsigned bits, unsigned count, const Palette& palette = {}) {
    ZPixFormat format(picture.width, picture.height, 1, bits, count);
    if (!palette.empty()) format.FillColorTable(static_cast<unsigned>(palette.size()), palette.data());
    return format;
}

void Connect(ZPixFilterBase& filter, Picture& picture, const ZPixFormat& output) {
    filter.SetInputFormat(ZPixFormat(picture.width, picture.height, 4, 8));
    filter.SetOutputFormat(output);
    filter.SetScanLineFunction(&Picture::Read, &picture);
}

Palette PaletteOf(const ZPixFilterBase& filter) {
    const ZPixFormat& format = filter.GetOutputFormat();
    return Palette(format.GetColors(), format.GetColors() + format.GetNumColors());
}

struct Result {
    Bytes indices;
    Palette palette;
};

/// The 8-bit indices of a picture.
Result Dither(Method method, Picture& picture, unsigned count, const Palette& palette = {}, double strength = 1) {
    Result result;
    const auto filter = Make(method);
    filter->SetStrength(strength);
    Connect(*filter, picture, Indexed(picture, 8, count, palette));
    EXPECT_TRUE(filter->Start());
    result.palette = PaletteOf(*filter);
    result.indices.resize(std::size_t{picture.width} * picture.height);
    for (unsigned y = 0; y < picture.height; ++y)
        EXPECT_TRUE(filter->FilterScanline(y, &result.indices[std::size_t{y} * picture.width]));
    return result;
}

/// The largest difference of a channel's mean over `count` pixels to the colour that they show.
double MeanError(const Palette& palette, const std::uint8_t* indices, std::size_t count, const Rgb& color) {
    std::array<double, 3> sums{};
    for (std::size_t i = 0; i < count; ++i) {
        const RGBQUAD& entry = palette[indices[i]];
        sums[0] += entry.rgbRed;
        sums[1] += entry.rgbGreen;
        sums[2] += entry.rgbBlue;
    }
    double worst = 0;
    for (unsigned c = 0; c < 3; ++c) worst = std::max(worst, std::abs(sums[c] / static_cast<double>(count) - color[c]));
    return worst;
}

constexpr unsigned kPatternSide = 64;

/// Flat squares of the pattern's size, all in one column.
Picture Squares(const std::vector<Rgb>& colors) {
    Picture picture(kPatternSide, kPatternSide * static_cast<unsigned>(colors.size()));
    for (unsigned y = 0; y < picture.height; ++y)
        for (unsigned x = 0; x < picture.width; ++x) picture.Set(x, y, colors[y / kPatternSide]);
    return picture;
}

/// Both ordered dithers of flat squares must keep each one's mean.
void ExpectOrderedMeans(const std::vector<Rgb>& colors, unsigned count, const Palette& given, double bound) {
    Picture picture = Squares(colors);
    for (const Method method : {Method::ordered, Method::blueNoise}) {
        const auto [indices, palette] = Dither(method, picture, count, given);
        constexpr std::size_t kArea = kPatternSide * kPatternSide;
        for (std::size_t i = 0; i < colors.size(); ++i)
            ASSERT_LE(MeanError(palette, &indices[i * kArea], kArea, colors[i]), bound)
                << colors[i][0] << ' ' << colors[i][1] << ' ' << colors[i][2];
    }
}

void ExpectDiffuseMeans(const std::vector<Rgb>& colors, unsigned count, const Palette& given, double bound) {
    constexpr unsigned kSide = 256;  // below the last line up to half a gap of the palette a pixel is lost
    for (const Rgb& color : colors) {
        Picture picture = Flat(kSide, kSide, color);
        const auto [indices, palette] = Dither(Method::diffuse, picture, count, given);
        ASSERT_LE(MeanError(palette, indices.data(), indices.size(), color), bound)
            << color[0] << ' ' << color[1] << ' ' << color[2];
    }
}

std::vector<Rgb> Greys(int step) {
    std::vector<Rgb> greys;
    for (int grey = 0; grey <= 255; grey += step) greys.push_back({grey, grey, grey});
    return greys;
}

std::vector<Rgb> RandomColors(unsigned count) {
    std::mt19937 random(7);
    std::vector<Rgb> colors(count);
    for (Rgb& color : colors)
        for (int& channel : color) channel = static_cast<int>(random() >> 24);
    return colors;
}

/// As a quantiser makes of a picture: crowded around the greys; with the corners of a box around all, so that there is
/// a known part of the hull.
Palette PictureLikePalette() {
    std::mt19937 random(3);
    Palette palette;
    for (int corner = 0; corner < 8; ++corner)
        palette.push_back(
            Entry((corner & 1) != 0 ? 230 : 10, (corner & 2) != 0 ? 220 : 12, (corner & 4) != 0 ? 210 : 20));
    while (palette.size() < 200) {
        const int grey = 30 + static_cast<int>(random() % 160);
        const auto around = [&] { return grey + static_cast<int>(random() % 40) - 20; };
        const int red = around(), green = around();
        palette.push_back(Entry(red, green, around()));
    }
    return palette;
}

int SquaredDistance(const RGBQUAD& entry, const std::uint8_t* pixel) {
    const int blue = entry.rgbBlue - pixel[0], green = entry.rgbGreen - pixel[1], red = entry.rgbRed - pixel[2];
    return blue * blue + green * green + red * red;
}

/// As squares of the distances of a palette's entries from a pixel, the nearest first.
std::vector<int> Distances(const Palette& palette, const std::uint8_t* pixel) {
    std::vector<int> distances;
    for (const RGBQUAD& entry : palette) distances.push_back(SquaredDistance(entry, pixel));
    std::sort(distances.begin(), distances.end());
    return distances;
}

TEST(ZPixfDitherOrdered, KeepsTheMeanOfEveryGreyWithinALevelWithFixedPalettes) {
    for (const unsigned count : {2u, 16u, 256u}) ExpectOrderedMeans(Greys(1), count, {}, 1);
}

TEST(ZPixfDitherOrdered, KeepsTheMeanOfColorsWithinALevelWithFixedPalettes) {
    for (const unsigned count : {16u, 256u}) ExpectOrderedMeans(RandomColors(1000), count, {}, 1);
}

/// What is measured of a dithered picture: the root of the mean square of the errors of the channels, and the mean size
/// of the error that is left in the mean of 8 x 8 pixels.
struct Errors {
    double noise = 0, tone = 0;
};

Errors ErrorsOf(Picture& picture, const Bytes& indices, const Palette& palette) {
    Errors errors;
    for (unsigned top = 0; top < picture.height; top += 8)
        for (unsigned left = 0; left < picture.width; left += 8) {
            std::array<int, 3> sums{};
            for (unsigned y = top; y < top + 8; ++y)
                for (unsigned x = left; x < left + 8; ++x) {
                    const RGBQUAD& entry = palette[indices[y * picture.width + x]];
                    const std::uint8_t* pixel = picture.At(x, y);
                    errors.noise += SquaredDistance(entry, pixel);
                    sums[0] += entry.rgbBlue - pixel[0];
                    sums[1] += entry.rgbGreen - pixel[1];
                    sums[2] += entry.rgbRed - pixel[2];
                }
            for (const int sum : sums) errors.tone += std::abs(sum) / 64.0;
        }
    const double count = 3.0 * picture.width * picture.height;
    return {std::sqrt(errors.noise / count), errors.tone * 64 / count};
}

/// Knoll's pattern in plain words: for 64 thresholds the entry nearest to the colour and a quarter of the errors so
/// far, sorted by luma.
Bytes KnollsPattern(Picture& picture, const Palette& palette) {
    const auto luma = [&](int i) {
        const RGBQUAD& entry = palette[static_cast<unsigned>(i)];
        return 114 * entry.rgbBlue + 587 * entry.rgbGreen + 299 * entry.rgbRed;
    };
    Bytes indices;
    for (unsigned y = 0; y < picture.height; ++y)
        for (unsigned x = 0; x < picture.width; ++x) {
            const std::uint8_t* pixel = picture.At(x, y);
            std::array<double, 3> errors{};
            std::vector<int> entries(64);
            for (int& chosen : entries) {
                const auto channel = [](const RGBQUAD& entry, unsigned c) {
                    return c == 0 ? entry.rgbBlue : c == 1 ? entry.rgbGreen : entry.rgbRed;
                };
                double least = 1e9;
                for (std::size_t i = 0; i < palette.size(); ++i) {
                    double distance = 0;
                    for (unsigned c = 0; c < 3; ++c) {
                        const double away = pixel[c] + errors[c] / 4 - channel(palette[i], c);
                        distance += away * away;
                    }
                    if (distance < least) chosen = static_cast<int>(i);
                    least = std::min(least, distance);
                }
                for (unsigned c = 0; c < 3; ++c)
                    errors[c] += pixel[c] - channel(palette[static_cast<unsigned>(chosen)], c);
            }
            std::stable_sort(entries.begin(), entries.end(), [&](int a, int b) { return luma(a) < luma(b); });
            unsigned threshold = 0;
            for (unsigned bit = 0; bit < 3; ++bit)
                threshold = threshold << 2 | ((x ^ y) >> bit & 1) << 1 | (y >> bit & 1);
            indices.push_back(static_cast<std::uint8_t>(entries[threshold]));
        }
    return indices;
}

/// A sky: a smooth slope of blues, every colour near the next.
Picture Sky() {
    Picture picture(96, 192);
    for (unsigned y = 0; y < picture.height; ++y)
        for (unsigned x = 0; x < picture.width; ++x) {
            const int down = static_cast<int>(y), right = static_cast<int>(x);
            picture.Set(x, y, {60 + down * 2 / 3 + right / 8, 110 + down / 2, 190 + down / 4 - right / 10});
        }
    return picture;
}

/// Colours of the picture at places scattered over it.
Palette PaletteFrom(Picture& picture, unsigned count) {
    std::mt19937 random(5);
    Palette palette;
    while (palette.size() < count) {
        const auto place = [&](unsigned side) { return static_cast<unsigned>(random() >> 8) % side; };
        const unsigned x = place(picture.width);
        const std::uint8_t* pixel = picture.At(x, place(picture.height));
        palette.push_back(Entry(pixel[2], pixel[1], pixel[0]));
    }
    return palette;
}

TEST(ZPixfDitherOrdered, IsAboutAsQuietAndAsTrueAsKnollsPattern) {
    Picture sky = Sky();
    for (const unsigned count : {12u, 64u}) {
        const Palette palette = PaletteFrom(sky, count);
        const Errors knolls = ErrorsOf(sky, KnollsPattern(sky, palette), palette);
        for (const Method method : {Method::ordered, Method::blueNoise}) {
            const Errors ours = ErrorsOf(sky, Dither(method, sky, 0, palette).indices, palette);
            EXPECT_LE(ours.noise, 1.1 * knolls.noise) << count;
            EXPECT_LE(ours.tone, 1.15 * knolls.tone) << count;
        }
    }
}

TEST(ZPixfDitherOrdered, UsesNoEntryTwiceAsFarAsTheFourthNearest) {
    const auto expectNearEntries = [](Picture& picture, const Palette& palette) {
        for (const Method method : {Method::ordered, Method::blueNoise}) {
            const Bytes indices = Dither(method, picture, 0, palette).indices;
            for (std::size_t i = 0; i < indices.size(); ++i) {
                const std::uint8_t* pixel = &picture.pixels[4 * i];
                const int used = SquaredDistance(palette[indices[i]], pixel);
                ASSERT_LE(used, 4 * Distances(palette, pixel)[3]) << i;
            }
        }
    };
    Picture sky = Sky();
    for (const unsigned count : {5u, 12u, 64u}) expectNearEntries(sky, PaletteFrom(sky, count));
    Picture noise = Noise(100, 100, 9);
    const Palette all = PictureLikePalette();
    expectNearEntries(noise, Palette(all.begin() + 8, all.end()));  // without the corners
}

TEST(ZPixfDitherOrdered, ChangesLittleFromColorToColor) {
    // The shares of close entries change by some tenths with a level; a pattern of its own for each colour would change
    // nearly every pixel.
    const Palette palette = PictureLikePalette();
    std::vector<Rgb> colors;
    for (int grey = 60; grey < 160; ++grey) colors.push_back({grey, grey + 2, grey - 3});
    Picture picture = Squares(colors);
    constexpr std::size_t kArea = kPatternSide * kPatternSide;
    for (const Method method : {Method::ordered, Method::blueNoise}) {
        const Bytes indices = Dither(method, picture, 0, palette).indices;
        double changed = 0;
        for (std::size_t i = kArea; i < indices.size(); ++i) changed += indices[i] != indices[i - kArea] ? 1 : 0;
        EXPECT_LT(changed / static_cast<double>(indices.size()), 0.5);
    }
}

TEST(ZPixfDitherOrdered, TheStrengthLeadsEvenlyFromTheNearestEntryToAllOfTheMixture) {
    Picture noise = Noise(64, 64, 2);
    const Palette palette = PictureLikePalette();
    for (const Method method : {Method::ordered, Method::blueNoise}) {
        std::array<double, 3> others{};  // pixels that do not get the nearest entry
        for (unsigned half = 0; half < 3; ++half) {
            const Bytes indices = Dither(method, noise, 0, palette, half / 2.0).indices;
            for (std::size_t i = 0; i < indices.size(); ++i) {
                const std::uint8_t* pixel = &noise.pixels[4 * i];
                const bool isNearest = SquaredDistance(palette[indices[i]], pixel) == Distances(palette, pixel)[0];
                others[half] += isNearest ? 0 : 1;
            }
        }
        EXPECT_EQ(others[0], 0);
        EXPECT_GT(others[2], 500);
        EXPECT_NEAR(others[1], others[2] / 2, others[2] / 8);
    }
}

/// A pixel of each cell of 8 x 8 x 8 levels, so that more mixtures are needed than are held at once.
Picture OfEveryCell() {
    Picture picture(256, 128);
    for (unsigned y = 0; y < picture.height; ++y)
        for (unsigned x = 0; x < picture.width; ++x) {
            const int red = static_cast<int>(y / 4), green = static_cast<int>(y % 4 * 8 + x / 32);
            picture.Set(x, y, {8 * red + 3, 8 * green + 5, 8 * static_cast<int>(x % 32) + 2});
        }
    return picture;
}

TEST(ZPixfDitherOrdered, WhatThePaletteWasUsedForBeforeChangesNothing) {
    Picture noise = Noise(64, 64, 4), many = OfEveryCell();
    const Palette fixed = Dither(Method::ordered, noise, 256).palette;
    for (const Palette& palette : {fixed, PictureLikePalette()})
        for (const Method method : {Method::ordered, Method::blueNoise}) {
            ZPixfDither::FreeKeptTables();
            const Bytes wanted = Dither(method, noise, 0, palette).indices;
            const Bytes ofMany = Dither(method, many, 0, palette).indices;
            EXPECT_EQ(Dither(method, noise, 0, palette).indices, wanted);
            EXPECT_EQ(Dither(method, many, 0, palette).indices, ofMany);
            EXPECT_NE(Dither(method, noise, 0, palette, 0.5).indices, wanted);  // of another strength
            Palette other = palette;
            other[100] = Entry(1, 2, 3);
            EXPECT_NE(Dither(method, noise, 0, other).indices, wanted);
            EXPECT_EQ(Dither(method, noise, 0, palette).indices, wanted);
        }
}

TEST(ZPixfDitherOrdered, TwoAtOnceWithOnePaletteKeepApart) {
    Picture noise = Noise(64, 64, 4), sky = Sky();
    const Palette palette = PictureLikePalette();
    const std::array<Bytes, 2> wanted = {Dither(Method::ordered, noise, 0, palette).indices,
                                         Dither(Method::ordered, sky, 0, palette).indices};
    ZPixfDitherOrdered first, second;
    Connect(first, noise, Indexed(noise, 8, 0, palette));
    Connect(second, sky, Indexed(sky, 8, 0, palette));
    ASSERT_TRUE(first.Start() && second.Start());
    Bytes firstLine(noise.width), secondLine(sky.width);
    for (unsigned y = 0; y < noise.height; ++y) {
        ASSERT_TRUE(first.FilterScanline(y, firstLine.data()) && second.FilterScanline(y, secondLine.data()));
        EXPECT_TRUE(std::equal(firstLine.begin(), firstLine.end(), &wanted[0][y * noise.width]));
        EXPECT_TRUE(std::equal(secondLine.begin(), secondLine.end(), &wanted[1][y * sky.width]));
    }
}

TEST(ZPixfDitherOrdered, ManyThreadsMayUseOnePaletteWhileKeptTablesAreFreed) {
    Picture noise = Noise(64, 16, 4);
    const Palette palette = PictureLikePalette();
    const Bytes wanted = Dither(Method::ordered, noise, 0, palette).indices;
    std::array<int, 4> wrong{};
    std::vector<std::thread> threads;
    for (int& count : wrong)
        threads.emplace_back([&, picture = noise]() mutable {
            for (int i = 0; i < 20; ++i) {
                count += Dither(Method::ordered, picture, 0, palette).indices != wanted ? 1 : 0;
                if (i % 3 == 0) ZPixfDither::FreeKeptTables();
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, (std::array<int, 4>{}));
}

TEST(BlueNoise, RanksEveryPlaceOnce) {
    std::vector<bool> met(kBlueNoiseSide * kBlueNoiseSide);
    for (const auto& row : kBlueNoise)
        for (const std::uint16_t rank : row) {
            ASSERT_LT(rank, met.size());
            EXPECT_FALSE(met[rank]) << rank;
            met[rank] = true;
        }
}

TEST(BlueNoise, LacksLowFrequencies) {
    // Of the places below a rank, as a pattern of light and dark: the mean power at frequencies up to a quarter of that
    // of evenly spread pixels, beside that of all frequencies.
    for (const unsigned ranks : {256u, 1024u, 2048u, 3072u}) {
        const double mean = ranks / 4096.0;
        const double usual = 4096 * mean * (1 - mean);  // the power of white noise at any frequency
        const double spread = kBlueNoiseSide * std::sqrt(std::min(mean, 1 - mean));
        const int most = static_cast<int>(spread / 4);
        double power = 0, count = 0;
        for (int v = -most; v <= most; ++v)
            for (int u = 1; u <= most; ++u) {
                if (u * u + v * v > most * most) continue;
                double real = 0, imaginary = 0;
                for (unsigned y = 0; y < kBlueNoiseSide; ++y)
                    for (unsigned x = 0; x < kBlueNoiseSide; ++x) {
                        if (kBlueNoise[y][x] >= ranks) continue;
                        const double angle =
                            2 * 3.14159265358979 * (u * static_cast<int>(x) + v * static_cast<int>(y)) / kBlueNoiseSide;
                        real += std::cos(angle);
                        imaginary += std::sin(angle);
                    }
                power += real * real + imaginary * imaginary;
                ++count;
            }
        EXPECT_LT(power / count, usual / 10) << ranks;
    }
}

TEST(ZPixfDitherDiffuse, KeepsTheMeanOfGreysWithFixedPalettes) {
    for (const unsigned count : {2u, 16u, 256u}) ExpectDiffuseMeans(Greys(5), count, {}, 0.5);
}

TEST(ZPixfDitherDiffuse, KeepsTheMeanOfColorsWithFixedPalettes) {
    for (const unsigned count : {16u, 256u}) ExpectDiffuseMeans(RandomColors(60), count, {}, 0.5);
}

TEST(ZPixfDitherDiffuse, KeepsTheMeanOfColorsAmongAPicturesPalette) {
    std::vector<Rgb> colors = RandomColors(60);
    for (Rgb& color : colors) {
        const int grey = 50 + color[0] * 120 / 255;
        for (int& channel : color) channel = grey + channel * 16 / 255 - 8;
    }
    ExpectDiffuseMeans(colors, 0, PictureLikePalette(), 0.5);
}

/// The entry nearest to a colour in sixteenths of a level, of several the first.
int NearestInPlainWords(const Palette& palette, const std::array<int, 3>& color) {
    const auto apart = [&](const RGBQUAD& entry) {
        const int r = 16 * entry.rgbRed - color[0], g = 16 * entry.rgbGreen - color[1],
                  b = 16 * entry.rgbBlue - color[2];
        return r * r + g * g + b * b;
    };
    const auto isNearer = [&](const RGBQUAD& a, const RGBQUAD& b) { return apart(a) < apart(b); };
    return static_cast<int>(std::min_element(palette.begin(), palette.end(), isNearer) - palette.begin());
}

/// The middle one of the gaps between each entry and its neighbour; the last entry of these repeats another.
int UsualGap(const Palette& palette) {
    std::vector<int> gaps;
    for (std::size_t i = 0; i + 1 < palette.size(); ++i) {
        const RGBQUAD& a = palette[i];
        int least = 256;
        for (const RGBQUAD& b : palette) {
            const int apart = std::max(
                {std::abs(a.rgbRed - b.rgbRed), std::abs(a.rgbGreen - b.rgbGreen), std::abs(a.rgbBlue - b.rgbBlue)});
            if (apart > 0) least = std::min(least, apart);
        }
        gaps.push_back(least);
    }
    std::sort(gaps.begin(), gaps.end());
    return gaps[gaps.size() / 2];
}

TEST(ZPixfDitherDiffuse, TakesTheEntryNearestToEachPixelsOwnValue) {
    // A picture one pixel wide: errors go straight down, all of them, and can be followed.
    std::mt19937 random(11);
    Palette palette;
    const auto level = [&] { return 20 + static_cast<int>(random() % 200); };
    while (palette.size() < 250) {
        const int red = level(), green = level();
        palette.push_back(Entry(red, green, level()));
    }
    palette.push_back(palette[17]);
    const int most = 16 * std::clamp(2 * UsualGap(palette), 16, 256);
    Picture picture = Noise(1, 3000, 5);
    for (unsigned y = 100; y < 200; ++y) picture.Set(0, y, {255, 0, 255});  // as far out as can be
    const Bytes indices = Dither(Method::diffuse, picture, 0, palette).indices;
    std::array<int, 3> errors{};
    for (unsigned y = 0; y < picture.height; ++y) {
        const std::uint8_t* pixel = picture.At(0, y);
        std::array<int, 3> value{16 * pixel[2], 16 * pixel[1], 16 * pixel[0]};
        if (pixel[3] == 0) errors = {};
        for (unsigned c = 0; c < 3; ++c)
            value[c] = std::clamp(value[c] + std::clamp(errors[c], -most, most), 0, 16 * 255);
        ASSERT_EQ(indices[y], NearestInPlainWords(palette, value)) << y;
        const RGBQUAD& entry = palette[indices[y]];
        errors = {value[0] - 16 * entry.rgbRed, value[1] - 16 * entry.rgbGreen, value[2] - 16 * entry.rgbBlue};
        if (pixel[3] == 0) errors = {};
    }
}

TEST(ZPixfDitherDiffuse, OfNoStrengthMapsEachPixelToItsNearestEntry) {
    const Palette palette = PictureLikePalette();
    Picture picture = Noise(50, 40, 9);
    const Bytes indices = Dither(Method::diffuse, picture, 0, palette, 0).indices;
    for (unsigned y = 0; y < picture.height; ++y)
        for (unsigned x = 0; x < picture.width; ++x) {
            const std::uint8_t* pixel = picture.At(x, y);
            ASSERT_EQ(indices[y * picture.width + x],
                      NearestInPlainWords(palette, {16 * pixel[2], 16 * pixel[1], 16 * pixel[0]}));
        }
}

TEST(ZPixfDitherDiffuse, OfHalfTheStrengthPassesHalfOfEachError) {
    // 100 is black and leaves 100, of which 50 goes straight down: 150 is white.
    Picture picture(1, 3);
    for (unsigned y = 0; y < 3; ++y) picture.Set(0, y, {100, 100, 100});
    EXPECT_EQ(Dither(Method::diffuse, picture, 2, {}, 0.5).indices, (Bytes{0, 1, 0}));
    EXPECT_EQ(Dither(Method::diffuse, picture, 2, {}, 0.25).indices, (Bytes{0, 0, 1}));
}

TEST(ZPixfDitherDiffuse, DoesNotSmearWhatNoMixtureReachesOverWhatFollows) {
    // White on top cannot be shown with these; below, the middle grey can.
    const Palette palette = {Entry(0, 0, 0), Entry(40, 40, 40)};
    Picture picture = Flat(64, 128, {20, 20, 20});
    for (unsigned y = 0; y < 64; ++y)
        for (unsigned x = 0; x < 64; ++x) picture.Set(x, y, {255, 255, 255});
    const Bytes indices = Dither(Method::diffuse, picture, 0, palette).indices;
    EXPECT_TRUE(std::all_of(indices.begin(), indices.begin() + 64 * 64, [](int index) { return index == 1; }));
    const auto lightIn = [&](int line) {
        return std::accumulate(indices.begin() + 64 * line, indices.begin() + 64 * (line + 1), 0);
    };
    EXPECT_LT(lightIn(64 + 12), 48);
    EXPECT_GT(lightIn(64 + 12), 16);
}

TEST(ZPixfDitherOrdered, BlackAndWhiteFollowBayersMatrix) {
    constexpr int kMatrix[8][8] = {{0, 32, 8, 40, 2, 34, 10, 42},  {48, 16, 56, 24, 50, 18, 58, 26},
                                   {12, 44, 4, 36, 14, 46, 6, 38}, {60, 28, 52, 20, 62, 30, 54, 22},
                                   {3, 35, 11, 43, 1, 33, 9, 41},  {51, 19, 59, 27, 49, 17, 57, 25},
                                   {15, 47, 7, 39, 13, 45, 5, 37}, {63, 31, 55, 23, 61, 29, 53, 21}};
    std::array<int, 64> whites{};  // at each place of the 8 x 8 tile, in all greys: the more the lower its threshold
    for (int grey = 0; grey < 256; ++grey) {
        Picture picture = Flat(kPatternSide, kPatternSide, {grey, grey, grey});
        const Bytes indices = Dither(Method::ordered, picture, 2).indices;
        for (unsigned y = 0; y < kPatternSide; ++y)
            for (unsigned x = 0; x < kPatternSide; ++x) whites[y % 8 * 8 + x % 8] += indices[y * kPatternSide + x];
    }
    std::array<int, 64> places{};
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) places[static_cast<unsigned>(kMatrix[y][x])] = y * 8 + x;
    for (unsigned i = 1; i < 64; ++i)
        EXPECT_GT(whites[static_cast<unsigned>(places[i - 1])], whites[static_cast<unsigned>(places[i])]) << i;
}

TEST(ZPixfDitherDiffuse, RunsFourLinesToTheRightAndFourToTheLeft) {
    // In sixteenths white begins at 2041. A line of 120 and 120 without errors: the pixel where it begins, 1920, is
    // black and passes 7/16, 840, ahead, which makes the other 2760: white. Lines before are transparent and pass none.
    for (unsigned line = 0; line < 16; ++line) {
        Picture picture(2, 16);
        for (unsigned y = 0; y < 16; ++y)
            for (unsigned x = 0; x < 2; ++x) picture.Set(x, y, {120, 120, 120}, y == line ? 255 : 0);
        const Bytes indices = Dither(Method::diffuse, picture, 2).indices;
        const bool runsRight = line % 8 < 4;
        EXPECT_EQ(indices[2 * line], runsRight ? 0 : 1) << line;
        EXPECT_EQ(indices[2 * line + 1], runsRight ? 1 : 0) << line;
    }
}

/// The indices of some lines of a picture, asked for in that order.
Bytes LinesOf(Picture& picture, const Palette& palette, bool pullsAhead, const std::vector<unsigned>& lines) {
    ZPixfDitherDiffuse filter;
    Connect(filter, picture, Indexed(picture, 8, 0, palette));
    filter.SetPullsAhead(pullsAhead);
    EXPECT_TRUE(filter.Start());
    Bytes indices(lines.size() * picture.width);
    for (std::size_t i = 0; i < lines.size(); ++i)
        EXPECT_TRUE(filter.FilterScanline(lines[i], &indices[i * picture.width]));
    return indices;
}

TEST(ZPixfDitherDiffuse, GivesTheSameWhetherItPullsAheadOrNot) {
    const Palette palette = PictureLikePalette();
    for (const unsigned width : {1u, 2u, 7u, 8u, 9u, 10u, 61u})
        for (const unsigned height : {1u, 3u, 4u, 5u, 30u}) {
            Picture picture = Noise(width, height, 12 + width);
            std::vector<unsigned> lines(height);
            std::iota(lines.begin(), lines.end(), 0u);
            const Bytes wanted = LinesOf(picture, palette, false, lines);
            EXPECT_EQ(LinesOf(picture, palette, true, lines), wanted) << width << " x " << height;
        }
    // From the middle, some again, some left out, back, and from the beginning.
    Picture picture = Noise(61, 30, 12);
    for (const std::vector<unsigned>& lines : std::initializer_list<std::vector<unsigned>>{{1, 2, 3, 4, 5},
                                                                                           {7, 8, 9},
                                                                                           {8, 9, 9, 10},
                                                                                           {4, 8, 9},
                                                                                           {4, 5, 8},
                                                                                           {12, 13, 12, 13},
                                                                                           {8, 9, 0, 1, 2},
                                                                                           {29, 0}})
        EXPECT_EQ(LinesOf(picture, palette, true, lines), LinesOf(picture, palette, false, lines)) << lines[1];
}

TEST(ZPixfDitherDiffuse, PullsTheLineThatItGivesAndThreeMoreIfItMay) {
    struct Source {
        Picture picture = Noise(5, 11, 1);
        std::vector<unsigned> pulled;
        static bool Read(void* userData, unsigned line, void* buffer) {
            auto& source = *static_cast<Source*>(userData);
            source.pulled.push_back(line);
            return Picture::Read(&source.picture, line, buffer);
        }
    };
    for (const bool pullsAhead : {false, true}) {
        Source source;
        ZPixfDitherDiffuse filter;
        Connect(filter, source.picture, Indexed(source.picture, 8, 256));
        filter.SetScanLineFunction(&Source::Read, &source);
        filter.SetPullsAhead(pullsAhead);
        ASSERT_TRUE(filter.Start());
        Bytes line(5);
        for (unsigned y = 0; y < 11; ++y) {
            ASSERT_TRUE(filter.FilterScanline(y, line.data()));
            const unsigned most = pullsAhead ? std::min(y / 4 * 4 + 4, 11u) : y + 1;
            ASSERT_EQ(source.pulled.size(), most) << y;
            EXPECT_TRUE(std::is_sorted(source.pulled.begin(), source.pulled.end()));
        }
    }
}

/// Floyd and Steinberg's rule in plain words, for greys and black and white.
Bytes DiffuseInPlainWords(Picture& picture) {
    const int width = static_cast<int>(picture.width);
    Bytes indices;
    std::vector<int> errors(picture.width), next;
    for (unsigned y = 0; y < picture.height; ++y) {
        Bytes line(picture.width);
        next.assign(picture.width, 0);
        int ahead = 0;
        const int step = y / 4 % 2 == 0 ? 1 : -1;
        for (int x = step > 0 ? 0 : width - 1; x >= 0 && x < width; x += step) {
            const auto inside = [&](int at) { return static_cast<std::size_t>(at < 0 || at >= width ? x : at); };
            const auto here = static_cast<std::size_t>(x);
            const std::uint8_t* pixel = picture.At(static_cast<unsigned>(x), y);
            const bool isOpaque = pixel[3] != 0;
            const int value = 16 * pixel[0] + (isOpaque ? errors[here] + ahead : 0);
            line[here] = value > 16 * 255 / 2 ? 1 : 0;
            const int error = isOpaque ? value - 16 * 255 * line[here] : 0;
            const auto part = [&](int sixteenths) { return static_cast<int>(std::floor(error * sixteenths / 16.0)); };
            next[inside(x - step)] += part(3);
            next[here] += part(5);
            next[inside(x + step)] += error - part(7) - part(3) - part(5);
            ahead = part(7);
            if (inside(x + step) == here) next[here] += ahead;
        }
        errors = next;
        indices.insert(indices.end(), line.begin(), line.end());
    }
    return indices;
}

TEST(ZPixfDitherDiffuse, SendsEveryErrorWhereFloydAndSteinbergDo) {
    for (const unsigned width : {1u, 2u, 3u, 17u, 100u}) {
        Picture picture = Noise(width, 40, width);
        for (unsigned y = 0; y < picture.height; ++y)
            for (unsigned x = 0; x < width; ++x) {
                const int grey = picture.At(x, y)[0];
                picture.Set(x, y, {grey, grey, grey}, x % 7 == 3 ? 0 : 200);
            }
        EXPECT_EQ(Dither(Method::diffuse, picture, 2).indices, DiffuseInPlainWords(picture)) << width;
    }
}

TEST(ZPixfDitherDiffuse, TransparentPixelsNeitherTakeNorPassErrors) {
    Picture picture = Flat(64, 64, {100, 100, 100});
    for (unsigned y = 0; y < 64; ++y)
        for (unsigned x = 0; x < 64; ++x)
            if (x >= 32) picture.Set(x, y, {100, 100, 100}, 0);
    const Bytes indices = Dither(Method::diffuse, picture, 2).indices;
    int light = 0;
    for (unsigned y = 0; y < 64; ++y)
        for (unsigned x = 32; x < 64; ++x) light += indices[y * 64 + x];
    EXPECT_EQ(light, 0);
}

class EachDitherer : public testing::TestWithParam<Method> {
protected:
    Picture picture = Noise(21, 37, 5);
};

TEST_P(EachDitherer, LeavesThePalettesOwnColorsAsTheyAre) {
    std::mt19937 random(1);
    for (const unsigned count : {1u, 2u, 16u, 255u, 256u}) {
        Palette palette;
        for (unsigned i = 0; i < count; ++i)
            palette.push_back(Entry(static_cast<int>(random() >> 24), static_cast<int>(random() >> 24),
                                    100 + static_cast<int>(i % 3)));  // many near one another
        Picture drawing(100, 50);
        for (unsigned y = 0; y < 50; ++y)
            for (unsigned x = 0; x < 100; ++x) {
                const RGBQUAD& color = palette[random() % count];
                drawing.Set(x, y, {color.rgbRed, color.rgbGreen, color.rgbBlue});
            }
        const Bytes indices = Dither(GetParam(), drawing, 0, palette).indices;
        for (std::size_t i = 0; i < indices.size(); ++i)
            ASSERT_EQ(std::memcmp(&drawing.pixels[4 * i], &palette[indices[i]], 3), 0) << count << " at " << i;
    }
}

TEST_P(EachDitherer, RepeatedEntriesChangeNothing) {
    const Palette plain = PictureLikePalette();
    Palette repeated = plain;
    repeated.insert(repeated.end(), plain.begin(), plain.begin() + 50);
    EXPECT_EQ(Dither(GetParam(), picture, 0, plain).indices, Dither(GetParam(), picture, 0, repeated).indices);
}

TEST_P(EachDitherer, ATableFilledUpToManyIsOneOfItsFewColors) {
    const Palette few = {Entry(0, 0, 0), Entry(255, 255, 255), Entry(200, 40, 30), Entry(30, 90, 180)};
    Palette filledUp = few;
    filledUp.resize(256, few[0]);
    EXPECT_EQ(Dither(GetParam(), picture, 0, few).indices, Dither(GetParam(), picture, 0, filledUp).indices);
}

TEST_P(EachDitherer, OneColorIsAllThereIs) {
    const Bytes indices = Dither(GetParam(), picture, 0, {Entry(9, 200, 30)}).indices;
    EXPECT_EQ(indices, Bytes(indices.size(), 0));
}

TEST_P(EachDitherer, OfGreysOnlyTheLumaCounts) {
    const Palette palette = {Entry(0, 0, 0), Entry(255, 255, 255)};
    Picture green = Flat(128, 128, {0, 255, 0});
    const Bytes indices = Dither(GetParam(), green, 0, palette).indices;
    const double share = std::accumulate(indices.begin(), indices.end(), 0.0) / static_cast<double>(indices.size());
    EXPECT_NEAR(share * 255, 149.7, 1.0);  // 255 x 0.587, rounded to a level
}

TEST_P(EachDitherer, PacksTheLeftmostPixelHighestAndKeepsWhatLiesBeyondTheLast) {
    for (const unsigned bits : {1u, 4u})
        for (unsigned width = 1; width <= 17; ++width) {
            Picture small = Noise(width, 3, width);
            const Bytes wanted = Dither(GetParam(), small, 1u << bits).indices;
            const auto filter = Make(GetParam());
            Connect(*filter, small, Indexed(small, bits, 0));
            ASSERT_TRUE(filter->Start());
            for (unsigned y = 0; y < 3; ++y) {
                Bytes row(16, 0xA5);
                ASSERT_TRUE(filter->FilterScanline(y, row.data()));
                Bytes expected(16, 0xA5);
                for (unsigned x = 0; x < width; ++x) {
                    const unsigned shift = 8 - bits - x * bits % 8;
                    std::uint8_t& byte = expected[x * bits / 8];
                    byte = static_cast<std::uint8_t>((byte & ~(((1u << bits) - 1) << shift)) |
                                                     static_cast<unsigned>(wanted[y * width + x]) << shift);
                }
                ASSERT_EQ(row, expected) << bits << " bits, width " << width;
            }
        }
}

TEST_P(EachDitherer, ColorsAreThePalettesWithTheAlphaOfTheInput) {
    const auto [indices, palette] = Dither(GetParam(), picture, 256);
    const auto filter = Make(GetParam());
    Connect(*filter, picture, ZPixFormat(picture.width, picture.height, 4, 8));
    ASSERT_TRUE(filter->Start());
    EXPECT_EQ(filter->GetOutputFormat().GetNumColors(), 256u);
    Bytes row(4 * picture.width + 4, 0xA5);
    for (unsigned y = 0; y < picture.height; ++y) {
        ASSERT_TRUE(filter->FilterScanline(y, row.data()));
        for (unsigned x = 0; x < picture.width; ++x) {
            ASSERT_EQ(std::memcmp(&row[4 * x], &palette[indices[y * picture.width + x]], 3), 0);
            ASSERT_EQ(row[4 * x + 3], picture.At(x, y)[3]);
        }
        ASSERT_EQ(row[4 * picture.width], 0xA5);
    }
}

TEST_P(EachDitherer, BeginsAgainAtLineZeroWithTheSameLines) {
    const auto filter = Make(GetParam());
    Connect(*filter, picture, Indexed(picture, 8, 16));
    ASSERT_TRUE(filter->Start());
    const std::size_t width = picture.width;
    const auto run = [&](unsigned lines) {
        Bytes indices(width * lines);
        for (unsigned y = 0; y < lines; ++y) EXPECT_TRUE(filter->FilterScanline(y, &indices[y * width]));
        return indices;
    };
    const Bytes first = run(20);
    EXPECT_EQ(run(20), first);
    filter->Stop();
    ASSERT_TRUE(filter->Start());
    EXPECT_EQ(run(20), first);
}

TEST_P(EachDitherer, ALineThatFollowsNoneBeginsWithoutErrors) {
    const auto filter = Make(GetParam());
    Connect(*filter, picture, Indexed(picture, 8, 16));
    ASSERT_TRUE(filter->Start());
    Bytes fresh(picture.width), skipped(picture.width);
    ASSERT_TRUE(filter->FilterScanline(8, fresh.data()));
    for (unsigned y = 0; y < 3; ++y) ASSERT_TRUE(filter->FilterScanline(y, skipped.data()));
    ASSERT_TRUE(filter->FilterScanline(8, skipped.data()));
    EXPECT_EQ(skipped, fresh);
}

TEST_P(EachDitherer, ALineThatTheSourceFailsToGiveCanBeAskedForAgain) {
    struct Source {
        Picture* picture;
        unsigned failingLine;
        bool throws, hasFailed;
    } source{};
    const Bytes wanted = Dither(GetParam(), picture, 16).indices;
    const auto readUnlessFirst = [](void* userData, unsigned line, void* buffer) {
        auto& from = *static_cast<Source*>(userData);
        if (line != from.failingLine || std::exchange(from.hasFailed, true))
            return Picture::Read(from.picture, line, buffer);
        if (from.throws) throw std::runtime_error("no line");
        return false;
    };
    for (const bool throws : {false, true})
        for (unsigned failing = 0; failing < picture.height; ++failing) {
            const auto filter = Make(GetParam());
            Connect(*filter, picture, Indexed(picture, 8, 16));
            source = {&picture, failing, throws, false};
            filter->SetScanLineFunction(readUnlessFirst, &source);
            ASSERT_TRUE(filter->Start());
            Bytes indices(wanted.size());
            for (unsigned y = 0; y < picture.height; ++y) {
                std::uint8_t* row = &indices[y * picture.width];
                bool isGiven = false;
                try {
                    isGiven = filter->FilterScanline(y, row);
                    EXPECT_TRUE(isGiven || !filter->GetErrorDescription().IsEmpty());
                } catch (const std::runtime_error&) { EXPECT_TRUE(throws); }
                // A line that was only pulled ahead need not be missed yet.
                EXPECT_TRUE(isGiven || y == failing || y + 1 == failing) << y;
                if (!isGiven) { ASSERT_TRUE(filter->FilterScanline(y, row)); }
            }
            ASSERT_TRUE(source.hasFailed);
            ASSERT_EQ(indices, wanted) << failing;
        }
}

TEST_P(EachDitherer, RefusesFormatsThatItDoesNotMake) {
    struct Case {
        const char* what;
        ZPixFormat input, output;
    };
    const ZPixFormat input(21, 37, 4, 8);
    ZPixFormat tooMany(21, 37, 1, 4), threeOfOneBit(21, 37, 1, 1);
    const Palette palette = PictureLikePalette();
    tooMany.FillColorTable(17, palette.data());
    threeOfOneBit.FillColorTable(3, palette.data());
    const Case cases[] = {
        {"three channels in", ZPixFormat(21, 37, 3, 8), ZPixFormat(21, 37, 1, 8)},
        {"16 bits in", ZPixFormat(21, 37, 4, 16), ZPixFormat(21, 37, 1, 8)},
        {"other width", input, ZPixFormat(20, 37, 1, 8)},
        {"other height", input, ZPixFormat(21, 36, 1, 8)},
        {"2-bit indices", input, ZPixFormat(21, 37, 1, 2)},
        {"16-bit indices", input, ZPixFormat(21, 37, 1, 16)},
        {"three channels out", input, ZPixFormat(21, 37, 3, 8)},
        {"17 colors in 4 bits", input, tooMany},
        {"3 colors in a bit", input, threeOfOneBit},
        {"a count of 256 in 4 bits", input, ZPixFormat(21, 37, 1, 4, 256)},
        {"a count of 1 and no color", input, ZPixFormat(21, 37, 1, 8, 1)},
    };
    for (const Case& one : cases) {
        const auto filter = Make(GetParam());
        Connect(*filter, picture, one.output);
        filter->SetInputFormat(one.input);
        EXPECT_FALSE(filter->Start()) << one.what;
        EXPECT_EQ(filter->GetErrorFile(), "ZPixfDither") << one.what;
        EXPECT_FALSE(filter->GetErrorDescription().IsEmpty()) << one.what;
        EXPECT_EQ(filter->GetOutputFormat().GetNumColors(), one.output.GetNumColors()) << one.what;
        EXPECT_FALSE(filter->FilterScanline(0, nullptr)) << one.what;
    }
}

TEST_P(EachDitherer, WithoutAPaletteTakesTheFixedOneThatFits) {
    struct Case {
        unsigned bits, count, entries;
    };
    for (const Case& one : {Case{1, 0, 2}, Case{4, 0, 16}, Case{8, 0, 256}, Case{1, 2, 2}, Case{4, 2, 2},
                            Case{8, 16, 16}, Case{8, 200, 16}, Case{8, 256, 256}, Case{4, 15, 2}}) {
        const auto filter = Make(GetParam());
        Connect(*filter, picture, Indexed(picture, one.bits, one.count));
        ASSERT_TRUE(filter->Start());
        EXPECT_EQ(filter->GetOutputFormat().GetNumColors(), one.entries) << one.bits << ' ' << one.count;
    }
}

TEST_P(EachDitherer, EmptyPicturesAreHarmless) {
    for (const auto& [width, height] : {std::pair{0u, 0u}, {0u, 5u}, {5u, 0u}}) {
        Picture empty(width, height);
        const auto filter = Make(GetParam());
        filter->Stop();
        Connect(*filter, empty, Indexed(empty, 8, 0));
        EXPECT_FALSE(filter->FilterScanline(0, nullptr));
        ASSERT_TRUE(filter->Start());
        std::uint8_t guard = 0xA5;
        EXPECT_EQ(filter->FilterScanline(0, &guard), height != 0);
        EXPECT_EQ(guard, 0xA5);
        filter->Stop();
        filter->Stop();
    }
}

TEST_P(EachDitherer, EveryLevelGivesTheSameBytes) {
    Picture large = Noise(300, 100, 11);
    for (unsigned y = 50; y < 100; ++y)  // half noise, half a smooth slope
        for (unsigned x = 0; x < 300; ++x)
            large.Set(x, y, {static_cast<int>(x % 256), static_cast<int>(2 * y), static_cast<int>(x / 2)});
    const auto run = [&](cpu::Level level) {
        std::vector<Bytes> all;
        if (!UseKernels(level)) return all;
        ZPixfDither::FreeKeptTables();  // of another level
        for (const unsigned count : {2u, 16u, 256u}) all.push_back(Dither(GetParam(), large, count).indices);
        all.push_back(Dither(GetParam(), large, 0, PictureLikePalette()).indices);
        return all;
    };
    const auto wanted = run(cpu::Level::base);
    for (const cpu::Level level : {cpu::Level::avx2, cpu::Level::avx512}) {
        const auto found = run(level);
        if (!found.empty()) { EXPECT_EQ(found, wanted); }
    }
    UseKernels(cpu::Choose());
}

TEST_P(EachDitherer, GivesTheSameForAPartOfThePicture) {
    // Columns to the right have no say in an ordered dither; lines below have none in any.
    const auto whole = Dither(GetParam(), picture, 256).indices;
    Picture part(picture.width, 10);
    part.pixels.assign(picture.pixels.begin(), picture.pixels.begin() + 4 * 10 * picture.width);
    const auto top = Dither(GetParam(), part, 256).indices;
    EXPECT_TRUE(std::equal(top.begin(), top.end(), whole.begin()));
}

TEST_P(EachDitherer, RefusesAStrengthThatIsNone) {
    for (const double strength : {-0.01, 1.01, std::nan(""), HUGE_VAL}) {
        const auto filter = Make(GetParam());
        Connect(*filter, picture, Indexed(picture, 8, 16));
        filter->SetStrength(strength);
        EXPECT_FALSE(filter->Start()) << strength;
        EXPECT_FALSE(filter->GetErrorDescription().IsEmpty());
        filter->SetStrength(0.5);
        EXPECT_TRUE(filter->Start());
    }
}

INSTANTIATE_TEST_SUITE_P(ZPixfDither, EachDitherer,
                         testing::Values(Method::ordered, Method::blueNoise, Method::diffuse),
                         [](const auto& instance) {
                             return std::string(instance.param == Method::ordered     ? "Ordered"
                                                : instance.param == Method::blueNoise ? "BlueNoise"
                                                                                      : "Diffuse");
                         });

TEST(ZPixfDither, NamesItsType) {
    EXPECT_EQ(ZPixfDitherOrdered().FilterType(), ZPixfType::DitherOrdered);
    EXPECT_EQ(ZPixfDitherBlueNoise().FilterType(), ZPixfType::DitherBlueNoise);
    EXPECT_EQ(ZPixfDitherDiffuse().FilterType(), ZPixfType::DitherDiffuse);
}

TEST(FixedPalettes, SpanTheCubeWithGreysInEqualSteps) {
    Picture picture(1, 1);
    for (const unsigned count : {2u, 16u, 256u}) {
        const Palette palette = Dither(Method::ordered, picture, count).palette;
        ASSERT_EQ(palette.size(), count);
        const auto has = [&](int red, int green, int blue) {
            return std::any_of(palette.begin(), palette.end(), [&](const RGBQUAD& color) {
                return color.rgbRed == red && color.rgbGreen == green && color.rgbBlue == blue;
            });
        };
        EXPECT_TRUE(has(0, 0, 0) && has(255, 255, 255));
        for (int corner = 0; corner < 8 && count > 2; ++corner)
            EXPECT_TRUE(has((corner & 1) * 255, (corner >> 1 & 1) * 255, (corner >> 2) * 255)) << corner;
        for (int i = 0; i <= 45 && count == 256; ++i) {
            const int grey = static_cast<int>(std::lround(i * 255 / 45.0));
            EXPECT_TRUE(has(grey, grey, grey)) << grey;
        }
        for (std::size_t i = 0; i < palette.size(); ++i)  // none is there twice
            for (std::size_t j = 0; j < i; ++j) EXPECT_NE(std::memcmp(&palette[i], &palette[j], 3), 0) << i;
    }
}

}  // namespace
}  // namespace zpixf
