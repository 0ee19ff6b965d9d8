#include "FilterRun.h"

#include <stdexcept>
#include <string>

#include "shr/CopyPixelRows.h"

namespace contest::filters {

namespace {

/// The source as the filter pulls it, copied as a bitmap copies its lines: after the last line the first comes again.
struct Source {
    const std::uint8_t* first;
    int width;
    unsigned lines;
    unsigned awaited = 0;  ///< the line behind the last one that was pulled

    static bool Read(void* userData, unsigned line, void* buffer) {
        auto& source = *static_cast<Source*>(userData);
        const std::ptrdiff_t lineBytes = std::ptrdiff_t{4} * source.width;
        const unsigned place = line % source.lines;
        const bool goesOn = line == source.awaited && place + 1 < source.lines;
        source.awaited = line + 1;
        shr::CopyPixelLine({static_cast<std::uint8_t*>(buffer), 0, 0},
                           {source.first + place * lineBytes, goesOn ? lineBytes : 0, 0}, source.width, shr::BGRA_32,
                           shr::CopyWrites::cached);
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
    Source source{canvas.source, canvas.from, sourceLines};
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
