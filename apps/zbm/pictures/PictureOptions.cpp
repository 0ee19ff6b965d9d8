#include "pictures/PictureOptions.h"

#include <stdexcept>
#include <string>

namespace tool {

void RefuseTooManyPixels(int width, int height, std::optional<std::uint64_t> maxPixels) {
    const std::uint64_t pixels = static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
    if (!maxPixels || pixels <= *maxPixels) return;
    throw std::runtime_error("its " + std::to_string(width) + " x " + std::to_string(height) + " pixels are " +
                             std::to_string(pixels) + " in all, more than the limit of " + std::to_string(*maxPixels) +
                             " (--max-pixels)");
}

}  // namespace tool
