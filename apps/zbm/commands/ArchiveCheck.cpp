// The archive of a bitmap, as it is laid out: format information, u16 version 1, then the tiles' records row by row.
// That of a bitmap with reductions: u16 version 1, the archive of the image, u32 whether reductions follow, and if so
// u32 how many, and the archive of each. All numbers are little-endian.
#include "commands/ArchiveCheck.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "commands/MemoryLimit.h"
#include "pictures/RowConversion.h"
#include "shr/Color4b.h"
#include "zcdl/Codec.h"

namespace tool {

namespace {

[[noreturn]] void RefuseForeign() { throw std::runtime_error("is no archive of a bitmap"); }
[[noreturn]] void RefuseDamaged() { throw std::runtime_error("the archive is damaged"); }

class ArchiveWalk {
public:
    ArchiveWalk(shr::CBufferedFile& archiveFile, shr::IProgress& target)
        : file(archiveFile), length(archiveFile.GetLength()), progress(target) {}

    ArchiveKind Walk() {
        const shr::CScopedIProgressTask task(&progress, L"Checking archive...");
        const ArchiveKind kind = FindKind();
        WalkBitmap();
        if (kind == ArchiveKind::plain || Number32() == 0) return kind;
        for (std::uint32_t levels = Number32(); levels > 0; --levels) WalkBitmap();
        return kind;
    }

private:
    /// Leaves the file at the image's archive. What begins like one kind cannot begin like the other: the format of a
    /// bitmap would be one of the other's sizes, times 65536.
    ArchiveKind FindKind() {
        if (IsBitmapAt(0)) return ArchiveKind::plain;
        if (!IsBitmapAt(sizeof(std::uint16_t))) RefuseForeign();
        return ArchiveKind::withReductions;
    }
    bool IsBitmapAt(std::int64_t position) {
        file.Seek(position);
        const bool isBitmap = ReadShape();
        file.Seek(position);
        return isBitmap;
    }

    void WalkBitmap() {
        ReadFormat();
        RefuseBeyondMemory(shape, 0);
        if (Number16() != 1) RefuseDamaged();
        for (int top = 0; top < shape.height; top += std::min(shape.tileHeight, shape.height - top)) {
            for (int left = 0; left < shape.width; left += std::min(shape.tileWidth, shape.width - left)) {
                CheckTile(std::min(shape.tileWidth, shape.width - left),
                          std::min(shape.tileHeight, shape.height - top));
            }
            progress.SetProgress(static_cast<double>(top) / shape.height);
        }
    }

    bool ReadShape();
    void ReadFormat();
    void CheckTile(int width, int height);
    void CheckBlock(std::uint64_t byteCount);

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
    shr::IProgress& progress;
    BitmapShape shape{};
    zcdl::CDecode decoder;
    std::vector<std::uint8_t> decoded;
};

/// The version and the numbers before the resolutions; false if they are none of a bitmap.
bool ArchiveWalk::ReadShape() {
    if (Number16() != 1) return false;
    shape.height = Int32();
    shape.width = Int32();
    shape.format = static_cast<shr::ColorFormat>(Int32());
    shape.tileHeight = Int32();
    shape.tileWidth = Int32();
    return shape.height >= 0 && shape.width >= 0 && shr::IsColorFormat(shape.format) && shape.tileHeight >= 1 &&
           shape.tileWidth >= 1;
}

void ArchiveWalk::ReadFormat() {
    if (!ReadShape()) RefuseDamaged();
    Int32();  // the resolutions may be anything
    Int32();
    const std::uint32_t colors = Number32();
    if (colors > 256) RefuseDamaged();
    std::uint8_t table[256 * sizeof(shr::Color4b)];
    Take(table, colors * sizeof(shr::Color4b));
}

void ArchiveWalk::CheckTile(int width, int height) {
    const bool fits = Number16() == 1 && Int32() == width && Int32() == height && Int32() == shape.format;
    if (!fits) RefuseDamaged();
    const auto columns = static_cast<std::uint64_t>(width), rows = static_cast<std::uint64_t>(height);
    CheckBlock(shr::RowBytes(columns, shape.format) * rows);
    if (HasMask(shape.format)) CheckBlock(shr::RowBytes(columns, shr::GRAYSCALE_1) * rows);
}

void ArchiveWalk::CheckBlock(std::uint64_t byteCount) {
    const std::uint32_t encodedBytes = Number32();
    if (byteCount > UINT32_MAX || encodedBytes < zcdl::MinEncodedSize(byteCount) ||
        encodedBytes > zcdl::MaxEncodedSize(byteCount)) {
        RefuseDamaged();
    }
    if (static_cast<std::int64_t>(encodedBytes) > length - file.GetPosition()) {
        throw std::runtime_error("the archive ends too early");
    }
    decoder.SetEncodeBufferSize(encodedBytes);
    Take(decoder.GetEncodeBuffer(), encodedBytes);
    if (decoded.size() < byteCount) decoded.resize(byteCount);
    if (!decoder.Decode(decoded.data(), byteCount)) RefuseDamaged();
}

}  // namespace

ArchiveKind CheckArchive(shr::CBufferedFile& file, shr::IProgress& progress) {
    return ArchiveWalk(file, progress).Walk();
}

}  // namespace tool
