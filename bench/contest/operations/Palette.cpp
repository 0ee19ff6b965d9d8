// Quantisers, ditherers and the mapping to a fixed table: how long, and how near to the picture. All give a byte a
// pixel and a colour table.
#include <memory>

#include "harness/FilterRun.h"
#include "harness/Statistics.h"
#include "operations/Indexed.h"
#include "zbm/ColorTableMatcher.h"
#include "zpixf/ZPixfDither.h"
#include "zpixf/ZPixfQuantize.h"

namespace contest {

namespace {

template <class Quantizer>
void Quantize(const Square& bgra, Square& indices, unsigned colors) {
    Quantizer quantizer;
    quantizer.SetDesiredColors(colors);
    MakeIndices(quantizer, bgra, bench::IndexFormat(bgra.side), indices);
}

template <class Quantizer>
Entrant Quantizing(const char* name, unsigned colors) {
    return {.name = name,
            .enter = Painting([=](const auto& bgra, auto& indices) { Quantize<Quantizer>(bgra, indices, colors); }),
            .role = Role::ours};
}

zpixf::ZPixFormat FormatWith(int side, const RGBQUAD* colors, unsigned count) {
    zpixf::ZPixFormat format = bench::IndexFormat(side);
    format.FillColorTable(count, colors);
    return format;
}

/// The quantiser only chooses the colours; its own indices are not asked for.
template <class Quantizer, class Ditherer>
Entrant QuantizingAndDithering(const char* name) {
    return {.name = name,
            .enter = Painting([](const Square& bgra, Square& indices) {
                Quantizer quantizer;
                Ditherer ditherer;
                ditherer.SetPullsAhead(true);
                bench::LineSource source{bgra.pixels.data(), bgra.side, static_cast<unsigned>(bgra.side)};
                Start(quantizer, source, bench::BgraFormat(bgra.side, bgra.side), bench::IndexFormat(bgra.side));
                const zpixf::ZPixFormat& chosen = quantizer.GetOutputFormat();
                MakeIndices(ditherer, bgra, FormatWith(bgra.side, chosen.GetColors(), chosen.GetNumColors()), indices);
            }),
            .role = Role::ours};
}

/// To the source's colour table if it has one, else to the colours that the filter itself fixes.
template <class Ditherer>
Entrant Dithering(const char* name) {
    return {.name = name,
            .enter = Painting([](const Square& bgra, Square& indices) {
                Ditherer ditherer;
                ditherer.SetPullsAhead(true);
                RGBQUAD colors[256] = {};
                const auto count = static_cast<unsigned>(bgra.table.size());
                if (count != 0) shr::CopyColor4bToRGBQUAD(colors, bgra.table.data(), count, false);
                MakeIndices(ditherer, bgra,
                            count == 0 ? bench::IndexFormat(bgra.side) : FormatWith(bgra.side, colors, count), indices);
            }),
            .role = Role::ours};
}

Entry Map(const Scene& scene) {
    const auto matcher = std::make_shared<zbm::ColorTableMatcher>(scene.source.table.data(), 256U);
    return Painting([matcher](const Square& bgra, Square& indices) {
        const auto side = static_cast<std::uint32_t>(bgra.side);
        indices.table = bgra.table;
        zbm::ConvertPixelsToColorTable(indices.Rows(), 256, {bgra.pixels.data(), shr::BGRA_32, bgra.stride}, 0, side,
                                       side, *matcher);
    })(scene);
}

/// The picture with the colour table of so many entries that Median8 chooses for it.
template <unsigned kColors>
Square WithPalette(const Square& bgra) {
    Square indices(shr::INDEXED_8, bgra.side), source = bgra;
    Quantize<zpixf::ZPixfQuantizeMedian8>(bgra, indices, kColors);
    source.table.assign(indices.table.begin(), indices.table.begin() + kColors);
    return source;
}

Verdict Nearness(const Entrant&, const Scene& scene) {
    const Pixels &result = scene.result.pixels, &source = scene.source.pixels;
    return {{{"dB", PeakSignalToNoise(result, source), Beside::difference},
             {"colours", bench::CountColors(result)},
             {"dE", bench::ColorDifference(result, source)}}};
}

Verdict NoiseAndTone(const Entrant&, const Scene& scene) {
    const Pixels &result = scene.result.pixels, &source = scene.source.pixels;
    return {{{"noise", bench::Noise(result, source)},
             {"tone", bench::ToneError(result, source, scene.source.side)},
             {"colours", bench::CountColors(result)}}};
}

/// What ours writes must be what the matcher answers pixel by pixel.
Verdict NearnessAndMatch(const Entrant& who, const Scene& scene) {
    Verdict verdict = Nearness(who, scene);
    if (who.role != Role::ours) return verdict;
    const auto& table = scene.source.table;
    const zbm::ColorTableMatcher matcher(table.data(), 256);
    for (std::size_t i = 0; i < scene.source.pixels.size() && verdict.isRight; i += 4) {
        const std::uint8_t *source = &scene.source.pixels[i], *result = &scene.result.pixels[i];
        const shr::Color4b color = table[matcher.MatchExactOrApproximate({source[2], source[1], source[0]})];
        verdict.isRight = color.blue == result[0] && color.green == result[1] && color.red == result[2];
    }
    return verdict;
}

using zpixf::ZPixfDitherBlueNoise, zpixf::ZPixfDitherDiffuse, zpixf::ZPixfDitherOrdered, zpixf::ZPixfQuantizeMedian5,
    zpixf::ZPixfQuantizeMedian8, zpixf::ZPixfQuantizePopularity;

std::vector<Entrant> Quantizers(unsigned colors) {
    return {Quantizing<ZPixfQuantizeMedian8>("Median8", colors), Quantizing<ZPixfQuantizeMedian5>("Median5", colors),
            Quantizing<ZPixfQuantizePopularity>("Popularity", colors)};
}

}  // namespace

std::vector<Operation> Quantizations(int side) {
    const auto operation = [side](const char* name, std::vector<Entrant> ours, const Judge& judge = Nearness,
                                  Square(*makeSource)(const Square&) = nullptr) {
        return Operation{"palette", name, side, side, std::move(ours), [=](const Scene&) { return judge; }, makeSource};
    };
    const std::vector<Entrant> ditherers = {Dithering<ZPixfDitherOrdered>("ordered"),
                                            Dithering<ZPixfDitherDiffuse>("diffuse"),
                                            Dithering<ZPixfDitherBlueNoise>("blue noise")};
    return {operation("quantise 256", Quantizers(256)),
            operation("quantise 16", Quantizers(16)),
            operation("quantise and dither 256",
                      {QuantizingAndDithering<ZPixfQuantizeMedian8, ZPixfDitherDiffuse>("Median8, diffuse"),
                       QuantizingAndDithering<ZPixfQuantizeMedian5, ZPixfDitherDiffuse>("Median5, diffuse"),
                       QuantizingAndDithering<ZPixfQuantizeMedian5, ZPixfDitherOrdered>("Median5, ordered")}),
            operation("dither to a palette", ditherers, NoiseAndTone, WithPalette<256>),
            operation("dither to 16 colours", ditherers, NoiseAndTone, WithPalette<16>),
            operation("dither to fixed colours", ditherers, NoiseAndTone),
            operation("map to a table", {{.name = "ConvertPixelsToColorTable", .enter = Map, .role = Role::ours}},
                      NearnessAndMatch, WithPalette<256>)};
}

}  // namespace contest
