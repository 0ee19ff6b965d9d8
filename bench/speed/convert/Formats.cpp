// Every pair of pixel formats that chooses no colours, on a tile of 512 x 512 pixels, and the pairs that matter most on
// a picture of 4096 x 4096 too, where caches do not help. The rival is memcpy of the larger side.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "Benchmark.h"
#include "convert/ZBMColorFormat.h"

namespace {

using shr::ColorFormat;

constexpr const char* kNames[] = {"",         "gray1",    "gray4", "gray8",  "gray16", "gray32", "indexed1",
                                  "indexed4", "indexed8", "bgr24", "bgra32", "rgba32", "bgrx32", "pbgra32"};

struct Picture {
    Picture(ColorFormat which, std::uint32_t side)
        : format(which),
          stride(static_cast<std::int32_t>(shr::RowBytes(side, which))),
          pixels(bench::Noise(static_cast<std::size_t>(stride) * side)),
          table(static_cast<std::size_t>(shr::ColorFmtToTblSize[which])) {}

    zbm::PixelRows Rows() { return {pixels.data(), format, stride, table.data()}; }
    zbm::ConstPixelRows ConstRows() const { return {pixels.data(), format, stride, table.data()}; }

    ColorFormat format;
    std::int32_t stride;
    std::vector<std::uint8_t> pixels;
    std::vector<shr::Color4b> table;
};

void Convert(benchmark::State& state, ColorFormat dst, ColorFormat src, std::uint32_t side) {
    const Picture from(src, side);
    Picture to(dst, side);
    const bench::Copy copy(std::max(from.pixels.size(), to.pixels.size()));
    bench::TakeTurns(
        state, {side * side / 1e6, "MP/s"}, [&] { zbm::ConvertPixels(to.Rows(), from.ConstRows(), side, side); },
        "ratio_to_memcpy", [&] { copy(); });
}

bool IsIndexed(ColorFormat format) { return shr::ColorFmtToTblSize[format] != 0; }
bool IsMeasured(ColorFormat dst, ColorFormat src) {
    if (dst == src || (src == shr::RGBA_32 && dst == shr::BGRX_32)) return false;
    return !IsIndexed(dst) || src <= shr::GRAYSCALE_32 || (IsIndexed(src) && src < dst);
}

void Register(ColorFormat dst, ColorFormat src, std::uint32_t side, int rounds) {
    const std::string name = std::string("Convert/") + kNames[src] + "_to_" + kNames[dst] + "/" + std::to_string(side);
    benchmark::RegisterBenchmark(name.c_str(), &Convert, dst, src, side)->UseManualTime()->Iterations(rounds);
}

[[maybe_unused]] const bool kAreRegistered = [] {
    for (int src = 1; src < shr::kColorFormats; ++src)
        for (int dst = 1; dst < shr::kColorFormats; ++dst)
            if (IsMeasured(static_cast<ColorFormat>(dst), static_cast<ColorFormat>(src)))
                Register(static_cast<ColorFormat>(dst), static_cast<ColorFormat>(src), 512, 15);
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
        Register(dst, src, 4096, 9);
    return true;
}();

}  // namespace
