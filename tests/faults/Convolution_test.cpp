// Every request for memory fails once, and for good, while a convolution or a filter of colour starts and gives its
// lines; and its source fails or throws at every line.
#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <vector>

#include "faults/FaultInjection.h"
#include "zpixf/ZPixfAdjust.h"
#include "zpixf/ZPixfConvolution.h"

namespace faults {
namespace {

using zpixf::ZPixfConvolution5;
using zpixf::ZPixFilterBase;
using zpixf::ZPixFormat;

constexpr unsigned kWidth = 30, kHeight = 12;

/// It asks for no memory itself.
struct Source {
    unsigned failingLine = ~0u, throwingLine = ~0u;

    static bool Read(void* userData, unsigned line, void* buffer) {
        const auto& source = *static_cast<Source*>(userData);
        if (line == source.throwingLine) throw std::runtime_error("the source broke");
        if (line == source.failingLine) return false;
        for (unsigned x = 0; x < kWidth; ++x) {
            const std::uint32_t pixel = (line * kWidth + x) * 2654435761u;
            std::memcpy(static_cast<unsigned char*>(buffer) + 4 * x, &pixel, sizeof pixel);
        }
        return true;
    }
};

struct FilterKind {
    std::unique_ptr<ZPixFilterBase> (*make)();
    unsigned requests;  ///< for memory, at Start
    unsigned reach;     ///< lines below that a line needs
};

template <class Filter>
std::unique_ptr<ZPixFilterBase> Make() {
    return std::make_unique<Filter>();
}
std::unique_ptr<ZPixFilterBase> MakeGaussian5() {
    auto filter = std::make_unique<ZPixfConvolution5>();
    filter->SetConvolution(zpixf::ZPixf5x5Mode::gaussian);
    return filter;
}

using Lines = std::vector<std::vector<unsigned char>>;

struct Job {
    std::unique_ptr<Source> source;
    std::unique_ptr<ZPixFilterBase> filter;
    Lines lines;
};

Job MakeJob(const FilterKind& kind) {
    Job job{std::make_unique<Source>(), kind.make(), Lines(kHeight, std::vector<unsigned char>(4 * kWidth))};
    job.filter->SetInputFormat(ZPixFormat(kWidth, kHeight));
    job.filter->SetOutputFormat(ZPixFormat(kWidth, kHeight));
    job.filter->SetScanLineFunction(&Source::Read, job.source.get());
    return job;
}

/// Whether all of it got through.
bool Work(Job& job) {
    bool succeeds = job.filter->Start();
    for (unsigned y = 0; y < kHeight && succeeds; ++y) succeeds = job.filter->FilterScanline(y, job.lines[y].data());
    return succeeds;
}

class PointFilterFaults : public testing::TestWithParam<FilterKind> {};

INSTANTIATE_TEST_SUITE_P(
    Filters, PointFilterFaults,
    testing::Values(FilterKind{&Make<zpixf::ZPixfConvolution3>, 2, 1}, FilterKind{&MakeGaussian5, 2, 2},
                    FilterKind{&Make<zpixf::ZPixfBrightness>, 1, 0}, FilterKind{&Make<zpixf::ZPixfContrast>, 1, 0},
                    FilterKind{&Make<zpixf::ZPixfSaturation>, 0, 0}, FilterKind{&Make<zpixf::ZPixfDesaturate>, 0, 0}));

TEST_P(PointFilterFaults, FailingRequestsAreStatedAndLeaveTheFilterUsable) {
    Job plain = MakeJob(GetParam());
    ASSERT_TRUE(Work(plain));
    const unsigned failed = FailEveryRequest([] { return MakeJob(GetParam()); },
                                             [](Job& job) {
                                                 if (!Work(job)) throw std::bad_alloc();
                                             },
                                             [&](Job& job, Outcome outcome) {
                                                 if (outcome == Outcome::failed) {
                                                     EXPECT_FALSE(job.filter->IsStarted());
                                                     EXPECT_FALSE(job.filter->FilterScanline(0, job.lines[0].data()));
                                                 }
                                                 ASSERT_TRUE(outcome == Outcome::done || Work(job));
                                                 EXPECT_EQ(job.lines, plain.lines);
                                             });
    EXPECT_TRUE(!ReachesLibraries() || failed >= 2 * GetParam().requests) << failed;
}

TEST_P(PointFilterFaults, NoMoreMemoryIsAskedForOnceStarted) {
    Job job = MakeJob(GetParam());
    ASSERT_TRUE(job.filter->Start());
    const ScopedFault fault(1, Failing::fromThenOn);
    for (unsigned y = 0; y < kHeight; ++y) EXPECT_TRUE(job.filter->FilterScanline(y, job.lines[y].data()));
    EXPECT_FALSE(fault.WasMet());
}

TEST_P(PointFilterFaults, ASourceThatFailsOrThrowsAtAnyLineIsReportedAndTheFilterGoesOn) {
    Job plain = MakeJob(GetParam());
    ASSERT_TRUE(Work(plain));
    for (unsigned line = 0; line < kHeight; ++line)
        for (const bool throws : {false, true}) {
            Job job = MakeJob(GetParam());
            ASSERT_TRUE(job.filter->Start());
            (throws ? job.source->throwingLine : job.source->failingLine) = line;
            const unsigned first = line - std::min(line, GetParam().reach);  // that needs the line
            for (unsigned y = 0; y < first; ++y) ASSERT_TRUE(job.filter->FilterScanline(y, job.lines[y].data()));
            if (throws) {
                EXPECT_THROW(job.filter->FilterScanline(first, job.lines[first].data()), std::runtime_error);
            } else {
                EXPECT_FALSE(job.filter->FilterScanline(first, job.lines[first].data()));
                EXPECT_FALSE(job.filter->GetErrorDescription().IsEmpty());
            }
            *job.source = {};
            for (unsigned y = first; y < kHeight; ++y) ASSERT_TRUE(job.filter->FilterScanline(y, job.lines[y].data()));
            EXPECT_EQ(job.lines, plain.lines);
            job.filter->Stop();
            EXPECT_TRUE(Work(job));
            EXPECT_EQ(job.lines, plain.lines);
        }
}

}  // namespace
}  // namespace faults
