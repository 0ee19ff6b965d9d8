// A tile's record in an archive: u16 version 1, i32 width, height and format, the pixels as one compressed block, and
// for a format without alpha channel the mask as a second one.
#include "core/ArchiveValues.h"
#include "core/TileRecord.h"
#include "core/checks/ScanRectChecks.h"
#include "zbm/SerializeIO.h"

namespace zbm {

namespace {

/// A block too short for a tile is a damaged one, whose tile reads as zeroes. But few bytes are not taken for the
/// remains of a tile that is far larger than usual, its table of rows included.
bool IsBacked(const TilePlanes& planes, int height, std::uint32_t encodedBytes) {
    constexpr std::uint64_t kUsualBytes = 2 << 20, kRowBytes = 2 * sizeof(void*);
    const std::uint64_t tileBytes =
        planes.pixelBytes + planes.alphaBytes + kRowBytes * static_cast<std::uint64_t>(height);
    return tileBytes <= kUsualBytes || encodedBytes >= zcdl::MinEncodedSize(planes.pixelBytes);
}

}  // namespace

void ZScanRect::Serialize(SerializeIO& io) {
    if (io.IsStoring()) return Store(io);
    require(Load(io, nullptr), ScanRectCheck::recordVersion);
}

void ZScanRect::Store(SerializeIO& io) const {
    require(CanBeFramed(TilePlanes(width, height, colorFormat)), ScanRectCheck::storedBlocks);
    io.WriteObjVersion(1);
    WriteI32(io, width);
    WriteI32(io, height);
    WriteI32(io, colorFormat);
    io.WriteCompressed(pixels.Data(), static_cast<unsigned>(pixels.Size()));
    if (!alpha.IsEmpty()) io.WriteCompressed(alpha.Data(), static_cast<unsigned>(alpha.Size()));
}

/// A tile that is already of the record's shape keeps its memory. What a record is not of `place`'s shape, or cannot be
/// backed by its first block, is refused before it sizes anything.
bool ZScanRect::Load(SerializeIO& io, const Place* place) {
    if (io.ReadObjVersion() != 1) return false;
    const int newWidth = ReadI32(io), newHeight = ReadI32(io);
    const std::int32_t statedFormat = ReadI32(io);
    require(!IsOutOfStep(statedFormat), ScanRectCheck::recordClass);
    const auto newFormat = static_cast<shr::ColorFormat>(statedFormat);
    require(newHeight >= 1 && newWidth >= 1, ScanRectCheck::size);
    require(shr::IsColorFormat(newFormat), ScanRectCheck::formatRange);
    require(place == nullptr || *place == Place{newWidth, newHeight, newFormat}, ScanRectCheck::recordPlace);

    const TilePlanes planes(newWidth, newHeight, newFormat);
    require(CanBeFramed(planes), ScanRectCheck::recordBlocks);
    const std::uint32_t encodedBytes = io.FetchBlock(static_cast<unsigned>(planes.pixelBytes));
    require(IsBacked(planes, newHeight, encodedBytes), ScanRectCheck::recordLength);

    if (!IsShapedAs(newWidth, newHeight, newFormat)) Create(newWidth, newHeight, newFormat);
    io.DecodeBlock(pixels.Data(), static_cast<unsigned>(pixels.Size()));
    if (!alpha.IsEmpty()) io.ReadCompressed(alpha.Data(), static_cast<unsigned>(alpha.Size()));
    return true;
}

}  // namespace zbm
