#pragma once
// A filter at work on lines from a source that fails or throws at a line of choice; and what must hold of every filter
// then, and when memory is short.
#include <cstring>
#include <memory>
#include <stdexcept>
#include <vector>

#include "faults/FaultInjection.h"
#include "zpixf/ZPixFilterBase.h"

namespace faults {

/// Gives pixel x of a line: B, G, R, A in one number, the lowest byte first.
using PixelFormula = std::uint32_t (*)(unsigned x, unsigned line);

inline std::uint32_t ScatteredPixel(unsigned x, unsigned line) { return (x + 97) * (line + 31) * 2654435761u; }

/// It asks for no memory itself.
struct FaultySource {
    unsigned width;
    PixelFormula pixelOf;
    unsigned failingLine = ~0u, throwingLine = ~0u;

    static bool Read(void* userData, unsigned line, void* buffer) {
        const auto& source = *static_cast<const FaultySource*>(userData);
        if (line == source.throwingLine) throw std::runtime_error("the source broke");
        if (line == source.failingLine) return false;
        for (unsigned x = 0; x < source.width; ++x) {
            const std::uint32_t pixel = source.pixelOf(x, line);
            std::memcpy(static_cast<unsigned char*>(buffer) + 4 * x, &pixel, sizeof pixel);
        }
        return true;
    }
    void BreakAt(unsigned line, bool throws) { (throws ? throwingLine : failingLine) = line; }
    void Mend() { failingLine = throwingLine = ~0u; }
};

using Lines = std::vector<std::vector<unsigned char>>;

/// A filter, the source that it pulls from, and the lines that it gave.
class FilterJob {
public:
    /// The filter's formats are set.
    explicit FilterJob(std::unique_ptr<zpixf::ZPixFilterBase> newFilter, PixelFormula pixelOf = &ScatteredPixel)
        : source(new FaultySource{newFilter->GetInputFormat().GetWidth(), pixelOf}), filter(std::move(newFilter)) {
        const zpixf::ZPixFormat& output = filter->GetOutputFormat();
        filter->SetScanLineFunction(&FaultySource::Read, source.get());
        lines.assign(output.GetHeight(), std::vector<unsigned char>(output.GetChannels() * output.GetWidth()));
    }

    bool GiveLine(unsigned y) { return filter->FilterScanline(y, lines[y].data()); }
    bool GiveLines(unsigned first = 0) {
        for (unsigned y = first; y < lines.size(); ++y)
            if (!GiveLine(y)) return false;
        return true;
    }
    /// Whether all of it got through.
    bool Work() { return filter->Start() && GiveLines(); }
    /// Gives lines until the source breaks; returns the line that could not be given, or the number of lines.
    unsigned GiveUntilBroken() {
        unsigned y = 0;
        try {
            while (y < lines.size() && GiveLine(y)) ++y;
        } catch (const std::runtime_error&) { EXPECT_NE(source->throwingLine, ~0u); }
        return y;
    }
    void ForgetLines() {
        for (auto& line : lines) line.assign(line.size(), 0);
    }

    std::unique_ptr<FaultySource> source;
    std::unique_ptr<zpixf::ZPixFilterBase> filter;
    Lines lines;
};

inline zpixf::ZPixFormat TrueColor(unsigned width, unsigned height) { return zpixf::ZPixFormat(width, height); }

template <class Filter>
std::unique_ptr<zpixf::ZPixFilterBase> MakeFilter() {
    return std::make_unique<Filter>();
}

/// How to make a filter, for suites of tests that run over several.
struct FilterMaker {
    const char* name;
    std::unique_ptr<zpixf::ZPixFilterBase> (*make)();
};
inline constexpr auto kNameOfParameter = [](const auto& tested) { return std::string(tested.param.name); };

/// What a plain run gives.
template <class MakeJob>
Lines LinesOf(MakeJob make) {
    FilterJob job = make();
    EXPECT_TRUE(job.Work());
    return job.lines;
}

/// Lets every request for memory fail, once and for good, while a job's filter starts and gives its lines: then it must
/// give them all the same, or be stopped and work when it is started again. `inspectStopped` looks at filters that are
/// stopped. Returns how many requests failed.
template <class MakeJob, class Inspect>
unsigned ExpectFailingRequestsAreSurvived(MakeJob make, Inspect inspectStopped) {
    const Lines plain = LinesOf(make);
    const auto act = [](FilterJob& job) {
        if (!job.Work()) throw std::bad_alloc();
    };
    const auto inspect = [&](FilterJob& job, Outcome outcome) {
        if (outcome == Outcome::failed && !job.filter->IsStarted()) {
            EXPECT_FALSE(job.GiveLine(0));
            EXPECT_FALSE(job.filter->GetErrorDescription().IsEmpty());
            inspectStopped(*job.filter);
        }
        ASSERT_TRUE(outcome == Outcome::done || job.Work());
        EXPECT_EQ(job.lines, plain);
    };
    return FailEveryRequest(make, act, inspect);
}

template <class MakeJob>
unsigned ExpectFailingRequestsAreSurvived(MakeJob make) {
    return ExpectFailingRequestsAreSurvived(make, [](const auto&) {});
}

/// For filters that ask for memory in Start alone.
template <class MakeJob>
void ExpectNoRequestsOnceStarted(MakeJob make) {
    FilterJob job = make();
    ASSERT_TRUE(job.filter->Start());
    const ScopedFault fault(1, Failing::fromThenOn);
    EXPECT_TRUE(job.GiveLines());
    EXPECT_FALSE(fault.WasMet());
}

/// Breaks the source at an input line. Once it is mended no line is spoilt: where the lines go on with the one that
/// could not be given, where they begin anew, and where the filter is started again. Returns the first output line that
/// the input line kept back, or their number if none needs it.
template <class MakeJob>
unsigned ExpectABrokenLineSpoilsNothing(MakeJob make, const Lines& plain, unsigned broken, bool throws) {
    FilterJob job = make();
    EXPECT_TRUE(job.filter->Start());
    job.source->BreakAt(broken, throws);
    const unsigned line = job.GiveUntilBroken();
    if (line == job.lines.size()) return line;
    EXPECT_TRUE(job.filter->IsStarted());
    EXPECT_EQ(job.filter->GetErrorDescription().IsEmpty(), throws);
    job.source->Mend();
    EXPECT_TRUE(job.GiveLines(line));
    EXPECT_EQ(job.lines, plain) << broken;
    job.ForgetLines();
    EXPECT_TRUE(job.GiveLines());
    EXPECT_EQ(job.lines, plain) << broken;
    job.ForgetLines();
    job.filter->Stop();
    EXPECT_TRUE(job.Work());
    EXPECT_EQ(job.lines, plain) << broken;
    return line;
}

/// The line that could not be given is given up; those after it need lines that are to be pulled again.
template <class MakeJob>
void ExpectALineLeftOutSpoilsNoOther(MakeJob make, const Lines& plain, unsigned broken) {
    FilterJob job = make();
    ASSERT_TRUE(job.filter->Start());
    job.source->BreakAt(broken, false);
    const unsigned line = job.GiveUntilBroken();
    if (line == job.lines.size()) return;
    job.source->Mend();
    job.lines[line] = plain[line];
    EXPECT_TRUE(job.GiveLines(line + 1));
    EXPECT_EQ(job.lines, plain) << broken;
}

template <class MakeJob>
void ExpectDestructionInMidPassLeavesNothing(MakeJob make) {
    const auto leaveAfter = [&](unsigned lines) {
        FilterJob job = make();
        ASSERT_TRUE(job.filter->Start());
        for (unsigned y = 0; y < lines; ++y) ASSERT_TRUE(job.GiveLine(y));
    };
    const auto height = static_cast<unsigned>(make().lines.size());
    leaveAfter(1);
    const std::int64_t before = LiveBlocks();
    for (unsigned lines = 0; lines <= height; ++lines) leaveAfter(lines);
    EXPECT_EQ(LiveBlocks(), before);
}

}  // namespace faults
