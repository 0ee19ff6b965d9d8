#include "palette/PaletteMap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "base/Kernels.h"

namespace zpixf {
namespace {

using Palette = std::vector<RGBQUAD>;

RGBQUAD Entry(unsigned blue, unsigned green, unsigned red) {
    return {static_cast<BYTE>(blue), static_cast<BYTE>(green), static_cast<BYTE>(red), 0};
}

unsigned NearestByTrial(const Palette& palette, int blue, int green, int red) {
    unsigned best = 0;
    int least = 1 << 30;
    for (unsigned i = 0; i < palette.size(); ++i) {
        const int b = palette[i].rgbBlue - blue, g = palette[i].rgbGreen - green, r = palette[i].rgbRed - red;
        const int distance = b * b + g * g + r * r;
        if (distance < least) {
            least = distance;
            best = i;
        }
    }
    return best;
}

/// Colours to look up: some anywhere, some close to the entries, and the entries themselves.
std::vector<std::uint8_t> Probes(const Palette& palette, unsigned count) {
    std::mt19937 random(7);
    std::vector<std::uint8_t> pixels;
    const auto clamped = [](int value) { return static_cast<std::uint8_t>(std::min(std::max(value, 0), 255)); };
    for (unsigned i = 0; i < count; ++i) {
        const RGBQUAD& entry = palette[random() % palette.size()];
        const int spread = i % 3 == 0 ? 0 : i % 3 == 1 ? 12 : 255;
        for (const BYTE channel : {entry.rgbBlue, entry.rgbGreen, entry.rgbRed}) {
            const int shift = static_cast<int>(random() % static_cast<unsigned>(2 * spread + 1)) - spread;
            pixels.push_back(clamped(channel + shift));
        }
        pixels.push_back(static_cast<std::uint8_t>(random()));
    }
    return pixels;
}

struct PaletteCase {
    const char* name;
    unsigned count;
    std::function<RGBQUAD(std::mt19937&, unsigned)> entry;
};

const PaletteCase kPalettes[] = {
    {"Random", 256, [](std::mt19937& r, unsigned) { return Entry(r() & 255, r() & 255, r() & 255); }},
    {"Random16", 16, [](std::mt19937& r, unsigned) { return Entry(r() & 255, r() & 255, r() & 255); }},
    {"OneEntry", 1, [](std::mt19937&, unsigned) { return Entry(9, 200, 30); }},
    {"BlackAndWhite", 2, [](std::mt19937&, unsigned i) { return Entry(255 * i, 255 * i, 255 * i); }},
    {"Greys", 256, [](std::mt19937&, unsigned i) { return Entry(i, i, i); }},
    {"Clustered", 256, [](std::mt19937& r, unsigned) { return Entry(96 + r() % 16, 96 + r() % 16, 96 + r() % 16); }},
    {"ManyEqual", 256, [](std::mt19937& r, unsigned) { return Entry(r() % 4 * 60, r() % 4 * 60, r() % 2 * 60); }},
    {"AllEqual", 256, [](std::mt19937&, unsigned) { return Entry(1, 2, 3); }},
    // A grid of even steps is full of ties, on the borders of cells too.
    {"Grid", 216, [](std::mt19937&, unsigned i) { return Entry(i % 6 * 48, i / 6 % 6 * 48, i / 36 * 48); }},
    {"Corners", 8, [](std::mt19937&, unsigned i) { return Entry(i % 2 * 255, i / 2 % 2 * 255, i / 4 * 255); }},
};

class PaletteMapOf : public testing::TestWithParam<PaletteCase> {
protected:
    ~PaletteMapOf() override { UseKernels(cpu::Choose()); }
    static Palette Make() {
        std::mt19937 random(3);
        Palette palette;
        for (unsigned i = 0; i < GetParam().count; ++i) palette.push_back(GetParam().entry(random, i));
        return palette;
    }
};

TEST_P(PaletteMapOf, FindsTheNearestEntryAndOfSeveralTheFirst) {
    const Palette palette = Make();
    constexpr unsigned kProbes = 30000;
    const std::vector<std::uint8_t> pixels = Probes(palette, kProbes);
    for (const cpu::Level level : {cpu::Level::base, cpu::Level::avx2, cpu::Level::avx512}) {
        if (!UseKernels(level)) continue;
        PaletteMap map;
        map.Build(palette.data(), static_cast<unsigned>(palette.size()));
        std::vector<std::uint8_t> indices(kProbes);
        map.MapRow(pixels.data(), kProbes, indices.data());
        for (unsigned i = 0; i < kProbes; ++i) {
            const std::uint8_t* p = &pixels[4 * i];
            ASSERT_EQ(indices[i], NearestByTrial(palette, p[0], p[1], p[2])) << +p[0] << ' ' << +p[1] << ' ' << +p[2];
        }
    }
}

TEST_P(PaletteMapOf, GivesTheSameForAColorAsForARow) {
    const Palette palette = Make();
    const std::vector<std::uint8_t> pixels = Probes(palette, 300);
    PaletteMap map;
    map.Build(palette.data(), static_cast<unsigned>(palette.size()));
    for (std::size_t i = 0; i < pixels.size(); i += 4)
        ASSERT_EQ(map.Nearest(pixels[i], pixels[i + 1], pixels[i + 2]),
                  NearestByTrial(palette, pixels[i], pixels[i + 1], pixels[i + 2]));
}

INSTANTIATE_TEST_SUITE_P(Palettes, PaletteMapOf, testing::ValuesIn(kPalettes),
                         [](const auto& palette) { return std::string(palette.param.name); });

TEST(PaletteMap, WritesAsManyIndicesAsThereArePixels) {
    const Palette palette = {Entry(0, 0, 0), Entry(255, 255, 255)};
    PaletteMap map;
    map.Build(palette.data(), 2);
    const std::vector<std::uint8_t> white(4 * 40, 255);
    for (unsigned count = 0; count <= 40; ++count) {
        std::vector<std::uint8_t> indices(41, 77);
        map.MapRow(white.data(), count, indices.data());
        for (unsigned i = 0; i <= 40; ++i) EXPECT_EQ(indices[i], i < count ? 1 : 77);
    }
}

TEST(PaletteMap, ForgetsTheFormerPalette) {
    const Palette first = {Entry(10, 10, 10), Entry(20, 20, 20)}, second = {Entry(20, 20, 20), Entry(10, 10, 10)};
    PaletteMap map;
    map.Build(first.data(), 2);
    EXPECT_EQ(map.Nearest(11, 11, 11), 0u);
    map.Build(second.data(), 2);
    EXPECT_EQ(map.Nearest(11, 11, 11), 1u);
}

TEST(PaletteMap, StaysExactWhenSoManyCandidatesTurnUpThatItStartsOver) {
    // Entries on a sphere: nearly all of them are candidates in the cells near its middle, many in all others.
    Palette palette;
    std::mt19937 random(5);
    while (palette.size() < 256) {
        const int b = static_cast<int>(random() % 201) - 100, g = static_cast<int>(random() % 201) - 100,
                  r = static_cast<int>(random() % 201) - 100;
        const int square = b * b + g * g + r * r;
        if (square < 99 * 99 || square > 101 * 101) continue;
        palette.push_back(
            Entry(static_cast<unsigned>(128 + b), static_cast<unsigned>(128 + g), static_cast<unsigned>(128 + r)));
    }
    PaletteMap map;
    map.Build(palette.data(), 256);
    for (unsigned round = 0; round < 2; ++round)
        for (unsigned b = 3; b < 256; b += 8)
            for (unsigned g = 1; g < 256; g += 8)
                for (unsigned r = 6; r < 256; r += 8) {
                    const unsigned found = map.Nearest(b, g, r);
                    if ((b + g + r) % 7 != round) continue;
                    ASSERT_EQ(found,
                              NearestByTrial(palette, static_cast<int>(b), static_cast<int>(g), static_cast<int>(r)));
                }
}

}  // namespace
}  // namespace zpixf
