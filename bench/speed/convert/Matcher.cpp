// The colour-table matcher: its building against the price of clearing its map, its searches and whole pictures
// against the plain loops.
#include <array>
#include <memory>
#include <vector>

#include "Benchmark.h"
#include "convert/MatcherKernels.h"
#include "convert/ZBMColorFormat.h"
#include "harness/Pictures.h"
#include "zbm/ColorTableMatcher.h"

namespace {

using shr::Color4b;
using Table = std::array<Color4b, 256>;

constexpr std::uint32_t kSide = bench::kPictureSide;
constexpr std::size_t kPixels = std::size_t{kSide} * kSide;

Color4b ColorAt(std::size_t pixel) {
    const std::uint8_t* bgra = bench::Photograph().pixels.data() + 4 * pixel;
    return {bgra[2], bgra[1], bgra[0]};
}

/// Colours from places all over the picture.
Table Palette() {
    Table table;
    for (std::size_t i = 0; i < table.size(); ++i) table[i] = ColorAt(i * 64008289 % kPixels);
    return table;
}

void Build(bench::Run& run) {
    const Table table = Palette();
    const auto build = [&] { const zbm::ColorTableMatcher matcher(table.data(), 256); };
    const auto clear = [] {
        std::vector<std::uint8_t> map(std::size_t{1} << 24);
        bench::Keep(map.front());
    };
    run.TakeTurns({1e-3, "1/ms"}, build, "ratio_to_clearing", clear);
}

/// As the rule for the map goes: every entry's distance to every cell, along each axis by additions.
void PlainInverseMap(const Table& table, std::vector<std::int32_t>& distances, std::vector<std::uint8_t>& map) {
    for (std::size_t i = 0; i < table.size(); ++i)
        for (int r = 0, cell = 0; r < 32; ++r)
            for (int g = 0; g < 32; ++g) {
                const auto square = [](int v) { return v * v; };
                const int rest = square(8 * r + 4 - table[i].red) + square(8 * g + 4 - table[i].green);
                int distance = rest + square(4 - table[i].blue), growth = 16 * (8 - table[i].blue);
                for (int b = 0; b < 32; ++b, ++cell, distance += growth, growth += 128) {
                    const auto at = static_cast<std::size_t>(cell);
                    if (i != 0 && distance >= distances[at]) continue;
                    distances[at] = distance;
                    map[at] = static_cast<std::uint8_t>(i);
                }
            }
}

void InverseMap(bench::Run& run) {
    const Table table = Palette();
    const auto work = std::make_unique<std::int32_t[]>(zbm::kInverseMapWork);
    std::vector<std::uint8_t> map(32768), plainMap(32768);
    std::vector<std::int32_t> distances(32768);
    const auto build = [&] {
        zbm::ActiveMatcherKernels().buildInverseMap({reinterpret_cast<const std::uint8_t*>(table.data()), 256},
                                                    work.get(), map.data());
    };
    run.TakeTurns({1e-3, "1/ms"}, build, "ratio_to_plain", [&] { PlainInverseMap(table, distances, plainMap); });
}

unsigned PlainNearest(const Table& table, Color4b color) {
    unsigned best = 0, bestDistance = ~0u;
    for (unsigned i = 0; i < table.size(); ++i) {
        const int red = table[i].red - color.red, green = table[i].green - color.green;
        const int blue = table[i].blue - color.blue;
        const auto distance = static_cast<unsigned>(red * red + green * green + blue * blue);
        if (distance < bestDistance) best = i, bestDistance = distance;
    }
    return best;
}

void MatchNearest(bench::Run& run) {
    constexpr std::size_t kCalls = 10000;
    const Table table = Palette();
    const zbm::ColorTableMatcher matcher(table.data(), 256);
    const auto callEach = [](auto match) {
        unsigned sum = 0;
        for (std::size_t i = 0; i < kCalls; ++i) sum += match(ColorAt(i * 1667));
        bench::Keep(sum);
    };
    run.TakeTurns(
        {kCalls * 1e-6, "M/s"}, [&] { callEach([&](Color4b color) { return matcher.MatchNearest(color); }); },
        "ratio_to_plain", [&] { callEach([&](Color4b color) { return PlainNearest(table, color); }); });
}

/// The whole picture, against one call of MatchExactOrApproximate a pixel.
void ToTable(bench::Run& run, shr::ColorFormat source, shr::ColorFormat destination) {
    const Table table = Palette();
    const zbm::ColorTableMatcher matcher(table.data(), 256);
    std::vector<std::uint8_t> indices(kPixels);
    const auto stride = [](shr::ColorFormat format) { return static_cast<int>(shr::RowBytes(kSide, format)); };
    const auto convert = [&] {
        zbm::ConvertPixelsToColorTable({indices.data(), destination, stride(destination)}, 256,
                                       {bench::Photograph().pixels.data(), source, stride(source), table.data()}, 256,
                                       kSide, kSide, matcher);
    };
    const auto callEach = [&] {
        for (std::size_t i = 0; i < kPixels; ++i) indices[i] = matcher.MatchExactOrApproximate(ColorAt(i));
    };
    run.TakeTurns({kPixels * 1e-6, "MP/s"}, convert, "ratio_to_calls", callEach);
}

bench::Benchmark WholePicture(const char* name, shr::ColorFormat source, shr::ColorFormat destination) {
    return {name, 9, [=](bench::Run& run) { ToTable(run, source, destination); }};
}

[[maybe_unused]] const bool kAdded = bench::Add({
    {"Matcher/build", 25, Build},
    {"Matcher/inverse_map", 25, InverseMap},
    {"Matcher/nearest", 25, MatchNearest},
    WholePicture("ToTable/bgra32_to_indexed8", shr::BGRA_32, shr::INDEXED_8),
    WholePicture("ToTable/bgra32_to_indexed4", shr::BGRA_32, shr::INDEXED_4),
    WholePicture("ToTable/bgra32_to_indexed1", shr::BGRA_32, shr::INDEXED_1),
    WholePicture("ToTable/bgr24_to_indexed8", shr::BGR_24, shr::INDEXED_8),
    WholePicture("ToTable/gray8_to_indexed8", shr::GRAYSCALE_8, shr::INDEXED_8),
    WholePicture("ToTable/indexed1_to_indexed1", shr::INDEXED_1, shr::INDEXED_1),
});

}  // namespace
