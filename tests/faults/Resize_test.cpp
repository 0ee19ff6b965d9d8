// Every request for memory fails once, and for good, while a resampling filter starts and gives its lines; and its
// source fails or throws at every line.
#include <memory>
#include <stdexcept>
#include <vector>

#include "faults/FaultInjection.h"
#include "zpixf/ZPixfResize.h"

namespace faults {
namespace {

using zpixf::ZPixFilterBase;
using zpixf::ZPixFormat;

struct Source {
    unsigned width = 0;
    unsigned failingLine = ~0u, throwingLine = ~0u;

    static bool Read(void* userData, unsigned line, void* buffer) {
        const auto& source = *static_cast<Source*>(userData);
        if (line == source.throwingLine) throw std::runtime_error("the source broke");
        if (line == source.failingLine) return false;
        for (unsigned i = 0; i < 4 * source.width; ++i)
            static_cast<unsigned char*>(buffer)[i] =
                static_cast<unsigned char>((i + 97) * (line + 31) * 2654435761u >> 13);
        return true;
    }
};

std::unique_ptr<ZPixFilterBase> Nearest() { return std::make_unique<zpixf::ZPixfResize>(); }
std::unique_ptr<ZPixFilterBase> Bilinear() { return std::make_unique<zpixf::ZPixfResizeBilinear>(); }
std::unique_ptr<ZPixFilterBase> Bicubic() { return std::make_unique<zpixf::ZPixfResizeBicubic>(); }

/// Pictures that shrink and grow, are halved, and shrink so much that no window of lines is kept.
struct Way {
    const char* name;
    std::unique_ptr<ZPixFilterBase> (*make)();
    unsigned width, height, toWidth, toHeight;
};
constexpr Way kWays[] = {
    {"NearestShrinking", &Nearest, 9, 20, 5, 7},  {"NearestGrowing", &Nearest, 9, 7, 17, 20},
    {"BilinearHalf", &Bilinear, 16, 18, 8, 9},    {"BilinearShrinking", &Bilinear, 16, 20, 7, 9},
    {"BilinearRunning", &Bilinear, 5, 99, 5, 3},  {"BicubicGrowing", &Bicubic, 9, 6, 20, 17},
    {"BicubicShrinking", &Bicubic, 19, 21, 7, 9}, {"BicubicRunning", &Bicubic, 12, 99, 5, 5},
};

using Lines = std::vector<std::vector<unsigned char>>;

struct Job {
    std::unique_ptr<Source> source = std::make_unique<Source>();
    std::unique_ptr<ZPixFilterBase> filter;
    Lines lines;
};

Job MakeJob(const Way& way) {
    Job job;
    job.source->width = way.width;
    job.filter = way.make();
    job.lines = Lines(way.toHeight, std::vector<unsigned char>(4 * way.toWidth));
    job.filter->SetInputFormat(ZPixFormat(way.width, way.height));
    job.filter->SetOutputFormat(ZPixFormat(way.toWidth, way.toHeight));
    job.filter->SetScanLineFunction(&Source::Read, job.source.get());
    return job;
}

bool GiveLines(Job& job, unsigned first = 0) {
    for (unsigned y = first; y < job.lines.size(); ++y)
        if (!job.filter->FilterScanline(y, job.lines[y].data())) return false;
    return true;
}

bool Work(Job& job) { return job.filter->Start() && GiveLines(job); }

/// Gives lines until the source breaks; returns the line that could not be given.
unsigned GiveUntilBroken(Job& job) {
    unsigned y = 0;
    try {
        while (y < job.lines.size() && job.filter->FilterScanline(y, job.lines[y].data())) ++y;
    } catch (const std::runtime_error&) { EXPECT_NE(job.source->throwingLine, ~0u); }
    return y;
}

class ResizeFaults : public testing::TestWithParam<Way> {};
INSTANTIATE_TEST_SUITE_P(Ways, ResizeFaults, testing::ValuesIn(kWays),
                         [](const auto& way) { return std::string(way.param.name); });

TEST_P(ResizeFaults, FailingRequestsAreStatedAndLeaveTheFilterUsable) {
    Job plain = MakeJob(GetParam());
    ASSERT_TRUE(Work(plain));
    const auto work = [](Job& job) {
        if (!Work(job)) throw std::bad_alloc();
    };
    const unsigned failed = FailEveryRequest([] { return MakeJob(GetParam()); }, work,
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
    EXPECT_TRUE(!ReachesLibraries() || failed >= 2 * 3) << failed;
}

TEST_P(ResizeFaults, ASourceThatFailsOrThrowsAtAnyLineSpoilsNoLine) {
    Job plain = MakeJob(GetParam());
    ASSERT_TRUE(Work(plain));
    for (unsigned broken = 0; broken < GetParam().height; ++broken)
        for (const bool throws : {false, true}) {
            Job job = MakeJob(GetParam());
            ASSERT_TRUE(job.filter->Start());
            (throws ? job.source->throwingLine : job.source->failingLine) = broken;
            const unsigned line = GiveUntilBroken(job);
            if (line == job.lines.size()) continue;  // this input line is not needed
            EXPECT_TRUE(job.filter->IsStarted());
            EXPECT_EQ(job.filter->GetErrorDescription().IsEmpty(), throws);
            job.source->failingLine = job.source->throwingLine = ~0u;
            EXPECT_TRUE(GiveLines(job, line));
            EXPECT_EQ(job.lines, plain.lines) << broken;
            for (auto& given : job.lines) given.assign(given.size(), 0);
            EXPECT_TRUE(GiveLines(job));
            EXPECT_EQ(job.lines, plain.lines) << broken;
            job.filter->Stop();
            EXPECT_TRUE(Work(job));
        }
}

// The line that could not be given is given up; those after it need lines that are to be pulled again.
TEST_P(ResizeFaults, ASourceThatFailsOnceSpoilsNoLineAfterTheOneThatIsLeftOut) {
    Job plain = MakeJob(GetParam());
    ASSERT_TRUE(Work(plain));
    for (unsigned broken = 0; broken < GetParam().height; ++broken) {
        Job job = MakeJob(GetParam());
        ASSERT_TRUE(job.filter->Start());
        job.source->failingLine = broken;
        const unsigned line = GiveUntilBroken(job);
        if (line == job.lines.size()) continue;
        job.source->failingLine = ~0u;
        job.lines[line] = plain.lines[line];
        EXPECT_TRUE(GiveLines(job, line + 1));
        EXPECT_EQ(job.lines, plain.lines) << broken;
    }
}

TEST_P(ResizeFaults, DestructionInTheMiddleOfAPassLeavesNothing) {
    const auto leaveAfter = [](unsigned lines) {
        Job job = MakeJob(GetParam());
        ASSERT_TRUE(job.filter->Start());
        for (unsigned y = 0; y < lines; ++y) ASSERT_TRUE(job.filter->FilterScanline(y, job.lines[y].data()));
    };
    leaveAfter(1);
    const std::int64_t before = LiveBlocks();
    for (unsigned lines = 0; lines <= GetParam().toHeight; ++lines) leaveAfter(lines);
    EXPECT_EQ(LiveBlocks(), before);
}

}  // namespace
}  // namespace faults
