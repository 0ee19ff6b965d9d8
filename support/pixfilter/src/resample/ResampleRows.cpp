#include "resample/ResampleRows.h"

#include <cstdint>
#include <optional>
#include <vector>

#include "base/LineWindow.h"
#include "resample/ResampleRunningSums.h"
#include "resample/ResampleTaps.h"

namespace zpixf {
namespace {

constexpr unsigned kMostLines = 48;  // more are not kept

/// The first place in a buffer at a multiple of 32 bytes: vectors at other places straddle cache lines.
constexpr std::size_t kAlignment = 32 / sizeof(double);
double* Aligned(std::vector<double>& buffer) {
    const std::size_t misalignment = reinterpret_cast<std::uintptr_t>(buffer.data()) / sizeof(double) % kAlignment;
    return buffer.data() + (misalignment == 0 ? 0 : kAlignment - misalignment);
}

/// Pixels behind those asked for that kernels may take along.
constexpr unsigned kBeyond = ResampleKernels::kMostAtOnce - ResampleKernels::kGroup;

class LinesInWindow final : public ResampleRows {
public:
    LinesInWindow(const ResampleWeights& newDown, unsigned newWidth, std::uint32_t blockPixels)
        : down(newDown),
          width(newWidth),
          opacity(newDown.MaxCount()),
          sums(std::size_t{4} * (blockPixels + kBeyond) + kAlignment) {
        window.Prepare(down.MaxCount(), width, kBeyond);
    }

    bool MoveTo(unsigned line, const Pull& pull) override {
        if (line == 0) window.Forget();
        span = down.SpanOf(line);
        const auto pullAndForget = [&](unsigned inputLine, std::uint8_t* pixels) {
            opacity[inputLine % opacity.size()] = Opacity::unknown;
            return pull(inputLine, pixels);
        };
        areOpaque.reset();
        taps.Clear();
        return window.MoveTo(span.first, span.last, pullAndForget);
    }

    bool AreOpaque() override {
        if (!areOpaque) {
            areOpaque = true;
            for (unsigned i = span.first; i <= span.last && *areOpaque; ++i) areOpaque = IsOpaque(i);
        }
        return *areOpaque;
    }

    const double* Get(Sums which, std::uint32_t first, std::uint32_t count) override {
        if (taps.Count() == 0) FillTaps();
        const auto sum = which == Sums::plain ? kernels.sumPlain : kernels.sumWeighted;
        double* const aligned = Aligned(sums);
        sum(taps.Data(), taps.Count(), first, count, aligned);
        return aligned;
    }

private:
    void FillTaps() {
        ResampleWeights::Walk walk(down, span);
        for (unsigned i = span.first; i <= span.last; ++i) taps.Add(window.Line(i), walk.Next());
        taps.Finish();
    }

    enum class Opacity : std::uint8_t { unknown, partial, full };

    bool IsOpaque(unsigned inputLine) {
        Opacity& known = opacity[inputLine % opacity.size()];
        if (known == Opacity::unknown)
            known = kernels.isOpaque(window.Line(inputLine), width) ? Opacity::full : Opacity::partial;
        return known == Opacity::full;
    }

    const ResampleKernels& kernels = ActiveResampleKernels();
    const ResampleWeights down;
    const unsigned width;
    LineWindow window;
    std::vector<Opacity> opacity;  // of the lines in the window
    ResampleWeights::Span span{};
    std::optional<bool> areOpaque;  // of the span
    ResampleTaps<kMostLines> taps;
    std::vector<double> sums;
};

}  // namespace

std::unique_ptr<ResampleRows> MakeResampleRows(const ResampleWeights& down, unsigned width, std::uint32_t blockPixels) {
    if (down.MaxCount() > kMostLines) return std::make_unique<ResampleRunningSums>(down, width);
    return std::make_unique<LinesInWindow>(down, width, blockPixels);
}

}  // namespace zpixf
