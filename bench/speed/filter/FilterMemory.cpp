// What whole operations on large bitmaps in memory take of the heap beside source and result: at the peak, in bytes, in
// rows of tiles and in lines of the picture. It meters the program's own malloc, and takes no time.
//
//     filter_memory [SIDE]        the bitmaps' side in pixels, 8192 if not given
#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <vector>

#include "faults/HeapMeter.h"
#include "shr/ColorFormat.h"
#include "zbm/ZMemBitmap.h"
#include "zpixf/ZPixfConvolution.h"

namespace {

using shr::ColorFormat;
using zbm::ZMemBitmap;

enum class Result { inPlace, newPicture };

struct Operation {
    const char* name;
    ColorFormat format;
    Result result;
    const char* note;
    bool (*run)(ZMemBitmap& source, ZMemBitmap& result);
};

template <zbm::ResizeMethod kMethod>
bool ResizeTo(int side, ZMemBitmap& source, ZMemBitmap& result) {
    const RECT all{0, 0, source.GetPixelWidth(), source.GetPixelHeight()};
    return result.Create(side, side, source, all, kMethod, nullptr);
}

bool Quantize(ZMemBitmap& bitmap, zbm::QuantMethod method) {
    std::vector<RGBQUAD> palette;
    return bitmap.QuantizeColors(method, 256, palette, nullptr);
}

constexpr const char* kHistogram = "counts of the colours";

const Operation kOperations[] = {
    {"ChangeBrightness", shr::BGRA_32, Result::inPlace, "",
     [](auto& b, auto&) { return b.ChangeBrightness(0.1, nullptr); }},
    {"ChangeContrast", shr::BGRA_32, Result::inPlace, "",
     [](auto& b, auto&) { return b.ChangeContrast(0.1, nullptr); }},
    {"ChangeSaturation", shr::BGRA_32, Result::inPlace, "",
     [](auto& b, auto&) { return b.ChangeSaturation(0.5, nullptr); }},
    {"ConvertToGrayScale", shr::BGRA_32, Result::inPlace, "",
     [](auto& b, auto&) { return b.ConvertToGrayScale(nullptr); }},
    {"Sharpen", shr::BGRA_32, Result::inPlace, "", [](auto& b, auto&) { return b.Sharpen(0.5, nullptr); }},
    {"Convolute5x5 Gaussian", shr::BGRA_32, Result::inPlace, "",
     [](auto& b, auto&) { return b.Convolute5x5(zpixf::ZPixf5x5Mode::gaussian, nullptr); }},
    {"MedianFilter 3", shr::BGRA_32, Result::inPlace, "", [](auto& b, auto&) { return b.MedianFilter(3, nullptr); }},
    {"MedianFilter 15", shr::BGRA_32, Result::inPlace, "histograms of the columns",
     [](auto& b, auto&) { return b.MedianFilter(15, nullptr); }},
    {"QuantizeColors median 8", shr::BGRA_32, Result::inPlace, kHistogram,
     [](auto& b, auto&) { return Quantize(b, zbm::QuantMedian8); }},
    {"ChangeBrightness", shr::BGR_24, Result::inPlace, "",
     [](auto& b, auto&) { return b.ChangeBrightness(0.1, nullptr); }},
    {"ChangeBrightness", shr::INDEXED_8, Result::inPlace, kHistogram,
     [](auto& b, auto&) { return b.ChangeBrightness(0.1, nullptr); }},
    {"Create in BGRA_32", shr::BGR_24, Result::newPicture, "",
     [](auto& s, auto& r) { return r.Create(shr::BGRA_32, s, nullptr); }},
    {"Create in GRAYSCALE_8", shr::BGRA_32, Result::newPicture, "",
     [](auto& s, auto& r) { return r.Create(shr::GRAYSCALE_8, s, nullptr); }},
    {"Create in INDEXED_8", shr::BGRA_32, Result::newPicture, kHistogram,
     [](auto& s, auto& r) { return r.Create(shr::INDEXED_8, s, nullptr); }},
    {"Create at 1531 bilinear", shr::BGRA_32, Result::newPicture, "",
     [](auto& s, auto& r) { return ResizeTo<zbm::ResizeBilinear>(1531, s, r); }},
    {"Create at 1531 bicubic", shr::BGRA_32, Result::newPicture, "",
     [](auto& s, auto& r) { return ResizeTo<zbm::ResizeBicubic0>(1531, s, r); }},
    {"Create at half bilinear", shr::BGRA_32, Result::newPicture, "as CommitAll makes each level",
     [](auto& s, auto& r) { return ResizeTo<zbm::ResizeBilinear>(s.GetPixelWidth() / 2, s, r); }},
    {"CommitAll", shr::INDEXED_8, Result::newPicture, "the whole in true colours",
     [](auto& b, auto&) { return b.CommitAll(nullptr); }},
};

/// Noise of all bytes, but fully opaque where there is alpha.
void Fill(ZMemBitmap& bitmap) {
    const int side = bitmap.GetPixelWidth();
    std::vector<std::uint8_t> line(
        static_cast<std::size_t>(shr::RowBytes(static_cast<unsigned>(side), bitmap.GetColorFormat())));
    std::uint32_t state = 1;
    for (int y = 0; y < side; ++y) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            state = state * 1664525 + 1013904223;
            const bool isAlpha = bitmap.GetColorFormat() == shr::BGRA_32 && i % 4 == 3;
            line[i] = isAlpha ? 255 : static_cast<std::uint8_t>(state >> 24);
        }
        bitmap.StoreRegion(line.data(), 0, 0, y, side, 1);
    }
}

/// A bitmap of a user's class, whose tiles the library locks and copies a row at a time.
class DerivedBitmap : public ZMemBitmap {
public:
    using ZMemBitmap::ZMemBitmap;
};

const char* NameOf(ColorFormat format) {
    return format == shr::BGRA_32 ? "BGRA_32" : format == shr::BGR_24 ? "BGR_24" : "INDEXED_8";
}

template <class Bitmap>
bool Report(const Operation& operation, const char* className, int side) {
    Bitmap source(side, side, operation.format);
    ZMemBitmap result(1, 1, shr::BGRA_32);
    Fill(source);
    faults::ResetRequests();
    const bool done = operation.run(source, result);
    const faults::Requests requests = faults::RequestsSinceReset();
    const bool inPlace = operation.result == Result::inPlace;  // then what has grown are lines that the bitmap keeps
    const auto beside = static_cast<double>(inPlace ? requests.peak : requests.peak - requests.grown);
    const auto line = static_cast<double>(shr::RowBytes(static_cast<unsigned>(side), operation.format));
    std::printf("%-24s %-10s %-8s %14.0f %9.2f %9.1f  %s\n", operation.name, NameOf(operation.format), className,
                beside, beside / (line * source.GetScanRectHeight()), beside / line, operation.note);
    return done;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("What whole operations take of the heap, beside source and result.");
    int side = 8192;
    app.add_option("SIDE", side, "of the bitmaps, in pixels")->check(CLI::PositiveNumber);
    CLI11_PARSE(app, argc, argv);
    std::printf("bitmaps of %d x %d; the peak beside source and result\n", side, side);
    std::printf("%-24s %-10s %-8s %14s %9s %9s\n", "operation", "format", "class", "bytes", "tile rows", "lines");
    for (const Operation& operation : kOperations) {
        const bool done =
            Report<ZMemBitmap>(operation, "own", side) && Report<DerivedBitmap>(operation, "derived", side);
        if (!done) return 1;
    }
    return 0;
}
