// Every request for memory fails once, and for good, while a resampling filter starts and gives its lines; and its
// source fails or throws at every line.
#include <algorithm>

#include "faults/FaultySource.h"
#include "zpixf/ZPixfResize.h"

namespace faults {
namespace {

using zpixf::ZPixFilterBase;

constexpr auto kNearest = &MakeFilter<zpixf::ZPixfResize>;
constexpr auto kBilinear = &MakeFilter<zpixf::ZPixfResizeBilinear>;
constexpr auto kBicubic = &MakeFilter<zpixf::ZPixfResizeBicubic>;

/// Pictures that shrink and grow, are halved, and shrink so much that no window of lines is kept.
struct Way {
    const char* name;
    std::unique_ptr<ZPixFilterBase> (*make)();
    unsigned width, height, toWidth, toHeight;
};
constexpr Way kWays[] = {
    {"NearestShrinking", kNearest, 9, 20, 5, 7},  {"NearestGrowing", kNearest, 9, 7, 17, 20},
    {"BilinearHalf", kBilinear, 16, 18, 8, 9},    {"BilinearShrinking", kBilinear, 16, 20, 7, 9},
    {"BilinearRunning", kBilinear, 5, 99, 5, 3},  {"BicubicGrowing", kBicubic, 9, 6, 20, 17},
    {"BicubicShrinking", kBicubic, 19, 21, 7, 9}, {"BicubicRunning", kBicubic, 12, 99, 5, 5},
};

class ResizeFaults : public testing::TestWithParam<Way> {
protected:
    static FilterJob MakeJob() {
        const Way& way = GetParam();
        auto filter = way.make();
        filter->SetInputFormat(TrueColor(way.width, way.height));
        filter->SetOutputFormat(TrueColor(way.toWidth, way.toHeight));
        return FilterJob(std::move(filter));
    }
};
INSTANTIATE_TEST_SUITE_P(Ways, ResizeFaults, testing::ValuesIn(kWays),
                         [](const auto& way) { return std::string(way.param.name); });

TEST_P(ResizeFaults, FailingRequestsAreStatedAndLeaveTheFilterUsable) {
    const unsigned failed = ExpectFailingRequestsAreSurvived(MakeJob);
    EXPECT_TRUE(!ReachesLibraries() || failed >= 2 * 2) << failed;
}

TEST_P(ResizeFaults, NoMoreMemoryIsAskedForOnceStarted) { ExpectNoRequestsOnceStarted(MakeJob); }

TEST_P(ResizeFaults, ASourceThatFailsOrThrowsAtAnyLineSpoilsNoLine) {
    const Lines plain = LinesOf(MakeJob);
    unsigned needed = 0;
    for (unsigned broken = 0; broken < GetParam().height; ++broken)
        for (const bool throws : {false, true})
            if (ExpectABrokenLineSpoilsNothing(MakeJob, plain, broken, throws) < plain.size()) ++needed;
    EXPECT_GE(needed, 2 * std::min(GetParam().height, GetParam().toHeight));
}

TEST_P(ResizeFaults, ASourceThatFailsOnceSpoilsNoLineAfterTheOneThatIsLeftOut) {
    const Lines plain = LinesOf(MakeJob);
    for (unsigned broken = 0; broken < GetParam().height; ++broken)
        ExpectALineLeftOutSpoilsNoOther(MakeJob, plain, broken);
}

TEST_P(ResizeFaults, DestructionInTheMiddleOfAPassLeavesNothing) { ExpectDestructionInMidPassLeavesNothing(MakeJob); }

}  // namespace
}  // namespace faults
