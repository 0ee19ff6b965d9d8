// Rectangles of pixels and masks in and out of a large memory bitmap, against memcpy of the same bytes.
#include <algorithm>
#include <cstring>
#include <memory>

#include "Benchmark.h"
#include "harness/Pictures.h"
#include "shr/ColorFormat.h"
#include "zbm/ZBasicMemBitmap.h"

namespace {

using zbm::ZBasicMemBitmap;

constexpr int kSide = 8192;

/// One bitmap at a time, since each takes up to 256 MiB; every page of it has been written.
ZBasicMemBitmap& LargeBitmap(shr::ColorFormat format) {
    static std::unique_ptr<ZBasicMemBitmap> bitmap;
    if (bitmap && bitmap->GetColorFormat() == format) return *bitmap;
    bitmap.reset();
    bitmap = std::make_unique<ZBasicMemBitmap>(kSide, kSide, format);
    const auto row = bench::Noise(shr::RowBytes(kSide, format));
    for (int y = 0; y < kSide; ++y) bitmap->StoreRegion(row.data(), 0, 0, y, kSide, 1);
    return *bitmap;
}

bench::Work Gigabytes(double bytes) { return {bytes / 1e9, "GB/s"}; }

enum class Direction { fetch, store };

/// Passes a square region between the bitmap and rows of the caller's.
void Pass(Direction direction, ZBasicMemBitmap& bitmap, bench::Pixels& rows, int stride, int x, int y, int side) {
    if (direction == Direction::fetch)
        bitmap.FetchRegion(rows.data(), stride, x, y, side, side);
    else
        bitmap.StoreRegion(rows.data(), stride, x, y, side, side);
}

/// The same as memcpy, between a place in the bitmap and one in the rows.
void Copy(Direction direction, void* inBitmap, void* inRows, std::size_t bytes) {
    std::memcpy(direction == Direction::fetch ? inRows : inBitmap, direction == Direction::fetch ? inBitmap : inRows,
                bytes);
}

/// A call for the whole picture but `margin` pixels on each side. An odd margin shifts packed pixels within their
/// bytes.
void Whole(bench::Run& run, Direction direction, shr::ColorFormat format, int margin) {
    ZBasicMemBitmap& bitmap = LargeBitmap(format);
    const int side = kSide - 2 * margin;
    const auto stride = static_cast<int>(shr::RowBytes(static_cast<unsigned>(side), format));
    bench::Pixels rows(static_cast<std::size_t>(stride) * static_cast<unsigned>(side), 3);
    run.TakeTurns(
        Gigabytes(static_cast<double>(rows.size())),
        [&] { Pass(direction, bitmap, rows, stride, margin, margin, side); }, rows.size());
}

/// The same for all of the picture, against one memcpy for each row of each tile: what the shape of the pieces costs.
void WholeAgainstRows(bench::Run& run, Direction direction) {
    constexpr int kStride = 4 * kSide;
    ZBasicMemBitmap& bitmap = LargeBitmap(shr::BGRA_32);
    bench::Pixels rows(std::size_t{kStride} * kSide, 3);
    const auto copyTile = [&](int tileRow, int tileCol) {
        zbm::ZScanRect& tile = bitmap.LockScanRect(tileRow, tileCol);
        const RECT box = bitmap.GetScanRectBBox(tileRow, tileCol);
        for (int y = 0; y < tile.GetHeight(); ++y)
            Copy(direction, tile.GetRowPtr(y),
                 rows.data() + std::ptrdiff_t{kStride} * (box.top + y) + std::ptrdiff_t{4} * box.left,
                 std::size_t{4} * static_cast<unsigned>(tile.GetWidth()));
        bitmap.UnlockScanRect(tileRow, tileCol);
    };
    const auto rival = [&] {
        for (int i = 0; i < bitmap.GetNumScanRectRows(); ++i)
            for (int j = 0; j < bitmap.GetNumScanRects(i); ++j) copyTile(i, j);
    };
    run.TakeTurns(
        Gigabytes(static_cast<double>(rows.size())), [&] { Pass(direction, bitmap, rows, kStride, 0, 0, kSide); },
        "ratio_to_row_memcpys", rival);
}

/// Calls for 256 x 256 regions at odd places all over the picture, the caller's buffer being used again and again; the
/// rival copies as many bytes from as many places, as if each region lay in one piece.
void Scattered(bench::Run& run, Direction direction, shr::ColorFormat format) {
    constexpr int kRegion = 256, kStep = 509, kRegions = (kSide - kRegion) / kStep;
    ZBasicMemBitmap& bitmap = LargeBitmap(format);
    const auto stride = static_cast<int>(shr::RowBytes(kRegion, format));
    const std::size_t bytes = shr::PixelBytes(kRegion, format) * kRegion;
    bench::Pixels rows(static_cast<std::size_t>(stride) * kRegion, 3), piece(bytes, 7);
    bench::Pixels picture(shr::RowBytes(kSide, format) * kSide, 5);
    const auto operation = [&] {
        for (int i = 0; i < kRegions; ++i)
            for (int j = 0; j < kRegions; ++j)
                Pass(direction, bitmap, rows, stride, j * kStep + 3, i * kStep + 5, kRegion);
    };
    const auto rival = [&] {
        const std::size_t distance = picture.size() / (kRegions * kRegions);
        for (std::size_t i = 0; i < kRegions * kRegions; ++i) {
            Copy(direction, picture.data() + std::min(i * distance, picture.size() - bytes), piece.data(), bytes);
            bench::KeepWrites();
        }
    };
    run.TakeTurns(Gigabytes(static_cast<double>(bytes) * kRegions * kRegions), operation, "ratio_to_memcpy", rival);
}

/// Masks against 32-bit pixels; the rival copies the 32-bit side.
void Mask(bench::Run& run, Direction direction) {
    constexpr int kHeight = 2048;
    ZBasicMemBitmap& bitmap = LargeBitmap(shr::BGR_24);
    const RECT rect{0, 0, kSide, kHeight};
    bench::Pixels pixels = bench::Noise(std::size_t{4} * kSide * kHeight);
    const auto operation = [&] {
        if (direction == Direction::fetch)
            bitmap.GetAlphaFromMask(pixels.data(), 4 * kSide, rect, 4);
        else
            bitmap.SetMaskFromAlpha(pixels.data(), 4 * kSide, rect);
    };
    run.TakeTurns(Gigabytes(static_cast<double>(pixels.size())), operation, pixels.size());
}

/// Two rows: "GROUP/fetch_WHAT" and the same stored.
template <class Measure>
void AddBoth(const std::string& group, const std::string& what, int rounds, const Measure& measure) {
    bench::Add({{group + "/fetch_" + what, rounds, [=](bench::Run& run) { measure(run, Direction::fetch); }},
                {group + "/store_" + what, rounds, [=](bench::Run& run) { measure(run, Direction::store); }}});
}

void AddWhole(const std::string& what, int rounds, shr::ColorFormat format, int margin) {
    AddBoth("Whole", what, rounds, [=](auto& run, Direction direction) { Whole(run, direction, format, margin); });
}
void AddScattered(const std::string& what, int rounds, shr::ColorFormat format) {
    AddBoth("Scattered", what, rounds, [=](auto& run, Direction direction) { Scattered(run, direction, format); });
}

[[maybe_unused]] const bool kAdded = [] {
    AddWhole("bgra32", 9, shr::BGRA_32, 0);
    AddBoth("WholeAgainstRows", "bgra32", 9, WholeAgainstRows);
    AddScattered("bgra32", 9, shr::BGRA_32);
    AddWhole("gray1_shifted", 15, shr::GRAYSCALE_1, 3);
    AddScattered("gray1", 15, shr::GRAYSCALE_1);
    AddWhole("indexed4_shifted", 15, shr::INDEXED_4, 3);
    AddScattered("indexed4", 15, shr::INDEXED_4);
    return bench::Add({{"Mask/GetAlphaFromMask", 15, [](bench::Run& run) { Mask(run, Direction::fetch); }},
                       {"Mask/SetMaskFromAlpha", 15, [](bench::Run& run) { Mask(run, Direction::store); }}});
}();

}  // namespace
