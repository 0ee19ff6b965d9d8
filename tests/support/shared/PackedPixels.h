#pragma once
// Pixels of any depth, one at a time and bit by bit: the plain rule that judges fast code.
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace shr::test {

using Bytes = std::vector<std::uint8_t>;

/// Bit 0 is the most significant one of the first byte.
inline bool GetBit(const std::uint8_t* row, std::size_t bit) { return (row[bit / 8] >> (7 - bit % 8) & 1) != 0; }

inline void SetBit(std::uint8_t* row, std::size_t bit, bool value) {
    const auto mask = static_cast<std::uint8_t>(0x80 >> bit % 8);
    row[bit / 8] = static_cast<std::uint8_t>(value ? row[bit / 8] | mask : row[bit / 8] & ~mask);
}

inline void CopyBitByBit(std::uint8_t* destination, std::size_t destinationBit, const std::uint8_t* source,
                         std::size_t sourceBit, std::size_t bitCount) {
    for (std::size_t i = 0; i < bitCount; ++i) SetBit(destination, destinationBit + i, GetBit(source, sourceBit + i));
}

inline Bytes RandomBytes(std::mt19937& random, std::size_t count) {
    Bytes bytes(count);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    return bytes;
}

}  // namespace shr::test
