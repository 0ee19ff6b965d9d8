// Draws small pictures of any format and tiles anywhere on a surface of any layout, at every level of kernels that runs
// here, and compares with sums in doubles.
//
// An input is a row of numbers, each read from the next two bytes, low byte first; behind the end all are 0: format;
// width, height, tile width, tile height; layout, surface width and height; destination left, top, width, height; area
// left, top, width, height in 64ths of a pixel; options.
#include <cstdlib>
#include <cstring>
#include <memory>

#include "core/Kernels.h"
#include "draw/PlainDrawing.h"
#include "support_code/FormulaPicture.h"
#include "support_code/KernelLevels.h"
#include "zbm/ZBasicMemBitmap.h"

namespace {

void Require(bool condition) {
    if (!condition) std::abort();
}

class Numbers {
public:
    Numbers(const std::uint8_t* bytes, std::size_t count) : data(bytes), size(count) {}
    int Next(int most) {
        unsigned value = 0;
        for (int i = 0; i < 2; ++i, ++at) value |= at < size ? static_cast<unsigned>(data[at]) << (8 * i) : 0;
        return static_cast<int>(value) % (most + 1);
    }

private:
    const std::uint8_t* data;
    std::size_t size, at = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Numbers numbers(data, size);
    const shr::ColorFormat format = testkit::kFormats[numbers.Next(12)];
    const int width = 1 + numbers.Next(39), height = 1 + numbers.Next(39);
    const int tileWidth = 1 + numbers.Next(39), tileHeight = 1 + numbers.Next(39);
    const zbm::ZBasicMemBitmap bitmap = testkit::FormulaBitmap(width, height, format, tileWidth, tileHeight);

    const auto layout = static_cast<zbm::SurfaceLayout>(numbers.Next(2));
    const int across = 1 + numbers.Next(31), down = 1 + numbers.Next(31);
    const auto bytes = static_cast<std::size_t>(4 * across * down);
    const std::unique_ptr<std::uint8_t[]> memory(new std::uint8_t[bytes]);
    const zbm::PixelSurface surface{memory.get(), 4 * across, across, down, layout};
    const int left = numbers.Next(80) - 40, top = numbers.Next(80) - 40;
    const RECT destination{left, top, left + numbers.Next(80), top + numbers.Next(80)};
    const auto place = [&] { return (numbers.Next(0xFFFF) - 0x4000) / 64.0; };
    const auto length = [&] { return (1 + numbers.Next(0xFFFF)) / 64.0; };
    const zbm::SourceArea area{place() / 8, place() / 8, length(), length()};
    zbm::DrawOptions options;
    if (numbers.Next(1) != 0) options.enlarging = zbm::DrawOptions::Enlarging::nearest;
    if (numbers.Next(1) != 0) options.shrinking = zbm::DrawOptions::Shrinking::nearest;
    options.background = static_cast<zbm::DrawOptions::Background>(numbers.Next(2));

    const testkit::PlainPicture picture(bitmap);
    for (const cpu::Level level : testkit::LevelsHere()) {
        Require(zbm::UseKernels(level));
        std::memset(memory.get(), 0x80, bytes);
        std::vector<std::pair<const std::uint8_t*, testkit::PlainPixel>> expected;
        testkit::DrawPlainly(
            picture, surface, destination, area, options,
            [&](const std::uint8_t* at, const testkit::PlainPixel& pixel, bool) { expected.emplace_back(at, pixel); });
        Require(bitmap.DrawOnPixels(surface, destination, area, options, nullptr));
        for (const auto& [at, pixel] : expected)
            for (int c = 0; c < 4; ++c) {
                // Colours of nearly transparent pixels mean little.
                const bool isFaint = layout == zbm::SurfaceLayout::bgra && c < 3 && pixel.byte[3] < 32;
                Require(isFaint || std::abs(at[c] - pixel.byte[c]) <= 1.01);
            }
    }
    return 0;
}
