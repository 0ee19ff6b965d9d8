// Filtering takes a row of tiles and a few lines beside source and result, whatever the height of the picture.
#include <gtest/gtest.h>

#include "faults/FaultySource.h"
#include "shr/ColorFormat.h"
#include "zbm/CPixFilterPipeline.h"
#include "zbm/RunFilters.h"
#include "zbm/ZMemBitmap.h"
#include "zpixf/ZPixfConvolution.h"
#include "zpixf/ZPixfMedian.h"
#include "zpixf/ZPixfNull.h"

namespace faults {
namespace {

using zbm::ZMemBitmap;

constexpr int kWidth = 640, kTileSide = 64;
constexpr std::int64_t kLine = 4 * kWidth, kRowOfTiles = kLine * kTileSide;

/// The library keeps no copies of rows of its own classes' tiles where it can do without.
class DerivedBitmap : public ZMemBitmap {
public:
    using ZMemBitmap::ZMemBitmap;
};

struct Operation {
    const char* name;
    void (*run)(ZMemBitmap& source, zbm::ZBasicMemBitmap& result);
    int rowsOfTiles = 1;
};

template <zbm::ResizeMethod kMethod>
void Resize(ZMemBitmap& source, zbm::ZBasicMemBitmap& result) {
    const RECT all{0, 0, kWidth, source.GetPixelHeight()};
    EXPECT_TRUE(result.Create(kWidth / 2, source.GetPixelHeight() / 2, source, all, kMethod, nullptr));
}

const Operation kOperations[] = {
    {"ChangeBrightness", [](auto& source, auto&) { EXPECT_TRUE(source.ChangeBrightness(0.3, nullptr)); }},
    {"Saturation", [](auto& source, auto&) { EXPECT_TRUE(source.ChangeSaturation(0.3, nullptr)); }},
    {"Sharpen", [](auto& source, auto&) { EXPECT_TRUE(source.Sharpen(0.3, nullptr)); }},
    {"Gaussian5x5",
     [](auto& source, auto&) { EXPECT_TRUE(source.Convolute5x5(zpixf::ZPixf5x5Mode::gaussian, nullptr)); }},
    {"Median3", [](auto& source, auto&) { EXPECT_TRUE(source.MedianFilter(3, nullptr)); }},
    {"CreateInFormat", [](auto& source, auto& result) { EXPECT_TRUE(result.Create(shr::BGR_24, source, nullptr)); }},
    {"RunFilters",
     [](auto& source, auto&) {
         zpixf::ZPixfNull handingThrough;
         zpixf::ZPixfConvolution5 convolution;
         EXPECT_TRUE(zbm::RunFilters(source, {&handingThrough, &convolution}, nullptr));
     },
     2},
    {"Halve", &Resize<zbm::ResizeBilinear>},
    {"HalveBicubic", &Resize<zbm::ResizeBicubic0>},
};

/// In bytes, beside source and result.
struct Beside {
    std::int64_t peak, total;
};

class FilterMemory : public testing::TestWithParam<Operation> {
protected:
    template <class Bitmap>
    static Beside Measure(int height) {
        Bitmap source(kWidth, height, shr::BGRA_32, kTileSide, kTileSide);
        zbm::ZBasicMemBitmap result(1, 1, shr::BGRA_32);
        ResetRequests();
        GetParam().run(source, result);
        const Requests requests = RequestsSinceReset();
        const bool inPlace = result.GetPixelWidth() == 1;  // then what has grown are lines that the bitmap keeps
        const std::int64_t made = inPlace ? 0 : requests.grown;
        return {requests.peak - made, static_cast<std::int64_t>(requests.total) - made};
    }
    template <class Bitmap>
    static void ExpectLittle() {
        const Beside low = Measure<Bitmap>(200), high = Measure<Bitmap>(2000);
        EXPECT_LE(high.peak, GetParam().rowsOfTiles * (kRowOfTiles + 24 * kLine));
        EXPECT_LE(high.peak, low.peak + kLine);
        // Nor is the memory for a row of tiles asked for again at every row.
        EXPECT_TRUE(!SeesPeaks() || high.total <= low.total + 2 * GetParam().rowsOfTiles * kRowOfTiles)
            << high.total << ", " << low.total;
    }
    static bool SeesPeaks() {
        ResetRequests();
        const std::vector<int> some(1000);
        return RequestsSinceReset().peak > 0;
    }
};
INSTANTIATE_TEST_SUITE_P(All, FilterMemory, testing::ValuesIn(kOperations),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(FilterMemory, IsARowOfTilesAndAFewLinesWhateverTheHeight) {
    ExpectLittle<ZMemBitmap>();
    ExpectLittle<DerivedBitmap>();
}

TEST(PipelineMemory, NoneIsAskedForOnceTheFirstLineIsThrough) {
    FaultySource source{kWidth, &ScatteredPixel};
    static FaultySource* read;
    read = &source;
    const auto function = [](void*, unsigned line, void* buffer) { return FaultySource::Read(read, line, buffer); };
    zbm::ZBasicMemBitmap bitmap(1, 1, shr::BGRA_32);
    zpixf::ZPixfNull handingThrough;
    zpixf::ZPixfConvolution5 convolution;
    zpixf::ZPixfMedian median;
    zbm::CPixFilterPipeline pipeline;
    pipeline.CollectAlphaChanges(true);
    for (zpixf::ZPixFilterBase* filter :
         {static_cast<zpixf::ZPixFilterBase*>(&handingThrough), static_cast<zpixf::ZPixFilterBase*>(&convolution),
          static_cast<zpixf::ZPixFilterBase*>(&median)}) {
        filter->SetInputFormat(TrueColor(kWidth, 50));
        filter->SetOutputFormat(TrueColor(kWidth, 50));
        ASSERT_TRUE(pipeline.AddPixFilter(zbm::CPixFilterContext(filter, function, &bitmap)));
    }
    std::vector<unsigned char> line(4 * kWidth);
    pipeline.FilterScanline(line.data(), 0);
    EXPECT_FALSE(pipeline.changedAlpha.empty());
    const ScopedFault fault(1, Failing::fromThenOn);
    for (int y = 1; y < 50; ++y) pipeline.FilterScanline(line.data(), y);
    EXPECT_FALSE(fault.WasMet());
}

}  // namespace
}  // namespace faults
