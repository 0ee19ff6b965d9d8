#pragma once
// The work per pixel of the converter, compiled once per instruction-set level. Every level gives the same bytes.
//
// Declarations only: the kernels' files include this, and must bring no code with weak linkage.
#include <cstddef>
#include <cstdint>

#include "shr/ColorFormat.h"

namespace zbm {

/// Kernels convert pixels by the block: in every format a block is a whole number of bytes, 4 for each bit of a pixel.
constexpr std::size_t kBlockPixels = 32;
constexpr std::size_t BlockBytes(int bitsPerPixel) { return kBlockPixels / 8 * static_cast<std::size_t>(bitsPerPixel); }
constexpr std::size_t kMaxBlockBytes = BlockBytes(32);

/// What the indices of the source stand for: 256 entries in a form that the destination chooses. They are 8-bit levels
/// for a grey of at most 8 bits, the pixels themselves for one of 16 or 32 bits and for colours, where BGR_24 takes
/// pixels of BGRX_32.
struct IndexMap {
    static constexpr std::size_t kEntries = 256;
    std::uint8_t bytes[kEntries * 4];
};

/// Converts `blocks` blocks that lie without gaps. Reads and writes no other byte; dst and src must not overlap. `map`
/// is used by indexed sources alone.
using BlockKernel = void(std::uint8_t* dst, const std::uint8_t* src, std::size_t blocks, const IndexMap* map);

struct RowKernels {
    /// By destination and source; null where kernels do not convert. An indexed destination gets indices.
    BlockKernel* convert[shr::kColorFormats][shr::kColorFormats];
    /// The same, writing past the caches: for a `dst` at a multiple of kStreamAlignment. Null where there is none.
    /// Other threads are certain to see it after shr::FinishCopyWrites.
    BlockKernel* stream[shr::kColorFormats][shr::kColorFormats];
};
constexpr std::size_t kStreamAlignment = 32;

extern const RowKernels kBaseRowKernels, kAvx2RowKernels, kAvx512RowKernels;

/// The kernels in use, chosen once per process.
const RowKernels& ActiveRowKernels() noexcept;

}  // namespace zbm
