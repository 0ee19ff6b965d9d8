// The archive of a bitmap, as it is laid out: format information, u16 version 1, then the tiles' records row by row.
// That of a bitmap with reductions: u16 version 1, the archive of the image, u32 whether reductions follow, and if so
// u32 how many, and the archive of each. A store, of a bitmap in a file, is format information and the tiles' records,
// without a version of its own. The archive of such a bitmap: u16 version 1, format information, the store, and
// reductions as above, each the archive of a level: u16 version 1, a store. All numbers are little-endian.
#include "commands/ArchiveSurvey.h"

#include <algorithm>
#include <initializer_list>
#include <stdexcept>

#include "InputFile.h"
#include "pictures/BitmapFacts.h"
#include "pictures/PictureOptions.h"
#include "pictures/RowConversion.h"
#include "shr/Color4b.h"
#include "zcdl/Codec.h"

namespace tool {

namespace {

[[noreturn]] void RefuseForeign() { throw std::runtime_error("is no archive of a bitmap"); }
[[noreturn]] void RefuseDamaged() { throw std::runtime_error("the archive is damaged"); }

/// A block of a tile: its pixels or its mask.
struct Block {
    bool isOfImage, isMask;
    shr::ColorFormat format;  // of its rows
    int width, height;

    std::uint64_t RowBytes() const { return shr::RowBytes(static_cast<std::uint64_t>(width), format); }
    std::uint64_t Bytes() const { return RowBytes() * static_cast<std::uint64_t>(height); }
};

/// What is done on the way with what is found.
class Surveyor {
public:
    /// Raises std::runtime_error for a bitmap that is not to be gone through.
    virtual void Judge(const ArchivedBitmap& bitmap) = 0;
    /// Whether the block is to be decoded and taken.
    virtual bool Wants(const Block& block) const = 0;
    virtual void Take(const Block& block, const std::uint8_t* bytes) = 0;

protected:
    ~Surveyor() = default;
};

class ArchiveWalk {
public:
    ArchiveWalk(shr::CBufferedFile& archiveFile, Surveyor& target, shr::IProgress& progressTarget)
        : file(archiveFile), length(archiveFile.GetLength()), surveyor(target), progress(progressTarget) {}

    ArchiveSurvey Walk() {
        const shr::CScopedIProgressTask task(&progress, L"Checking archive...");
        survey.kind = FindKind();
        if (survey.kind != ArchiveKind::plain) Number16();
        if (survey.kind == ArchiveKind::file) ReadFormat();
        WalkBitmap();
        const bool mayHaveReductions = survey.kind == ArchiveKind::withReductions || survey.kind == ArchiveKind::file;
        survey.storesReductions = mayHaveReductions && Number32() != 0;
        if (survey.storesReductions) WalkReductions();
        survey.fileBytes = static_cast<std::uint64_t>(length);
        survey.bytesAfterArchive = static_cast<std::uint64_t>(length - file.GetPosition());
        return std::move(survey);
    }

private:
    bool IsStored() const { return survey.kind == ArchiveKind::file || survey.kind == ArchiveKind::level; }

    /// Leaves the file at its start. What begins like a bitmap in memory cannot begin like another: the format of a
    /// bitmap would be one of the other's sizes, times 65536.
    ArchiveKind FindKind() {
        ArchiveKind kind = ArchiveKind::plain;
        if (!IsBitmapAt(0)) {
            if (!IsBitmapAt(sizeof(std::uint16_t))) RefuseForeign();
            kind = KindBehindVersion();
        }
        file.Seek(0);
        return kind;
    }
    ArchiveKind KindBehindVersion();
    bool IsBitmapAt(std::int64_t position) {
        file.Seek(position);
        const bool isBitmap = ReadShape();
        file.Seek(position);
        return isBitmap;
    }

    void WalkReductions() {
        constexpr std::uint32_t kMostReductions = 31;  // of a picture of 2^31 pixels a side
        const std::uint32_t count = Number32();
        if (count > kMostReductions) RefuseDamaged();
        for (std::uint32_t i = 0; i < count; ++i) {
            if (IsStored() && Number16() != 1) RefuseDamaged();
            WalkBitmap();
            if (survey.bitmaps.back().IsEmpty()) RefuseDamaged();
        }
    }

    void WalkBitmap() {
        ReadFormat();
        surveyor.Judge(bitmap);
        if (!IsStored() && Number16() != 1) RefuseDamaged();
        bitmap.tilesAt = file.GetPosition();
        survey.bitmaps.push_back(bitmap);
        if (!bitmap.IsEmpty()) WalkTiles();
    }
    void WalkTiles() {
        const BitmapShape& shape = bitmap.shape;
        for (int top = 0; top < shape.height; top += std::min(shape.tileHeight, shape.height - top)) {
            for (int left = 0; left < shape.width; left += std::min(shape.tileWidth, shape.width - left)) {
                WalkTile(std::min(shape.tileWidth, shape.width - left), std::min(shape.tileHeight, shape.height - top));
            }
            progress.SetProgress(static_cast<double>(top) / shape.height);
        }
    }

    bool ReadShape();
    void ReadFormat();
    void WalkTile(int width, int height);
    void WalkBlock(const Block& block);
    void Decode(const Block& block, std::uint32_t encodedBytes);

    std::uint16_t Number16() { return LittleEndian<std::uint16_t>(); }
    std::uint32_t Number32() { return LittleEndian<std::uint32_t>(); }
    int Int32() { return static_cast<std::int32_t>(Number32()); }

    template <class Number>
    Number LittleEndian() {
        std::uint8_t bytes[sizeof(Number)];
        Take(bytes, sizeof bytes);
        std::uint32_t value = 0;
        for (std::size_t i = sizeof bytes; i-- > 0;) value = value << 8 | bytes[i];
        return static_cast<Number>(value);
    }
    void Take(std::uint8_t* destination, std::size_t byteCount) {
        if (file.Read(destination, byteCount) != byteCount) throw std::runtime_error("the archive ends too early");
    }

    shr::CBufferedFile& file;
    const std::int64_t length;
    Surveyor& surveyor;
    shr::IProgress& progress;
    ArchiveSurvey survey;
    ArchivedBitmap bitmap;
    zcdl::CDecode decoder;
    std::vector<std::uint8_t> decoded;
};

/// The version and the numbers before the resolutions; false if they are none of a bitmap.
bool ArchiveWalk::ReadShape() {
    BitmapShape& shape = bitmap.shape;
    if (Number16() != 1) return false;
    shape.height = Int32();
    shape.width = Int32();
    shape.format = static_cast<shr::ColorFormat>(Int32());
    shape.tileHeight = Int32();
    shape.tileWidth = Int32();
    return shape.height >= 0 && shape.width >= 0 && shr::IsColorFormat(shape.format) && shape.tileHeight >= 1 &&
           shape.tileWidth >= 1;
}

/// The image's format information is followed by that of its store, which is the same; by a tile; or by a version and
/// a tile, whose format would be its height, times 65536.
ArchiveKind ArchiveWalk::KindBehindVersion() {
    ReadFormat();
    const BitmapShape image = bitmap.shape;
    const auto isNext = [&, at = file.GetPosition()](std::initializer_list<int> numbers) {
        file.Seek(at);
        return length - at >= std::int64_t{2} + 4 * static_cast<std::int64_t>(numbers.size()) && Number16() == 1 &&
               std::all_of(numbers.begin(), numbers.end(), [&](int number) { return Int32() == number; });
    };
    if (isNext({image.height, image.width, image.format, image.tileHeight, image.tileWidth})) return ArchiveKind::file;
    const int width = std::min(image.tileWidth, image.width), height = std::min(image.tileHeight, image.height);
    return isNext({width, height, image.format}) ? ArchiveKind::level : ArchiveKind::withReductions;
}

void ArchiveWalk::ReadFormat() {
    if (!ReadShape()) RefuseDamaged();
    bitmap.xPixelsPerMeter = Int32();
    bitmap.yPixelsPerMeter = Int32();
    const std::uint32_t colors = Number32();
    if (colors > 256) RefuseDamaged();
    std::uint8_t table[256 * sizeof(shr::Color4b)];
    Take(table, colors * sizeof(shr::Color4b));
    bitmap.colors.resize(colors);
    for (std::size_t i = 0; i < colors; ++i)
        bitmap.colors[i] = {table[4 * i], table[4 * i + 1], table[4 * i + 2], table[4 * i + 3]};
}

void ArchiveWalk::WalkTile(int width, int height) {
    const shr::ColorFormat format = bitmap.shape.format;
    const bool isOfImage = survey.bitmaps.size() == 1;
    const bool fits = Number16() == 1 && Int32() == width && Int32() == height && Int32() == format;
    if (!fits) RefuseDamaged();
    WalkBlock({isOfImage, false, format, width, height});
    if (HasMask(format)) WalkBlock({isOfImage, true, shr::GRAYSCALE_1, width, height});
}

void ArchiveWalk::WalkBlock(const Block& block) {
    const std::uint32_t encodedBytes = Number32();
    const std::uint64_t byteCount = block.Bytes();
    if (byteCount > UINT32_MAX || encodedBytes < zcdl::MinEncodedSize(byteCount) ||
        encodedBytes > zcdl::MaxEncodedSize(byteCount)) {
        RefuseDamaged();
    }
    if (static_cast<std::int64_t>(encodedBytes) > length - file.GetPosition()) {
        throw std::runtime_error("the archive ends too early");
    }
    if (surveyor.Wants(block))
        Decode(block, encodedBytes);
    else
        file.Seek(file.GetPosition() + encodedBytes);
}

void ArchiveWalk::Decode(const Block& block, std::uint32_t encodedBytes) {
    RefuseBeyondMemory({block.width, block.height, block.format, block.width, block.height}, encodedBytes);
    const std::uint64_t byteCount = block.Bytes();
    decoder.SetEncodeBufferSize(encodedBytes);
    Take(decoder.GetEncodeBuffer(), encodedBytes);
    if (decoded.size() < byteCount) decoded.resize(byteCount);
    if (!decoder.Decode(decoded.data(), byteCount)) RefuseDamaged();
    surveyor.Take(block, decoded.data());
}

class LoadingSurveyor final : public Surveyor {
public:
    explicit LoadingSurveyor(std::optional<std::uint64_t> mostPixelsEach) : mostPixels(mostPixelsEach) {}
    void Judge(const ArchivedBitmap& bitmap) override {
        BitmapShape tile = bitmap.shape;
        RefuseTooManyPixels(tile.width, tile.height, mostPixels);
        tile.width = std::min(tile.width, tile.tileWidth);
        tile.height = std::min(tile.height, tile.tileHeight);
        if (!bitmap.IsEmpty()) RefuseBeyondMemory(tile, 0);
    }
    bool Wants(const Block&) const override { return false; }  // loading tells of damaged blocks
    void Take(const Block&, const std::uint8_t*) override {}

private:
    std::optional<std::uint64_t> mostPixels;
};

/// Looks for the first transparent pixel of the image.
class InfoSurveyor final : public Surveyor {
public:
    bool HasFound() const noexcept { return hasFound; }
    void Judge(const ArchivedBitmap&) override {}
    bool Wants(const Block& block) const override {
        const bool tells = block.isMask || !HasMask(block.format);
        return tells && block.isOfImage && !hasFound;
    }
    void Take(const Block& block, const std::uint8_t* bytes) override {
        for (int y = 0; y < block.height && !hasFound; ++y, bytes += block.RowBytes()) {
            hasFound = block.isMask ? HasClearBit(bytes, block.width) : HasAlphaBelowFull(bytes, block.width);
        }
    }

private:
    bool hasFound = false;
};

ArchiveSurvey Survey(shr::CBufferedFile& file, Surveyor& surveyor, shr::IProgress& progress) {
    if (file.GetLength() == 0) throw std::runtime_error(kFileIsEmpty);
    return ArchiveWalk(file, surveyor, progress).Walk();
}

}  // namespace

ArchiveSurvey SurveyForLoading(shr::CBufferedFile& file, std::optional<std::uint64_t> mostPixels,
                               shr::IProgress& progress) {
    LoadingSurveyor surveyor(mostPixels);
    return Survey(file, surveyor, progress);
}

ArchiveSurvey SurveyForInfo(shr::CBufferedFile& file, shr::IProgress& progress) {
    InfoSurveyor surveyor;
    ArchiveSurvey survey = Survey(file, surveyor, progress);
    survey.hasTransparentPixels = surveyor.HasFound();
    return survey;
}

}  // namespace tool
