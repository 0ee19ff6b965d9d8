// Converts random pixels between any two formats in rows of random shape, at every level of kernels that runs here, and
// compares with the plain reference.
//
// An input starts with a head of 9 bytes: destination format, source format (16 values each, so that some are none);
// width, low byte first (2); height (low 3 bits), destination and source upwards (bits 3, 4) and their rows on top of
// each other (bits 5, 6); bytes between the rows of the destination and of the source; bytes before the first pixel of
// both (a nibble each); quantizer. The rest, over and over, is the source's pixels and table.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "convert/Reference.h"
#include "convert/ZBMColorFormat.h"
#include "core/Kernels.h"

namespace {

using shr::Color4b;
using shr::ColorFormat;

constexpr std::size_t kHeadBytes = 9;
constexpr unsigned kMaxWidth = 600;

void Require(bool condition) {
    if (!condition) std::abort();
}

/// The input as an endless row of bytes.
struct Input {
    const std::uint8_t* data;
    std::size_t size;

    unsigned At(std::size_t i) const { return i < size ? data[i] : 0; }
    std::uint8_t Rest(std::size_t i) const {
        return size > kHeadBytes ? data[kHeadBytes + i % (size - kHeadBytes)] : std::uint8_t{0};
    }
};

struct Shape {
    unsigned width, height, gap, before;
    bool upwards, onTopOfEachOther;
};

/// Rows in memory of the exact size, with a table of the exact size.
struct Block {
    Block(ColorFormat which, const Shape& shape) : format(which) {
        const bool isFormat = shr::IsColorFormat(which);
        const std::size_t rowBytes = isFormat ? shr::PixelBytes(shape.width, which) : 4 * shape.width;
        const std::size_t step = shape.onTopOfEachOther ? 0 : rowBytes + shape.gap;
        size = shape.before + (shape.height == 0 ? 0 : step * (shape.height - 1) + rowBytes);
        bytes.reset(new std::uint8_t[size]);
        const bool flip = shape.upwards && shape.height > 0;
        first = shape.before + (flip ? step * (shape.height - 1) : 0);
        stride = flip ? -static_cast<int>(step) : static_cast<int>(step);
        tableSize = static_cast<std::size_t>(isFormat ? shr::ColorFmtToTblSize[which] : 0);
        table.reset(new Color4b[tableSize]);
    }

    zbm::PixelRows Rows() { return {bytes.get() + first, format, stride, table.get()}; }
    zbm::ConstPixelRows ConstRows() const { return {bytes.get() + first, format, stride, table.get()}; }

    ColorFormat format;
    std::size_t size, first, tableSize;
    std::int32_t stride;
    std::unique_ptr<std::uint8_t[]> bytes;
    std::unique_ptr<Color4b[]> table;
};

void FillResult(Block& block) {
    for (std::size_t i = 0; i < block.size; ++i) block.bytes[i] = static_cast<std::uint8_t>(37 * i);
    for (std::size_t i = 0; i < block.tableSize; ++i) block.table[i] = Color4b(1, 2, 3, 4);
}

using enum zpixf::ZPixfType;
constexpr zpixf::ZPixfType kQuantizers[] = {
    Null,   DitherOrdered, DitherBlueNoise, DitherDiffuse, QuantizePopularity, QuantizeMedian5, QuantizeMedian8,
    Resize, KeepsAlpha};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Input input{data, size};
    const auto dstFormat = static_cast<ColorFormat>(input.At(0) % 16),
               srcFormat = static_cast<ColorFormat>(input.At(1) % 16);
    const unsigned flags = input.At(4), width = (input.At(2) | input.At(3) << 8) % kMaxWidth, height = flags & 7;
    const auto quantizer = kQuantizers[input.At(8) % std::size(kQuantizers)];
    const Shape dstShape{width, height, input.At(5), input.At(7) & 15, (flags & 8) != 0, (flags & 32) != 0};
    const Shape srcShape{width, height, input.At(6), input.At(7) >> 4, (flags & 16) != 0, (flags & 64) != 0};

    Block src(srcFormat, srcShape);
    for (std::size_t i = 0; i < src.size; ++i) src.bytes[i] = input.Rest(i);
    for (std::size_t i = 0; i < src.tableSize; ++i)
        src.table[i] = Color4b(input.Rest(i), input.Rest(2 * i + 1), input.Rest(3 * i + 2), input.Rest(5 * i + 3));
    Block expected(dstFormat, dstShape);
    FillResult(expected);
    zbm::reference::ConvertPixels(expected.Rows(), src.ConstRows(), width, height);

    const bool quantizes = zbm::reference::Quantizes(dstFormat, srcFormat);
    for (const cpu::Level level : {cpu::Level::base, cpu::Level::avx2, cpu::Level::avx512}) {
        if (!zbm::UseKernels(level)) continue;
        Block dst(dstFormat, dstShape);
        FillResult(dst);
        zbm::ConvertPixels(dst.Rows(), src.ConstRows(), width, height, quantizer);
        if (quantizes) continue;  // that it touches no memory but the picture's is all that is known
        for (std::size_t i = 0; i < dst.size; ++i) Require(dst.bytes[i] == expected.bytes[i]);
        for (std::size_t i = 0; i < dst.tableSize; ++i) Require(dst.table[i] == expected.table[i]);
    }
    return 0;
}
