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

}  // namespace zbm
