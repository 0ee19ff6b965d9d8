// Ditherers on the photograph: megapixels a second from Start to the last line, with fixed palettes and with one made
// for the picture.
#include "zpixf/ZPixfDither.h"

#include "Benchmark.h"
#include "harness/FilterRun.h"
#include "zpixf/ZPixfQuantize.h"

namespace {

using bench::Square;

/// The format of 256 colours chosen for the picture.
zpixf::ZPixFormat FormatOf(const Square& picture) {
    zpixf::ZPixfQuantizeMedian8 quantizer;
    bench::LineSource source{picture.pixels.data(), picture.side, static_cast<unsigned>(picture.side)};
    Start(quantizer, source, bench::BgraFormat(picture.side, picture.side), bench::IndexFormat(picture.side));
    return quantizer.GetOutputFormat();
}

constexpr unsigned kColorsOfPicture = 0;

template <class Filter>
bench::Benchmark Dither(const std::string& name, unsigned colors) {
    return {name + "/colors:" + std::to_string(colors), 9, [=](bench::Run& run) {
                const Square& photograph = bench::Photograph();
                const auto indexed = colors == 2 ? shr::INDEXED_1 : colors == 16 ? shr::INDEXED_4 : shr::INDEXED_8;
                const auto bits = static_cast<unsigned>(shr::ColorFmtToBPP[indexed]);
                const zpixf::ZPixFormat format = colors == kColorsOfPicture
                                                     ? FormatOf(photograph)
                                                     : bench::IndexFormat(photograph.side, bits, colors);
                Square indices(indexed, photograph.side);
                const auto operation = [&] {
                    Filter filter;
                    filter.SetPullsAhead(true);
                    MakeIndices(filter, photograph, format, indices);
                };
                run.TakeTurns({photograph.Megapixels(), "MP/s"}, operation, photograph.pixels.size());
            }};
}

[[maybe_unused]] const bool kAdded = [] {
    for (const unsigned colors : {2U, 16U, 256U, kColorsOfPicture})
        bench::Add({Dither<zpixf::ZPixfDitherOrdered>("Dither/ordered", colors),
                    Dither<zpixf::ZPixfDitherBlueNoise>("Dither/blue noise", colors),
                    Dither<zpixf::ZPixfDitherDiffuse>("Dither/diffuse", colors)});
    return true;
}();

}  // namespace
