// The format information with which every stored bitmap begins: u16 version 1; i32 pixel height, pixel width, format,
// tile height, tile width, x and y resolution; u32 number of colours; the colours.
#include "core/ArchiveValues.h"
#include "core/TileRecord.h"
#include "core/checks/BitmapChecks.h"
#include "shr/ScopeExit.h"
#include "zbm/ISerializeLegacyGCS.h"
#include "zbm/ZBitmap.h"

namespace zbm {

namespace {

/// The tiles of a picture's side: full ones, and the size of the last one if it is smaller (else 0).
struct Side {
    int full, rest;
    Side(int pixels, int tile) : full(pixels / tile), rest(pixels % tile) {}
    double Count() const { return static_cast<double>(full) + (rest > 0 ? 1 : 0); }
};

/// Whether the rest of the archive can hold the records of all tiles of such a picture. Where the archive does not tell
/// how much is left, up to 2^20 tiles (a picture of half a million pixels a side) are believed.
bool CanHoldTiles(SerializeIO& io, int height, int width, shr::ColorFormat format, int tileHeight, int tileWidth) {
    constexpr double kBelievedTiles = 1 << 20;
    const Side down(height, tileHeight), across(width, tileWidth);
    const auto remaining = io.RemainingBytes();
    if (!remaining) return down.Count() * across.Count() <= kBelievedTiles && down.Count() <= kBelievedTiles;

    const auto bytes = [&](int w, int h) {
        return w == 0 || h == 0 ? 0.0 : static_cast<double>(MinRecordBytes(TilePlanes(w, h, format)));
    };
    const double needed = bytes(tileWidth, tileHeight) * across.full * down.full +
                          bytes(across.rest, tileHeight) * down.full + bytes(tileWidth, down.rest) * across.full +
                          bytes(across.rest, down.rest);
    // Rows without tiles (a width of 0) have no records that would bound them.
    return needed <= static_cast<double>(*remaining) && (across.Count() > 0 || down.Count() <= kBelievedTiles);
}

}  // namespace

void ZBitmap::SerializeFormatInfo(SerializeIO& io, ISerializeLegacyGCS* legacy) {
    if (!io.IsStoring()) return LoadFormatInfo(io, legacy);
    require(legacy == nullptr, BitmapCheck::legacyWhenStoring);
    StoreFormatInfo(io);
}

void ZBitmap::StoreFormatInfo(SerializeIO& io) const {
    io.WriteObjVersion(1);
    for (const std::int32_t value : {pixelHeight, pixelWidth, static_cast<std::int32_t>(colorFormat), scanRectHeight,
                                     scanRectWidth, xResolution, yResolution})
        WriteI32(io, value);
    WriteU32(io, numColorTableItems);
    io.Write(reinterpret_cast<const unsigned char*>(colorTable), numColorTableItems * sizeof(shr::Color4b));
}

void ZBitmap::LoadFormatInfo(SerializeIO& io, ISerializeLegacyGCS* legacy) {
    shr::ScopeExit leaveEmpty([this] { Free(); });
    if (io.ReadObjVersion() != 1) {
        leaveEmpty.Release();  // nothing of it was read, so the bitmap stays as it was
        require.Fail(BitmapCheck::formatInfoVersion);
    }
    const int height = ReadI32(io), width = ReadI32(io);
    const auto format = static_cast<shr::ColorFormat>(ReadI32(io));
    const int tileHeight = ReadI32(io), tileWidth = ReadI32(io);
    if (legacy != nullptr) legacy->SerializeGCS(io.GetInterface());

    const bool valid = height >= 0 && width >= 0 && tileHeight >= 1 && tileWidth >= 1 && shr::IsColorFormat(format);
    if (valid && !CanHoldTiles(io, height, width, format, tileHeight, tileWidth))
        require.Fail(BitmapCheck::archivedTiles);
    ZBitmap::Init(height, width, format, tileHeight, tileWidth);  // raises its own errors for values that are not valid

    xResolution = ReadI32(io);
    yResolution = ReadI32(io);
    const std::uint32_t count = ReadU32(io);
    if (count > static_cast<std::uint32_t>(shr::ColorFmtToTblSize[colorFormat]))
        require.Fail(BitmapCheck::archivedColorCount);
    numColorTableItems = count;
    io.Read(reinterpret_cast<unsigned char*>(colorTable), count * sizeof(shr::Color4b));
    leaveEmpty.Release();
}

}  // namespace zbm
