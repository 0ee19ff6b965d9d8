#include "pictures/PixelLine.h"

#include <cstring>

namespace tool {

namespace {

/// Copies one pixel of whole bytes.
template <int kBits>
struct Pixel {
    static void Copy(std::uint8_t* to, std::ptrdiff_t toX, const std::uint8_t* from, std::ptrdiff_t fromX) {
        constexpr std::ptrdiff_t kBytes = kBits / 8;
        std::memcpy(to + toX * kBytes, from + fromX * kBytes, kBytes);
    }
};

template <int kBits>
struct PackedPixel {
    static void Copy(std::uint8_t* to, std::ptrdiff_t toX, const std::uint8_t* from, std::ptrdiff_t fromX) {
        constexpr std::ptrdiff_t kPerByte = 8 / kBits;
        constexpr unsigned kMask = (1u << kBits) - 1;
        const auto shift = [](std::ptrdiff_t x) { return (kPerByte - 1 - x % kPerByte) * kBits; };
        const unsigned value = from[fromX / kPerByte] >> shift(fromX) & kMask;
        std::uint8_t& byte = to[toX / kPerByte];
        byte = static_cast<std::uint8_t>((byte & ~(kMask << shift(toX))) | value << shift(toX));
    }
};
template <>
struct Pixel<1> : PackedPixel<1> {};
template <>
struct Pixel<4> : PackedPixel<4> {};

/// The rows of the run are walked side by side: as a column of the bitmap each would touch a line of the cache a pixel.
template <int kBits>
void Put(PixelLine line, int across, const PixelRun& run, int first, int count) {
    for (int i = first; i < first + count; ++i, line.row += line.rowStep, line.x += line.xStep) {
        const std::uint8_t* row = run.rows;
        std::ptrdiff_t x = line.x;
        for (int n = 0; n < run.rowCount; ++n, row += run.rowBytes, x += across) {
            Pixel<kBits>::Copy(line.row, x, row, i);
        }
    }
}

template <int kBits>
void Get(PixelLine line, std::uint8_t* row, int first, int count) {
    for (int i = first; i < first + count; ++i, line.row += line.rowStep, line.x += line.xStep) {
        Pixel<kBits>::Copy(row, i, line.row, line.x);
    }
}

}  // namespace

void PutPixels(const PixelLine& line, int across, const PixelRun& run, int first, int count, int bitsPerPixel) {
    switch (bitsPerPixel) {
        case 1: return Put<1>(line, across, run, first, count);
        case 4: return Put<4>(line, across, run, first, count);
        case 8: return Put<8>(line, across, run, first, count);
        case 16: return Put<16>(line, across, run, first, count);
        case 24: return Put<24>(line, across, run, first, count);
        case 32: return Put<32>(line, across, run, first, count);
        default: return;
    }
}

void GetPixels(const PixelLine& line, std::uint8_t* row, int first, int count, int bitsPerPixel) {
    switch (bitsPerPixel) {
        case 1: return Get<1>(line, row, first, count);
        case 4: return Get<4>(line, row, first, count);
        case 8: return Get<8>(line, row, first, count);
        case 16: return Get<16>(line, row, first, count);
        case 24: return Get<24>(line, row, first, count);
        case 32: return Get<32>(line, row, first, count);
        default: return;
    }
}

}  // namespace tool
