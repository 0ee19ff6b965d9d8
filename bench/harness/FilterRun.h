#pragma once
// How filters are driven: line by line, from a picture in memory to another.
#include "harness/Pictures.h"
#include "zpixf/ZPixFilterBase.h"

namespace bench {

/// The lines of a picture of bytes B, G, R, A as a filter pulls them, copied as a bitmap copies its lines. Behind the
/// last line the first comes again, so that a few lines, which stay in the cache, can stand for many.
struct LineSource {
    const std::uint8_t* first;
    int width;
    unsigned lines;
    unsigned awaited = 0;  ///< the line behind the last one that was pulled

    static bool Read(void* lineSource, unsigned line, void* buffer);
};

zpixf::ZPixFormat BgraFormat(int width, int height);
/// Of a square whose colours are indices of so many bits.
zpixf::ZPixFormat IndexFormat(int side, unsigned bits = 8, unsigned colors = 256);

/// Both raise std::runtime_error if the filter fails. `source` must live until the last line is pulled.
void Start(zpixf::ZPixFilterBase& filter, LineSource& source, const zpixf::ZPixFormat& input,
           const zpixf::ZPixFormat& output);
void PullLines(zpixf::ZPixFilterBase& filter, int lines, std::uint8_t* result, std::ptrdiff_t stride);

/// A pass down a picture into one of indices, Start and Stop included; `result` takes the filter's colour table.
void MakeIndices(zpixf::ZPixFilterBase& filter, const Square& bgra, const zpixf::ZPixFormat& output, Square& result);

}  // namespace bench
