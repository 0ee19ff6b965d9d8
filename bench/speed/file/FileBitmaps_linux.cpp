// Bitmaps in files, against the system calls that move as many bytes in the same pieces: what the page cache gives in
// the same run. The files lie in the system's folder of temporary files, which TMPDIR chooses; each takes 1 GiB.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include "Benchmark.h"
#include "harness/Files.h"
#include "harness/Pictures.h"
#include "zbm/Drawing.h"
#include "zbm/ZBasicMemBitmap.h"

namespace {

using bench::OpenBitmap, bench::ScratchFile;

constexpr int kSide = 16384, kTile = 512, kTilesAcross = kSide / kTile;
constexpr std::size_t kTileBytes = std::size_t{4} * kTile * kTile, kTiles = std::size_t{kTilesAcross} * kTilesAcross;
constexpr double kGigabytes = static_cast<double>(kTileBytes * kTiles) / 1e9;
constexpr double kMegapixels = kSide / 1000.0 * kSide / 1000.0;

/// The tiles' bytes one after the other, moved a piece at a time.
class PlainFile {
public:
    explicit PlainFile(const ScratchFile& file, int flags = 0)
        : descriptor(::open(file.path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | flags, 0600)) {
        if (descriptor < 0) throw std::system_error(errno, std::generic_category(), file.path);
    }
    ~PlainFile() { ::close(descriptor); }
    PlainFile(const PlainFile&) = delete;
    PlainFile& operator=(const PlainFile&) = delete;

    void Write(const bench::Pixels& piece, std::size_t index) const {
        Expect(piece.size(), ::pwrite(descriptor, piece.data(), piece.size(), PositionOf(piece, index)));
    }
    void Read(bench::Pixels& piece, std::size_t index) const {
        Expect(piece.size(), ::pread(descriptor, piece.data(), piece.size(), PositionOf(piece, index)));
    }

private:
    static off_t PositionOf(const bench::Pixels& piece, std::size_t index) {
        return static_cast<off_t>(piece.size() * index);
    }
    static void Expect(std::size_t bytes, ssize_t moved) {
        if (moved != static_cast<ssize_t>(bytes)) throw std::runtime_error("a system call moved too little");
    }
    int descriptor;
};

/// Opaque noise.
bench::Pixels TilePixels() {
    bench::Pixels pixels = bench::Noise(kTileBytes);
    for (std::size_t alpha = 3; alpha < pixels.size(); alpha += 4) pixels[alpha] = 255;
    return pixels;
}

void WritePlainTiles(const PlainFile& file, const bench::Pixels& piece) {
    for (std::size_t i = 0; i < kTiles; ++i) file.Write(piece, i);
}

zbm::ZScanRect NoisyTile(shr::ColorFormat format) {
    zbm::ZScanRect tile(kTile, kTile, format);
    std::memcpy(tile.GetRowPtr(kTile - 1), TilePixels().data(), std::size_t{shr::RowBytes(kTile, format)} * kTile);
    return tile;
}

void WriteTiles(OpenBitmap& bitmap, const zbm::ZScanRect& tile) {
    for (int row = 0; row < kTilesAcross; ++row)
        for (int col = 0; col < kTilesAcross; ++col) bitmap.WriteScanRect(tile, row, col);
}

/// Makes the file, and opens it in `bitmap`.
void Fill(zbm::ZScanRectFileBitmap& bitmap, const ScratchFile& file, shr::ColorFormat format = shr::BGRA_32) {
    {
        OpenBitmap made;
        made.CreateEmpty(file.Name(), kSide, kSide, format);
        WriteTiles(made, NoisyTile(format));
    }
    bitmap.Open(file.Name(), false);
}

void WriteNew(bench::Run& run) {
    const ScratchFile ours("_ours"), plain("_plain");
    const bench::Pixels pixels = TilePixels();
    const zbm::ZScanRect tile = NoisyTile(shr::BGRA_32);
    const auto operation = [&] {
        std::filesystem::remove(ours.path);
        OpenBitmap bitmap;
        bitmap.CreateEmpty(ours.Name(), kSide, kSide, shr::BGRA_32);
        WriteTiles(bitmap, tile);
    };
    const auto rival = [&] {
        std::filesystem::remove(plain.path);
        WritePlainTiles(PlainFile(plain), pixels);
    };
    run.TakeTurns({kGigabytes, "GB/s"}, operation, "ratio_to_pwrite", rival);
}

void WriteOver(bench::Run& run) {
    const ScratchFile ours("_ours"), plain("_plain");
    const bench::Pixels pixels = TilePixels();
    const zbm::ZScanRect tile = NoisyTile(shr::BGRA_32);
    OpenBitmap bitmap;
    Fill(bitmap, ours);
    const PlainFile file(plain);
    run.TakeTurns(
        {kGigabytes, "GB/s"}, [&] { WriteTiles(bitmap, tile); }, "ratio_to_pwrite",
        [&] { WritePlainTiles(file, pixels); });
}

/// A row of tiles at a time, over what is there.
void StoreRegions(bench::Run& run) {
    const ScratchFile ours("_ours"), plain("_plain");
    const bench::Pixels rows = bench::Noise(std::size_t{4} * kSide * kTile), pixels = TilePixels();
    zbm::ZScanRectFileBitmap bitmap(L"", L"", false);
    Fill(bitmap, ours);
    const PlainFile file(plain);
    const auto operation = [&] {
        for (int y = 0; y < kSide; y += kTile) bitmap.StoreRegion(rows.data(), 4 * kSide, 0, y, kSide, kTile);
    };
    run.TakeTurns({kGigabytes, "GB/s"}, operation, "ratio_to_pwrite", [&] { WritePlainTiles(file, pixels); });
}

/// Tiles in an order that looks like none, each once.
template <class Use>
void ForEachScattered(const Use& use) {
    constexpr std::size_t kStep = 617;  // prime, so that all are reached
    for (std::size_t i = 0, index = 0; i < kTiles; ++i, index = (index + kStep) % kTiles) use(index);
}

void LockScattered(bench::Run& run) {
    const ScratchFile ours("_ours"), plain("_plain");
    bench::Pixels pixels = TilePixels();
    zbm::ZScanRectFileBitmap bitmap(L"", L"", false);
    Fill(bitmap, ours);
    const PlainFile file(plain);
    WritePlainTiles(file, pixels);
    const auto operation = [&] {
        ForEachScattered([&](std::size_t index) {
            const int row = static_cast<int>(index / kTilesAcross), col = static_cast<int>(index % kTilesAcross);
            bench::Keep(bitmap.LockScanRect(row, col));
            bitmap.UnlockScanRect(row, col);
        });
    };
    const auto rival = [&] {
        ForEachScattered([&](std::size_t index) { file.Read(pixels, index); });
        bench::KeepWrites();
    };
    run.TakeTurns({kGigabytes, "GB/s"}, operation, "ratio_to_pread", rival);
}

/// A piece at a time: reads all, and writes the first `written`.
void ReadAndWrite(const PlainFile& from, const PlainFile& to, bench::Pixels& piece, std::size_t written) {
    for (std::size_t i = 0; i < kTiles; ++i) {
        from.Read(piece, i);
        if (i < written) to.Write(piece, i);
    }
}

void ChangeBrightness(bench::Run& run, shr::ColorFormat format) {
    const ScratchFile ours("_ours"), plain("_plain");
    bench::Pixels piece(static_cast<std::size_t>(shr::RowBytes(kTile, format)) * kTile);
    zbm::ZScanRectFileBitmap bitmap(L"", L"", false);
    Fill(bitmap, ours, format);
    const PlainFile file(plain);
    for (std::size_t i = 0; i < kTiles; ++i) file.Write(piece, i);
    double amount = 0.1;
    const auto operation = [&] {
        bench::Keep(bitmap.ChangeBrightness(amount, nullptr));
        amount = -amount;
    };
    run.TakeTurns({kMegapixels, "MP/s"}, operation, "ratio_to_read_and_write",
                  [&] { ReadAndWrite(file, file, piece, kTiles); });
}

/// The first build of all levels. What must be read and written once: the picture, and a third of it.
void BuildLevels(bench::Run& run) {
    const ScratchFile ours("_ours"), plain("_plain"), levels("_levels");
    bench::Pixels piece = TilePixels();
    zbm::ZScanRectFileBitmap bitmap(L"", L"", false);
    Fill(bitmap, ours);
    const PlainFile from(plain);
    WritePlainTiles(from, piece);
    const auto operation = [&] {
        bitmap.Close();
        bench::ForgetLevels(ours);
        bitmap.Open(ours.Name(), false);
        bench::Keep(bitmap.CommitAll(nullptr, true));
    };
    run.TakeTurns({kMegapixels, "MP/s"}, operation, "ratio_to_read_and_write",
                  [&] { ReadAndWrite(from, PlainFile(levels, O_TRUNC), piece, kTiles / 3); });
}

/// A table that tells of a million tiles, one behind the other, in a file that ends before them; against reading as
/// many bytes.
void OpenMillionTiles(bench::Run& run) {
    const ScratchFile ours("_ours"), plain("_plain");
    constexpr int kTiles1000 = 1000;
    constexpr std::int64_t kTable = 509 + 2577;
    zbm::ZScanRectFileBitmap bitmap(L"", L"", false);
    bitmap.CreateEmpty(ours.Name(), kTiles1000 * kTile, kTiles1000 * kTile, shr::BGRA_32);
    bitmap.Close();
    std::fstream file(ours.path, std::ios::binary | std::ios::in | std::ios::out);
    std::int64_t position = std::int64_t{16} << 20;
    for (int row = 0; row < kTiles1000; ++row) {
        std::vector<std::int64_t> positions(kTiles1000);
        for (std::int64_t& place : positions) place = std::exchange(position, position + std::int64_t{kTileBytes});
        file.seekp(kTable + 4 + row * (4 + 8 * kTiles1000) + 4);
        file.write(reinterpret_cast<const char*>(positions.data()), 8 * kTiles1000);
    }
    file.close();
    bench::Pixels table(std::size_t{8} * kTiles1000 * kTiles1000);
    const PlainFile copy(plain);
    copy.Write(table, 0);
    const auto operation = [&] {
        bitmap.Open(ours.Name(), true);
        bitmap.Close();
    };
    run.TakeTurns({1e-3, "thousand/s"}, operation, "ratio_to_pread", [&] { copy.Read(table, 0); });
}

/// A window's frame, at a place inside a tile, against the same one from a bitmap in memory.
void Frame(bench::Run& run, double zoom) {
    constexpr int kWidth = 1920, kHeight = 1080, kPlace = 136;
    const ScratchFile ours("_ours");
    zbm::ZScanRectFileBitmap onFile(L"", L"", false);
    Fill(onFile, ours);
    zbm::ZBasicMemBitmap inMemory(4 * kTile * 2, 4 * kTile * 2, shr::BGRA_32, kTile, kTile);
    for (int row = 0; row < inMemory.GetNumScanRectRows(); ++row)
        for (int col = 0; col < inMemory.GetNumScanRects(row); ++col)
            inMemory.LockScanRect(row, col) = NoisyTile(shr::BGRA_32);
    bench::Pixels frame(std::size_t{4} * kWidth * kHeight, 1);
    const zbm::PixelSurface surface{frame.data(), 4 * kWidth, kWidth, kHeight, zbm::SurfaceLayout::bgrx};
    const auto draw = [&](const zbm::ZBitmap& bitmap) {
        const zbm::SourceArea area{kPlace, kPlace, kWidth * zoom, kHeight * zoom};
        bench::Keep(bitmap.DrawOnPixels(surface, {0, 0, kWidth, kHeight}, area, {}, nullptr));
    };
    run.TakeTurns(
        {kWidth / 1000.0 * kHeight / 1000.0, "MP/s"}, [&] { draw(onFile); }, "ratio_to_memory",
        [&] { draw(inMemory); });
}

[[maybe_unused]] const bool kAdded = bench::Add({
    {"File/write_new", 15, WriteNew},
    {"File/write_over", 15, WriteOver},
    {"File/store_regions", 15, StoreRegions},
    {"File/lock_scattered", 15, LockScattered},
    {"File/open_million_tiles", 9, OpenMillionTiles},
    {"File/ChangeBrightness/bgra", 15, [](bench::Run& run) { ChangeBrightness(run, shr::BGRA_32); }},
    {"File/ChangeBrightness/bgr", 15, [](bench::Run& run) { ChangeBrightness(run, shr::BGR_24); }},
    {"File/build_levels", 15, BuildLevels},
    {"File/frame", 15, [](bench::Run& run) { Frame(run, 1); }},
    {"File/frame_averaged", 15, [](bench::Run& run) { Frame(run, 1.5); }},
});

}  // namespace
