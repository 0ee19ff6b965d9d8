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

double Gigabytes(double bytes) { return bytes / 1e9; }

enum class Direction { fetch, store };

/// A call for the whole picture but `margin` pixels on each side. An odd margin shifts packed pixels within their
/// bytes.
void Whole(bench::Run& run, Direction direction, shr::ColorFormat format, int margin) {
    ZBasicMemBitmap& bitmap = LargeBitmap(format);
    const int side = kSide - 2 * margin;
    const auto stride = static_cast<int>(shr::RowBytes(static_cast<unsigned>(side), format));
    const std::size_t bytes = static_cast<std::size_t>(stride) * static_cast<unsigned>(side);
    std::vector<std::uint8_t> rows(bytes, 3);
    const auto operation = [&] {
        if (direction == Direction::fetch)
            bitmap.FetchRegion(rows.data(), stride, margin, margin, side, side);
        else
            bitmap.StoreRegion(rows.data(), stride, margin, margin, side, side);
    };
    run.TakeTurns({Gigabytes(static_cast<double>(bytes)), "GB/s"}, operation, bytes);
}

/// The same for all of the picture, against one memcpy for each row of each tile: what the shape of the pieces costs.
void WholeAgainstRows(bench::Run& run, Direction direction) {
    constexpr std::size_t kStride = std::size_t{4} * kSide;
    ZBasicMemBitmap& bitmap = LargeBitmap(shr::BGRA_32);
    std::vector<std::uint8_t> rows(kStride * kSide, 3);
    const auto operation = [&] {
        if (direction == Direction::fetch)
            bitmap.FetchRegion(rows.data(), kStride, 0, 0, kSide, kSide);
        else
            bitmap.StoreRegion(rows.data(), kStride, 0, 0, kSide, kSide);
    };
    const auto copyTile = [&](int tileRow, int tileCol) {
        zbm::ZScanRect& tile = bitmap.LockScanRect(tileRow, tileCol);
        const std::size_t bytes = std::size_t{4} * static_cast<unsigned>(tile.GetWidth());
        const RECT box = bitmap.GetScanRectBBox(tileRow, tileCol);
        for (int y = 0; y < tile.GetHeight(); ++y) {
            std::uint8_t* row = rows.data() + static_cast<unsigned>(box.top + y) * kStride;
            std::uint8_t* piece = row + std::size_t{4} * static_cast<unsigned>(box.left);
            if (direction == Direction::fetch)
                std::memcpy(piece, tile.GetRowPtr(y), bytes);
            else
                std::memcpy(tile.GetRowPtr(y), piece, bytes);
        }
        bitmap.UnlockScanRect(tileRow, tileCol);
    };
    const auto rival = [&] {
        for (int i = 0; i < bitmap.GetNumScanRectRows(); ++i)
            for (int j = 0; j < bitmap.GetNumScanRects(i); ++j) copyTile(i, j);
    };
    run.TakeTurns({Gigabytes(static_cast<double>(rows.size())), "GB/s"}, operation, "ratio_to_row_memcpys", rival);
}

/// Calls for 256 x 256 regions at odd places all over the picture, the caller's buffer being used again and again; the
/// rival copies as many bytes from as many places, as if each region lay in one piece.
void Scattered(bench::Run& run, Direction direction, shr::ColorFormat format) {
    constexpr int kRegion = 256, kStep = 509, kRegions = (kSide - kRegion) / kStep;
    ZBasicMemBitmap& bitmap = LargeBitmap(format);
    const auto stride = static_cast<int>(shr::RowBytes(kRegion, format));
    const std::size_t bytes = shr::PixelBytes(kRegion, format) * kRegion;
    std::vector<std::uint8_t> rows(static_cast<std::size_t>(stride) * kRegion, 3);
    const auto forEachRegion = [](auto use) {
        for (int i = 0; i < kRegions; ++i)
            for (int j = 0; j < kRegions; ++j) use(j * kStep + 3, i * kStep + 5);
    };
    const auto operation = [&] {
        forEachRegion([&](int x, int y) {
            if (direction == Direction::fetch)
                bitmap.FetchRegion(rows.data(), stride, x, y, kRegion, kRegion);
            else
                bitmap.StoreRegion(rows.data(), stride, x, y, kRegion, kRegion);
        });
    };
    std::vector<std::uint8_t> picture(shr::RowBytes(kSide, format) * kSide, 5), piece(bytes, 7);
    const auto rival = [&] {
        const std::size_t distance = picture.size() / (kRegions * kRegions);
        for (std::size_t i = 0; i < kRegions * kRegions; ++i) {
            std::uint8_t* place = picture.data() + std::min(i * distance, picture.size() - bytes);
            std::memcpy(direction == Direction::fetch ? piece.data() : place,
                        direction == Direction::fetch ? place : piece.data(), bytes);
            bench::KeepWrites();
        }
    };
    run.TakeTurns({Gigabytes(static_cast<double>(bytes) * kRegions * kRegions), "GB/s"}, operation, "ratio_to_memcpy",
                  rival);
}

/// Masks against 32-bit pixels; the rival copies the 32-bit side.
void Mask(bench::Run& run, Direction direction) {
    constexpr int kHeight = 2048;
    ZBasicMemBitmap& bitmap = LargeBitmap(shr::BGR_24);
    const RECT rect{0, 0, kSide, kHeight};
    auto pixels = bench::Noise(std::size_t{4} * kSide * kHeight);
    const auto operation = [&] {
        if (direction == Direction::fetch)
            bitmap.GetAlphaFromMask(pixels.data(), 4 * kSide, rect, 4);
        else
            bitmap.SetMaskFromAlpha(pixels.data(), 4 * kSide, rect);
    };
    run.TakeTurns({Gigabytes(static_cast<double>(pixels.size())), "GB/s"}, operation, pixels.size());
}

using shr::BGRA_32, shr::GRAYSCALE_1, shr::INDEXED_4;

[[maybe_unused]] const bool kAdded = bench::Add({
    {"Whole/fetch_bgra32", 9, [](bench::Run& run) { Whole(run, Direction::fetch, BGRA_32, 0); }},
    {"Whole/store_bgra32", 9, [](bench::Run& run) { Whole(run, Direction::store, BGRA_32, 0); }},
    {"WholeAgainstRows/fetch_bgra32", 9, [](bench::Run& run) { WholeAgainstRows(run, Direction::fetch); }},
    {"WholeAgainstRows/store_bgra32", 9, [](bench::Run& run) { WholeAgainstRows(run, Direction::store); }},
    {"Scattered/fetch_bgra32", 9, [](bench::Run& run) { Scattered(run, Direction::fetch, BGRA_32); }},
    {"Scattered/store_bgra32", 9, [](bench::Run& run) { Scattered(run, Direction::store, BGRA_32); }},
    {"Whole/fetch_gray1_shifted", 15, [](bench::Run& run) { Whole(run, Direction::fetch, GRAYSCALE_1, 3); }},
    {"Whole/store_gray1_shifted", 15, [](bench::Run& run) { Whole(run, Direction::store, GRAYSCALE_1, 3); }},
    {"Scattered/fetch_gray1", 15, [](bench::Run& run) { Scattered(run, Direction::fetch, GRAYSCALE_1); }},
    {"Scattered/store_gray1", 15, [](bench::Run& run) { Scattered(run, Direction::store, GRAYSCALE_1); }},
    {"Whole/fetch_indexed4_shifted", 15, [](bench::Run& run) { Whole(run, Direction::fetch, INDEXED_4, 3); }},
    {"Whole/store_indexed4_shifted", 15, [](bench::Run& run) { Whole(run, Direction::store, INDEXED_4, 3); }},
    {"Scattered/fetch_indexed4", 15, [](bench::Run& run) { Scattered(run, Direction::fetch, INDEXED_4); }},
    {"Scattered/store_indexed4", 15, [](bench::Run& run) { Scattered(run, Direction::store, INDEXED_4); }},
    {"Mask/GetAlphaFromMask", 15, [](bench::Run& run) { Mask(run, Direction::fetch); }},
    {"Mask/SetMaskFromAlpha", 15, [](bench::Run& run) { Mask(run, Direction::store); }},
});

}  // namespace
