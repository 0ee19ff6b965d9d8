// The vectors of every level that this processor has give what plain words of their width give.
#include <gtest/gtest.h>

#include <random>

#include "Words.h"
#include "cpu/CpuLevel.h"

namespace simd_tests {
namespace {

struct Case {
    cpu::Level level;
    const Words& words;
    const Words& plain;
};

std::vector<Case> Cases() {
    std::vector<Case> cases;
    if (kBaseWords.vecBytes != 0) cases.push_back({cpu::Level::base, kBaseWords, kPlainWords16});
#if defined(CPU_WIDE_LEVELS)
    if (cpu::Runs(cpu::Level::avx2)) cases.push_back({cpu::Level::avx2, kAvx2Words, kPlainWords32});
    if (cpu::Runs(cpu::Level::avx512)) cases.push_back({cpu::Level::avx512, kAvx512Words, kPlainWords64});
#endif
    return cases;
}

using Results = std::vector<std::uint8_t>;

Results ResultsOf(std::size_t (*compute)(const std::uint8_t*, std::uint8_t*), const Results& input) {
    Results results(kMostResults);
    results.resize(compute(input.data(), results.data()));
    return results;
}

/// The first vector that differs.
std::size_t DifferentVector(const Words& words, const Results& a, const Results& b) {
    const auto [x, y] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    return static_cast<std::size_t>(x - a.begin()) / words.vecBytes;
}

TEST(Vectors, OfEveryLevelGiveWhatPlainWordsGive) {
    std::mt19937 random(3);
    for (int round = 0; round < 2000; ++round) {
        Results input(kInputBytes);
        // Also the ends of all ranges.
        for (auto& byte : input) {
            const auto any = static_cast<std::uint8_t>(random());
            byte = round % 3 == 0 ? any : round % 3 == 1 ? (any < 128 ? 0 : 0xFF) : (any < 128 ? 0x7F : 0x80);
        }
        for (const auto& [level, words, plain] : Cases()) {
            ASSERT_EQ(words.vecBytes, plain.vecBytes);
            const Results got = ResultsOf(words.compute, input), expected = ResultsOf(plain.compute, input);
            ASSERT_EQ(got, expected) << words.vecBytes << " bytes, result " << DifferentVector(words, got, expected);
            if (level == cpu::Level::base) continue;
            const Results moved = ResultsOf(words.computeShuffles, input),
                          expectedMoved = ResultsOf(plain.computeShuffles, input);
            ASSERT_FALSE(moved.empty());
            ASSERT_EQ(moved, expectedMoved)
                << words.vecBytes << " bytes, shuffle " << DifferentVector(words, moved, expectedMoved);
        }
    }
}

}  // namespace
}  // namespace simd_tests
