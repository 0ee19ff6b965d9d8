#pragma once
// The records of a .bmp file, as far as reader and writer share them. All numbers are little-endian.
#include <cstddef>
#include <cstdint>

namespace tool::bmp {

inline constexpr std::size_t kFileHeaderBytes = 14;
inline constexpr std::uint32_t kCoreHeaderBytes = 12;  // OS/2 1.x: 16-bit sizes, colours of 3 bytes
inline constexpr std::uint32_t kInfoHeaderBytes = 40;
inline constexpr std::uint32_t kMaskHeaderBytes = 52;   // with masks for red, green, blue
inline constexpr std::uint32_t kAlphaHeaderBytes = 56;  // and for alpha
inline constexpr std::uint32_t kV4HeaderBytes = 108;
inline constexpr std::uint32_t kV5HeaderBytes = 124;

enum class Compression : std::uint32_t { rgb = 0, rle8 = 1, rle4 = 2, bitFields = 3, alphaBitFields = 6 };

inline std::uint16_t Load16(const std::uint8_t* bytes) { return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8); }
inline std::uint32_t Load32(const std::uint8_t* bytes) {
    return Load16(bytes) | static_cast<std::uint32_t>(Load16(bytes + 2)) << 16;
}
inline void Store16(std::uint8_t* bytes, unsigned value) {
    bytes[0] = static_cast<std::uint8_t>(value);
    bytes[1] = static_cast<std::uint8_t>(value >> 8);
}
inline void Store32(std::uint8_t* bytes, std::uint32_t value) {
    Store16(bytes, value & 0xFFFF);
    Store16(bytes + 2, value >> 16);
}

}  // namespace tool::bmp
