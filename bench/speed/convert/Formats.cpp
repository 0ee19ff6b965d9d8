// Every pair of pixel formats on a tile of 512 x 512 pixels, and the pairs that matter most on a picture of 4096 x 4096
// too, where caches do not help. The rival is memcpy of the larger side. Pairs to indices of colours choose a colour
// table (by median cut), equal formats copy; the pair RGBA to BGRX goes through a row of BGRA.
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "Benchmark.h"
#include "convert/ConvertEveryPair.h"
#include "harness/Pictures.h"

namespace {

using bench::Square;
using shr::ColorFormat;

constexpr const char* kNames[] = {"",         "gray1",    "gray4", "gray8",  "gray16", "gray32", "indexed1",
                                  "indexed4", "indexed8", "bgr24", "bgra32", "rgba32", "bgrx32", "pbgra32"};

void ConvertPicture(Square& to, const Square& from) {
    const auto side = static_cast<std::uint32_t>(from.side);
    zbm::ConvertEveryPair(to.Rows(), from.Rows(), side, side);
}

/// The photograph, or a tile cut from it. Every alpha occurs, so that premultiplied pixels are not all alike.
Square MakePicture(ColorFormat format, int side) {
    Square original = CutSquare(bench::Photograph(), side);
    for (std::size_t i = 3; i < original.pixels.size(); i += 4) original.pixels[i] = static_cast<std::uint8_t>(i / 512);
    Square picture(format, side);
    ConvertPicture(picture, original);
    return picture;
}

void Convert(bench::Run& run, ColorFormat dst, ColorFormat src, int side) {
    const Square from = MakePicture(src, side);
    Square to(dst, side);
    run.TakeTurns(
        {from.Megapixels(), "MP/s"}, [&] { ConvertPicture(to, from); }, std::max(from.pixels.size(), to.pixels.size()));
}

bench::Benchmark Pair(int dst, int src, int side, int rounds) {
    return {std::string("Convert/") + kNames[src] + "_to_" + kNames[dst] + "/" + std::to_string(side), rounds,
            [=](bench::Run& run) { Convert(run, static_cast<ColorFormat>(dst), static_cast<ColorFormat>(src), side); }};
}

std::vector<bench::Benchmark> Pairs() {
    std::vector<bench::Benchmark> pairs;
    for (int src = 1; src < shr::kColorFormats; ++src)
        for (int dst = 1; dst < shr::kColorFormats; ++dst) pairs.push_back(Pair(dst, src, bench::kTileSide, 15));
    for (const auto& [src, dst] : {std::pair{shr::BGRA_32, shr::RGBA_32},
                                   {shr::BGR_24, shr::BGRA_32},
                                   {shr::BGRA_32, shr::BGR_24},
                                   {shr::BGRA_32, shr::PBGRA_32},
                                   {shr::PBGRA_32, shr::BGRA_32},
                                   {shr::BGRA_32, shr::GRAYSCALE_8},
                                   {shr::GRAYSCALE_8, shr::BGRA_32},
                                   {shr::GRAYSCALE_16, shr::GRAYSCALE_8},
                                   {shr::GRAYSCALE_1, shr::GRAYSCALE_8},
                                   {shr::INDEXED_8, shr::BGRA_32},
                                   {shr::BGRA_32, shr::GRAYSCALE_1}})
        pairs.push_back(Pair(dst, src, bench::kPictureSide, 9));
    return pairs;
}

[[maybe_unused]] const bool kAdded = bench::Add(Pairs());

}  // namespace
