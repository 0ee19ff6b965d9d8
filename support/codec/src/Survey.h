#pragma once
// The quick look at a block by which the encoder chooses its transform. It reads a few thousand bytes, whatever the
// block's size, and counts in integers, so that every system chooses the same.
#include <cstddef>
#include <cstdint>

#include "BlockFormat.h"

namespace zcdl {

/// What a block looks like, as far as compressing it goes.
enum class Content {
    unpredictable,  ///< neighbours say little: indexed colours, packed pixels, anything that is no picture
    drawn,          ///< flat areas, lines, text: mostly equal to its neighbours, and full of repetitions
    photographic,   ///< near its neighbours and nowhere repeated: what counts is how often each difference occurs
};

struct Survey {
    Content content = Content::unpredictable;
    /// The transform that suits the block, unless it is unpredictable.
    PlaneLayout layout;
};

Survey LookAt(const std::uint8_t* src, std::size_t byteCount) noexcept;

}  // namespace zcdl
