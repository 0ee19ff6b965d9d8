#pragma once
#include <cstddef>
#include <cstdint>

#include "shr/ColorFormat.h"
#include "shr/Export.h"

namespace shr {

/// A run of pixels in each of several rows: the first row's first byte, the bytes from a row to the next (negative for
/// rows stored bottom-up), and the run's first pixel in each row.
template <class Byte>
struct PixelRuns {
    Byte* firstRow;
    std::ptrdiff_t stride;
    int x;
};

/// How a copy writes: through the caches, or past them, which is faster for what is larger than they are.
enum class CopyWrites { cached, streamed };

/// CopyPixels for `rows` rows. Rows are copied in no stated order, and must not overlap.
SHR_API void CopyPixelRows(PixelRuns<std::uint8_t> destination, PixelRuns<const std::uint8_t> source, int count,
                           int rows, ColorFormat format, CopyWrites writes) noexcept;

/// CopyPixels for one of many lines that are copied one by one. `source.stride` leads to the line that comes next,
/// which must exist and is fetched into the caches meanwhile; 0 if none does. The other stride is of no matter. What
/// was streamed is certain to be seen by other threads after FinishCopyWrites.
SHR_API void CopyPixelLine(const PixelRuns<std::uint8_t>& destination, const PixelRuns<const std::uint8_t>& source,
                           int count, ColorFormat format, CopyWrites writes) noexcept;
SHR_API void FinishCopyWrites() noexcept;

}  // namespace shr
