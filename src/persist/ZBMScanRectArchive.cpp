// A tile's record in an archive: u16 version 1, i32 width, height and format, the pixels as one compressed block, and
// for a format without alpha channel the mask as a second one.
#include <limits>

#include "core/ArchiveValues.h"
#include "core/ScanRectRecord.h"
#include "core/checks/ScanRectChecks.h"
#include "zbm/ZScanRect.h"

namespace zbm {

namespace {

/// The longest block whose encoded form can surely be framed by a 32-bit length.
bool CanBeFramed(std::uint64_t byteCount) {
    return byteCount <= std::numeric_limits<std::uint32_t>::max() &&
           zcdl::MaxEncodedSize(byteCount) <= std::numeric_limits<std::uint32_t>::max();
}

}  // namespace

TilePlanes::TilePlanes(int width, int height, shr::ColorFormat format) {
    const auto w = static_cast<std::uint64_t>(width), h = static_cast<std::uint64_t>(height);
    pixelBytes = shr::RowBytes(w, format) * h;
    maskBytes = shr::ColorFmtHasAlphaChannel[format] ? 0 : shr::RowBytes(w, shr::GRAYSCALE_1) * h;
}

std::uint64_t TilePlanes::MinRecordBytes() const {
    constexpr std::uint64_t kHead = 2 + 3 * 4, kLength = 4;
    const std::uint64_t mask = maskBytes == 0 ? 0 : kLength + zcdl::MinEncodedSize(maskBytes);
    return kHead + kLength + zcdl::MinEncodedSize(pixelBytes) + mask;
}

void ZScanRect::Serialize(SerializeIO& io) {
    if (io.IsStoring()) return Store(io);
    require(Load(io, nullptr), ScanRectCheck::recordVersion);
}

void ZScanRect::Store(SerializeIO& io) const {
    require(CanBeFramed(pixels.Size()) && CanBeFramed(alpha.Size()), ScanRectCheck::storedBlocks);
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
    require(CanBeFramed(planes.pixelBytes) && CanBeFramed(planes.maskBytes), ScanRectCheck::recordBlocks);
    const auto remaining = io.RemainingBytes();
    require(!remaining || zcdl::MinEncodedSize(planes.pixelBytes) <= *remaining, ScanRectCheck::recordLength);

    if (!IsShapedAs(newWidth, newHeight, newFormat)) Create(newWidth, newHeight, newFormat);
    io.ReadCompressed(pixels.Data(), static_cast<unsigned>(pixels.Size()));
    if (!alpha.IsEmpty()) io.ReadCompressed(alpha.Data(), static_cast<unsigned>(alpha.Size()));
    return true;
}

}  // namespace zbm
