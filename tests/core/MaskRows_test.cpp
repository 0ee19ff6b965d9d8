// Rows of masks at every level of kernels, against loops over single bits.
#include "core/MaskRows.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "core/Kernels.h"
#include "support_code/KernelLevels.h"

namespace zbm {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes RandomBytes(std::size_t count, unsigned seed) {
    std::mt19937 random(seed);
    Bytes bytes(count);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    return bytes;
}

bool BitAt(const Bytes& mask, std::size_t x) { return (mask[x / 8] >> (7 - x % 8) & 1) != 0; }

void SetBit(Bytes& mask, std::size_t x, bool value) {
    const unsigned bit = 0x80u >> x % 8;
    mask[x / 8] = static_cast<std::uint8_t>(value ? mask[x / 8] | bit : mask[x / 8] & ~bit);
}

class MaskRows : public testing::TestWithParam<cpu::Level> {
protected:
    void SetUp() override { ASSERT_TRUE(UseKernels(GetParam())); }
    void TearDown() override { UseKernels(cpu::Choose()); }

    /// Runs `test` for all lengths up to some vectors, each from every bit of a byte.
    template <class Test>
    static void ForEachRun(const Test& test) {
        for (std::size_t x = 0; x < 8; ++x)
            for (std::size_t count = 0; count < 150; ++count) test(x, count);
    }
};

TEST_P(MaskRows, AreExpandedIntoTheLastByteOfEachPixel) {
    const Bytes mask = RandomBytes(20, 1), ground = RandomBytes(4 * 160, 2);
    for (const std::size_t step : {1u, 3u, 4u}) {
        ForEachRun([&](std::size_t x, std::size_t count) {
            Bytes expanded = ground, expected = ground;
            ExpandMaskRow(expanded.data() + 3, step, mask.data(), x, count);
            for (std::size_t i = 0; i < count; ++i) expected[3 + i * step] = BitAt(mask, x + i) ? 255 : 0;
            ASSERT_EQ(expanded, expected) << count << " pixels of " << step << " bytes from " << x;
        });
    }
}

TEST_P(MaskRows, ArePackedFromTheTopBitOfAlpha) {
    Bytes pixels = RandomBytes(4 * 150, 3);
    const Bytes ground = RandomBytes(20, 4);
    pixels[3] = 127, pixels[7] = 128;
    ForEachRun([&](std::size_t x, std::size_t count) {
        Bytes packed = ground, expected = ground;
        PackMaskRow(packed.data(), x, pixels.data(), count);
        for (std::size_t i = 0; i < count; ++i) SetBit(expected, x + i, pixels[4 * i + 3] >= 128);
        ASSERT_EQ(packed, expected) << count << " pixels from " << x;
    });
}

TEST_P(MaskRows, AreOpaqueIfEveryBitIsSetWhateverLiesBehind) {
    for (std::size_t count = 0; count < 300; ++count) {
        Bytes mask(40, 0);
        for (std::size_t x = 0; x < count; ++x) SetBit(mask, x, true);
        ASSERT_TRUE(IsMaskRowOpaque(mask.data(), count)) << count;
        for (std::size_t x = 0; x < count; ++x) {
            SetBit(mask, x, false);
            ASSERT_FALSE(IsMaskRowOpaque(mask.data(), count)) << count << " pixels, clear at " << x;
            SetBit(mask, x, true);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Levels, MaskRows, testing::ValuesIn(testkit::LevelsHere()), testkit::kLevelName);

}  // namespace
}  // namespace zbm
