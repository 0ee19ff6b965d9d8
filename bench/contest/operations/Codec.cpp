// Block compression of pictures, beside libpng, zstd and lz4: how much smaller, how fast stored, how fast loaded.
//
//     ZBM_PICTURES=FOLDER codec_bench [ROUNDS]
//
// FOLDER holds photo.bgra and shot.bgra, 4096 x 4096 pixels of 4 bytes (B, G, R, A), top row first. ZCodecu, zstd and
// lz4 get them as tiles of 512 x 512 pixels, bottom row first, as a bitmap stores them; zstd also gets the whole
// picture at once, and libpng only that (as RGB with its default filters; both pictures are opaque, which spares it a
// quarter of the bytes). All run on one thread and take turns; the best of all rounds counts; what is loaded is
// compared.
#include <lz4.h>
#include <png.h>
#include <zstd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "zcdl/Codec.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kSide = 4096;
constexpr std::size_t kTileSide = 512;
constexpr std::size_t kPixelBytes = 4;
constexpr std::size_t kRowBytes = kSide * kPixelBytes;

/// A picture in the two forms in which it is compressed.
struct Picture {
    std::string name;
    Bytes whole;
    std::vector<Bytes> tiles;
};

std::vector<Bytes> CutIntoTiles(const Bytes& whole) {
    constexpr std::size_t kTileRowBytes = kTileSide * kPixelBytes;
    std::vector<Bytes> tiles;
    for (std::size_t top = 0; top < kSide; top += kTileSide) {
        for (std::size_t left = 0; left < kSide; left += kTileSide) {
            Bytes tile(kTileSide * kTileRowBytes);
            for (std::size_t y = 0; y < kTileSide; ++y)
                std::memcpy(&tile[(kTileSide - 1 - y) * kTileRowBytes],
                            &whole[(top + y) * kRowBytes + left * kPixelBytes], kTileRowBytes);
            tiles.push_back(std::move(tile));
        }
    }
    return tiles;
}

Picture ReadPicture(const std::string& folder, const std::string& name) {
    std::ifstream file(folder + "/" + name + ".bgra", std::ios::binary);
    Picture picture{name, Bytes(std::istreambuf_iterator<char>(file), {}), {}};
    if (picture.whole.size() != kSide * kRowBytes)
        throw std::runtime_error("no picture " + name + ".bgra in " + folder);
    picture.tiles = CutIntoTiles(picture.whole);
    return picture;
}

/// Something that compresses one piece of a picture and gets it back. `store` gives the compressed bytes in a buffer of
/// its own; `load` fills `dst`, which has the right size.
struct Method {
    std::string name;
    bool whole;  ///< the whole picture at once, not tiles
    std::function<Bytes(const Bytes& src)> prepare;
    std::function<std::size_t(const Bytes& src, Bytes& block)> store;
    std::function<void(const Bytes& block, std::size_t blockBytes, Bytes& dst)> load;
};

Method ZCodecMethod(const char* name, zcdl::CodecMethod method) {
    auto encoder = std::make_shared<zcdl::CEncode>(method);
    auto decoder = std::make_shared<zcdl::CDecode>();
    return {name, false, [](const Bytes& src) { return Bytes(zcdl::MaxEncodedSize(src.size())); },
            // The copies stand for the archive that a block is written to and read from.
            [encoder](const Bytes& src, Bytes& block) {
                encoder->Encode(src.data(), src.size());
                std::memcpy(block.data(), encoder->GetEncodedBytes(), encoder->GetNumEncodedBytes());
                return std::size_t{encoder->GetNumEncodedBytes()};
            },
            [decoder](const Bytes& block, std::size_t blockBytes, Bytes& dst) {
                decoder->SetEncodeBufferSize(static_cast<std::uint32_t>(blockBytes));
                std::memcpy(decoder->GetEncodeBuffer(), block.data(), blockBytes);
                if (!decoder->Decode(dst.data(), dst.size())) throw std::runtime_error("ZCodecu: damaged block");
            }};
}

Method ZstdMethod(const std::string& name, int level, bool whole) {
    std::shared_ptr<ZSTD_CCtx> encoder(ZSTD_createCCtx(), ZSTD_freeCCtx);
    std::shared_ptr<ZSTD_DCtx> decoder(ZSTD_createDCtx(), ZSTD_freeDCtx);
    return {name, whole, [](const Bytes& src) { return Bytes(ZSTD_compressBound(src.size())); },
            [encoder, level](const Bytes& src, Bytes& block) {
                return ZSTD_compressCCtx(encoder.get(), block.data(), block.size(), src.data(), src.size(), level);
            },
            [decoder](const Bytes& block, std::size_t blockBytes, Bytes& dst) {
                if (ZSTD_decompressDCtx(decoder.get(), dst.data(), dst.size(), block.data(), blockBytes) != dst.size())
                    throw std::runtime_error("zstd: damaged block");
            }};
}

Method Lz4Method() {
    return {"lz4", false,
            [](const Bytes& src) {
                return Bytes(static_cast<std::size_t>(LZ4_compressBound(static_cast<int>(src.size()))));
            },
            [](const Bytes& src, Bytes& block) {
                return static_cast<std::size_t>(LZ4_compress_default(
                    reinterpret_cast<const char*>(src.data()), reinterpret_cast<char*>(block.data()),
                    static_cast<int>(src.size()), static_cast<int>(block.size())));
            },
            [](const Bytes& block, std::size_t blockBytes, Bytes& dst) {
                const int got = LZ4_decompress_safe(reinterpret_cast<const char*>(block.data()),
                                                    reinterpret_cast<char*>(dst.data()), static_cast<int>(blockBytes),
                                                    static_cast<int>(dst.size()));
                if (got != static_cast<int>(dst.size())) throw std::runtime_error("lz4: damaged block");
            }};
}

/// Where libpng writes to and reads from.
struct PngStream {
    std::uint8_t* next;
    std::size_t left;
};

[[noreturn]] void RaisePngError(png_structp, png_const_charp message) { throw std::runtime_error(message); }
void IgnorePngWarning(png_structp, png_const_charp) {}

void WritePngBytes(png_structp png, png_bytep bytes, std::size_t count) {
    auto* stream = static_cast<PngStream*>(png_get_io_ptr(png));
    if (count > stream->left) png_error(png, "buffer too small");
    std::memcpy(stream->next, bytes, count);
    stream->next += count;
    stream->left -= count;
}

void ReadPngBytes(png_structp png, png_bytep bytes, std::size_t count) {
    auto* stream = static_cast<PngStream*>(png_get_io_ptr(png));
    if (count > stream->left) png_error(png, "file too short");
    std::memcpy(bytes, stream->next, count);
    stream->next += count;
    stream->left -= count;
}

std::size_t StorePng(int level, const Bytes& src, Bytes& block) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, RaisePngError, IgnorePngWarning);
    png_infop info = png_create_info_struct(png);
    PngStream stream{block.data(), block.size()};
    png_set_write_fn(png, &stream, WritePngBytes, nullptr);
    png_set_compression_level(png, level);
    png_set_IHDR(png, info, kSide, kSide, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_set_bgr(png);
    png_set_filler(png, 0, PNG_FILLER_AFTER);
    for (std::size_t y = 0; y < kSide; ++y) png_write_row(png, &src[y * kRowBytes]);
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return block.size() - stream.left;
}

void LoadPng(const Bytes& block, std::size_t blockBytes, Bytes& dst) {
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, RaisePngError, IgnorePngWarning);
    png_infop info = png_create_info_struct(png);
    PngStream stream{const_cast<std::uint8_t*>(block.data()), blockBytes};
    png_set_read_fn(png, &stream, ReadPngBytes);
    png_read_info(png, info);
    png_set_bgr(png);
    png_set_filler(png, 255, PNG_FILLER_AFTER);
    png_read_update_info(png, info);
    for (std::size_t y = 0; y < kSide; ++y) png_read_row(png, &dst[y * kRowBytes], nullptr);
    png_read_end(png, nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
}

Method PngMethod(const std::string& name, int level) {
    return {name, true, [](const Bytes& src) { return Bytes(src.size() + src.size() / 8); },
            [level](const Bytes& src, Bytes& block) { return StorePng(level, src, block); }, LoadPng};
}

/// The best of the rounds so far.
struct Result {
    std::size_t bytes = 0;
    double storeSeconds = 1e9;
    double loadSeconds = 1e9;
};

double Seconds(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Stores and loads a picture once. The buffers are kept from round to round, so that none is touched for the first
/// time while time is taken but in the first round.
class Contest {
public:
    Contest(Method rival, const Picture& picture) : method(std::move(rival)) {
        if (method.whole) {
            pieces.push_back(&picture.whole);
        } else {
            for (const Bytes& tile : picture.tiles) pieces.push_back(&tile);
        }
        for (const Bytes* piece : pieces) blocks.push_back(method.prepare(*piece));
        blockBytes.resize(pieces.size());
        loaded.resize(pieces.front()->size());
    }

    void Round() {
        double storeSeconds = 0, loadSeconds = 0;
        result.bytes = 0;
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            storeSeconds += Seconds([&] { blockBytes[i] = method.store(*pieces[i], blocks[i]); });
            result.bytes += blockBytes[i];
        }
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            loadSeconds += Seconds([&] { method.load(blocks[i], blockBytes[i], loaded); });
            if (loaded != *pieces[i]) throw std::runtime_error(method.name + ": loads something else");
        }
        result.storeSeconds = std::min(result.storeSeconds, storeSeconds);
        result.loadSeconds = std::min(result.loadSeconds, loadSeconds);
    }

    const std::string& Name() const { return method.name; }
    const Result& Best() const { return result; }

private:
    Method method;
    std::vector<const Bytes*> pieces;
    std::vector<Bytes> blocks;
    std::vector<std::size_t> blockBytes;
    Bytes loaded;
    Result result;
};

std::vector<Contest> Run(const Picture& picture, int rounds) {
    std::vector<Contest> contests;
    const auto enter = [&](Method method) { contests.emplace_back(std::move(method), picture); };
    enter(ZCodecMethod("zcodec fast", zcdl::CodecMethod::fast));
    enter(ZCodecMethod("zcodec balanced", zcdl::CodecMethod::balanced));
    enter(ZCodecMethod("zcodec small", zcdl::CodecMethod::small));
    enter(PngMethod("png 1", 1));
    enter(PngMethod("png 6", 6));
    enter(ZstdMethod("zstd 1 tiles", 1, false));
    enter(ZstdMethod("zstd 1 whole", 1, true));
    enter(ZstdMethod("zstd 3 tiles", 3, false));
    enter(Lz4Method());
    for (int round = 0; round < rounds; ++round)
        for (Contest& contest : contests) contest.Round();
    return contests;
}

const Result& BestOf(const std::vector<Contest>& contests, const std::string& name) {
    for (const Contest& contest : contests)
        if (contest.Name() == name) return contest.Best();
    throw std::logic_error("no contest " + name);
}

void Print(const Picture& picture, const std::vector<Contest>& contests) {
    const auto bytes = static_cast<double>(picture.whole.size());
    const Result& png = BestOf(contests, "png 6");
    const Result& zstd = BestOf(contests, "zstd 1 tiles");
    std::printf("%-16s %8s %9s %9s | %21s | %21s\n", picture.name.c_str(), "", "store", "load", "of png 6",
                "of zstd 1 tiles");
    std::printf("%-16s %8s %9s %9s | %6s %7s %6s | %6s %7s %6s\n", "method", "ratio", "MB/s", "MB/s", "size", "store",
                "load", "size", "store", "load");
    for (const Contest& contest : contests) {
        const Result& r = contest.Best();
        const auto size = static_cast<double>(r.bytes);
        std::printf("%-16s %8.3f %9.0f %9.0f | %6.3f %7.2f %6.2f | %6.3f %7.2f %6.2f\n", contest.Name().c_str(),
                    bytes / size, bytes / r.storeSeconds / 1e6, bytes / r.loadSeconds / 1e6,
                    size / static_cast<double>(png.bytes), png.storeSeconds / r.storeSeconds,
                    png.loadSeconds / r.loadSeconds, size / static_cast<double>(zstd.bytes),
                    zstd.storeSeconds / r.storeSeconds, zstd.loadSeconds / r.loadSeconds);
    }
    std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) try {
    const char* folder = std::getenv("ZBM_PICTURES");
    if (folder == nullptr) throw std::runtime_error("ZBM_PICTURES names no folder");
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 5;
    for (const char* name : {"photo", "shot"}) {
        const Picture picture = ReadPicture(folder, name);
        Print(picture, Run(picture, rounds));
    }
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "codec_bench: %s\n", error.what());
    return 1;
}
