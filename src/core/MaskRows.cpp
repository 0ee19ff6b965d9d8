#include "core/MaskRows.h"

#include "core/MaskKernels.h"

namespace zbm {

void ExpandMaskRow(std::uint8_t* lastByte, std::size_t pixelStep, const std::uint8_t* mask, std::size_t x,
                   std::size_t count) {
    ActiveMaskKernels().expand(lastByte, pixelStep, mask, x, count);
}

bool IsMaskRowOpaque(const std::uint8_t* mask, std::size_t count) { return ActiveMaskKernels().isOpaque(mask, count); }

void PackMaskRow(std::uint8_t* mask, std::size_t x, const std::uint8_t* pixels, std::size_t count) {
    ActiveMaskKernels().pack(mask, x, pixels, count);
}

}  // namespace zbm
