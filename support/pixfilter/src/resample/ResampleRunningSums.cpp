#include "resample/ResampleRunningSums.h"

#include <algorithm>
#include <new>

namespace zpixf {
namespace {

constexpr std::size_t kChannels = 4, kAlpha = 3;

/// As many channels as the kernels handle for `width` pixels.
std::size_t PaddedChannels(std::uint64_t width) {
    constexpr std::uint64_t kAtOnce = ResampleKernels::kMostAtOnce;
    return static_cast<std::size_t>((width + kAtOnce - 1) / kAtOnce * kAtOnce * kChannels);
}

}  // namespace

ResampleRunningSums::ResampleRunningSums(const ResampleWeights& newDown, unsigned newWidth)
    : down(newDown), width(newWidth), lineBytes(PaddedChannels(width)), runSums(kChannels * kRunPixels) {
    if (lineBytes > std::vector<double>().max_size() / kBatch) throw std::bad_alloc();
    lines.resize(lineBytes * kBatch);
    for (Begun& output : begun) {
        output.plain.resize(lineBytes);
        output.weighted.resize(lineBytes);
    }
}

bool ResampleRunningSums::MoveTo(unsigned outputLine, const Pull& pull) {
    if (outputLine == 0 || !isThere || outputLine < current || outputLine >= firstNotBegun) {
        firstNotBegun = outputLine;
        nextInput = down.SpanOf(outputLine).first;
    }
    current = outputLine;
    isThere = false;  // should a pull fail
    const unsigned last = down.SpanOf(outputLine).last;
    while (nextInput <= last) {
        const unsigned first = nextInput, lastOfBatch = first + std::min(kBatch - 1, last - first);
        for (unsigned i = first; i <= lastOfBatch; ++i)
            if (!pull(i, BatchLine(i, first))) return false;
        BeginLinesUpTo(lastOfBatch);
        AddLines(first, lastOfBatch);
        nextInput = lastOfBatch + 1;
    }
    isThere = true;
    return true;
}

const double* ResampleRunningSums::Get(Sums which, std::uint32_t first, std::uint32_t) {
    return (which == Sums::plain ? Current().plain : Current().weighted).data() + kChannels * first;
}

void ResampleRunningSums::BeginLinesUpTo(unsigned inputLine) {
    for (; firstNotBegun < down.Output(); ++firstNotBegun) {
        const ResampleWeights::Span span = down.SpanOf(firstNotBegun);
        if (span.first > inputLine) return;
        Begun& output = begun[firstNotBegun % kMostBegun];
        output.span = span;
        output.walk.emplace(down, span);
        output.isOpaque = true;
        std::fill(output.plain.begin(), output.plain.end(), 0.0);
    }
}

void ResampleRunningSums::AddLines(unsigned first, unsigned last) {
    bool areOpaque = true;
    for (unsigned i = first; i <= last; ++i) areOpaque &= kernels.isOpaque(BatchLine(i, first), width);
    for (unsigned y = current; y < firstNotBegun; ++y) {
        Begun& output = begun[y % kMostBegun];
        taps.Clear();
        for (unsigned i = std::max(first, output.span.first); i <= last; ++i)
            taps.Add(BatchLine(i, first), output.walk->Next());
        taps.Finish();
        if (output.isOpaque && !areOpaque) {
            output.isOpaque = false;
            for (std::size_t i = 0; i < lineBytes; ++i)
                output.weighted[i] = output.plain[i] * (i % kChannels == kAlpha ? 1 : 255);
        }
        AddTaps(false, output.plain);
        if (!output.isOpaque) AddTaps(true, output.weighted);
    }
}

void ResampleRunningSums::AddTaps(bool isWeighted, std::vector<double>& sums) {
    const auto sum = isWeighted ? kernels.sumWeighted : kernels.sumPlain;
    const std::size_t pixels = lineBytes / kChannels;
    for (std::size_t x = 0; x < pixels; x += kRunPixels) {
        const std::size_t run = std::min(kRunPixels, pixels - x);
        sum(taps.Data(), taps.Count(), x, run, runSums.data());
        double* const total = &sums[kChannels * x];
        for (std::size_t i = 0; i < kChannels * run; ++i) total[i] += runSums[i];
    }
}

}  // namespace zpixf
