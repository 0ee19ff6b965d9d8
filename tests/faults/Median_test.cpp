// Every request for memory fails once, and for good, while a median filter starts and gives its lines; and its source
// fails or throws at every line.
#include <cstring>
#include <memory>
#include <stdexcept>
#include <vector>

#include "faults/FaultInjection.h"
#include "zpixf/ZPixfMedian.h"

namespace faults {
namespace {

using zpixf::ZPixfMedian;
using zpixf::ZPixFormat;

constexpr unsigned kWidth = 21, kHeight = 24;

struct Source {
    unsigned failingLine = ~0u, throwingLine = ~0u;

    static bool Read(void* userData, unsigned line, void* buffer) {
        const auto& source = *static_cast<Source*>(userData);
        if (line == source.throwingLine) throw std::runtime_error("the source broke");
        if (line == source.failingLine) return false;
        for (unsigned i = 0; i < 4 * kWidth; ++i)
            static_cast<unsigned char*>(buffer)[i] =
                static_cast<unsigned char>((i + 97) * (line + 31) * 2654435761u >> 13);
        return true;
    }
};

using Row = std::vector<unsigned char>;
using Lines = std::vector<Row>;

struct Job {
    std::unique_ptr<Source> source = std::make_unique<Source>();
    std::unique_ptr<ZPixfMedian> filter = std::make_unique<ZPixfMedian>();
    Lines lines = Lines(kHeight, Row(4 * kWidth));
};

Job MakeJob(unsigned span) {
    Job job;
    job.filter->SetSpan(span);
    job.filter->SetInputFormat(ZPixFormat(kWidth, kHeight));
    job.filter->SetOutputFormat(ZPixFormat(kWidth, kHeight));
    job.filter->SetScanLineFunction(&Source::Read, job.source.get());
    return job;
}

bool GiveLines(Job& job) {
    for (unsigned y = 0; y < kHeight; ++y)
        if (!job.filter->FilterScanline(y, job.lines[y].data())) return false;
    return true;
}

bool Work(Job& job) { return job.filter->Start() && GiveLines(job); }

class MedianFaults : public testing::TestWithParam<unsigned> {};
INSTANTIATE_TEST_SUITE_P(Spans, MedianFaults, testing::Values(1u, 3u, 5u, 7u, 31u, 255u));

TEST_P(MedianFaults, FailingRequestsAreStatedAndLeaveTheFilterUsable) {
    Job plain = MakeJob(GetParam());
    ASSERT_TRUE(Work(plain));
    const unsigned failed = FailEveryRequest([] { return MakeJob(GetParam()); },
                                             [](Job& job) {
                                                 if (!Work(job)) throw std::bad_alloc();
                                             },
                                             [&](Job& job, Outcome outcome) {
                                                 if (outcome == Outcome::failed) {
                                                     // Memory is asked for by Start alone.
                                                     EXPECT_FALSE(job.filter->IsStarted());
                                                     EXPECT_FALSE(job.filter->FilterScanline(0, job.lines[0].data()));
                                                     EXPECT_FALSE(job.filter->GetErrorDescription().IsEmpty());
                                                 }
                                                 ASSERT_TRUE(outcome == Outcome::done || Work(job));
                                                 EXPECT_EQ(job.lines, plain.lines);
                                             });
    const unsigned least = GetParam() == 1 ? 1 : 3;
    EXPECT_TRUE(!ReachesLibraries() || failed >= 2 * least) << failed;
}

// Where the lines are asked for in turn, where one is asked for again after it failed, and where all begin anew.
TEST_P(MedianFaults, ASourceThatFailsOrThrowsAtAnyLineSpoilsNoLine) {
    Job plain = MakeJob(GetParam());
    ASSERT_TRUE(Work(plain));
    for (unsigned broken = 0; broken < kHeight; ++broken)
        for (const bool throws : {false, true}) {
            Job job = MakeJob(GetParam());
            ASSERT_TRUE(job.filter->Start());
            (throws ? job.source->throwingLine : job.source->failingLine) = broken;
            unsigned y = 0;
            if (throws)
                EXPECT_THROW(while (job.filter->FilterScanline(y, job.lines[y].data()))++ y, std::runtime_error);
            else
                while (job.filter->FilterScanline(y, job.lines[y].data())) ++y;
            EXPECT_LE(y, broken);
            EXPECT_TRUE(job.filter->IsStarted());
            EXPECT_EQ(job.filter->GetErrorDescription().IsEmpty(), throws);
            *job.source = {};
            for (; y < kHeight; ++y) ASSERT_TRUE(job.filter->FilterScanline(y, job.lines[y].data()));
            EXPECT_EQ(job.lines, plain.lines) << broken;
            job.lines = Lines(kHeight, Row(4 * kWidth));
            EXPECT_TRUE(GiveLines(job));
            EXPECT_EQ(job.lines, plain.lines) << broken;
            job.filter->Stop();
            EXPECT_TRUE(Work(job));
        }
}

// The line that could not be given is given up; those after it need lines that are to be pulled again.
TEST_P(MedianFaults, ASourceThatFailsOnceSpoilsNoLineAfterTheOneThatIsLeftOut) {
    Job plain = MakeJob(GetParam());
    ASSERT_TRUE(Work(plain));
    for (unsigned broken = 0; broken < kHeight; ++broken) {
        Job job = MakeJob(GetParam());
        ASSERT_TRUE(job.filter->Start());
        job.source->failingLine = broken;
        unsigned y = 0;
        while (job.filter->FilterScanline(y, job.lines[y].data())) ++y;
        *job.source = {};
        job.lines[y] = plain.lines[y];
        while (++y < kHeight) ASSERT_TRUE(job.filter->FilterScanline(y, job.lines[y].data()));
        EXPECT_EQ(job.lines, plain.lines) << broken;
    }
}

TEST_P(MedianFaults, DestructionInTheMiddleOfAPassLeavesNothing) {
    const auto leaveAfter = [](unsigned lines) {
        Job job = MakeJob(GetParam());
        ASSERT_TRUE(job.filter->Start());
        for (unsigned y = 0; y < lines; ++y) ASSERT_TRUE(job.filter->FilterScanline(y, job.lines[y].data()));
    };
    leaveAfter(1);
    const std::int64_t before = LiveBlocks();
    for (unsigned lines = 0; lines <= kHeight; lines += 5) leaveAfter(lines);
    EXPECT_EQ(LiveBlocks(), before);
}

}  // namespace
}  // namespace faults
