#include <gtest/gtest.h>

#include "CopyBits.h"
#include "cpu/KernelSet.h"
#include "support/shared/PackedPixels.h"

namespace shr::test {
namespace {

struct LevelCase {
    cpu::Level level;
    CopyBitsFunction* copy;
};

std::vector<LevelCase> LevelsOfThisProcessor() {
    std::vector<LevelCase> levels;
    for (const LevelCase& one :
         {LevelCase{cpu::Level::base, &CopyBits_base}, LevelCase{cpu::Level::avx2, CPU_WIDE(CopyBits_avx2)},
          LevelCase{cpu::Level::avx512, CPU_WIDE(CopyBits_avx512)}}) {
        if (cpu::Runs(one.level)) levels.push_back(one);
    }
    return levels;
}

class CopyBitsLevels : public testing::TestWithParam<LevelCase> {};

TEST_P(CopyBitsLevels, CopyEveryPhaseAndLengthAsTheLoopOverSingleBits) {
    std::mt19937 random(1);
    const Bytes source = RandomBytes(random, 200), ground = RandomBytes(random, 200);
    for (unsigned phases = 0; phases < 64; ++phases) {
        const unsigned destinationPhase = phases / 8, sourcePhase = phases % 8;
        for (std::size_t bitCount = 1; bitCount <= 700; bitCount += bitCount < 300 ? 1 : 7) {
            Bytes copied = ground, expected = ground;
            GetParam().copy({copied.data() + 3, 0, destinationPhase, source.data() + 5, 0, sourcePhase, bitCount, 1});
            CopyBitByBit(expected.data() + 3, destinationPhase, source.data() + 5, sourcePhase, bitCount);
            ASSERT_EQ(copied, expected) << destinationPhase << " <- " << sourcePhase << ", " << bitCount << " bits";
        }
    }
}

TEST_P(CopyBitsLevels, CopyLongRunsAsTheLoopOverSingleBits) {
    std::mt19937 random(2);
    const Bytes source = RandomBytes(random, 10'000), ground = RandomBytes(random, 10'000);
    for (int round = 0; round < 64; ++round) {
        const unsigned destinationPhase = random() % 8, sourcePhase = random() % 8;
        const std::size_t bitCount = 1 + random() % 70'000;
        Bytes copied = ground, expected = ground;
        GetParam().copy({copied.data(), 0, destinationPhase, source.data(), 0, sourcePhase, bitCount, 1});
        CopyBitByBit(expected.data(), destinationPhase, source.data(), sourcePhase, bitCount);
        ASSERT_EQ(copied, expected) << destinationPhase << " <- " << sourcePhase << ", " << bitCount << " bits";
    }
}

TEST_P(CopyBitsLevels, CopyRunsInRowsAsOneByOne) {
    std::mt19937 random(3);
    const Bytes source = RandomBytes(random, 1000), ground = RandomBytes(random, 1000);
    for (int round = 0; round < 500; ++round) {
        const unsigned destinationPhase = random() % 8, sourcePhase = random() % 8;
        const std::size_t bitCount = 1 + random() % 700;
        const int rows = static_cast<int>(random() % 9);
        Bytes copied = ground, expected = ground;
        // The source upwards, as a tile's rows lie; one byte more from row to row in the destination.
        const std::uint8_t* const lastSource = source.data() + 900;
        GetParam().copy({copied.data(), 101, destinationPhase, lastSource, -100, sourcePhase, bitCount, rows});
        for (int row = 0; row < rows; ++row)
            CopyBitByBit(expected.data() + row * 101, destinationPhase, lastSource - row * 100, sourcePhase, bitCount);
        ASSERT_EQ(copied, expected) << destinationPhase << " <- " << sourcePhase << ", " << bitCount << " bits";
    }
}

INSTANTIATE_TEST_SUITE_P(All, CopyBitsLevels, testing::ValuesIn(LevelsOfThisProcessor()), [](const auto& tested) {
    return std::string(cpu::kLevelNames[static_cast<int>(tested.param.level)]);
});

}  // namespace
}  // namespace shr::test
