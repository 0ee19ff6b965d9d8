#pragma once
#include <cstdint>
#include <optional>

#include "shr/Color4b.h"

namespace tool {

/// A gigapixel: 4 GiB at 32 bits a pixel.
inline constexpr std::uint64_t kDefaultMaxPixels = std::uint64_t{1} << 30;
inline constexpr int kDefaultJpegQuality = 90;

/// How picture files are read.
struct ReadOptions {
    /// Leaves the pixels as they lie in the file, marked to be shown turned, instead of turning them upright.
    bool keepOrientation = false;
    /// Pictures of more are refused before anything of that size is made. If not given, kDefaultMaxPixels are the most
    /// that is held in memory, and files hold any number.
    std::optional<std::uint64_t> maxPixels;
};

/// How picture files are written.
struct WriteOptions {
    int jpegQuality = kDefaultJpegQuality;  // 1 .. 100
    /// What transparent pixels are laid over, so that the picture is opaque; its alpha means nothing. Without one
    /// transparency is kept where the file type holds it, and laid over white where it does not.
    std::optional<shr::Color4b> background;
};

/// Raises std::runtime_error for a picture of more pixels than `maxPixels`.
void RefuseTooManyPixels(int width, int height, std::uint64_t maxPixels);

}  // namespace tool
