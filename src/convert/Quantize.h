#pragma once
// Choosing a palette for pixels: ConvertPixels hands this to a filter of the pixel-filter library.
#include "convert/ZBMColorFormat.h"
#include "core/Checks.h"
#include "zbm/ZBMLib2.h"
#include "zpixf/ZPixFilterBase.h"

namespace zbm {

/// Writes indices and the table, which is black on entry. A type that is no quantizer writes nothing, and neither does
/// an empty rectangle.
void Quantize(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width, std::uint32_t height,
              zpixf::ZPixfType quantizer);

/// The type of the filter that chooses colours by that method; where it is none, what the check says is raised.
zpixf::ZPixfType QuantizerOf(QuantMethod method, Check isMethod);

/// Filters tell of failures by their results; callers must not take what was not written for pixels. Raises the
/// filter's error as a shr::Exception.
[[noreturn]] void RaiseErrorOf(const zpixf::ZPixFilterBase& filter);

/// Runs `filter` over all rows and takes its palette. It is stopped at the end, also when a step throws. The filter
/// pulls source rows one at a time, as BGRA_32; rows are asked of it even if it could not start. When it could not, or
/// failed at a row, its error is raised at the end as a shr::Exception.
void QuantizeThrough(zpixf::ZPixFilterBase& filter, const PixelRows& dst, const ConstPixelRows& src,
                     std::uint32_t width, std::uint32_t height);

}  // namespace zbm
