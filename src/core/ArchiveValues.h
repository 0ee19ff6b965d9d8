#pragma once
#include <bit>
#include <cstdint>

#include "zbm/SerializeIO.h"

namespace zbm {

// Four-byte values of an archive, little-endian as every system that we run on.
static_assert(std::endian::native == std::endian::little);

inline void WriteU32(SerializeIO& io, std::uint32_t value) {
    io.Write(reinterpret_cast<const unsigned char*>(&value), sizeof value);
}

inline std::uint32_t ReadU32(SerializeIO& io) {
    std::uint32_t value = 0;
    io.Read(reinterpret_cast<unsigned char*>(&value), sizeof value);
    return value;
}

inline void WriteI32(SerializeIO& io, std::int32_t value) { WriteU32(io, static_cast<std::uint32_t>(value)); }
inline std::int32_t ReadI32(SerializeIO& io) { return static_cast<std::int32_t>(ReadU32(io)); }

/// Whether `format` was read out of the record of another class. These have a version of 16 bits more or fewer, so that
/// all values are half a number off, and the small one of a format needs more than 16 bits.
constexpr bool IsOutOfStep(std::int32_t format) noexcept { return format != static_cast<std::int16_t>(format); }

}  // namespace zbm
