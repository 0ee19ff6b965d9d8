// Every request for memory fails once, and for good, while a ditherer starts and gives its lines; and its source fails
// or throws at every line.
#include "faults/FaultySource.h"
#include "zpixf/ZPixfDither.h"

namespace faults {
namespace {

using zpixf::ZPixFilterBase;
using zpixf::ZPixFormat;

constexpr unsigned kWidth = 50, kHeight = 20;

std::uint32_t OpaquePixel(unsigned x, unsigned line) { return ScatteredPixel(x, line) | 0xFF000000u; }

class DitherFaults : public testing::TestWithParam<FilterMaker> {
protected:
    static FilterJob MakeJob(unsigned bits) {
        zpixf::ZPixfDither::FreeKeptTables();
        auto filter = GetParam().make();
        filter->SetInputFormat(TrueColor(kWidth, kHeight));
        filter->SetOutputFormat(ZPixFormat(kWidth, kHeight, 1, bits));
        return FilterJob(std::move(filter), &OpaquePixel);
    }
};
INSTANTIATE_TEST_SUITE_P(AllDitherers, DitherFaults,
                         testing::Values(FilterMaker{"Ordered", &MakeFilter<zpixf::ZPixfDitherOrdered>},
                                         FilterMaker{"BlueNoise", &MakeFilter<zpixf::ZPixfDitherBlueNoise>},
                                         FilterMaker{"Diffuse", &MakeFilter<zpixf::ZPixfDitherDiffuse>}),
                         kNameOfParameter);

TEST_P(DitherFaults, FailingRequestsAreStatedAndLeaveTheFilterUsable) {
    for (const unsigned bits : {1u, 4u, 8u}) {
        const unsigned failed = ExpectFailingRequestsAreSurvived(
            [bits] { return MakeJob(bits); },
            [](const ZPixFilterBase& filter) { EXPECT_EQ(filter.GetOutputFormat().GetColors(), nullptr); });
        if (ReachesLibraries()) {
            EXPECT_GE(failed, 2u * 4);  // state, ditherer, line and tables, each once and for good
        }
    }
}

TEST_P(DitherFaults, NoMoreMemoryIsAskedForOnceStarted) {
    ExpectNoRequestsOnceStarted([] { return MakeJob(8); });
}

TEST_P(DitherFaults, ASourceThatFailsOrThrowsAtAnyLineLeavesNothingBehind) {
    const auto make = [] { return MakeJob(8); };
    const Lines plain = LinesOf(make);
    for (unsigned line = 0; line < kHeight; ++line)
        for (const bool throws : {false, true}) {
            const std::int64_t before = LiveBlocks();
            {
                FilterJob job = make();
                job.source->BreakAt(line, throws);
                if (throws) {
                    EXPECT_THROW(job.Work(), std::runtime_error);
                } else {
                    EXPECT_FALSE(job.Work());
                    EXPECT_FALSE(job.filter->GetErrorDescription().IsEmpty());
                }
                job.source->Mend();
                ASSERT_TRUE(job.Work());
                EXPECT_EQ(job.lines, plain);
            }
            EXPECT_EQ(LiveBlocks(), before) << "line " << line;
        }
}

TEST_P(DitherFaults, TablesThatAreKeptCanBeFreed) {
    zpixf::ZPixfDither::FreeKeptTables();
    const std::int64_t before = LiveBlocks();
    for (const unsigned bits : {1u, 4u, 8u}) LinesOf([bits] { return MakeJob(bits); });
    zpixf::ZPixfDither::FreeKeptTables();
    EXPECT_EQ(LiveBlocks(), before);
}

TEST_P(DitherFaults, DestructionInTheMiddleOfAPassLeavesNothing) {
    ExpectDestructionInMidPassLeavesNothing([] { return MakeJob(4); });
}

}  // namespace
}  // namespace faults
