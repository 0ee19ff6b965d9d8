// Every request for memory fails once, and for good, while a median filter starts and gives its lines; and its source
// fails or throws at every line.
#include "faults/FaultySource.h"
#include "zpixf/ZPixfMedian.h"

namespace faults {
namespace {

constexpr unsigned kWidth = 21, kHeight = 24;

class MedianFaults : public testing::TestWithParam<unsigned> {
protected:
    static FilterJob MakeJob() {
        auto filter = std::make_unique<zpixf::ZPixfMedian>();
        filter->SetSpan(GetParam());
        filter->SetInputFormat(TrueColor(kWidth, kHeight));
        filter->SetOutputFormat(TrueColor(kWidth, kHeight));
        return FilterJob(std::move(filter));
    }
};
INSTANTIATE_TEST_SUITE_P(Spans, MedianFaults, testing::Values(1u, 3u, 5u, 7u, 31u, 255u),
                         testing::PrintToStringParamName());

TEST_P(MedianFaults, FailingRequestsAreStatedAndLeaveTheFilterUsable) {
    const unsigned failed = ExpectFailingRequestsAreSurvived(MakeJob);
    const unsigned least = GetParam() == 1 ? 1 : 3;
    EXPECT_TRUE(!ReachesLibraries() || failed >= 2 * least) << failed;
}

TEST_P(MedianFaults, NoMoreMemoryIsAskedForOnceStarted) { ExpectNoRequestsOnceStarted(MakeJob); }

TEST_P(MedianFaults, ASourceThatFailsOrThrowsAtAnyLineSpoilsNoLine) {
    const Lines plain = LinesOf(MakeJob);
    for (unsigned broken = 0; broken < kHeight; ++broken)
        for (const bool throws : {false, true})
            EXPECT_LE(ExpectABrokenLineSpoilsNothing(MakeJob, plain, broken, throws), broken);
}

TEST_P(MedianFaults, ASourceThatFailsOnceSpoilsNoLineAfterTheOneThatIsLeftOut) {
    const Lines plain = LinesOf(MakeJob);
    for (unsigned broken = 0; broken < kHeight; ++broken) ExpectALineLeftOutSpoilsNoOther(MakeJob, plain, broken);
}

TEST_P(MedianFaults, DestructionInTheMiddleOfAPassLeavesNothing) { ExpectDestructionInMidPassLeavesNothing(MakeJob); }

}  // namespace
}  // namespace faults
