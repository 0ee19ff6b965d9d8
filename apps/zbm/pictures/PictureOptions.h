#pragma once
#include <cstdint>
#include <optional>

#include "shr/Color4b.h"

namespace tool {

inline constexpr int kDefaultJpegQuality = 90;

/// How picture files are read.
struct ReadOptions {
    /// Leaves the pixels as they lie in the file, marked to be shown turned, instead of turning them upright.
    bool keepOrientation = false;
    /// Pictures of more are refused before anything of that size is made.
    std::optional<std::uint64_t> maxPixels;
};

/// How picture files are written.
struct WriteOptions {
    int jpegQuality = kDefaultJpegQuality;  // 1 .. 100
    /// What transparent pixels are laid over, so that the picture is opaque; its alpha means nothing. Without one
    /// transparency is kept where the file type holds it, and laid over white where it does not.
    std::optional<shr::Color4b> background;
};

/// Raises std::runtime_error for a picture of more pixels than `maxPixels`, if that is given.
void RefuseTooManyPixels(int width, int height, std::optional<std::uint64_t> maxPixels);

}  // namespace tool
