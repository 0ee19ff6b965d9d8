// Frames of a window drawn from a large bitmap in memory, against memcpy of a frame and against the converter.
#include <memory>

#include "Benchmark.h"
#include "harness/Pictures.h"
#include "shr/Dib.h"
#include "zbm/Drawing.h"
#include "zbm/PixelRows.h"
#include "zbm/ZMemBitmap.h"

namespace {

constexpr int kSide = 8192, kWidth = 1920, kHeight = 1080;
constexpr std::size_t kFrameBytes = std::size_t{4} * kWidth * kHeight;
constexpr RECT kFrame{0, 0, kWidth, kHeight};
const bench::Work kMegapixels{kWidth / 1000.0 * kHeight / 1000.0, "MP/s"};

/// One at a time; opaque, with reductions.
zbm::ZMemBitmap& Picture(shr::ColorFormat format) {
    static std::unique_ptr<zbm::ZMemBitmap> bitmap;
    if (bitmap && bitmap->GetColorFormat() == format) return *bitmap;
    bitmap.reset();
    bitmap = std::make_unique<zbm::ZMemBitmap>(kSide, kSide, format);
    bench::Square row(format, kSide);
    const bench::Square photograph = bench::CutSquare(bench::Photograph(), kSide);
    zbm::ConvertPixelRows(row.Rows(), photograph.Rows(), kSide, kSide);
    if (!row.table.empty()) bitmap->FillColorTable(row.table.data(), static_cast<unsigned>(row.table.size()));
    bitmap->StoreRegion(row.pixels.data(), row.stride, 0, 0, kSide, kSide);
    if (!bitmap->CommitAll(nullptr)) throw std::runtime_error("no reductions");
    return *bitmap;
}

void Draw(const zbm::ZBitmap& bitmap, bench::Pixels& frame, const zbm::SourceArea& area, const zbm::DrawOptions& how) {
    const zbm::PixelSurface surface{frame.data(), 4 * kWidth, kWidth, kHeight, zbm::SurfaceLayout::bgrx};
    if (!bitmap.DrawOnPixels(surface, kFrame, area, how, nullptr)) throw std::runtime_error("not drawn");
}

/// The area begins inside a tile and `zoom` of the bitmap's pixels are one of the frame's.
void Frame(bench::Run& run, shr::ColorFormat format, double zoom, const zbm::DrawOptions& how = {}) {
    const zbm::ZMemBitmap& bitmap = Picture(format);
    bench::Pixels frame(kFrameBytes, 1);
    const bench::Copy copy(kFrameBytes);
    const double place = zoom > 1 ? 0 : 136;
    run.TakeTurns(
        kMegapixels,
        [&] {
            Draw(bitmap, frame, {place, place, kWidth * zoom, kHeight * zoom}, how);
        },
        "ratio_to_memcpy", [&] { copy(); });
}

void AgainstConverter(bench::Run& run, shr::ColorFormat format) {
    const zbm::ZMemBitmap& bitmap = Picture(format);
    bench::Pixels frame(kFrameBytes, 1);
    const auto stride = static_cast<int>(shr::RowBytes(kWidth, format));
    const bench::Pixels rows(static_cast<std::size_t>(stride) * kHeight, 1);
    std::vector<shr::Color4b> table(bitmap.GetConstColorTablePtr(), bitmap.GetConstColorTablePtr() + 256);
    run.TakeTurns(
        kMegapixels,
        [&] {
            Draw(bitmap, frame, {136, 136, kWidth, kHeight}, {});
        },
        "ratio_to_converter",
        [&] {
            zbm::ConvertPixelRows({frame.data(), shr::BGRA_32, 4 * kWidth}, {rows.data(), format, stride, table.data()},
                                  kWidth, kHeight);
        });
}

/// A rectangle of a frame's size, against memcpy of as many bytes.
void Fetch(bench::Run& run, shr::ColorFormat format) {
    const zbm::ZMemBitmap& bitmap = Picture(format);
    shr::CDib dib;
    const bench::Copy copy(kFrameBytes);
    run.TakeTurns(
        kMegapixels, [&] { bitmap.FetchDib(dib, 136, 136, kWidth, kHeight); }, "ratio_to_memcpy", [&] { copy(); });
}

const char* NameOf(shr::ColorFormat format) {
    constexpr const char* kNames[] = {"",         "gray1",    "gray4", "gray8",  "gray16", "gray32", "indexed1",
                                      "indexed4", "indexed8", "bgr24", "bgra32", "rgba32", "bgrx32", "pbgra32"};
    return kNames[format];
}

std::vector<bench::Benchmark> Benchmarks() {
    std::vector<bench::Benchmark> all;
    const auto add = [&](const std::string& name, const std::function<void(bench::Run&)>& run) {
        all.push_back({"Draw/" + name, 15, run});
    };
    for (int number = 1; number <= 13; ++number) {
        const auto format = static_cast<shr::ColorFormat>(number);
        if (format == shr::BGRX_32 || format == shr::BGRA_32)
            add(NameOf(format), [=](bench::Run& run) { Frame(run, format, 1); });
        else
            add(NameOf(format), [=](bench::Run& run) { AgainstConverter(run, format); });
    }
    for (const auto format : {shr::BGRA_32, shr::BGR_24, shr::PBGRA_32})
        add(std::string("FetchDib_") + NameOf(format), [=](bench::Run& run) { Fetch(run, format); });
    for (const int zoom : {2, 4, 8, 16, 32, 64})
        add("shrunk_" + std::to_string(zoom), [=](bench::Run& run) { Frame(run, shr::BGRX_32, zoom); });
    add("shrunk_3", [](bench::Run& run) { Frame(run, shr::BGRX_32, 3); });
    for (const int zoom : {2, 3, 8, 32}) {
        zbm::DrawOptions nearest;
        nearest.enlarging = zbm::DrawOptions::Enlarging::nearest;
        add("nearest_" + std::to_string(zoom), [=](bench::Run& run) { Frame(run, shr::BGRX_32, 1.0 / zoom, nearest); });
        add("bilinear_" + std::to_string(zoom), [=](bench::Run& run) { Frame(run, shr::BGRX_32, 1.0 / zoom); });
    }
    return all;
}

[[maybe_unused]] const bool kAdded = bench::Add(Benchmarks());

}  // namespace
