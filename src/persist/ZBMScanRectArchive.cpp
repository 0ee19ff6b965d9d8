// A tile's record in an archive: u16 version 1, i32 width, height and format, the pixels as one compressed block, and
// for a format without alpha channel the mask as a second one.
#include "core/ArchiveValues.h"
#include "core/TileRecord.h"
#include "core/checks/ScanRectChecks.h"
#include "zbm/SerializeIO.h"

namespace zbm {

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

/// A tile that is already of the record's shape keeps its memory. A record that is not of `place`'s shape, or that the
/// rest of the archive cannot back, is refused before it sizes anything.
bool ZScanRect::Load(SerializeIO& io, const Place* place) {
    if (io.ReadObjVersion() != 1) return false;
    const int newWidth = ReadI32(io), newHeight = ReadI32(io);
    const auto newFormat = static_cast<shr::ColorFormat>(ReadI32(io));
    require(newHeight >= 1 && newWidth >= 1, ScanRectCheck::size);
    require(shr::IsColorFormat(newFormat), ScanRectCheck::formatRange);
    require(place == nullptr || *place == Place{newWidth, newHeight, newFormat}, ScanRectCheck::recordPlace);

    const TilePlanes planes(newWidth, newHeight, newFormat);
    require(CanBeFramed(planes), ScanRectCheck::recordBlocks);
    const auto remaining = io.RemainingBytes();
    require(!remaining || zcdl::MinEncodedSize(planes.pixelBytes) <= *remaining, ScanRectCheck::recordLength);

    if (!IsShapedAs(newWidth, newHeight, newFormat)) Create(newWidth, newHeight, newFormat);
    io.ReadCompressed(pixels.Data(), static_cast<unsigned>(pixels.Size()));
    if (!alpha.IsEmpty()) io.ReadCompressed(alpha.Data(), static_cast<unsigned>(alpha.Size()));
    return true;
}

}  // namespace zbm
