#include "zpixf/ZPixfResize.h"

#include <cstring>
#include <optional>
#include <typeinfo>
#include <vector>

#include "resample/ResampleKernels.h"
#include "resample/ResampleWeights.h"
#include "resample/ZPixfResizeChecks.h"

namespace zpixf {

struct ZPixfResize::State {
    std::vector<std::uint32_t> columns;  // the input pixel of each output pixel
    std::vector<std::uint8_t> line;
    std::vector<std::uint8_t> picked;   // what became of the line, where output lines repeat
    std::optional<unsigned> lineThere;  // in `line`
};

ZPixfResize::ZPixfResize() = default;
ZPixfResize::~ZPixfResize() = default;
ZPixfType ZPixfResize::FilterType() const { return ZPixfType::Resize; }
const ZPixfPicking* ZPixfResize::AsPicking() const noexcept {
    return typeid(*this) == typeid(ZPixfResize) ? this : nullptr;
}

bool ZPixfResize::OnStart() {
    if (const wchar_t* reason = WhyNotResampled(inputFormat, outputFormat))
        return Fail("ZPixfResize", __LINE__, reason);
    state = std::make_unique<State>();
    state->line.resize(std::size_t{4} * inputFormat.GetWidth());
    state->columns.resize(outputFormat.GetWidth());
    if (outputFormat.GetHeight() > inputFormat.GetHeight())
        state->picked.resize(std::size_t{4} * outputFormat.GetWidth());
    if (inputFormat.GetWidth() == 0) return true;
    for (std::uint32_t x = 0; x < outputFormat.GetWidth(); ++x)
        state->columns[x] = PixelUnderCentre(x, inputFormat.GetWidth(), outputFormat.GetWidth());
    return true;
}

bool ZPixfResize::FilterScanline(unsigned line, void* buffer) {
    if (!IsReadyFor(line)) return false;
    if (state->columns.empty()) return true;
    const unsigned inputLine = LineUnder(line);
    const bool isNew = line == 0 || state->lineThere != inputLine;
    if (isNew) {
        state->lineThere.reset();
        if (!PullLine(inputLine, state->line.data())) return false;
        state->lineThere = inputLine;
    }
    auto& [columns, pulled, picked, lineThere] = *state;
    auto* const out = static_cast<std::uint8_t*>(buffer);
    if (isNew || picked.empty()) {
        auto* const to = picked.empty() ? out : picked.data();
        ActiveResampleKernels().pick(pulled.data(), 0, columns.data(), columns.size(), to);
    }
    if (!picked.empty()) std::memcpy(out, picked.data(), picked.size());
    return true;
}

unsigned ZPixfResize::LineUnder(unsigned line) const noexcept {
    return PixelUnderCentre(line, inputFormat.GetHeight(), outputFormat.GetHeight());
}

const std::uint32_t* ZPixfResize::Columns() const noexcept { return state->columns.data(); }

void ZPixfResize::Pick(unsigned first, std::size_t count, const std::uint8_t* pixels, int origin,
                       std::uint8_t* out) const noexcept {
    ActiveResampleKernels().pick(pixels, origin, state->columns.data() + first, count, out);
}

void ZPixfResize::Stop() {
    state.reset();
    ZPixFilterBase::Stop();
}

}  // namespace zpixf
