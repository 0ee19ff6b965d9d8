#include "zpixf/ZPixfMedian.h"

#include <algorithm>

#include "median/ZPixfMedianLines.h"

namespace zpixf {

/// Null lines: the window is a pixel.
struct ZPixfMedian::State {
    std::unique_ptr<MedianLines> lines;
};

ZPixfMedian::ZPixfMedian() = default;
ZPixfMedian::~ZPixfMedian() = default;

ZPixfType ZPixfMedian::FilterType() const { return ZPixfType::Median; }

void ZPixfMedian::SetSpan(unsigned newSpan) { span = std::min(newSpan, kMaxSpan) | 1; }

void ZPixfMedian::Stop() {
    state.reset();
    ZPixFilterBase::Stop();
}

bool ZPixfMedian::OnStart() {
    const auto isBgra = [](const ZPixFormat& format) {
        return format.GetChannels() == 4 && format.GetBitsPerChannel() == 8 && format.GetNumColors() == 0;
    };
    if (!isBgra(inputFormat) || !isBgra(outputFormat))
        return Fail("ZPixfMedian", __LINE__, L"The median filter takes and gives 4 channels of 8 bits.");
    if (inputFormat.GetWidth() != outputFormat.GetWidth() || inputFormat.GetHeight() != outputFormat.GetHeight())
        return Fail("ZPixfMedian", __LINE__, L"Input and output of the median filter differ in size.");
    auto ready = std::make_unique<State>();
    const unsigned width = inputFormat.GetWidth(), height = inputFormat.GetHeight();
    const MedianTask task = {width, height, span / 2,
                             [this](unsigned line, std::uint8_t* pixels) { return PullLine(line, pixels); }};
    if (width != 0 && height != 0 && span != 1)
        ready->lines = span == 3   ? MakeMedian3Lines(task)
                       : span == 5 ? MakeMedian5Lines(task)
                                   : MakeHistogramMedianLines(task);
    state = std::move(ready);
    return true;
}

bool ZPixfMedian::FilterScanline(unsigned line, void* buffer) {
    if (!IsReadyFor(line)) return false;
    return state->lines ? state->lines->Give(line, static_cast<std::uint8_t*>(buffer)) : PullLine(line, buffer);
}

}  // namespace zpixf
