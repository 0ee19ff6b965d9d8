#include "palette/FixedPalettes.h"

#include <algorithm>

namespace zpixf {
namespace {

constexpr RGBQUAD Color(unsigned red, unsigned green, unsigned blue) {
    return {static_cast<BYTE>(blue), static_cast<BYTE>(green), static_cast<BYTE>(red), 0};
}

constexpr RGBQUAD kBlackAndWhite[] = {Color(0, 0, 0), Color(255, 255, 255)};

// The standard colours of VGA displays, in their order in 16-colour DIBs.
constexpr RGBQUAD kVga[] = {
    Color(0, 0, 0),       Color(128, 0, 0),   Color(0, 128, 0),   Color(128, 128, 0),
    Color(0, 0, 128),     Color(128, 0, 128), Color(0, 128, 128), Color(192, 192, 192),
    Color(128, 128, 128), Color(255, 0, 0),   Color(0, 255, 0),   Color(255, 255, 0),
    Color(0, 0, 255),     Color(255, 0, 255), Color(0, 255, 255), Color(255, 255, 255),
};

// A cube of 6 levels a channel, red counting slowest, then greys. The greys of cube and list together are 46 in equal
// steps of 17 thirds, every ninth of which the cube has already.
constexpr unsigned kCubeLevels = 6, kCubeStep = 51, kGreys = 46, kGreysPerCubeStep = 9;

FixedPalette CubeAndGreys() {
    FixedPalette palette;
    const auto append = [&](RGBQUAD color) { palette.entries[palette.count++] = color; };
    for (unsigned red = 0; red < kCubeLevels; ++red)
        for (unsigned green = 0; green < kCubeLevels; ++green)
            for (unsigned blue = 0; blue < kCubeLevels; ++blue)
                append(Color(red * kCubeStep, green * kCubeStep, blue * kCubeStep));
    for (unsigned i = 0; i < kGreys; ++i) {
        const unsigned grey = (i * 17 + 1) / 3;
        if (i % kGreysPerCubeStep != 0) append(Color(grey, grey, grey));
    }
    return palette;
}

template <std::size_t kCount>
FixedPalette Of(const RGBQUAD (&entries)[kCount]) {
    FixedPalette palette;
    palette.count = kCount;
    std::copy_n(entries, kCount, palette.entries.begin());
    return palette;
}

}  // namespace

FixedPalette FixedPaletteOf(unsigned count) {
    if (count >= 256) return CubeAndGreys();
    if (count >= 16) return Of(kVga);
    if (count >= 2) return Of(kBlackAndWhite);
    return {};
}

}  // namespace zpixf
