#include "resample/ResampleWeights.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace zpixf::resampling {
namespace {

constexpr ResampleKernel kKernels[] = {ResampleKernel::triangle, ResampleKernel::catmullRom, ResampleKernel::mitchell,
                                       ResampleKernel::bSpline};

std::vector<std::int32_t> WeightsOf(const ResampleWeights& weights, unsigned outputPixel) {
    const auto span = weights.SpanOf(outputPixel);
    ResampleWeights::Walk walk(weights, span);
    std::vector<std::int32_t> all(span.Count());
    for (auto& weight : all) weight = walk.Next();
    return all;
}

TEST(ResampleWeights, SumToExactlyOneAndStayWithinThePicture) {
    for (const ResampleKernel kernel : kKernels)
        for (unsigned from = 1; from <= 40; ++from)
            for (unsigned to = 1; to <= 40; ++to) {
                const ResampleWeights weights(kernel, from, to);
                ASSERT_GE(weights.Bits(), 15u);
                for (unsigned x = 0; x < to; ++x) {
                    const auto all = WeightsOf(weights, x);
                    ASSERT_EQ(std::accumulate(all.begin(), all.end(), 0), 1 << weights.Bits());
                    ASSERT_LT(weights.SpanOf(x).last, from);
                    ASSERT_LE(all.size(), weights.MaxCount());
                    std::int32_t size = 0;
                    for (const std::int32_t weight : all) size += weight < 0 ? -weight : weight;
                    ASSERT_LT(size, (1 << weights.Bits()) * 1.3) << "what the kernels' sums have room for";
                }
            }
}

TEST(ResampleWeights, AreMirroredForTheMirroredPixel) {
    for (const ResampleKernel kernel : kKernels)
        for (unsigned from = 1; from <= 40; ++from)
            for (unsigned to = 1; to <= 40; ++to) {
                const ResampleWeights weights(kernel, from, to);
                for (unsigned x = 0; x < to; ++x) {
                    auto mirrored = WeightsOf(weights, to - 1 - x);
                    std::reverse(mirrored.begin(), mirrored.end());
                    ASSERT_EQ(WeightsOf(weights, x), mirrored) << from << " -> " << to << ": " << x;
                    ASSERT_EQ(weights.SpanOf(x).first, from - 1 - weights.SpanOf(to - 1 - x).last);
                }
            }
}

// (The same on every system: nothing is computed in floating point.)
TEST(ResampleWeights, AreTheKernelsAtHalfPixelCentres) {
    using Weights = std::vector<std::int32_t>;
    EXPECT_EQ(WeightsOf({ResampleKernel::box, 8, 4}, 1), (Weights{32768, 32768}));  // (2^16: a pixel weighs half)
    EXPECT_EQ(WeightsOf({ResampleKernel::triangle, 4, 4}, 1), (Weights{32768}));
    EXPECT_EQ(WeightsOf({ResampleKernel::triangle, 4, 8}, 3), (Weights{24576, 8192}));  // 3/4 1/4
    EXPECT_EQ(WeightsOf({ResampleKernel::triangle, 4, 8}, 0), (Weights{32768}));        // nothing left of it
    EXPECT_EQ(WeightsOf({ResampleKernel::catmullRom, 8, 8}, 4), (Weights{0, 32768, 0}));
    EXPECT_EQ(WeightsOf({ResampleKernel::catmullRom, 8, 16}, 8), (Weights{-768, 7424, 28416, -2304}));
    EXPECT_EQ(WeightsOf({ResampleKernel::bSpline, 8, 8}, 4), (Weights{5461, 21846, 5461}));   // 1/6 2/3 1/6
    EXPECT_EQ(WeightsOf({ResampleKernel::mitchell, 8, 8}, 4), (Weights{1820, 29128, 1820}));  // 1/18 16/18 1/18
}

TEST(ResampleWeights, CountTogetherWhereEachIsTooSmall) {
    // 2^21 pixels into one share 2^18: any run of them weighs what the triangle's area over it says.
    const unsigned from = 1u << 21;
    const ResampleWeights weights(ResampleKernel::triangle, from, 1);
    const auto all = WeightsOf(weights, 0);
    ASSERT_EQ(all.size(), from);
    std::int64_t quarter = 0;
    for (unsigned i = 0; i < from / 4; ++i) quarter += all[i];
    // From 1/2 to 3/4 of the height over a quarter, of 3/4 over all: 5/32 of 3/4.
    EXPECT_NEAR(static_cast<double>(quarter), (1 << 18) * (5.0 / 24), 2);
}

TEST(ResampleWeights, StandTheLargestSizes) {
    constexpr unsigned kMost = 4294967295u;
    for (const ResampleKernel kernel : kKernels)
        for (const auto& [from, to] :
             {std::pair(kMost, kMost - 1), {1u, kMost}, {kMost, 1u << 31}, {1000003u, kMost}}) {
            const ResampleWeights weights(kernel, from, to);
            for (const unsigned x : {0u, 1u, to / 2, to - 2, to - 1}) {
                const auto span = weights.SpanOf(x);
                ASSERT_LE(span.first, span.last);
                ASSERT_LT(span.last, from);
                const auto all = WeightsOf(weights, x);
                EXPECT_EQ(std::accumulate(all.begin(), all.end(), 0), 1 << weights.Bits());
            }
        }
}

}  // namespace
}  // namespace zpixf::resampling
