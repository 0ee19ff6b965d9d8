// Colour quantisers on the photograph: megapixels a second from Start to the last line, and how close the result comes.
#include "zpixf/ZPixfQuantize.h"

#include "Benchmark.h"
#include "harness/FilterRun.h"
#include "harness/Statistics.h"

namespace {

using bench::Square;

template <class Filter>
bench::Benchmark Quantize(const std::string& name, unsigned colors) {
    return {name + "/" + std::to_string(colors), 9, [=](bench::Run& run) {
                const Square& photograph = bench::Photograph();
                Square indices(shr::INDEXED_8, photograph.side);
                const auto operation = [&] {
                    Filter filter;
                    filter.SetDesiredColors(colors);
                    MakeIndices(filter, photograph, bench::IndexFormat(photograph.side), indices);
                };
                run.TakeTurns({photograph.Megapixels(), "MP/s"}, operation, photograph.pixels.size());
                run.Add("dB", PeakSignalToNoise(ToBgra(indices).pixels, photograph.pixels));
            }};
}

[[maybe_unused]] const bool kAdded = bench::Add({
    Quantize<zpixf::ZPixfQuantizeMedian5>("Quantize/median5", 256),
    Quantize<zpixf::ZPixfQuantizeMedian5>("Quantize/median5", 16),
    Quantize<zpixf::ZPixfQuantizeMedian8>("Quantize/median8", 256),
    Quantize<zpixf::ZPixfQuantizeMedian8>("Quantize/median8", 16),
    Quantize<zpixf::ZPixfQuantizePopularity>("Quantize/popularity", 256),
    Quantize<zpixf::ZPixfQuantizePopularity>("Quantize/popularity", 16),
});

}  // namespace
