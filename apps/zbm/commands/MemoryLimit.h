#pragma once
#include <cstdint>
#include <optional>

#include "shr/ColorFormat.h"

namespace tool {

/// What a bitmap is to be made of.
struct BitmapShape {
    int width, height;
    shr::ColorFormat format;
    int tileWidth, tileHeight;
};

/// What a bitmap of that shape takes in memory, in bytes. In floating point: the product of hostile numbers fits no
/// integer.
double BytesOf(const BitmapShape& shape);

/// Raises std::runtime_error for a bitmap that the memory of this process cannot hold, before anything of it is
/// allocated: what is allocated but not there makes the system kill processes. `otherBytes` are needed beside it.
void RefuseBeyondMemory(const BitmapShape& shape, std::uint64_t otherBytes);
/// The same for a bitmap of which there is a row of tiles at a time.
void RefuseBeyondMemoryOfARow(BitmapShape shape, std::uint64_t otherBytes);

/// How many bytes a bitmap may have that is held in memory: those that the user asked for, but not more than there are;
/// else a quarter of the memory of this process, as there may be another such bitmap and what filters need.
std::uint64_t MemoryForABitmap(std::optional<std::uint64_t> asked);

}  // namespace tool
