// Format conversions: a whole picture, which no cache holds, and a tile, which one does. memcpy of the result's bytes
// stands beside.
#include <cmath>
#include <cstdlib>
#include <memory>

#include "Contest.h"
#include "operations/ConvertRules.h"

namespace contest {

namespace {

Entry Ours(const Scene& scene) {
    const auto side = static_cast<std::uint32_t>(scene.source.side);
    return Doing(
        [=, to = scene.result.Rows(), from = scene.source.Rows()] { zbm::ConvertPixels(to, from, side, side); });
}

Entry CopyOfAsManyBytes(const Scene& scene) { return Doing(bench::Copy(scene.result.pixels.size())); }

// Sources, each made from a square of the picture.

/// Alpha in broad waves, which reach both ends.
Square Translucent(const Square& bgra) {
    Square source = bgra;
    for (int y = 0; y < source.side; ++y) {
        const double height = 200 * std::cos(y / 250.0);
        for (int x = 0; x < source.side; ++x) {
            const double alpha = std::clamp(128 + height * std::sin(x / 300.0), 0.0, 255.0);
            source.pixels[static_cast<std::size_t>(y * source.stride + 4 * x + 3)] = static_cast<std::uint8_t>(alpha);
        }
    }
    return source;
}

template <shr::ColorFormat kFormat, rules::Rule kRule>
Square Made(const Square& bgra) {
    Square source(kFormat, bgra.side);
    kRule(bgra, source);
    return source;
}

constexpr auto kGrey8 = Made<shr::GRAYSCALE_8, rules::Grey<false>>;

Square Premultiplied(const Square& bgra) { return Made<shr::PBGRA_32, rules::Premultiply>(Translucent(bgra)); }

Square Grey16(const Square& bgra) {
    const Square grey = kGrey8(bgra);
    Square source(shr::GRAYSCALE_16, bgra.side);
    for (std::size_t i = 0; i < grey.pixels.size(); ++i) {
        source.pixels[2 * i] = static_cast<std::uint8_t>(grey.pixels[i] ^ (i * 37 & 255));
        source.pixels[2 * i + 1] = grey.pixels[i];
    }
    return source;
}

/// 3 bits of red, 3 of green, 2 of blue.
Square Palette8(const Square& bgra) {
    Square source(shr::INDEXED_8, bgra.side);
    rules::ForEachPixel<4, 1>(bgra, source, [](const auto* from, auto* to) {
        *to = rules::Byte((from[2] & 0xe0u) | (from[1] & 0xe0u) >> 3 | from[0] >> 6);
    });
    for (unsigned i = 0; i < 256; ++i)
        source.table[i] = {rules::Byte(i & 0xe0), rules::Byte(i << 3 & 0xe0), rules::Byte(i << 6)};
    return source;
}

// Judging

/// Of packed pixels, 1 if any bit differs.
double MaxDifference(const Square& a, const Square& b) {
    if (shr::ColorFmtToBPP[a.format] < 8) return a.pixels == b.pixels ? 0 : 1;
    int difference = 0;
    for (std::size_t i = 0; i < a.pixels.size(); ++i)
        difference = std::max(difference, std::abs(a.pixels[i] - b.pixels[i]));
    return difference;
}

/// By our rule; max is the distance from that or from the rounded result, whichever is nearer.
std::function<Judge(const Scene&)> By(rules::Rule rule, rules::Rule nearest) {
    return [=](const Scene& start) -> Judge {
        Square byRule = start.result, byNearest = start.result;
        rule(start.source, byRule);
        (nearest == nullptr ? rule : nearest)(start.source, byNearest);
        return [=](const Entrant& who, const Scene& scene) -> Verdict {
            const double apart = MaxDifference(scene.result, byRule);
            const double max = std::min(apart, MaxDifference(scene.result, byNearest));
            return {{{"exact", apart == 0 ? 1.0 : 0.0}, {"max", max}}, apart == 0 || who.role != Role::ours};
        };
    };
}

struct Conversion {
    const char* name;
    shr::ColorFormat to;
    Square (*makeSource)(const Square& bgra);
    rules::Rule rule;
    rules::Rule nearest = nullptr;  ///< the rounded result, where ours is truncated
};

constexpr Conversion kConversions[] = {
    {"BGRA to RGBA", shr::RGBA_32, nullptr, rules::SwapRedAndBlue},
    {"BGR24 to BGRA", shr::BGRA_32, Made<shr::BGR_24, rules::DropAlpha>, rules::AddAlpha},
    {"BGRA to BGR24", shr::BGR_24, nullptr, rules::DropAlpha},
    {"premultiply", shr::PBGRA_32, Translucent, rules::Premultiply},
    {"unpremultiply", shr::BGRA_32, Premultiplied, rules::Unpremultiply<false>, rules::Unpremultiply<true>},
    {"BGRA to grey 8", shr::GRAYSCALE_8, nullptr, rules::Grey<false>, rules::Grey<true>},
    {"grey 8 to BGRA", shr::BGRA_32, kGrey8, rules::GreyToColor},
    {"grey 16 to grey 8", shr::GRAYSCALE_8, Grey16, rules::Grey16TopByte, rules::Grey16Nearest},
    {"grey 1 to grey 8", shr::GRAYSCALE_8, Made<shr::GRAYSCALE_1, rules::Threshold>, rules::BitsToGrey},
    {"palette 8 to BGRA", shr::BGRA_32, Palette8, rules::LookUp},
    {"BGRA to grey 1", shr::GRAYSCALE_1, nullptr, rules::Threshold},
};

}  // namespace

std::vector<Operation> Conversions(int picture) {
    const std::vector<Entrant> ours = {{.name = "ours", .enter = Ours, .role = Role::ours},
                                       {.name = "memcpy", .enter = CopyOfAsManyBytes, .role = Role::beside}};
    std::vector<Operation> operations;
    for (const int side : {picture, bench::kTileSide})
        for (const Conversion& c : kConversions)
            operations.push_back({"convert", c.name, side, side, ours, By(c.rule, c.nearest), c.makeSource, c.to});
    return operations;
}

}  // namespace contest
