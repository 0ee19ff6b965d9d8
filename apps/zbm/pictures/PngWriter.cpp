#include <png.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "pictures/Exif.h"
#include "pictures/LibraryGuard.h"
#include "pictures/PictureRows.h"
#include "pictures/PictureWriter.h"
#include "pictures/PngChunks.h"
#include "pictures/RowConversion.h"

namespace tool {

namespace {

/// Owns libpng's two records.
struct PngHandle {
    png_structp png = nullptr;
    png_infop info = nullptr;
    PngHandle() = default;
    PngHandle(const PngHandle&) = delete;
    PngHandle& operator=(const PngHandle&) = delete;
    ~PngHandle() { png_destroy_write_struct(&png, &info); }
};

class PngWriter {
public:
    explicit PngWriter(PictureJob& newJob)
        : job(newJob), rows(newJob.bitmap, newJob.background), format(rows.Format()) {}
    void Write();

private:
    /// How libpng's rows are made from the bitmap's.
    enum class Content { asIs, bgra, greyAlpha8, greyAlpha16, grey16 };

    void OpenFile();
    void ChooseContent();
    void WriteHeader();
    void WritePalette();
    void SetResolution();
    void SetColorMeaning();
    void SetColorProfile(const std::vector<std::uint8_t>& profile);
    void SetColorMarks(const ColorMarks& marks);
    void SetCodingPoints(const ColorMarks& marks);
    void SetOrientation();
    void WriteRows();
    const std::uint8_t* Encoded(int y);

    static void OnWrite(png_structp png, png_bytep bytes, std::size_t byteCount);
    static void OnFlush(png_structp) {}
    static void OnError(png_structp png, png_const_charp message);
    static void OnWarning(png_structp png, png_const_charp message);

    PictureJob& job;
    PictureRows rows;
    const shr::ColorFormat format;
    LibraryGuard guard;
    PngHandle handle;

    Content content = Content::asIs;
    int bitDepth = 8, colorType = PNG_COLOR_TYPE_GRAY;
    std::vector<std::uint8_t> row, mask, grey, encoded;
};

void PngWriter::Write() {
    OpenFile();
    ChooseContent();
    WriteHeader();
    WriteRows();
    // Without the record: the library (1.6.39 does) would write the orientation once more.
    guard.Run([this] { png_write_end(handle.png, nullptr); });
}

void PngWriter::OpenFile() {
    // Guarded as well: it warns where memory is short.
    guard.Run([this] { handle.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, &OnError, &OnWarning); });
    if (handle.png == nullptr) throw std::bad_alloc();
    guard.Run([this] {
        handle.info = png_create_info_struct(handle.png);
        if (handle.info == nullptr) png_error(handle.png, "not enough memory");
        png_set_user_limits(handle.png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        png_set_write_fn(handle.png, this, &OnWrite, &OnFlush);
    });
}

void PngWriter::ChooseContent() {
    const bool transparent = job.facts.hasTransparentPixels;
    const int bits = shr::ColorFmtToBPP[format];
    if (IsGrey(format)) {
        colorType = transparent ? PNG_COLOR_TYPE_GRAY_ALPHA : PNG_COLOR_TYPE_GRAY;
        bitDepth = bits >= 16 ? 16 : transparent ? 8 : bits;
        if (transparent) {
            content = bits >= 16 ? Content::greyAlpha16 : Content::greyAlpha8;
        } else if (bits == 32) {
            content = Content::grey16;
        }
        if (bits == 32) NoteReducedGrey(job, 16);
    } else if (IsIndexed(format) && (!transparent || job.facts.IsTransparencyByIndex())) {
        colorType = PNG_COLOR_TYPE_PALETTE;
        bitDepth = bits;
    } else if (HasMask(format) && !transparent) {
        colorType = PNG_COLOR_TYPE_RGB;  // BGR_24 and BGRX_32 as they are
    } else {
        colorType = PNG_COLOR_TYPE_RGB_ALPHA;
        const bool straight = format == shr::BGRA_32 || format == shr::RGBA_32;
        content = straight ? Content::asIs : Content::bgra;
    }
}

void PngWriter::WriteHeader() {
    guard.Run([this] {
        png_set_IHDR(handle.png, handle.info, static_cast<png_uint_32>(rows.Width()),
                     static_cast<png_uint_32>(rows.Height()), bitDepth, colorType, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_BASE, PNG_FILTER_TYPE_BASE);
    });
    if (colorType == PNG_COLOR_TYPE_PALETTE) WritePalette();
    SetResolution();
    SetColorMeaning();
    SetOrientation();
    guard.Run([this] {
        png_write_info(handle.png, handle.info);
        if (bitDepth == 16) png_set_swap(handle.png);
        if ((colorType & PNG_COLOR_MASK_COLOR) != 0 && format != shr::RGBA_32) png_set_bgr(handle.png);
        if (colorType == PNG_COLOR_TYPE_RGB && format == shr::BGRX_32) png_set_filler(handle.png, 0, PNG_FILLER_AFTER);
    });
}

/// Every index that stands in the picture gets an entry: those past the bitmap's table are black, as they are there.
void PngWriter::WritePalette() {
    const int count = std::max({static_cast<int>(job.bitmap.GetNumColorTableItems()), job.facts.LargestIndex() + 1, 1});
    std::array<png_color, 256> colors{};
    std::array<png_byte, 256> alphas{};
    int alphaCount = 0;
    for (int i = 0; i < count; ++i) {
        const auto index = static_cast<std::size_t>(i);
        const shr::Color4b color = rows.ColorTable()[i];
        colors[index] = {color.red, color.green, color.blue};
        const bool transparent = job.facts.transparentIndices[index];
        alphas[index] = transparent ? shr::ALPHA_MIN : shr::ALPHA_MAX;
        if (transparent) alphaCount = i + 1;
    }
    guard.Run([&] {
        png_set_PLTE(handle.png, handle.info, colors.data(), count);
        if (alphaCount > 0) png_set_tRNS(handle.png, handle.info, alphas.data(), alphaCount, nullptr);
    });
}

void PngWriter::SetResolution() {
    const int x = job.bitmap.GetXResolution(), y = job.bitmap.GetYResolution();
    const bool known = x > 0 && y > 0;
    if (!known && !job.metadata.HasAspect()) return;
    guard.Run([&] {
        if (known) {
            png_set_pHYs(handle.png, handle.info, static_cast<png_uint_32>(x), static_cast<png_uint_32>(y),
                         PNG_RESOLUTION_METER);
        } else {
            png_set_pHYs(handle.png, handle.info, job.metadata.xAspect, job.metadata.yAspect, PNG_RESOLUTION_UNKNOWN);
        }
    });
}

void PngWriter::SetColorMeaning() {
    const bool isGrey = (colorType & PNG_COLOR_MASK_COLOR) == 0;
    if (const auto* profile = ProfileFor(isGrey, job.metadata, job.notes)) SetColorProfile(*profile);
    SetColorMarks(job.metadata.colorMarks);
    SetCodingPoints(job.metadata.colorMarks);
}

/// The library looks closely at profiles, and takes what is wrong with one for an error; but it costs no pixel.
void PngWriter::SetColorProfile(const std::vector<std::uint8_t>& profile) {
    bool taken = false;
    try {
        guard.Run([&] {
            png_set_iCCP(handle.png, handle.info, "icc", PNG_COMPRESSION_TYPE_BASE, profile.data(),
                         static_cast<png_uint_32>(profile.size()));
            taken = png_get_valid(handle.png, handle.info, PNG_INFO_iCCP) != 0;
        });
        if (!taken) NoteLostProfile(job.metadata, job.notes);
    } catch (const std::runtime_error& error) {
        job.notes.Add(std::string("its colour profile is damaged and not kept: ") + error.what());
    }
}

void PngWriter::SetColorMarks(const ColorMarks& marks) {
    guard.Run([&] {
        if (marks.srgbIntent) png_set_sRGB(handle.png, handle.info, *marks.srgbIntent);
        if (marks.gamma) png_set_gAMA_fixed(handle.png, handle.info, *marks.gamma);
        if (!marks.chromaticities) return;
        const auto& c = *marks.chromaticities;
        png_set_cHRM_fixed(handle.png, handle.info, c[0], c[1], c[2], c[3], c[4], c[5], c[6], c[7]);
    });
}

void PngWriter::SetCodingPoints(const ColorMarks& marks) {
    if (!marks.codingPoints) return;
    std::array<std::uint8_t, 4> points = *marks.codingPoints;
    png_unknown_chunk chunk{};
    std::memcpy(chunk.name, kCodingPointsChunk, sizeof kCodingPointsChunk);
    chunk.data = points.data();
    chunk.size = points.size();
    chunk.location = PNG_HAVE_IHDR;
    guard.Run([&] {
        png_set_keep_unknown_chunks(handle.png, PNG_HANDLE_CHUNK_ALWAYS, kCodingPointsChunk, 1);
        png_set_unknown_chunks(handle.png, handle.info, &chunk, 1);
    });
}

void PngWriter::SetOrientation() {
    if (job.metadata.orientation == 1) return;
    OrientationExif exif = ExifOf(job.metadata.orientation);
    guard.Run([&] { png_set_eXIf_1(handle.png, handle.info, static_cast<png_uint_32>(exif.size()), exif.data()); });
}

void PngWriter::WriteRows() {
    const auto width = static_cast<std::size_t>(rows.Width());
    row.resize(shr::RowBytes(width, format));
    mask.resize(shr::RowBytes(width, shr::GRAYSCALE_1));
    if (content != Content::asIs) encoded.resize(4 * width);
    if (content == Content::greyAlpha8 || content == Content::greyAlpha16) grey.resize(2 * width);
    for (int y = 0; y < rows.Height(); ++y) {
        job.progress.SetProgress(static_cast<double>(y) / rows.Height());
        const std::uint8_t* bytes = Encoded(y);
        guard.Run([&] { png_write_row(handle.png, bytes); });
    }
}

const std::uint8_t* PngWriter::Encoded(int y) {
    const int width = rows.Width();
    rows.Fetch(y, row.data(), mask.data());
    switch (content) {
        case Content::asIs: return row.data();
        case Content::bgra: ToBgra(encoded.data(), row.data(), mask.data(), format, rows.ColorTable(), width); break;
        case Content::greyAlpha8:
            ToGrey8(grey.data(), row.data(), format, width);
            AddAlpha(encoded.data(), grey.data(), mask.data(), 1, width);
            break;
        case Content::greyAlpha16: {
            if (format == shr::GRAYSCALE_32) ToGrey16(grey.data(), row.data(), width);
            const std::uint8_t* levels = format == shr::GRAYSCALE_32 ? grey.data() : row.data();
            AddAlpha(encoded.data(), levels, mask.data(), 2, width);
            break;
        }
        case Content::grey16: ToGrey16(encoded.data(), row.data(), width); break;
    }
    return encoded.data();
}

void PngWriter::OnWrite(png_structp png, png_bytep bytes, std::size_t byteCount) {
    auto& self = *static_cast<PngWriter*>(png_get_io_ptr(png));
    if (!self.guard.Try([&] { self.job.file.Write(bytes, byteCount); })) self.guard.Fail("");
}

void PngWriter::OnError(png_structp png, png_const_charp message) {
    static_cast<PngWriter*>(png_get_error_ptr(png))->guard.Fail(message);
}

void PngWriter::OnWarning(png_structp png, png_const_charp message) {
    auto& self = *static_cast<PngWriter*>(png_get_error_ptr(png));
    if (!self.guard.Try([&] { self.job.notes.Warn(message); })) self.guard.Fail("");
}

}  // namespace

void WritePng(PictureJob& job) {
    FlattenIfAsked(job);
    PngWriter(job).Write();
}

}  // namespace tool
