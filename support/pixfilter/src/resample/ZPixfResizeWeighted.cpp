// The resampling filters that weigh several pixels.
//
// Lines are summed down the picture first, then the sums across it; nothing is rounded between. So it is no matter in
// which order that happens, and what is turned or mirrored before resizing comes out as if it were after.
#include <cstring>
#include <typeinfo>

#include "base/LineWindow.h"
#include "resample/ResampleRows.h"
#include "resample/ResampleTable.h"
#include "resample/ZPixfResizeChecks.h"
#include "zpixf/ZPixfResize.h"

namespace zpixf {
namespace {

bool IsHalf(unsigned input, unsigned output) { return input == 2 * std::uint64_t{output}; }

bool IsHalf(const ZPixFormat& input, const ZPixFormat& output) {
    return IsHalf(input.GetWidth(), output.GetWidth()) && IsHalf(input.GetHeight(), output.GetHeight());
}

/// Where a part ends that begins at `place` and in which roundings go on as they began: they turn round in the middle.
unsigned EndOfPart(unsigned place, unsigned end, unsigned places) {
    const unsigned middle = places / 2;
    return place < middle && middle < end ? middle : end;
}

/// From the line on that lies first in memory, as memory is fastest upwards.
HalvedLines InOrderOfMemory(const HalvedLines& lines) {
    if (lines.toStride >= 0) return lines;
    const auto last = static_cast<std::ptrdiff_t>(lines.height) - 1;
    const auto fromLast = [&](const HalvedLines::Part& part) {
        return HalvedLines::Part{part.width, part.roundsUp == (last % 2 == 0)};
    };
    return {lines.from + (2 * last + 1) * lines.fromStride,
            -lines.fromStride,
            lines.to + last * lines.toStride,
            -lines.toStride,
            lines.height,
            fromLast(lines.left),
            fromLast(lines.right),
            lines.fetchesNext};
}

/// Of a half of `width` x `height` pixels.
void HalvePart(const ZPixfHalving::Part& part, unsigned width, unsigned height) {
    const unsigned right = part.column + part.width, bottom = part.line + part.height;
    const unsigned turn = EndOfPart(part.column, right, width);
    const bool isLeftEven = ResampleTable::IsEven(part.column, width), isRightEven = ResampleTable::IsEven(turn, width);
    for (unsigned y = part.line, next; y < bottom; y = next) {
        next = EndOfPart(y, bottom, height);
        const auto down = static_cast<std::ptrdiff_t>(y - part.line);
        const bool isEven = ResampleTable::IsEven(y, height);
        ActiveResampleKernels().halve(InOrderOfMemory({part.from + 2 * down * part.fromStride,
                                                       part.fromStride,
                                                       part.to + down * part.toStride,
                                                       part.toStride,
                                                       next - y,
                                                       {turn - part.column, isLeftEven == isEven},
                                                       {right - turn, isRightEven == isEven},
                                                       part.isFarAway}));
    }
}

}  // namespace

/// The output lines of one pass.
struct ZPixfResample::State {
    virtual ~State() = default;
    /// Gives output line `line`; false if a line that it needs cannot be pulled.
    virtual bool GiveLine(unsigned line, const ResampleRows::Pull& pull, std::uint8_t* out) = 0;
};

struct ZPixfResample::Half final : State {
    /// Raises std::bad_alloc.
    explicit Half(const ZPixFormat& output) : width(output.GetWidth()), height(output.GetHeight()) {
        window.Prepare(2, 2 * width, 0);
    }

    bool GiveLine(unsigned line, const ResampleRows::Pull& pull, std::uint8_t* out) override {
        if (line == 0) window.Forget();
        if (!window.MoveTo(2 * line, 2 * line + 1, pull)) return false;
        const std::uint8_t *upper = window.Line(2 * line), *lower = window.Line(2 * line + 1);
        HalvePart({0, line, width, 1, upper, lower - upper, out, 0, false}, width, height);
        return true;
    }

private:
    const unsigned width, height;
    LineWindow window;
};

struct ZPixfResample::Weighted final : State {
    /// Raises std::bad_alloc.
    Weighted(ResampleKernel kernel, const ZPixFormat& input, const ZPixFormat& output);
    bool GiveLine(unsigned line, const ResampleRows::Pull& pull, std::uint8_t* out) override;

private:
    void MixBlock(const ResampleTable::Block& block, std::uint8_t* out);
    void FillClear(const ResampleTable::Block& block, const bool* isClear, std::uint8_t* out);

    const ResampleKernels& kernels = ActiveResampleKernels();
    const unsigned height;
    bool isLineEven = true;  // see ResampleTable::IsEven
    ResampleTable table;
    std::unique_ptr<ResampleRows> rows;
};

ZPixfResample::Weighted::Weighted(ResampleKernel kernel, const ZPixFormat& input, const ZPixFormat& output)
    : height(output.GetHeight()) {
    const auto weights = [&](unsigned from, unsigned to) {
        const bool isBox = kernel == ResampleKernel::triangle && IsHalf(from, to);
        return ResampleWeights(isBox ? ResampleKernel::box : kernel, from, to);
    };
    const ResampleWeights down = weights(input.GetHeight(), output.GetHeight());
    table.Prepare(weights(input.GetWidth(), output.GetWidth()), down.Bits());
    rows = MakeResampleRows(down, input.GetWidth(), table.MostPixels());
}

bool ZPixfResample::Weighted::GiveLine(unsigned line, const ResampleRows::Pull& pull, std::uint8_t* out) {
    if (!rows->MoveTo(line, pull)) return false;
    isLineEven = ResampleTable::IsEven(line, height);
    for (const ResampleTable::Block& block : table.Blocks()) MixBlock(block, out + std::size_t{4} * block.column);
    return true;
}

void ZPixfResample::Weighted::MixBlock(const ResampleTable::Block& block, std::uint8_t* out) {
    const ResampleColumns columns = table.ColumnsOf(block, isLineEven);
    if (rows->AreOpaque()) {
        const double* sums = rows->Get(ResampleRows::Sums::plain, block.pixel, block.pixels);
        return kernels.mixPlain(columns, sums, block.pixel, out);
    }
    bool isClear[ResampleTable::kMostColumns];
    const double* sums = rows->Get(ResampleRows::Sums::weighted, block.pixel, block.pixels);
    if (kernels.mixWeighted(columns, sums, block.pixel, out, isClear)) FillClear(block, isClear, out);
}

// Nothing of these pixels shows; they get the colours they would have if alpha were none.
void ZPixfResample::Weighted::FillClear(const ResampleTable::Block& block, const bool* isClear, std::uint8_t* out) {
    std::uint8_t plain[4 * ResampleTable::kMostColumns];
    const double* sums = rows->Get(ResampleRows::Sums::plain, block.pixel, block.pixels);
    kernels.mixPlain(table.ColumnsOf(block, isLineEven), sums, block.pixel, plain);
    for (std::size_t x = 0; x < block.columns; ++x)
        if (isClear[x]) std::memcpy(out + 4 * x, plain + 4 * x, 3);
}

ZPixfResample::ZPixfResample() = default;
ZPixfResample::~ZPixfResample() = default;

bool ZPixfResample::StartWith(ResampleKernel kernel) {
    if (const wchar_t* reason = WhyNotResampled(inputFormat, outputFormat))
        return Fail("ZPixfResize", __LINE__, reason);
    const bool isEmpty = outputFormat.GetWidth() == 0 || outputFormat.GetHeight() == 0;
    if (isEmpty) return true;
    if (kernel == ResampleKernel::triangle && IsHalf(inputFormat, outputFormat))
        state = std::make_unique<Half>(outputFormat);
    else
        state = std::make_unique<Weighted>(kernel, inputFormat, outputFormat);
    return true;
}

bool ZPixfResample::FilterScanline(unsigned line, void* buffer) {
    if (!IsReadyFor(line)) return false;
    if (!state) return true;  // lines of no pixels
    const auto pull = [this](unsigned inputLine, void* pixels) { return PullLine(inputLine, pixels); };
    return state->GiveLine(line, pull, static_cast<std::uint8_t*>(buffer));
}

void ZPixfResample::Stop() {
    state.reset();
    ZPixFilterBase::Stop();
}

ZPixfResizeBilinear::ZPixfResizeBilinear() = default;
ZPixfResizeBilinear::~ZPixfResizeBilinear() = default;
ZPixfType ZPixfResizeBilinear::FilterType() const { return ZPixfType::Resize; }
const ZPixfHalving* ZPixfResizeBilinear::AsHalving() const noexcept {
    return typeid(*this) == typeid(ZPixfResizeBilinear) && IsHalf(inputFormat, outputFormat) ? this : nullptr;
}

void ZPixfResizeBilinear::Halve(const Part& part) const noexcept {
    HalvePart(part, outputFormat.GetWidth(), outputFormat.GetHeight());
}

bool ZPixfResizeBilinear::OnStart() { return StartWith(ResampleKernel::triangle); }

ZPixfResizeBicubic::ZPixfResizeBicubic() = default;
ZPixfResizeBicubic::~ZPixfResizeBicubic() = default;
void ZPixfResizeBicubic::SetMode(int newMode) { mode = newMode; }
ZPixfType ZPixfResizeBicubic::FilterType() const { return ZPixfType::ResizeBicubic; }

bool ZPixfResizeBicubic::OnStart() {
    switch (mode) {
        case 0: return StartWith(ResampleKernel::catmullRom);
        case 1: return StartWith(ResampleKernel::mitchell);
        case 2: return StartWith(ResampleKernel::bSpline);
        default: return Fail("ZPixfResize", __LINE__, L"The bicubic filter has no such mode.");
    }
}

}  // namespace zpixf
