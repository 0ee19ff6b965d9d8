#pragma once
#include <optional>
#include <vector>

#include "resample/ResampleRows.h"
#include "resample/ResampleTaps.h"

namespace zpixf {

/// For reductions so strong that a window of lines would fill the memory: each line is added to the sums of the output
/// lines that it belongs to, and let go.
class ResampleRunningSums final : public ResampleRows {
public:
    /// Raises std::bad_alloc.
    ResampleRunningSums(const ResampleWeights& newDown, unsigned newWidth);

    bool MoveTo(unsigned outputLine, const Pull& pull) override;
    bool AreOpaque() override { return Current().isOpaque; }
    const double* Get(Sums which, std::uint32_t first, std::uint32_t count) override;

private:
    /// The sums of an output line that has begun. The weighted ones are made when a line comes that is not opaque.
    struct Begun {
        ResampleWeights::Span span{};
        std::optional<ResampleWeights::Walk> walk;
        bool isOpaque = true;
        std::vector<double> plain, weighted;
    };
    // A kernel reaches less than two output lines each way, so an input line belongs to no more than these.
    static constexpr unsigned kMostBegun = 4;

    // Lines are added some at a time, and columns some at a time: those sums stay in the nearest cache.
    static constexpr unsigned kBatch = 8;
    static constexpr std::size_t kRunPixels = 256;

    const Begun& Current() const { return begun[current % kMostBegun]; }
    std::uint8_t* BatchLine(unsigned inputLine, unsigned first) { return &lines[lineBytes * (inputLine - first)]; }
    void BeginLinesUpTo(unsigned inputLine);
    /// Adds lines `first` .. `last`, which have been pulled, to all output lines that have begun.
    void AddLines(unsigned first, unsigned last);
    void AddTaps(bool isWeighted, std::vector<double>& sums);

    const ResampleKernels& kernels = ActiveResampleKernels();
    const ResampleWeights down;
    const unsigned width;
    const std::size_t lineBytes;  // of whole groups of pixels
    std::vector<std::uint8_t> lines;
    std::vector<double> runSums;
    ResampleTaps<kBatch> taps;
    Begun begun[kMostBegun];                  // that of line y at y % kMostBegun
    unsigned current = 0, firstNotBegun = 0;  // output lines
    unsigned nextInput = 0;
    bool isThere = false;
};

}  // namespace zpixf
