// Writes the seeds of archive_fuzz into the folder that is given: small valid archives of every format, with the
// codec's methods and the ways of loading in turn.
//
//     make_corpus fuzz/corpus/archive
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "shr/Archive.h"
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

void Write(const std::filesystem::path& file, unsigned char way, zbm::ZBasicMemBitmap& bitmap,
           zcdl::CodecMethod method) {
    shr::MemoryArchive archive;
    zbm::SerializeIO io(archive, true, method);
    bitmap.Serialize(io, nullptr, nullptr);
    std::ofstream out(file, std::ios::binary);
    out.put(static_cast<char>(way));
    out.write(reinterpret_cast<const char*>(archive.Bytes().data()),
              static_cast<std::streamsize>(archive.Bytes().size()));
}

std::string Name(const char* kind, int format, int method) {
    return std::string(kind) + "_format" + std::to_string(format) + "_method" + std::to_string(method);
}

void WriteSeeds(const std::filesystem::path& folder, int format) {
    constexpr unsigned char kReductions = 1, kTellsLength = 2;
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

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_corpus FOLDER\n");
        return 2;
    }
    std::filesystem::create_directories(argv[1]);
    for (int format = shr::GRAYSCALE_1; format <= shr::PBGRA_32; ++format) WriteSeeds(argv[1], format);
    return 0;
}
