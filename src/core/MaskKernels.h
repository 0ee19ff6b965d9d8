#pragma once
// The work per pixel on rows of masks, compiled once per instruction-set level. Every level gives the same bytes.
//
// Declarations only: the kernels' files include this, and must bring no code with weak linkage.
#include <cstddef>
#include <cstdint>

namespace zbm {

struct MaskKernels {
    /// As the functions of MaskRows.h.
    void (*expand)(std::uint8_t* lastByte, std::size_t pixelStep, const std::uint8_t* mask, std::size_t x,
                   std::size_t count);
    bool (*isOpaque)(const std::uint8_t* mask, std::size_t count);
    void (*pack)(std::uint8_t* mask, std::size_t x, const std::uint8_t* pixels, std::size_t count);
};

extern const MaskKernels kBaseMaskKernels, kAvx2MaskKernels, kAvx512MaskKernels;

/// The kernels in use, chosen once per process.
const MaskKernels& ActiveMaskKernels() noexcept;

}  // namespace zbm
