#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <stdexcept>
#include <string>

#include "pictures/BmpFormat.h"
#include "pictures/PictureReader.h"
#include "pictures/RowConversion.h"

namespace tool {

namespace {

using namespace bmp;

/// One colour's bits in a pixel of 16 or 32 bits.
struct Field {
    std::uint32_t mask = 0;
    int shift = 0;
    std::uint32_t largest = 0;

    Field() = default;
    explicit Field(std::uint32_t bits)
        : mask(bits), shift(bits == 0 ? 0 : std::countr_zero(bits)), largest(bits >> shift) {}

    /// Scaled to 8 bits and rounded; fields of 8 bits come out as they are.
    std::uint8_t Of(std::uint32_t pixel) const {
        if (largest == 0) return 0;
        const std::uint64_t value = (pixel & mask) >> shift;
        return static_cast<std::uint8_t>((value * 255 + largest / 2) / largest);
    }
};

class BmpReader final : public PictureReader {
public:
    explicit BmpReader(PictureSource& pictureSource);
    const PictureInfo& Info() const override { return pictureInfo; }
    void ReadInto(TileRows& rows, shr::IProgress& progress) override;

private:
    std::vector<std::uint8_t> ReadHeader();
    void ReadCoreHeader(const std::vector<std::uint8_t>& header);
    void ReadInfoHeader(const std::vector<std::uint8_t>& header);
    void ReadFields(const std::vector<std::uint8_t>& header);
    void ChooseFormat();
    void ReadColorTable();
    void SetSize(std::int64_t width, std::int64_t height);
    bool HasFields() const { return compression != Compression::rgb; }
    const std::uint8_t* Converted(const std::uint8_t* raw);

    PictureSource& source;
    PictureInfo pictureInfo;
    std::uint32_t bitsOffset = 0, headerBytes = 0, colorsUsed = 0;
    int bitCount = 0;
    Compression compression = Compression::rgb;
    bool topDown = false, plain32 = false;
    Field red, green, blue, alpha;
    std::vector<std::uint8_t> pixels;
};

BmpReader::BmpReader(PictureSource& pictureSource) : source(pictureSource) {
    const std::vector<std::uint8_t> header = ReadHeader();
    headerBytes == kCoreHeaderBytes ? ReadCoreHeader(header) : ReadInfoHeader(header);
    ChooseFormat();
    const std::uint64_t rowBytes =
        (static_cast<std::uint64_t>(pictureInfo.width) * static_cast<unsigned>(bitCount) + 31) / 32 * 4;
    source.RefuseUnlessHolding(bitsOffset + rowBytes * static_cast<unsigned>(pictureInfo.height), pictureInfo.width,
                               pictureInfo.height);
}

std::vector<std::uint8_t> BmpReader::ReadHeader() {
    std::array<std::uint8_t, kFileHeaderBytes + 4> start;
    source.ReadExactly(start.data(), start.size());
    bitsOffset = Load32(&start[10]);
    headerBytes = Load32(&start[14]);
    constexpr std::uint32_t kKnown[] = {kCoreHeaderBytes,  kInfoHeaderBytes, kMaskHeaderBytes,
                                        kAlphaHeaderBytes, kV4HeaderBytes,   kV5HeaderBytes};
    if (std::find(std::begin(kKnown), std::end(kKnown), headerBytes) == std::end(kKnown)) {
        throw std::runtime_error("BMP headers of " + std::to_string(headerBytes) + " bytes are not supported");
    }
    std::vector<std::uint8_t> header(headerBytes);
    source.Seek(kFileHeaderBytes);
    source.ReadExactly(header.data(), header.size());
    return header;
}

void BmpReader::ReadCoreHeader(const std::vector<std::uint8_t>& header) {
    SetSize(Load16(&header[4]), Load16(&header[6]));
    bitCount = Load16(&header[10]);
}

void BmpReader::ReadInfoHeader(const std::vector<std::uint8_t>& header) {
    const auto signedAt = [&](std::size_t offset) { return static_cast<std::int32_t>(Load32(&header[offset])); };
    SetSize(signedAt(4), signedAt(8));
    bitCount = Load16(&header[14]);
    compression = static_cast<Compression>(Load32(&header[16]));
    pictureInfo.xPixelsPerMeter = std::max(0, signedAt(24));
    pictureInfo.yPixelsPerMeter = std::max(0, signedAt(28));
    colorsUsed = Load32(&header[32]);
    switch (compression) {
        case Compression::rgb: break;
        case Compression::bitFields:
        case Compression::alphaBitFields: ReadFields(header); break;
        case Compression::rle4:
        case Compression::rle8: throw std::runtime_error("run-length compressed BMP pictures are not supported");
        default: throw std::runtime_error("its compression is not supported");
    }
}

void BmpReader::SetSize(std::int64_t width, std::int64_t height) {
    topDown = height < 0;
    height = topDown ? -height : height;
    if (width < 1 || height < 1 || height > INT32_MAX) throw std::runtime_error("its size is out of range");
    pictureInfo.width = static_cast<int>(width);
    pictureInfo.height = static_cast<int>(height);
}

/// The masks are the header's next fields, or follow the header if it is too short to have them.
void BmpReader::ReadFields(const std::vector<std::uint8_t>& header) {
    const bool inHeader = headerBytes >= kMaskHeaderBytes;
    const bool withAlpha = inHeader ? headerBytes >= kAlphaHeaderBytes : compression == Compression::alphaBitFields;
    std::array<std::uint8_t, 16> masks{};
    const std::size_t maskBytes = withAlpha ? 16 : 12;
    if (inHeader) {
        std::memcpy(masks.data(), &header[kInfoHeaderBytes], maskBytes);
    } else {
        source.ReadExactly(masks.data(), maskBytes);
    }
    red = Field(Load32(&masks[0]));
    green = Field(Load32(&masks[4]));
    blue = Field(Load32(&masks[8]));
    alpha = Field(Load32(&masks[12]));
}

void BmpReader::ChooseFormat() {
    if (HasFields() && bitCount != 16 && bitCount != 32) throw std::runtime_error("its bit masks fit no pixel");
    switch (bitCount) {
        case 1: pictureInfo.format = shr::INDEXED_1; break;
        case 4: pictureInfo.format = shr::INDEXED_4; break;
        case 8: pictureInfo.format = shr::INDEXED_8; break;
        case 16:
        case 24: pictureInfo.format = shr::BGR_24; break;
        case 32: pictureInfo.format = shr::BGRX_32; break;
        default: throw std::runtime_error(std::to_string(bitCount) + " bits a pixel are not supported");
    }
    if (alpha.mask != 0) pictureInfo.format = shr::BGRA_32;
    if (bitCount == 16 && !HasFields()) {
        red = Field(0x7C00);
        green = Field(0x03E0);
        blue = Field(0x001F);
    }
    plain32 = bitCount == 32 && (!HasFields() || (red.mask == 0xFF0000 && green.mask == 0xFF00 && blue.mask == 0xFF &&
                                                  (alpha.mask == 0 || alpha.mask == 0xFF000000)));
    if (bitCount <= 8) ReadColorTable();
}

void BmpReader::ReadColorTable() {
    const std::uint32_t room = 1u << bitCount;
    const std::size_t entryBytes = headerBytes == kCoreHeaderBytes ? 3 : 4;
    const std::uint32_t count = colorsUsed == 0 ? room : std::min(colorsUsed, room);
    std::vector<std::uint8_t> entries(count * entryBytes);
    source.Seek(kFileHeaderBytes + headerBytes);
    source.ReadExactly(entries.data(), entries.size());
    for (std::size_t i = 0; i < entries.size(); i += entryBytes) {
        pictureInfo.colorTable.emplace_back(entries[i + 2], entries[i + 1], entries[i]);
    }
}

void BmpReader::ReadInto(TileRows& rows, shr::IProgress& progress) {
    const int height = pictureInfo.height;
    std::vector<std::uint8_t> raw((static_cast<std::size_t>(pictureInfo.width) * static_cast<unsigned>(bitCount) + 31) /
                                  32 * 4);
    pixels.resize(shr::RowBytes(static_cast<std::uint64_t>(pictureInfo.width), pictureInfo.format));
    source.Seek(bitsOffset);
    for (int i = 0; i < height; ++i) {
        progress.SetProgress(static_cast<double>(i) / height);
        source.ReadExactly(raw.data(), raw.size());
        rows.Store(0, topDown ? i : height - 1 - i, pictureInfo.width, Converted(raw.data()), nullptr);
    }
}

/// The row in the bitmap's format.
const std::uint8_t* BmpReader::Converted(const std::uint8_t* raw) {
    if (bitCount != 16 && bitCount != 32) return raw;
    const std::size_t step = static_cast<std::size_t>(shr::ColorFmtToBPP[pictureInfo.format]) / 8;
    const auto count = static_cast<std::size_t>(pictureInfo.width);
    std::uint8_t* destination = pixels.data();
    if (plain32) {
        std::memcpy(destination, raw, 4 * count);
        if (pictureInfo.format == shr::BGRX_32) {
            for (std::size_t x = 0; x < count; ++x) destination[4 * x + 3] = 0;
        }
        return destination;
    }
    for (std::size_t x = 0; x < count; ++x, destination += step) {
        const std::uint32_t pixel = bitCount == 16 ? Load16(raw + 2 * x) : Load32(raw + 4 * x);
        destination[0] = blue.Of(pixel);
        destination[1] = green.Of(pixel);
        destination[2] = red.Of(pixel);
        if (step == 4) destination[3] = alpha.Of(pixel);
    }
    return pixels.data();
}

}  // namespace

std::unique_ptr<PictureReader> OpenBmp(PictureSource& source, Notes& /*notes*/) {
    return std::make_unique<BmpReader>(source);
}

}  // namespace tool
