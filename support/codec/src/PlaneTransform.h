#pragma once
// From a block's bytes to the content of its zstd frame and back, as a PlaneLayout says:
//
//     rows of pixels -> planes -> residuals -> packed planes | rest | escapes
//
// Both ways go a few rows at a time, which stay in the processor's first cache.
#include <cstddef>
#include <cstdint>

#include "BlockFormat.h"
#include "Buffer.h"

namespace zcdl {

class PlaneEncoder {
public:
    /// Makes the frame's content of the `layout.byteCount` bytes at `src` and fills in the layout's escape counts. A
    /// plane that is not constant after all, or would escape too often, is changed in `layout` to one of whole bytes.
    /// Raises std::bad_alloc.
    void Transform(const std::uint8_t* src, PlaneLayout& layout);
    /// Of the last Transform: ContentBytes() of its layout.
    const std::uint8_t* Content() const noexcept { return content.Data(); }

private:
    struct Target;
    bool TryTransform(const std::uint8_t* src, PlaneLayout& layout);
    Target Prepare(const PlaneLayout& layout);

    Buffer content;
    Buffer rows;
};

class PlaneDecoder {
public:
    /// Where to put the frame's content before Restore. Raises std::bad_alloc.
    std::uint8_t* ContentBuffer(const PlaneLayout& layout) { return content.Reserve(layout.ContentBytes()); }
    /// Writes the `layout.byteCount` bytes that the content stands for. False if it is none that PlaneEncoder makes:
    /// too few or too many escapes, some that needed no escape, another filler behind an odd row than there is to be;
    /// `dst` is then partly written. Raises std::bad_alloc.
    bool Restore(const PlaneLayout& layout, std::uint8_t* dst);

private:
    struct Source;
    Source Prepare(const PlaneLayout& layout);

    Buffer content;
    Buffer band;
};

}  // namespace zcdl
