#include "zbm/ZScanRect.h"

#include <cstring>
#include <limits>
#include <new>

#include "core/TilePlanes.h"
#include "core/checks/ScanRectChecks.h"
#include "shr/BufferedFile.h"
#include "zbm/ZBMLib2.h"

namespace zbm {

using shr::ByteBuffer;
using shr::ColorFormat;

namespace {

/// Rows bottom-up: the first in the block is the last of the picture.
void PointAtRows(std::vector<std::uint8_t*>& rows, std::uint8_t* block, std::size_t rowBytes) {
    for (std::size_t row = rows.size(); row-- > 0; block += rowBytes) rows[row] = block;
}

}  // namespace

ZScanRect::ZScanRect(int w, int h, ColorFormat format) { Create(w, h, format); }

ZScanRect::ZScanRect(const ZScanRect& source) { Copy(source); }

ZScanRect& ZScanRect::operator=(const ZScanRect& source) {
    if (this != &source) Copy(source);
    return *this;
}

ZScanRect::~ZScanRect() { Free(); }

bool ZScanRect::IsShapedAs(int otherWidth, int otherHeight, ColorFormat otherFormat) const noexcept {
    return width == otherWidth && height == otherHeight && colorFormat == otherFormat && !pixels.IsEmpty();
}

void ZScanRect::Create(int newWidth, int newHeight, ColorFormat newFormat) {
    CreateWith(newWidth, newHeight, newFormat, Content::zero);
}

/// Makes everything aside first, and the planes before the row tables, which are written at once; what commits cannot
/// fail.
void ZScanRect::CreateWith(int newWidth, int newHeight, ColorFormat newFormat, Content content) {
    require(newHeight >= 1 && newWidth >= 1, ScanRectCheck::size);
    require(shr::IsColorFormat(newFormat), ScanRectCheck::formatRange);
    const TilePlanes planes(newWidth, newHeight, newFormat);
    // GetStride gives the row's bytes as an int.
    if (planes.stride > std::numeric_limits<std::int32_t>::max()) throw std::bad_alloc();
    const bool masked = planes.alphaBytes != 0;
    const auto rows = static_cast<std::size_t>(newHeight);

    ByteBuffer newPixels =
        content == Content::zero ? ByteBuffer::Zeroed(planes.pixelBytes) : ByteBuffer::Uninitialized(planes.pixelBytes);
    ByteBuffer newAlpha;
    if (masked) newAlpha = ByteBuffer::Uninitialized(planes.alphaBytes);
    std::vector<std::uint8_t*> newRowPtrs(rows), newAlphaRowPtrs(masked ? rows : 0);

    width = newWidth;
    height = newHeight;
    colorFormat = newFormat;
    stride = static_cast<std::uint32_t>(planes.stride);
    alphaStride = static_cast<std::int32_t>(planes.alphaStride);
    pixels = std::move(newPixels);
    alpha = std::move(newAlpha);
    rowPtrs.swap(newRowPtrs);
    alphaRowPtrs.swap(newAlphaRowPtrs);
    UpdateRowPtrs();
    if (content == Content::zero) SetAlphaToMax();
}

/// Rows of whole words have no padding, so that nothing stays of what was there once all pixels are overwritten.
void ZScanRect::Renew(Content content) noexcept {
    constexpr int kPixelsOfWholeWords = 32;
    if (content == Content::overwritten && width % kPixelsOfWholeWords == 0) return;
    std::memset(pixels.Data(), 0, pixels.Size());
    SetAlphaToMax();
}

void ZScanRect::Free() noexcept {
    pixels.Free();
    alpha.Free();
}

void ZScanRect::Copy(const ZScanRect& source) {
    if (!IsShapedAs(source.width, source.height, source.colorFormat))
        CreateWith(source.width, source.height, source.colorFormat, Content::overwritten);
    std::memcpy(pixels.Data(), source.pixels.Data(), pixels.Size());
    if (!alpha.IsEmpty()) std::memcpy(alpha.Data(), source.alpha.Data(), alpha.Size());
}

void ZScanRect::SetAlphaToMax() noexcept {
    if (!alpha.IsEmpty()) std::memset(alpha.Data(), 0xFF, alpha.Size());
}

void ZScanRect::UpdateRowPtrs() {
    const auto rows = static_cast<std::size_t>(height);
    rowPtrs.resize(rows);
    PointAtRows(rowPtrs, pixels.Data(), stride);
    alphaRowPtrs.resize(alpha.IsEmpty() ? 0 : rows);
    PointAtRows(alphaRowPtrs, alpha.Data(), static_cast<std::size_t>(alphaStride));
}

void ZScanRect::Write(shr::CBufferedFile& file) const {
    file.Write(pixels.Data(), pixels.Size());
    if (!alpha.IsEmpty()) file.Write(alpha.Data(), alpha.Size());
}

void ZScanRect::Read(shr::CBufferedFile& file) {
    file.ReadExactly(pixels.Data(), pixels.Size());
    if (!alpha.IsEmpty()) file.ReadExactly(alpha.Data(), alpha.Size());
}

/// The last row lies first, in memory and in the file.
void ZScanRect::ReadRows(shr::CBufferedFile& file, std::int64_t position, int begin, int end) {
    const auto readPlane = [&](shr::ByteBuffer& plane, std::size_t rowBytes) {
        const std::size_t offset = rowBytes * static_cast<std::size_t>(height - end);
        file.Seek(position + static_cast<std::int64_t>(offset));
        file.ReadExactly(plane.Data() + offset, rowBytes * static_cast<std::size_t>(end - begin));
    };
    readPlane(pixels, stride);
    position += static_cast<std::int64_t>(pixels.Size());
    if (!alpha.IsEmpty()) readPlane(alpha, static_cast<std::size_t>(alphaStride));
}

}  // namespace zbm
