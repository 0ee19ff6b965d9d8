#include "zpixf/ZPixfResize.h"

#include <optional>
#include <vector>

#include "ResampleKernels.h"
#include "ResampleWeights.h"
#include "ZPixfResizeChecks.h"

namespace zpixf {

struct ZPixfResize::State {
    std::vector<std::uint32_t> columns;  // the input pixel of each output pixel
    std::vector<std::uint8_t> line;
    std::optional<unsigned> lineThere;  // in `line`
};

ZPixfResize::ZPixfResize() = default;
ZPixfResize::~ZPixfResize() = default;
ZPixfType ZPixfResize::FilterType() const { return ZPixfType::Resize; }

bool ZPixfResize::OnStart() {
    if (const wchar_t* reason = WhyNotResampled(inputFormat, outputFormat))
        return Fail("ZPixfResize", __LINE__, reason);
    state = std::make_unique<State>();
    state->line.resize(std::size_t{4} * inputFormat.GetWidth());
    state->columns.resize(outputFormat.GetWidth());
    if (inputFormat.GetWidth() == 0) return true;
    for (std::uint32_t x = 0; x < outputFormat.GetWidth(); ++x)
        state->columns[x] = PixelUnderCentre(x, inputFormat.GetWidth(), outputFormat.GetWidth());
    return true;
}

bool ZPixfResize::FilterScanline(unsigned line, void* buffer) {
    if (!IsReadyFor(line)) return false;
    if (state->columns.empty()) return true;
    const unsigned inputLine = PixelUnderCentre(line, inputFormat.GetHeight(), outputFormat.GetHeight());
    if (line == 0 || state->lineThere != inputLine) {
        state->lineThere.reset();
        if (!PullLine(inputLine, state->line.data())) return false;
        state->lineThere = inputLine;
    }
    ActiveResampleKernels().pick(state->line.data(), state->columns.data(), state->columns.size(),
                                 static_cast<std::uint8_t*>(buffer));
    return true;
}

void ZPixfResize::Stop() {
    state.reset();
    ZPixFilterBase::Stop();
}

}  // namespace zpixf
