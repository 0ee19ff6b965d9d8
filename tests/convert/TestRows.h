#pragma once
// Rows of pixels in a block of memory of exactly their size, or with bytes around them that must stay as they are.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "convert/ZBMColorFormat.h"

namespace testkit {

/// Noise, the same for the same seed everywhere.
inline std::vector<std::uint8_t> NoiseBytes(std::size_t count, std::uint32_t seed) {
    std::vector<std::uint8_t> bytes(count);
    std::uint32_t state = seed * 2654435761u + 88172645u;
    for (auto& byte : bytes) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        byte = static_cast<std::uint8_t>(state >> 11);
    }
    return bytes;
}

enum class RowOrder { down, up, onTopOfEachOther };

struct RowLayout {
    RowOrder order = RowOrder::down;
    std::size_t gap = 0;     ///< bytes between rows
    std::size_t before = 0;  ///< bytes before the first in memory
    std::size_t after = 0;   ///< bytes after the last
};

struct TestRows {
    TestRows(shr::ColorFormat which, std::uint32_t width, std::uint32_t height, RowLayout layout, std::uint32_t seed)
        : format(which), table(NoiseTable(seed)) {
        const std::size_t rowBytes = shr::PixelBytes(width, which);
        const std::size_t step = layout.order == RowOrder::onTopOfEachOther ? 0 : rowBytes + layout.gap;
        const std::size_t span = height == 0 ? 0 : (height - 1) * step + rowBytes;
        const bool isUp = layout.order == RowOrder::up && height != 0;
        bytes = NoiseBytes(layout.before + span + layout.after, seed);
        first = layout.before + (isUp ? (height - 1) * step : 0);
        stride = isUp ? -static_cast<std::int32_t>(step) : static_cast<std::int32_t>(step);
    }

    zbm::PixelRows Rows() { return {bytes.data() + first, format, stride, table.data()}; }
    zbm::ConstPixelRows ConstRows() const { return {bytes.data() + first, format, stride, table.data()}; }

    shr::ColorFormat format;
    std::vector<std::uint8_t> bytes;
    std::size_t first = 0;
    std::int32_t stride = 0;
    std::vector<shr::Color4b> table;  ///< exactly the format's

private:
    std::vector<shr::Color4b> NoiseTable(std::uint32_t seed) const {
        const auto size = static_cast<std::size_t>(shr::ColorFmtToTblSize[format]);
        const auto noise = NoiseBytes(4 * size, seed + 1);
        std::vector<shr::Color4b> colors;
        for (std::size_t i = 0; i < size; ++i)
            colors.emplace_back(noise[4 * i], noise[4 * i + 1], noise[4 * i + 2], noise[4 * i + 3]);
        return colors;
    }
};

}  // namespace testkit
