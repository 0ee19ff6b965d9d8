// Whoever filters a picture in place relies on a filter's promise to pull forward.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "zpixf/ZPixfAdjust.h"
#include "zpixf/ZPixfConvolution.h"
#include "zpixf/ZPixfDither.h"
#include "zpixf/ZPixfMedian.h"
#include "zpixf/ZPixfNull.h"
#include "zpixf/ZPixfQuantize.h"
#include "zpixf/ZPixfResize.h"

namespace zpixf {
namespace {

constexpr unsigned kWidth = 9, kHeight = 40;

/// Notes which lines are pulled.
struct Source {
    std::vector<unsigned> pulled;

    static bool Read(void* source, unsigned line, void* buffer) {
        static_cast<Source*>(source)->pulled.push_back(line);
        auto* bytes = static_cast<std::uint8_t*>(buffer);
        for (unsigned i = 0; i < 4 * kWidth; ++i) bytes[i] = static_cast<std::uint8_t>(line * 5 + i * 7);
        return true;
    }
};

struct Kind {
    std::string name;
    std::function<std::unique_ptr<ZPixFilterBase>()> make;
};

template <class Filter>
Kind KindOf(
    std::string name, void (*configure)(Filter&) = [](Filter&) {}) {
    return {std::move(name), [configure] {
                auto filter = std::make_unique<Filter>();
                configure(*filter);
                return filter;
            }};
}

const Kind kKinds[] = {
    KindOf<ZPixfNull>("Null"),
    KindOf<ZPixfBrightness>("Brightness", [](ZPixfBrightness& filter) { filter.SetBrightness(0.3); }),
    KindOf<ZPixfContrast>("Contrast", [](ZPixfContrast& filter) { filter.SetContrast(-0.3); }),
    KindOf<ZPixfSaturation>("Saturation", [](ZPixfSaturation& filter) { filter.SetSaturation(0.2); }),
    KindOf<ZPixfDesaturate>("Desaturate"),
    KindOf<ZPixfConvolution3>("Convolution3",
                              [](ZPixfConvolution3& filter) { filter.SetConvolution(ZPixf3x3Mode::gaussian); }),
    KindOf<ZPixfConvolution5>("Convolution5",
                              [](ZPixfConvolution5& filter) { filter.SetConvolution(ZPixf5x5Mode::gaussian); }),
    KindOf<ZPixfMedian>("Median3", [](ZPixfMedian& filter) { filter.SetSpan(3); }),
    KindOf<ZPixfMedian>("Median5", [](ZPixfMedian& filter) { filter.SetSpan(5); }),
    KindOf<ZPixfMedian>("Median15", [](ZPixfMedian& filter) { filter.SetSpan(15); }),
    KindOf<ZPixfMedian>("Median255", [](ZPixfMedian& filter) { filter.SetSpan(255); }),
    KindOf<ZPixfDitherOrdered>("DitherOrdered"),
    KindOf<ZPixfDitherBlueNoise>("DitherBlueNoise"),
    KindOf<ZPixfDitherDiffuse>("DitherDiffuse"),
    KindOf<ZPixfDitherDiffuse>("DitherDiffuseAhead", [](ZPixfDitherDiffuse& filter) { filter.SetPullsAhead(true); }),
    KindOf<ZPixfQuantizeMedian5>("QuantizeMedian5"),
    KindOf<ZPixfQuantizeMedian8>("QuantizeMedian8"),
    KindOf<ZPixfQuantizePopularity>("QuantizePopularity"),
    KindOf<ZPixfResize>("Nearest"),
    KindOf<ZPixfResizeBilinear>("Bilinear"),
    KindOf<ZPixfResizeBicubic>("Bicubic"),
};

class PullsForward : public testing::TestWithParam<Kind> {
protected:
    void SetUp() override {
        filter = GetParam().make();
        const ZPixFormat format(kWidth, kHeight, 4, 8, 0);
        filter->SetInputFormat(format);
        filter->SetOutputFormat(format);
        filter->SetScanLineFunction(&Source::Read, &source);
        ASSERT_TRUE(filter->PullsForward());
        ASSERT_TRUE(filter->Start());
    }
    void RunAndExpectForwardPulls() {
        source.pulled.clear();
        std::size_t known = 0;
        unsigned lowestAllowed = 0;
        for (unsigned line = 0; line < kHeight; ++line) {
            std::vector<std::uint8_t> out(4 * kWidth);
            ASSERT_TRUE(filter->FilterScanline(line, out.data()));
            for (; known < source.pulled.size(); ++known) {
                EXPECT_GE(source.pulled[known], line) << "its output was given already";
                EXPECT_GE(source.pulled[known], lowestAllowed) << "pulled again, or out of order";
                lowestAllowed = source.pulled[known] + 1;
            }
        }
        EXPECT_EQ(source.pulled.size(), kHeight);
    }

    Source source;
    std::unique_ptr<ZPixFilterBase> filter;
};

TEST_P(PullsForward, PullsEachLineOnceInOrderAndBeforeItsOutput) { RunAndExpectForwardPulls(); }

TEST_P(PullsForward, DoesSoAgainFromLine0) {
    RunAndExpectForwardPulls();
    RunAndExpectForwardPulls();
}

INSTANTIATE_TEST_SUITE_P(Filters, PullsForward, testing::ValuesIn(kKinds),
                         [](const auto& kind) { return kind.param.name; });

class HostsFilter : public ZPixFilterBase {
public:
    ZPixfType FilterType() const override { return ZPixfType::KeepsAlpha; }
    bool FilterScanline(unsigned line, void* buffer) override { return PullLine(line, buffer); }

protected:
    bool OnStart() override { return true; }
};

TEST(PullsForwardOfAHostsFilter, IsNotPromised) { EXPECT_FALSE(HostsFilter().PullsForward()); }

}  // namespace
}  // namespace zpixf
