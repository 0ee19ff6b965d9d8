#pragma once
#include <optional>
#include <string_view>

namespace tool {

struct PixelSize {
    int width, height;
};

/// The size that a picture is to get: absolute, or as its own size tells.
struct NewSize {
    int width = 0, height = 0;  ///< 0: in proportion to the other
    double percent = 0;         ///< of both sides, where they are 0
    bool isBox = false;         ///< the largest size of the same proportions within width and height

    /// "800x600", "800x", "x600" or "50%".
    static std::optional<NewSize> Parse(std::string_view text);

    /// For a picture of that size. Sides are rounded to whole pixels, at least one. Raises std::runtime_error for a
    /// side beyond 2^31 - 1.
    PixelSize For(PixelSize picture) const;
};

}  // namespace tool
