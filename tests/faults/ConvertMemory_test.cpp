#include <gtest/gtest.h>

#include <vector>

#include "convert/ZBMColorFormat.h"
#include "faults/HeapMeter.h"

namespace faults {
namespace {

/// Bytes asked for while a picture of 40 colours is quantized into an indexed one.
std::uint64_t BytesToQuantize(std::uint32_t height, zpixf::ZPixfType quantizer) {
    constexpr std::uint32_t kWidth = 40;
    std::vector<std::uint8_t> pixels;
    for (std::uint32_t i = 0; i < kWidth * height; ++i)
        for (const unsigned byte : {i % kWidth * 5, i % kWidth * 3, 7u, 255u})
            pixels.push_back(static_cast<std::uint8_t>(byte));
    std::vector<std::uint8_t> indices(kWidth / 2 * height);
    std::vector<shr::Color4b> table(16);
    ResetRequests();
    zbm::ConvertPixels({indices.data(), shr::INDEXED_4, kWidth / 2, table.data()},
                       {pixels.data(), shr::BGRA_32, 4 * kWidth}, kWidth, height, quantizer);
    return RequestsSinceReset().total;
}

TEST(ConvertPixelsMemory, AskedForDoesNotGrowWithThePictureThatIsQuantized) {
    using enum zpixf::ZPixfType;
    for (const auto quantizer :
         {DitherOrdered, DitherBlueNoise, DitherDiffuse, QuantizePopularity, QuantizeMedian5, QuantizeMedian8}) {
        BytesToQuantize(8, quantizer);  // what is made once and kept
        EXPECT_EQ(BytesToQuantize(20000, quantizer), BytesToQuantize(8, quantizer)) << static_cast<int>(quantizer);
    }
}

}  // namespace
}  // namespace faults
