// Every request for memory fails once, and for good, while a quantiser starts and gives its lines; and its source fails
// or throws at every line.
#include "faults/FaultySource.h"
#include "zpixf/ZPixfQuantize.h"

namespace faults {
namespace {

using zpixf::ZPixFilterBase;
using zpixf::ZPixFormat;

constexpr unsigned kSide = 26, kWidth = kSide * kSide, kHeight = kSide, kColors = 6;

/// More colours than are counted one by one, so that all the work is done, but close together, so that it is little.
std::uint32_t CloseColor(unsigned x, unsigned line) { return x % kSide | x / kSide << 8 | line << 16 | 0xFF000000u; }

template <class Filter>
std::unique_ptr<ZPixFilterBase> MakeQuantizer() {
    auto filter = std::make_unique<Filter>();
    filter->SetDesiredColors(kColors);
    return filter;
}

class QuantizeFaults : public testing::TestWithParam<FilterMaker> {
protected:
    static FilterJob MakeJob() {
        auto filter = GetParam().make();
        filter->SetInputFormat(TrueColor(kWidth, kHeight));
        filter->SetOutputFormat(ZPixFormat(kWidth, kHeight, 1, 8));
        return FilterJob(std::move(filter), &CloseColor);
    }
};
INSTANTIATE_TEST_SUITE_P(Filters, QuantizeFaults,
                         testing::Values(FilterMaker{"Median5", &MakeQuantizer<zpixf::ZPixfQuantizeMedian5>},
                                         FilterMaker{"Median8", &MakeQuantizer<zpixf::ZPixfQuantizeMedian8>},
                                         FilterMaker{"Popularity", &MakeQuantizer<zpixf::ZPixfQuantizePopularity>}),
                         kNameOfParameter);

TEST_P(QuantizeFaults, FailingRequestsAreStatedAndLeaveTheFilterUsable) {
    const unsigned failed = ExpectFailingRequestsAreSurvived(
        MakeJob, [](const ZPixFilterBase& filter) { EXPECT_EQ(filter.GetOutputFormat().GetColors(), nullptr); });
    EXPECT_TRUE(!ReachesLibraries() || failed >= 20u) << failed;
}

TEST_P(QuantizeFaults, ASourceThatFailsOrThrowsAtAnyLineLeavesNothingBehind) {
    for (unsigned line = 0; line < kHeight; ++line)
        for (const bool throws : {false, true})
            for (const bool atStart : {true, false}) {
                FilterJob job = MakeJob();
                ASSERT_TRUE(atStart || job.filter->Start());
                job.source->BreakAt(line, throws);
                const std::int64_t before = LiveBlocks();
                const auto act = [&] { return atStart ? job.filter->Start() : job.GiveLine(line); };
                if (throws)
                    EXPECT_THROW(act(), std::runtime_error);
                else
                    EXPECT_FALSE(act());
                EXPECT_EQ(job.filter->IsStarted(), !atStart);
                EXPECT_TRUE(!throws || !atStart || LiveBlocks() == before);
                job.source->Mend();
                EXPECT_TRUE(atStart ? job.Work() : job.GiveLine(line));
            }
}

}  // namespace
}  // namespace faults
