// Every request for memory fails once, and for good, while a convolution or a filter of colour starts and gives its
// lines; and its source fails or throws at every line.
#include <algorithm>

#include "faults/FaultySource.h"
#include "zpixf/ZPixfAdjust.h"
#include "zpixf/ZPixfConvolution.h"

namespace faults {
namespace {

using zpixf::ZPixFilterBase;

constexpr unsigned kWidth = 30, kHeight = 12;

struct FilterKind {
    const char* name;
    std::unique_ptr<ZPixFilterBase> (*make)();
    unsigned requests;  ///< for memory, at Start
    unsigned reach;     ///< lines below that a line needs
};

std::unique_ptr<ZPixFilterBase> MakeGaussian5() {
    auto filter = std::make_unique<zpixf::ZPixfConvolution5>();
    filter->SetConvolution(zpixf::ZPixf5x5Mode::gaussian);
    return filter;
}

class PointFilterFaults : public testing::TestWithParam<FilterKind> {
protected:
    static FilterJob MakeJob() {
        auto filter = GetParam().make();
        filter->SetInputFormat(TrueColor(kWidth, kHeight));
        filter->SetOutputFormat(TrueColor(kWidth, kHeight));
        return FilterJob(std::move(filter));
    }
};

INSTANTIATE_TEST_SUITE_P(Filters, PointFilterFaults,
                         testing::Values(FilterKind{"Convolution3", &MakeFilter<zpixf::ZPixfConvolution3>, 2, 1},
                                         FilterKind{"Gaussian5", &MakeGaussian5, 2, 2},
                                         FilterKind{"Brightness", &MakeFilter<zpixf::ZPixfBrightness>, 1, 0},
                                         FilterKind{"Contrast", &MakeFilter<zpixf::ZPixfContrast>, 1, 0},
                                         FilterKind{"Saturation", &MakeFilter<zpixf::ZPixfSaturation>, 0, 0},
                                         FilterKind{"Desaturate", &MakeFilter<zpixf::ZPixfDesaturate>, 0, 0}),
                         kNameOfParameter);

TEST_P(PointFilterFaults, FailingRequestsAreStatedAndLeaveTheFilterUsable) {
    const unsigned failed = ExpectFailingRequestsAreSurvived(MakeJob);
    EXPECT_TRUE(!ReachesLibraries() || failed >= 2 * GetParam().requests) << failed;
}

TEST_P(PointFilterFaults, NoMoreMemoryIsAskedForOnceStarted) { ExpectNoRequestsOnceStarted(MakeJob); }

TEST_P(PointFilterFaults, ASourceThatFailsOrThrowsAtAnyLineIsReportedAndTheFilterGoesOn) {
    const Lines plain = LinesOf(MakeJob);
    for (unsigned broken = 0; broken < kHeight; ++broken)
        for (const bool throws : {false, true}) {
            const unsigned firstThatNeedsIt = broken - std::min(broken, GetParam().reach);
            EXPECT_EQ(ExpectABrokenLineSpoilsNothing(MakeJob, plain, broken, throws), firstThatNeedsIt);
        }
}

TEST_P(PointFilterFaults, ASourceThatFailsOnceSpoilsNoLineAfterTheOneThatIsLeftOut) {
    const Lines plain = LinesOf(MakeJob);
    for (unsigned broken = 0; broken < kHeight; ++broken) ExpectALineLeftOutSpoilsNoOther(MakeJob, plain, broken);
}

TEST_P(PointFilterFaults, DestructionInTheMiddleOfAPassLeavesNothing) {
    ExpectDestructionInMidPassLeavesNothing(MakeJob);
}

}  // namespace
}  // namespace faults
