#pragma once
#include <cstdint>

#include "shr/ColorFormat.h"

namespace tool {

/// What a bitmap is to be made of.
struct BitmapShape {
    int width, height;
    shr::ColorFormat format;
    int tileWidth, tileHeight;
};

/// Raises std::runtime_error for a bitmap that this machine's memory cannot hold, before anything of it is allocated:
/// what is allocated but not there makes the system kill processes. `otherBytes` are needed beside it. Returns how many
/// bytes all of it takes.
std::uint64_t RefuseBeyondMemory(const BitmapShape& shape, std::uint64_t otherBytes);

}  // namespace tool
