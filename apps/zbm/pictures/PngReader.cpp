#include <png.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <stdexcept>

#include "pictures/Exif.h"
#include "pictures/LibraryGuard.h"
#include "pictures/PictureReader.h"
#include "pictures/PngChunks.h"
#include "pictures/RowConversion.h"

namespace tool {

namespace {

/// Deflate never expands more than this.
constexpr std::uint64_t kLargestExpansion = 1032;

/// Owns libpng's two records.
struct PngHandle {
    png_structp png = nullptr;
    png_infop info = nullptr;
    PngHandle() = default;
    PngHandle(const PngHandle&) = delete;
    PngHandle& operator=(const PngHandle&) = delete;
    ~PngHandle() { png_destroy_read_struct(&png, &info, nullptr); }
};

/// How libpng's rows lie compared with the bitmap's.
enum class RowLayout {
    same,
    twoBits,    // 2-bit values, for 4-bit ones
    withAlpha,  // BGRA, for BGR and mask
};

class PngReader final : public PictureReader {
public:
    PngReader(PictureSource& pictureSource, Notes& target);
    const PictureInfo& Info() const override { return pictureInfo; }
    void ReadInto(TileRows& rows, shr::IProgress& progress) override;

private:
    void OpenFile();
    void ReadHeader();
    void ReadResolution();
    void ChooseForPalette(int bitDepth);
    void ChooseForGrey(int bitDepth);
    void ChooseForColor(int bitDepth, bool alpha);
    void SetTransparentGrey(int bitDepth);
    void ReadColorProfile();
    void ReadColorMarks();
    void ReadCodingPoints();
    void ReadOrientation();
    std::vector<std::uint8_t> ExifBehindPixels();
    void ReadPass(TileRows& rows, shr::IProgress& progress, int pass);
    void FetchPngRow(TileRows& rows, int y);
    void StorePngRow(TileRows& rows, int y);

    static void OnRead(png_structp png, png_bytep destination, std::size_t byteCount);
    static void OnError(png_structp png, png_const_charp message);
    static void OnWarning(png_structp png, png_const_charp message);

    PictureSource& source;
    Notes& notes;
    LibraryGuard guard;
    PngHandle handle;
    PictureInfo pictureInfo;

    RowLayout layout = RowLayout::same;
    unsigned twoBitFactor = 1;
    std::optional<std::array<bool, 256>> transparentValues;
    std::optional<std::uint16_t> transparentGrey16;
    int passes = 1;

    std::vector<std::uint8_t> pngRow, pixels, mask;
};

PngReader::PngReader(PictureSource& pictureSource, Notes& target) : source(pictureSource), notes(target) {
    OpenFile();
    ReadHeader();
}

void PngReader::OpenFile() {
    // Guarded as well: it warns where memory is short.
    guard.Run([this] { handle.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, &OnError, &OnWarning); });
    if (handle.png == nullptr) throw std::bad_alloc();
    guard.Run([this] {
        handle.info = png_create_info_struct(handle.png);
        if (handle.info == nullptr) png_error(handle.png, "not enough memory");
        // Whether a size is sensible is judged by what the file and the machine can hold.
        png_set_user_limits(handle.png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        png_set_read_fn(handle.png, this, &OnRead);
        png_set_keep_unknown_chunks(handle.png, PNG_HANDLE_CHUNK_ALWAYS, kCodingPointsChunk, 1);
        png_read_info(handle.png, handle.info);
    });
}

void PngReader::ReadHeader() {
    png_uint_32 width = 0, height = 0;
    int bitDepth = 0, colorType = 0, interlace = 0;
    guard.Run([&] {
        png_get_IHDR(handle.png, handle.info, &width, &height, &bitDepth, &colorType, &interlace, nullptr, nullptr);
    });
    pictureInfo.width = static_cast<int>(width);
    pictureInfo.height = static_cast<int>(height);
    const std::uint64_t rawRowBytes =
        (std::uint64_t{width} * static_cast<unsigned>(bitDepth) * png_get_channels(handle.png, handle.info) + 7) / 8;
    source.RefuseUnlessHolding(rawRowBytes * height / kLargestExpansion, pictureInfo.width, pictureInfo.height);
    ReadResolution();
    ReadColorProfile();
    ReadColorMarks();
    ReadCodingPoints();
    ReadOrientation();
    switch (colorType) {
        case PNG_COLOR_TYPE_PALETTE: ChooseForPalette(bitDepth); break;
        case PNG_COLOR_TYPE_GRAY: ChooseForGrey(bitDepth); break;
        case PNG_COLOR_TYPE_RGB: ChooseForColor(bitDepth, false); break;
        default: ChooseForColor(bitDepth, true); break;
    }
    guard.Run([this] {
        passes = png_set_interlace_handling(handle.png);
        png_read_update_info(handle.png, handle.info);
    });
}

void PngReader::ReadResolution() {
    png_uint_32 x = 0, y = 0;
    int unit = PNG_RESOLUTION_UNKNOWN;
    guard.Run([&] { png_get_pHYs(handle.png, handle.info, &x, &y, &unit); });
    if (x == 0 || y == 0 || x > PNG_UINT_31_MAX || y > PNG_UINT_31_MAX) return;
    if (unit != PNG_RESOLUTION_METER) {
        pictureInfo.metadata.xAspect = x;
        pictureInfo.metadata.yAspect = y;
        return;
    }
    pictureInfo.xPixelsPerMeter = static_cast<int>(x);
    pictureInfo.yPixelsPerMeter = static_cast<int>(y);
}

void PngReader::ChooseForPalette(int bitDepth) {
    png_colorp colors = nullptr;
    int colorCount = 0, alphaCount = 0;
    png_bytep alphas = nullptr;
    guard.Run([&] {
        png_get_PLTE(handle.png, handle.info, &colors, &colorCount);
        png_get_tRNS(handle.png, handle.info, &alphas, &alphaCount, nullptr);
    });
    if (std::any_of(alphas, alphas + alphaCount, [](png_byte alpha) { return alpha != 0 && alpha != 255; })) {
        // Half-transparent entries fit into no mask.
        pictureInfo.format = shr::BGRA_32;
        guard.Run([this] {
            png_set_palette_to_rgb(handle.png);
            png_set_tRNS_to_alpha(handle.png);
            png_set_bgr(handle.png);
        });
        return;
    }
    pictureInfo.format = bitDepth == 1 ? shr::INDEXED_1 : bitDepth == 8 ? shr::INDEXED_8 : shr::INDEXED_4;
    if (bitDepth == 2) layout = RowLayout::twoBits;
    const int room = shr::ColorFmtToTblSize[pictureInfo.format];
    for (int i = 0; i < std::min(colorCount, room); ++i) {
        pictureInfo.colorTable.emplace_back(colors[i].red, colors[i].green, colors[i].blue);
    }
    if (alphaCount == 0) return;
    transparentValues.emplace();
    for (int i = 0; i < std::min(alphaCount, 256); ++i) {
        (*transparentValues)[static_cast<std::size_t>(i)] = alphas[i] == 0;
    }
}

void PngReader::ChooseForGrey(int bitDepth) {
    switch (bitDepth) {
        case 1: pictureInfo.format = shr::GRAYSCALE_1; break;
        case 8: pictureInfo.format = shr::GRAYSCALE_8; break;
        case 16:
            pictureInfo.format = shr::GRAYSCALE_16;
            guard.Run([this] { png_set_swap(handle.png); });
            break;
        default: pictureInfo.format = shr::GRAYSCALE_4; break;
    }
    if (bitDepth == 2) {
        layout = RowLayout::twoBits;
        twoBitFactor = 5;
    }
    SetTransparentGrey(bitDepth);
}

void PngReader::SetTransparentGrey(int bitDepth) {
    png_color_16p color = nullptr;
    int count = 0;
    guard.Run([&] { png_get_tRNS(handle.png, handle.info, nullptr, &count, &color); });
    if (count == 0 || color == nullptr) return;
    if (bitDepth == 16) {
        transparentGrey16 = color->gray;
        return;
    }
    const unsigned level = color->gray & ((1u << bitDepth) - 1);
    transparentValues.emplace();
    (*transparentValues)[level * (bitDepth == 2 ? twoBitFactor : 1)] = true;
}

void PngReader::ChooseForColor(int bitDepth, bool alpha) {
    bool transparentColor = false;
    guard.Run([&] {
        transparentColor = png_get_valid(handle.png, handle.info, PNG_INFO_tRNS) != 0;
        png_set_gray_to_rgb(handle.png);
        if (transparentColor) png_set_tRNS_to_alpha(handle.png);
        if (bitDepth == 16) png_set_scale_16(handle.png);
        png_set_bgr(handle.png);
    });
    pictureInfo.format = alpha ? shr::BGRA_32 : shr::BGR_24;
    if (transparentColor && !alpha) layout = RowLayout::withAlpha;
    if (bitDepth == 16) NoteReducedDepth(notes);
}

void PngReader::ReadInto(TileRows& rows, shr::IProgress& progress) {
    const auto width = static_cast<std::uint64_t>(pictureInfo.width);
    pngRow.resize(png_get_rowbytes(handle.png, handle.info));
    pixels.resize(shr::RowBytes(width, pictureInfo.format));
    mask.resize(shr::RowBytes(width, shr::GRAYSCALE_1));
    // png_read_row takes no length; what it writes must be what we expect.
    const std::uint64_t expected = layout == RowLayout::twoBits     ? (width + 3) / 4
                                   : layout == RowLayout::withAlpha ? 4 * width
                                                                    : shr::PixelBytes(width, pictureInfo.format);
    if (pngRow.size() != expected) throw std::runtime_error("its rows have an unexpected length");
    for (int pass = 0; pass < passes; ++pass) ReadPass(rows, progress, pass);
    guard.Run([this] { png_read_end(handle.png, handle.info); });
}

/// An interlaced picture comes in seven passes over all rows, each filling in some of the pixels; they are merged in
/// the bitmap itself.
void PngReader::ReadPass(TileRows& rows, shr::IProgress& progress, int pass) {
    for (int y = 0; y < pictureInfo.height; ++y) {
        progress.SetProgress((pass + static_cast<double>(y) / pictureInfo.height) / passes);
        const bool touched = passes == 1 || PNG_ROW_IN_INTERLACE_PASS(static_cast<unsigned>(y), pass);
        if (touched && passes > 1) FetchPngRow(rows, y);
        guard.Run([this] { png_read_row(handle.png, pngRow.data(), nullptr); });
        if (touched) StorePngRow(rows, y);
    }
}

void PngReader::FetchPngRow(TileRows& rows, int y) {
    const int width = pictureInfo.width;
    if (layout == RowLayout::same) {
        rows.Fetch(0, y, width, pngRow.data(), nullptr);
        return;
    }
    rows.Fetch(0, y, width, pixels.data(), mask.data());
    if (layout == RowLayout::twoBits) Narrow4To2(pngRow.data(), pixels.data(), width, twoBitFactor);
    if (layout == RowLayout::withAlpha) JoinAlpha(pngRow.data(), pixels.data(), mask.data(), width);
}

void PngReader::StorePngRow(TileRows& rows, int y) {
    const int width = pictureInfo.width;
    const std::uint8_t* row = layout == RowLayout::same ? pngRow.data() : pixels.data();
    const std::uint8_t* rowMask = nullptr;
    if (layout == RowLayout::twoBits) Widen2To4(pixels.data(), pngRow.data(), width, twoBitFactor);
    if (layout == RowLayout::withAlpha) {
        SplitAlpha(pixels.data(), mask.data(), pngRow.data(), width);
        rowMask = mask.data();
    }
    if (transparentValues) {
        MaskOfValues(mask.data(), row, shr::ColorFmtToBPP[pictureInfo.format], width, *transparentValues);
        rowMask = mask.data();
    }
    if (transparentGrey16) {
        MaskOfValue16(mask.data(), row, width, *transparentGrey16);
        rowMask = mask.data();
    }
    rows.Store(0, y, width, row, rowMask);
}

void PngReader::ReadColorProfile() {
    png_charp name = nullptr;
    png_bytep profile = nullptr;
    png_uint_32 length = 0;
    int compression = 0;
    guard.Run([&] { png_get_iCCP(handle.png, handle.info, &name, &compression, &profile, &length); });
    if (profile != nullptr) pictureInfo.metadata.colorProfile.assign(profile, profile + length);
}

/// The library also derives gamma and chromaticities from a profile or from sRGB; only what the file says itself
/// counts.
void PngReader::ReadColorMarks() {
    ColorMarks& marks = pictureInfo.metadata.colorMarks;
    if (!pictureInfo.metadata.colorProfile.empty()) return;
    int intent = 0;
    std::int32_t gamma = 0;
    std::array<std::int32_t, 8> c{};
    std::uint32_t found[3] = {};
    guard.Run([&] {
        found[0] = png_get_sRGB(handle.png, handle.info, &intent);
        found[1] = png_get_gAMA_fixed(handle.png, handle.info, &gamma);
        found[2] = png_get_cHRM_fixed(handle.png, handle.info, &c[0], &c[1], &c[2], &c[3], &c[4], &c[5], &c[6], &c[7]);
    });
    if (found[0] != 0) {
        marks.srgbIntent = intent;
        return;
    }
    if (found[1] != 0) marks.gamma = gamma;
    if (found[2] != 0) marks.chromaticities = c;
}

/// Of a chunk that the library does not know.
void PngReader::ReadCodingPoints() {
    png_unknown_chunkp chunks = nullptr;
    int count = 0;
    guard.Run([&] { count = png_get_unknown_chunks(handle.png, handle.info, &chunks); });
    for (int i = 0; i < count; ++i) {
        if (std::memcmp(chunks[i].name, kCodingPointsChunk, 4) != 0 || chunks[i].size != 4) continue;
        std::memcpy(pictureInfo.metadata.colorMarks.codingPoints.emplace().data(), chunks[i].data, 4);
    }
}

void PngReader::ReadOrientation() {
    png_bytep bytes = nullptr;
    png_uint_32 byteCount = 0;
    guard.Run([&] { png_get_eXIf_1(handle.png, handle.info, &byteCount, &bytes); });
    std::vector<std::uint8_t> exif(bytes, bytes + byteCount);
    if (exif.empty()) exif = ExifBehindPixels();
    pictureInfo.metadata.orientation = ReadExif(exif.data(), exif.size()).orientation;
}

/// EXIF data may follow the pixels, but it is needed before they are stored. Damaged chunks are left to the library.
std::vector<std::uint8_t> PngReader::ExifBehindPixels() {
    constexpr std::int64_t kSignatureBytes = 8, kHeadBytes = 8, kChecksumBytes = 4;
    constexpr std::uint32_t kMostExifBytes = 1 << 20;
    const std::int64_t position = source.Position();
    std::vector<std::uint8_t> exif;
    std::array<std::uint8_t, kHeadBytes> head{};
    std::int64_t chunk = kSignatureBytes;
    while (exif.empty() && chunk + kHeadBytes + kChecksumBytes <= source.Length()) {
        source.Seek(chunk);
        source.ReadExactly(head.data(), head.size());
        const std::uint32_t length = png_get_uint_32(head.data());
        chunk += kHeadBytes + std::int64_t{length} + kChecksumBytes;
        if (std::memcmp(&head[4], "eXIf", 4) != 0 || length > kMostExifBytes || chunk > source.Length()) continue;
        exif.resize(length);
        source.ReadExactly(exif.data(), length);
    }
    source.Seek(position);
    return exif;
}

void PngReader::OnRead(png_structp png, png_bytep destination, std::size_t byteCount) {
    auto& self = *static_cast<PngReader*>(png_get_io_ptr(png));
    std::size_t count = 0;
    if (!self.guard.Try([&] { count = self.source.Read(destination, byteCount); })) self.guard.Fail("");
    if (count != byteCount) self.guard.Fail(kEndsTooEarly);
}

void PngReader::OnError(png_structp png, png_const_charp message) {
    static_cast<PngReader*>(png_get_error_ptr(png))->guard.Fail(message);
}

void PngReader::OnWarning(png_structp png, png_const_charp message) {
    auto& self = *static_cast<PngReader*>(png_get_error_ptr(png));
    if (!self.guard.Try([&] { self.notes.Warn(message); })) self.guard.Fail("");
}

}  // namespace

std::unique_ptr<PictureReader> OpenPng(PictureSource& source, Notes& notes) {
    return std::make_unique<PngReader>(source, notes);
}

}  // namespace tool
