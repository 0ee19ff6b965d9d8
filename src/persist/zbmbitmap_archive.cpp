// The format information with which every stored bitmap begins: u16 version 1; i32 pixel height, pixel width, format,
// tile height, tile width, x and y resolution; u32 number of colours; the colours.
#include <iterator>

#include "core/ArchiveGrid.h"
#include "core/ArchiveValues.h"
#include "core/checks/BitmapChecks.h"
#include "shr/ScopeExit.h"
#include "zbm/ISerializeLegacyGCS.h"
#include "zbm/ZBitmap.h"

namespace zbm {

void ZBitmap::SerializeFormatInfo(SerializeIO& io, ISerializeLegacyGCS* legacy) {
    if (!io.IsStoring()) return LoadFormatInfo(io, legacy, UnprovenGrid::laidOut);
    require(legacy == nullptr, BitmapCheck::legacyWhenStoring);
    StoreFormatInfo(io);
}

void ZBitmap::StoreFormatInfo(SerializeIO& io) const {
    require(colorFormat != shr::FORMAT_NONE, BitmapCheck::storedFormat);
    io.WriteObjVersion(1);
    for (const std::int32_t value : {pixelHeight, pixelWidth, static_cast<std::int32_t>(colorFormat), scanRectHeight,
                                     scanRectWidth, xResolution, yResolution})
        WriteI32(io, value);
    WriteU32(io, numColorTableItems);
    io.Write(reinterpret_cast<const unsigned char*>(colorTable), numColorTableItems * sizeof(shr::Color4b));
}

void ZBitmap::LoadFormatInfo(SerializeIO& io, ISerializeLegacyGCS* legacy, UnprovenGrid unproven) {
    shr::ScopeExit leaveEmpty([this] { Free(); });
    const bool known = io.ReadObjVersion() == 1;
    leaveEmpty.Release();  // nothing of an unknown one is read, so the bitmap stays as it was
    require(known, BitmapCheck::formatInfoVersion);
    LoadFormatValues(io, legacy, unproven, nullptr);
}

void ZBitmap::LoadFormatValues(SerializeIO& io, ISerializeLegacyGCS* legacy, UnprovenGrid unproven,
                               const ZBitmap* described) {
    shr::ScopeExit leaveEmpty([this] { Free(); });
    const int height = ReadI32(io), width = ReadI32(io);
    const std::int32_t statedFormat = ReadI32(io);
    require(!IsOutOfStep(statedFormat), BitmapCheck::archivedClass);
    const auto format = static_cast<shr::ColorFormat>(statedFormat);
    const int tileHeight = ReadI32(io), tileWidth = ReadI32(io);
    if (legacy != nullptr) legacy->SerializeGCS(io.GetInterface());

    const auto requireAsDescribed = [&](const auto& isAlike) {
        require(described == nullptr || isAlike(*described), BitmapCheck::archivedTwice);
    };
    requireAsDescribed([&](const ZBitmap& other) {
        return height == other.pixelHeight && width == other.pixelWidth && format == other.colorFormat &&
               tileHeight == other.scanRectHeight && tileWidth == other.scanRectWidth;
    });
    InitWithoutLayout(height, width, format, tileHeight, tileWidth);
    const TileGrid grid(height, width, tileHeight, tileWidth);
    const GridClaim claim = Judge(grid, format, io.RemainingBytes());
    const bool laysOut = claim == GridClaim::backed || unproven == UnprovenGrid::laidOut;
    const bool tooLarge = laysOut && claim == GridClaim::unproven && grid.Tiles() > kBelievedTiles;
    require(claim != GridClaim::impossible && !tooLarge, BitmapCheck::archivedTiles);
    if (laysOut) CreateScanRectLayout(tileHeight, tileWidth);

    xResolution = ReadI32(io);
    yResolution = ReadI32(io);
    const std::uint32_t count = ReadU32(io);
    require(count <= std::size(colorTable), BitmapCheck::archivedColorCount);
    requireAsDescribed([&](const ZBitmap& other) { return count == other.numColorTableItems; });
    numColorTableItems = count;
    io.Read(reinterpret_cast<unsigned char*>(colorTable), count * sizeof(shr::Color4b));
    leaveEmpty.Release();
}

}  // namespace zbm
