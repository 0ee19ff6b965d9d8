#include "FilterContestOurs.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace contest::filters {

namespace {

/// The source as the filter pulls it: after the last line the first comes again.
struct Source {
    const std::uint8_t* first;
    std::size_t lineBytes;
    unsigned lines;

    static bool Read(void* userData, unsigned line, void* buffer) {
        const auto& source = *static_cast<const Source*>(userData);
        std::memcpy(buffer, source.first + line % source.lines * source.lineBytes, source.lineBytes);
        return true;
    }
};

[[noreturn]] void RaiseWhatFailed(const zpixf::ZPixFilterBase& filter) {
    throw std::runtime_error("a filter fails at line " + std::to_string(filter.GetErrorLine()) + " of its source");
}

zpixf::ZPixFormat Square(int side) {
    return zpixf::ZPixFormat(static_cast<unsigned>(side), static_cast<unsigned>(side), 4, 8);
}

void Filter(zpixf::ZPixFilterBase& filter, const Canvas& canvas, unsigned sourceLines, std::ptrdiff_t resultStride) {
    Source source{canvas.source, static_cast<std::size_t>(canvas.SourceStride()), sourceLines};
    filter.SetInputFormat(Square(canvas.from));
    filter.SetOutputFormat(Square(canvas.to));
    filter.SetScanLineFunction(&Source::Read, &source);
    if (!filter.Start()) RaiseWhatFailed(filter);
    for (int y = 0; y < canvas.to; ++y)
        if (!filter.FilterScanline(static_cast<unsigned>(y), canvas.result + y * resultStride)) RaiseWhatFailed(filter);
    filter.Stop();
}

}  // namespace

Enter RunOurs(const MakeFilter& make, Lines lines) {
    constexpr unsigned kLinesInCache = 16;
    return [=](const Canvas& canvas) -> Job {
        const unsigned sourceLines = lines == Lines::inCache ? kLinesInCache : static_cast<unsigned>(canvas.from);
        const std::ptrdiff_t resultStride = lines == Lines::inCache ? 0 : canvas.ResultStride();
        return [=] { Filter(*make(), canvas, sourceLines, resultStride); };
    };
}

}  // namespace contest::filters
