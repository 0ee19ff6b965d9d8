#pragma once
#include <functional>
#include <memory>

#include "resample/ResampleKernels.h"
#include "resample/ResampleWeights.h"

namespace zpixf {

/// The sums down the picture that an output line is mixed from. In a pass each input line is pulled at most once.
class ResampleRows {
public:
    enum class Sums { plain, weighted };  ///< as ResampleKernels::sumPlain and ::sumWeighted make them
    using Pull = std::function<bool(unsigned line, void* pixels)>;

    virtual ~ResampleRows() = default;

    /// Pulls what output line `line` needs; lines come in increasing order, and 0 begins anew. False if a line cannot
    /// be pulled; then, and after an exception, nothing is there.
    virtual bool MoveTo(unsigned line, const Pull& pull) = 0;
    /// Whether all alpha is 255 in what the line needs. Found out when it is asked for.
    virtual bool AreOpaque() = 0;
    /// The sums for pixels `first` .. `first + count`, both multiples of the kernels' group, and no more of them than
    /// a block has. Valid until the next call.
    virtual const double* Get(Sums sums, std::uint32_t first, std::uint32_t count) = 0;
};

/// Keeps a window of lines, as many as an output line has weights for, or where these would be very many, the sums of
/// the output lines that have begun. A block has up to `blockPixels`. Raises std::bad_alloc.
std::unique_ptr<ResampleRows> MakeResampleRows(const ResampleWeights& down, unsigned width, std::uint32_t blockPixels);

}  // namespace zpixf
