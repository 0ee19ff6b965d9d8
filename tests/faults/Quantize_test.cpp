// Every request for memory fails once, and for good, while a quantiser starts and gives its lines; and its source fails
// or throws at every line.
#include <cstring>
#include <memory>
#include <stdexcept>
#include <vector>

#include "faults/FaultInjection.h"
#include "zpixf/ZPixfQuantize.h"

namespace faults {
namespace {

using zpixf::ZPixFormat;
using zpixf::ZPixfQuantize;

constexpr unsigned kSide = 26, kWidth = kSide * kSide, kHeight = kSide, kColors = 40;

/// More colours than are counted one by one, so that all the work is done, but close together, so that it is little.
struct Source {
    unsigned failingLine = ~0u, throwingLine = ~0u;

    static bool Read(void* userData, unsigned line, void* buffer) {
        const auto& source = *static_cast<Source*>(userData);
        if (line == source.throwingLine) throw std::runtime_error("the source broke");
        if (line == source.failingLine) return false;
        for (unsigned x = 0; x < kWidth; ++x) {
            const auto byte = [](unsigned value) { return static_cast<unsigned char>(value); };
            const unsigned char pixel[4] = {byte(x % kSide), byte(x / kSide), byte(line), 255};
            std::memcpy(static_cast<unsigned char*>(buffer) + 4 * x, pixel, sizeof pixel);
        }
        return true;
    }
};

using MakeFilter = std::unique_ptr<ZPixfQuantize> (*)();
template <class Filter>
std::unique_ptr<ZPixfQuantize> Make() {
    return std::make_unique<Filter>();
}

using Row = std::vector<unsigned char>;
using Lines = std::vector<Row>;

struct Job {
    std::unique_ptr<Source> source;
    std::unique_ptr<ZPixfQuantize> filter;
    Lines lines;
};

Job MakeJob(MakeFilter make) {
    Job job{std::make_unique<Source>(), make(), Lines(kHeight, Row(kWidth))};
    job.filter->SetInputFormat(ZPixFormat(kWidth, kHeight, 4, 8));
    job.filter->SetOutputFormat(ZPixFormat(kWidth, kHeight, 1, 8));
    job.filter->SetScanLineFunction(&Source::Read, job.source.get());
    job.filter->SetDesiredColors(kColors);
    return job;
}

/// Whether all of it got through. False must always come with a reason.
bool Work(Job& job) {
    bool succeeds = job.filter->Start();
    for (unsigned y = 0; y < kHeight && succeeds; ++y) succeeds = job.filter->FilterScanline(y, job.lines[y].data());
    return succeeds;
}

class QuantizeFaults : public testing::TestWithParam<MakeFilter> {};

TEST_P(QuantizeFaults, FailingRequestsAreStatedAndLeaveTheFilterUsable) {
    Job plain = MakeJob(GetParam());
    ASSERT_TRUE(Work(plain));
    const unsigned failed = FailEveryRequest([] { return MakeJob(GetParam()); },
                                             [](Job& job) {
                                                 if (!Work(job)) throw std::bad_alloc();
                                             },
                                             [&](Job& job, Outcome outcome) {
                                                 if (outcome == Outcome::failed && !job.filter->IsStarted()) {
                                                     EXPECT_EQ(job.filter->GetOutputFormat().GetColors(), nullptr);
                                                     EXPECT_FALSE(job.filter->FilterScanline(0, job.lines[0].data()));
                                                 }
                                                 ASSERT_TRUE(outcome == Outcome::done || Work(job));
                                                 EXPECT_EQ(job.lines, plain.lines);
                                             });
    EXPECT_TRUE(!ReachesLibraries() || failed >= 20u) << failed;
}

TEST_P(QuantizeFaults, ASourceThatFailsOrThrowsAtAnyLineLeavesNothingBehind) {
    for (unsigned line = 0; line < kHeight; ++line)
        for (const bool throws : {false, true})
            for (const bool atStart : {true, false}) {
                Job job = MakeJob(GetParam());
                ASSERT_TRUE(atStart || job.filter->Start());
                (throws ? job.source->throwingLine : job.source->failingLine) = line;
                const std::int64_t before = LiveBlocks();
                const auto act = [&] {
                    return atStart ? job.filter->Start() : job.filter->FilterScanline(line, job.lines[line].data());
                };
                if (throws)
                    EXPECT_THROW(act(), std::runtime_error);
                else
                    EXPECT_FALSE(act());
                EXPECT_EQ(job.filter->IsStarted(), !atStart);
                EXPECT_TRUE(!throws || !atStart || LiveBlocks() == before);
                *job.source = {};
                EXPECT_TRUE(atStart ? Work(job) : job.filter->FilterScanline(line, job.lines[line].data()));
            }
}

INSTANTIATE_TEST_SUITE_P(Filters, QuantizeFaults,
                         testing::Values(&Make<zpixf::ZPixfQuantizeMedian5>, &Make<zpixf::ZPixfQuantizeMedian8>,
                                         &Make<zpixf::ZPixfQuantizePopularity>));

}  // namespace
}  // namespace faults
