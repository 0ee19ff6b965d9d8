#pragma once
// What every function of the vectors gives for some input, so that levels can be compared.
#include <cstddef>
#include <cstdint>

namespace simd_tests {

/// Room for all results of the widest vectors, and for two of them to read.
constexpr std::size_t kMostBytes = 64, kMostResults = 120 * kMostBytes, kInputBytes = 2 * kMostBytes;

struct Words {
    std::size_t vecBytes;
    /// Writes what all functions make of the input, whatever its bytes; returns how many bytes that is.
    std::size_t (*compute)(const std::uint8_t* input, std::uint8_t* results);
    /// Those that only some levels have.
    std::size_t (*computeShuffles)(const std::uint8_t* input, std::uint8_t* results);
};

extern const Words kBaseWords, kAvx2Words, kAvx512Words;
extern const Words kPlainWords16, kPlainWords32, kPlainWords64;

}  // namespace simd_tests
