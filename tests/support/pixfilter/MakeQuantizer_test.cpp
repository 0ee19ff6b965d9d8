#include "zpixf/MakeQuantizer.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace zpixf {
namespace {

using enum ZPixfType;

TEST(MakeQuantizer, GivesTheFilterOfEachType) {
    for (const ZPixfType type :
         {DitherOrdered, DitherBlueNoise, DitherDiffuse, QuantizePopularity, QuantizeMedian5, QuantizeMedian8}) {
        const auto filter = MakeQuantizer(type, 16);
        ASSERT_NE(filter, nullptr);
        EXPECT_EQ(filter->FilterType(), type);
    }
}

TEST(MakeQuantizer, GivesNoneForFiltersThatGiveNoIndices) {
    for (const ZPixfType type : {Brightness, Median, Null, Resize, MakesAlpha, KeepsAlpha, ZPixfType(0), ZPixfType(99)})
        EXPECT_EQ(MakeQuantizer(type, 16), nullptr);
}

TEST(MakeQuantizer, HasQuantizersChooseAsManyColors) {
    constexpr unsigned kWidth = 64;
    const auto readShades = [](void*, unsigned, void* buffer) {
        auto* pixels = static_cast<std::uint8_t*>(buffer);
        for (unsigned x = 0; x < kWidth; ++x)
            for (unsigned channel = 0; channel < 4; ++channel) *pixels++ = static_cast<std::uint8_t>(4 * x);
        return true;
    };
    for (const ZPixfType type : {QuantizePopularity, QuantizeMedian5, QuantizeMedian8}) {
        const auto filter = MakeQuantizer(type, 7);
        filter->SetInputFormat(ZPixFormat(kWidth, 1));
        filter->SetOutputFormat(ZPixFormat(kWidth, 1, 1, 8));
        filter->SetScanLineFunction(readShades, nullptr);
        ASSERT_TRUE(filter->Start());
        EXPECT_EQ(filter->GetOutputFormat().GetNumColors(), 7u);
    }
}

}  // namespace
}  // namespace zpixf
