#pragma once
#include <cstdint>
#include <vector>

#include "pictures/Notes.h"

namespace tool {

/// What a picture file tells beside what a bitmap holds. Goes from the file that is read to the file that is written.
struct Metadata {
    std::vector<std::uint8_t> colorProfile;  // ICC, empty if there is none
    /// Samples a unit length that is not known: only their ratio means something, how wide a pixel is. 0 is not known.
    std::uint32_t xAspect = 0, yAspect = 0;
    /// How the pixels are to be turned when they are shown, as in EXIF and TIFF; 1 is upright.
    int orientation = 1;
};

/// Notes what is lost where only the bitmap is kept: in an archive.
void NoteLost(const Metadata& metadata, Notes& notes);

}  // namespace tool
