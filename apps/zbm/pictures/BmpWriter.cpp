#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "pictures/BmpFormat.h"
#include "pictures/PictureRows.h"
#include "pictures/PictureWriter.h"
#include "pictures/RowConversion.h"

namespace tool {

namespace {

using namespace bmp;

class BmpWriter {
public:
    explicit BmpWriter(PictureJob& newJob);
    void Write();

private:
    void ChooseDepth();
    void WriteHeaders();
    void WriteColorTable();
    void WriteRows();
    void Encode(std::uint8_t* encoded, const std::uint8_t* row, const std::uint8_t* mask) const;
    std::uint64_t RowBytes() const { return (width * static_cast<unsigned>(bitCount) + 31) / 32 * 4; }

    PictureJob& job;
    PictureRows rows;
    const shr::ColorFormat format;
    const std::uint64_t width, height;
    int bitCount = 0;
    bool alpha = false;
    std::uint32_t headerBytes = kInfoHeaderBytes, colors = 0;
};

BmpWriter::BmpWriter(PictureJob& newJob)
    : job(newJob),
      rows(job.bitmap, job.background),
      format(rows.Format()),
      width(static_cast<std::uint64_t>(rows.Width())),
      height(static_cast<std::uint64_t>(rows.Height())) {}

void BmpWriter::Write() {
    NoteLost(job.metadata, job.notes);
    ChooseDepth();
    WriteHeaders();
    if (colors > 0) WriteColorTable();
    WriteRows();
}

void BmpWriter::ChooseDepth() {
    alpha = job.facts.hasTransparentPixels || !HasMask(format);
    const int bits = shr::ColorFmtToBPP[format];
    const bool deepGrey = IsGrey(format) && bits > 8;
    if (deepGrey) NoteReducedGrey(job, 8);
    bitCount = alpha ? 32 : deepGrey ? 8 : bits;
    if (alpha) headerBytes = kV4HeaderBytes;  // the first that has a mask for alpha
    if (bitCount <= 8) {
        const std::uint32_t used =
            std::max(job.bitmap.GetNumColorTableItems(), static_cast<std::uint32_t>(job.facts.LargestIndex() + 1));
        colors = IsGrey(format) ? 1u << bitCount : std::max(used, 1u);
    }
}

void BmpWriter::WriteHeaders() {
    const std::uint64_t bitsOffset = kFileHeaderBytes + headerBytes + 4 * std::uint64_t{colors};
    const std::uint64_t fileBytes = bitsOffset + RowBytes() * height;
    if (fileBytes > UINT32_MAX) throw std::runtime_error("the bitmap is larger than the 4 GiB of a BMP file");
    std::uint8_t bytes[kFileHeaderBytes + kV4HeaderBytes] = {'B', 'M'};
    Store32(bytes + 2, static_cast<std::uint32_t>(fileBytes));
    Store32(bytes + 10, static_cast<std::uint32_t>(bitsOffset));
    std::uint8_t* header = bytes + kFileHeaderBytes;
    Store32(header, headerBytes);
    Store32(header + 4, static_cast<std::uint32_t>(width));
    Store32(header + 8, static_cast<std::uint32_t>(height));
    Store16(header + 12, 1);  // planes
    Store16(header + 14, static_cast<unsigned>(bitCount));
    Store32(header + 16, static_cast<std::uint32_t>(alpha ? Compression::bitFields : Compression::rgb));
    Store32(header + 20, static_cast<std::uint32_t>(RowBytes() * height));
    Store32(header + 24, static_cast<std::uint32_t>(std::max(0, job.bitmap.GetXResolution())));
    Store32(header + 28, static_cast<std::uint32_t>(std::max(0, job.bitmap.GetYResolution())));
    Store32(header + 32, colors);
    if (alpha) {
        Store32(header + 40, 0x00FF0000);
        Store32(header + 44, 0x0000FF00);
        Store32(header + 48, 0x000000FF);
        Store32(header + 52, 0xFF000000);
        std::memcpy(header + 56, "BGRs", 4);  // sRGB, as the number 'sRGB' is stored
    }
    job.file.Write(bytes, kFileHeaderBytes + headerBytes);
}

void BmpWriter::WriteColorTable() {
    std::vector<std::uint8_t> entries(4 * std::size_t{colors});
    for (std::uint32_t i = 0; i < colors; ++i) {
        const auto grey = static_cast<std::uint8_t>(colors > 1 ? i * 255 / (colors - 1) : 0);
        const shr::Color4b color = IsGrey(format) ? shr::Color4b(grey, grey, grey) : rows.ColorTable()[i];
        std::uint8_t* entry = &entries[4 * std::size_t{i}];
        entry[0] = color.blue;
        entry[1] = color.green;
        entry[2] = color.red;
    }
    job.file.Write(entries.data(), entries.size());
}

void BmpWriter::WriteRows() {
    std::vector<std::uint8_t> row(shr::RowBytes(width, format)), mask(shr::RowBytes(width, shr::GRAYSCALE_1));
    std::vector<std::uint8_t> encoded(RowBytes());
    for (int y = rows.Height() - 1; y >= 0; --y) {
        job.progress.SetProgress(1 - static_cast<double>(y) / rows.Height());
        rows.Fetch(y, row.data(), mask.data());
        Encode(encoded.data(), row.data(), mask.data());
        job.file.Write(encoded.data(), encoded.size());
    }
}

void BmpWriter::Encode(std::uint8_t* encoded, const std::uint8_t* row, const std::uint8_t* mask) const {
    const int count = rows.Width();
    if (!alpha && bitCount == shr::ColorFmtToBPP[format]) {
        std::memcpy(encoded, row, shr::PixelBytes(width, format));
    } else if (!alpha) {
        ToGrey8(encoded, row, format, count);
    } else {
        ToBgra(encoded, row, mask, format, rows.ColorTable(), count);
    }
}

}  // namespace

void WriteBmp(PictureJob& job) {
    FlattenIfAsked(job);
    BmpWriter(job).Write();
}

}  // namespace tool
