// Writes the seeds of archive_fuzz into the folder that is given: small valid archives of every format, with the
// codec's methods and the ways of loading in turn, and archives that claim far more than they hold.
//
//     make_corpus fuzz/corpus/archive
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "shr/Archive.h"
#include "support_code/ArchiveBytes.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZMemBitmap.h"

namespace {

/// Lets reductions be made by hand.
class ReducedBitmap : public zbm::ZMemBitmap {
public:
    using ZMemBitmap::ZMemBitmap;
    void AddReduction(const zbm::ZBasicMemBitmap& level) {
        reductions.push_back(std::make_unique<zbm::ZBasicMemBitmap>(level));
    }
};

void Paint(zbm::ZBitmap& bitmap) {
    const int width = bitmap.GetPixelWidth(), height = bitmap.GetPixelHeight();
    std::vector<unsigned char> pixels(static_cast<std::size_t>(4 * width * height));
    for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<unsigned char>(i / 3 + i * i / 50);
    bitmap.StoreRegion(pixels.data(), 4 * width, 0, 0, width, height);
    if (!shr::ColorFmtHasAlphaChannel[bitmap.GetColorFormat()])
        bitmap.SetMaskFromAlpha(pixels.data(), 4 * width, RECT{0, 0, width, height});
}

using testkit::ArchiveWriter;
using testkit::Bytes;

constexpr unsigned char kReductions = 1, kTellsLength = 2;

void Write(const std::filesystem::path& file, unsigned char way, const Bytes& archive) {
    std::ofstream out(file, std::ios::binary);
    out.put(static_cast<char>(way));
    out.write(reinterpret_cast<const char*>(archive.data()), static_cast<std::streamsize>(archive.size()));
}

void Write(const std::filesystem::path& file, unsigned char way, zbm::ZBasicMemBitmap& bitmap,
           zcdl::CodecMethod method) {
    shr::MemoryArchive archive;
    zbm::SerializeIO io(archive, true, method);
    if (!bitmap.Serialize(io, nullptr, nullptr)) throw std::runtime_error("cancelled");
    Write(file, way, archive.Bytes());
}

std::string Name(const char* kind, int format, int method) {
    return std::string(kind) + "_format" + std::to_string(format) + "_method" + std::to_string(method);
}

void WriteSeeds(const std::filesystem::path& folder, int format) {
    const auto colorFormat = static_cast<shr::ColorFormat>(format);
    const int method = format % 4, otherMethod = (format + 2) % 4;

    zbm::ZBasicMemBitmap basic(5, 3, colorFormat, 4, 2);
    Paint(basic);
    const auto way = static_cast<unsigned char>(format % 2 == 0 ? kTellsLength : 0);
    Write(folder / Name("basic", format, method), way, basic, static_cast<zcdl::CodecMethod>(method));

    ReducedBitmap reduced(20, 19, colorFormat, 16, 32);
    Paint(reduced);
    zbm::ZBasicMemBitmap half(10, 9, shr::BGRA_32);
    Paint(half);
    reduced.AddReduction(half);
    Write(folder / Name("reduced", format, otherMethod), static_cast<unsigned char>(kReductions | (way ^ kTellsLength)),
          reduced, static_cast<zcdl::CodecMethod>(otherMethod));
}

/// One tile of the whole picture whose first block has a length and some bytes.
Bytes OneTile(int width, int height, shr::ColorFormat format, std::uint32_t encodedBytes, std::size_t come) {
    return ArchiveWriter()
        .FormatInfo(height, width, format, height, width)
        .U16(1)
        .TileHead(width, height, format)
        .U32(encodedBytes)
        .Raw(Bytes(come, 0xEE))
        .Take();
}

Bytes ReductionsWithoutWidth(std::uint32_t count) {
    ArchiveWriter writer;
    writer.U16(1).FormatInfo(1, 1, shr::BGRA_32, 512, 512).U16(1).TileHead(1, 1, shr::BGRA_32).Block(Bytes(4));
    writer.U32(1).U32(count);
    for (std::uint32_t i = 0; i < count; ++i) writer.FormatInfo(1 << 20, 0, shr::BGRA_32, 1, 1).U16(1);
    return writer.Take();
}

void WriteClaims(const std::filesystem::path& folder) {
    constexpr int kMost = 0x7FFFFFFF;
    Write(folder / "claims_one_tile_of_16_gib", 0, OneTile(65536, 65536, shr::BGRA_32, 80, 80));
    Write(folder / "claims_one_tile_of_4_gb", 0, OneTile(30000, 30000, shr::BGRA_32, 6, 6));
    Write(folder / "claims_one_block_of_4_gb", 0, OneTile(30000, 30000, shr::BGRA_32, 3600000005u, 9));
    Write(folder / "claims_83_million_rows", 0, OneTile(1, 83000000, shr::GRAYSCALE_1, 12000, 9));
    Write(folder / "claims_tiles_without_end", 0,
          ArchiveWriter().FormatInfo(kMost, kMost, shr::BGRA_32, 1, 1).U16(1).Take());
    Write(folder / "claims_rows_without_tiles", kTellsLength,
          ArchiveWriter().FormatInfo(1 << 20, 0, shr::BGRA_32, 1, 1).U16(1).Take());
    Write(folder / "claims_20_reductions", kReductions, ReductionsWithoutWidth(20));
    Write(folder / "claims_100_reductions", kReductions | kTellsLength, ReductionsWithoutWidth(100));
    ArchiveWriter grid;
    grid.FormatInfo(257, 256, shr::BGRA_32, 1, 1).U16(1);
    for (int i = 0; i < 20; ++i) grid.TileHead(1, 1, shr::BGRA_32).Block(Bytes(4));
    Write(folder / "grows_with_its_tiles", 0, grid.Take());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_corpus FOLDER\n");
        return 2;
    }
    std::filesystem::create_directories(argv[1]);
    for (int format = shr::GRAYSCALE_1; format <= shr::PBGRA_32; ++format) WriteSeeds(argv[1], format);
    WriteClaims(argv[1]);
    return 0;
}
