// Every request for memory fails once, and for good, while a ditherer starts and gives its lines; and its source fails
// or throws at every line.
#include <cstring>
#include <memory>
#include <stdexcept>
#include <vector>

#include "faults/FaultInjection.h"
#include "zpixf/ZPixfDither.h"

namespace faults {
namespace {

using zpixf::ZPixFilterBase;
using zpixf::ZPixFormat;

constexpr unsigned kWidth = 50, kHeight = 20;

struct Source {
    unsigned failingLine = ~0u, throwingLine = ~0u;

    static bool Read(void* userData, unsigned line, void* buffer) {
        const auto& source = *static_cast<Source*>(userData);
        if (line == source.throwingLine) throw std::runtime_error("the source broke");
        if (line == source.failingLine) return false;
        for (unsigned x = 0; x < kWidth; ++x) {
            const std::uint32_t pixel = (line * kWidth + x) * 2654435761u | 0xFF000000u;
            std::memcpy(static_cast<unsigned char*>(buffer) + 4 * x, &pixel, sizeof pixel);
        }
        return true;
    }
};

using MakeFilter = std::unique_ptr<ZPixFilterBase> (*)();
template <class Filter>
std::unique_ptr<ZPixFilterBase> Make() {
    return std::make_unique<Filter>();
}

using Row = std::vector<unsigned char>;

struct Job {
    std::unique_ptr<Source> source;
    std::unique_ptr<ZPixFilterBase> filter;
    std::vector<Row> lines;
};

Job MakeJob(MakeFilter make, unsigned bits) {
    Job job{std::make_unique<Source>(), make(), std::vector<Row>(kHeight, Row(kWidth))};
    job.filter->SetInputFormat(ZPixFormat(kWidth, kHeight, 4, 8));
    job.filter->SetOutputFormat(ZPixFormat(kWidth, kHeight, 1, bits));
    job.filter->SetScanLineFunction(&Source::Read, job.source.get());
    return job;
}

/// Whether all of it got through.
bool Work(Job& job) {
    bool succeeds = job.filter->Start();
    for (unsigned y = 0; y < kHeight && succeeds; ++y) succeeds = job.filter->FilterScanline(y, job.lines[y].data());
    return succeeds;
}

class DitherFaults : public testing::TestWithParam<MakeFilter> {};

TEST_P(DitherFaults, FailingRequestsAreStatedAndLeaveTheFilterUsable) {
    for (const unsigned bits : {1u, 4u, 8u}) {
        Job plain = MakeJob(GetParam(), bits);
        ASSERT_TRUE(Work(plain));
        const auto act = [](Job& job) {
            if (!Work(job)) throw std::bad_alloc();
        };
        const auto inspect = [&](Job& job, Outcome outcome) {
            if (outcome == Outcome::failed) {
                EXPECT_FALSE(job.filter->IsStarted());
                EXPECT_EQ(job.filter->GetOutputFormat().GetColors(), nullptr);
                EXPECT_FALSE(job.filter->FilterScanline(0, job.lines[0].data()));
                ASSERT_TRUE(Work(job));
            }
            EXPECT_EQ(job.lines, plain.lines);
        };
        const unsigned failed = FailEveryRequest([&] { return MakeJob(GetParam(), bits); }, act, inspect);
        if (ReachesLibraries()) {
            EXPECT_GE(failed, 2u * 4);  // state, ditherer, line and tables, each once and for good
        }
    }
}

TEST_P(DitherFaults, ASourceThatFailsOrThrowsAtAnyLineLeavesNothingBehind) {
    Job plain = MakeJob(GetParam(), 8);
    ASSERT_TRUE(Work(plain));
    for (unsigned line = 0; line < kHeight; ++line)
        for (const bool throws : {false, true}) {
            const std::int64_t before = LiveBlocks();
            {
                Job job = MakeJob(GetParam(), 8);
                (throws ? job.source->throwingLine : job.source->failingLine) = line;
                if (throws) {
                    EXPECT_THROW(Work(job), std::runtime_error);
                } else {
                    EXPECT_FALSE(Work(job));
                    EXPECT_FALSE(job.filter->GetErrorDescription().IsEmpty());
                }
                *job.source = Source{};
                ASSERT_TRUE(Work(job));
                EXPECT_EQ(job.lines, plain.lines);
            }
            EXPECT_EQ(LiveBlocks(), before) << "line " << line;
        }
}

INSTANTIATE_TEST_SUITE_P(BothDitherers, DitherFaults,
                         testing::Values(&Make<zpixf::ZPixfDitherOrdered>, &Make<zpixf::ZPixfDitherDiffuse>));

}  // namespace
}  // namespace faults
