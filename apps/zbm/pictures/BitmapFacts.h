#pragma once
#include <array>
#include <cstdint>

#include "shr/IProgress.h"
#include "zbm/ZBitmap.h"

namespace tool {

/// What only a look at all pixels tells.
struct BitmapFacts {
    /// Whether a pixel is not fully opaque, in its alpha or in the mask.
    bool hasTransparentPixels = false;
    /// Of an indexed format: the indices that opaque pixels and transparent pixels have.
    std::array<bool, 256> opaqueIndices{}, transparentIndices{};

    /// Whether each index is either opaque wherever it stands or transparent wherever it stands.
    bool IsTransparencyByIndex() const;
    /// The largest index that stands anywhere; -1 if the format is not indexed.
    int LargestIndex() const;
};

/// Whether one of the row's pixels of four bytes, alpha last, is not fully opaque.
bool HasAlphaBelowFull(const std::uint8_t* row, int count);

/// Whether the alpha of a pixel is neither none nor full. Formats without an alpha channel have no such. Throws what
/// `progress` throws.
bool HasSoftAlpha(zbm::ZBitmap& bitmap, shr::IProgress& progress);

/// Throws what `progress` throws.
BitmapFacts LookAt(zbm::ZBitmap& bitmap, shr::IProgress& progress);

}  // namespace tool
