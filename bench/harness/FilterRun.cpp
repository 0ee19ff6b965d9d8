#include "harness/FilterRun.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "shr/CopyPixelRows.h"

namespace bench {

namespace {

[[noreturn]] void RaiseWhatFailed(const zpixf::ZPixFilterBase& filter) {
    throw std::runtime_error("a filter fails at line " + std::to_string(filter.GetErrorLine()) + " of its source");
}

}  // namespace

bool LineSource::Read(void* lineSource, unsigned line, void* buffer) {
    auto& source = *static_cast<LineSource*>(lineSource);
    const std::ptrdiff_t lineBytes = std::ptrdiff_t{4} * source.width;
    const unsigned place = line % source.lines;
    const bool goesOn = line == source.awaited && place + 1 < source.lines;
    source.awaited = line + 1;
    shr::CopyPixelLine({static_cast<std::uint8_t*>(buffer), 0, 0},
                       {source.first + place * lineBytes, goesOn ? lineBytes : 0, 0}, source.width, shr::BGRA_32,
                       shr::CopyWrites::cached);
    return true;
}

zpixf::ZPixFormat BgraFormat(int width, int height) {
    return zpixf::ZPixFormat(static_cast<unsigned>(width), static_cast<unsigned>(height), 4, 8);
}

zpixf::ZPixFormat IndexFormat(int side, unsigned bits, unsigned colors) {
    return zpixf::ZPixFormat(static_cast<unsigned>(side), static_cast<unsigned>(side), 1, bits, colors);
}

void Start(zpixf::ZPixFilterBase& filter, LineSource& source, const zpixf::ZPixFormat& input,
           const zpixf::ZPixFormat& output) {
    filter.SetInputFormat(input);
    filter.SetOutputFormat(output);
    filter.SetScanLineFunction(&LineSource::Read, &source);
    if (!filter.Start()) RaiseWhatFailed(filter);
}

void PullLines(zpixf::ZPixFilterBase& filter, int lines, std::uint8_t* result, std::ptrdiff_t stride) {
    for (int y = 0; y < lines; ++y)
        if (!filter.FilterScanline(static_cast<unsigned>(y), result + y * stride)) RaiseWhatFailed(filter);
}

void MakeIndices(zpixf::ZPixFilterBase& filter, const Square& bgra, const zpixf::ZPixFormat& output, Square& result) {
    LineSource source{bgra.pixels.data(), bgra.side, static_cast<unsigned>(bgra.side)};
    Start(filter, source, BgraFormat(bgra.side, bgra.side), output);
    PullLines(filter, bgra.side, result.pixels.data(), result.stride);
    const auto colors = static_cast<unsigned>(result.table.size());
    shr::CopyRGBQUADToColor4b(result.table.data(), filter.GetOutputFormat().GetColors(), colors, false);
    filter.Stop();
}

}  // namespace bench
