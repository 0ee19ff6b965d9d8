#include "shr/Dib.h"

#include <cstring>
#include <stdexcept>
#include <utility>

#include "DibLayout.h"

namespace shr {
namespace {

const BITMAPINFOHEADER& HeaderOf(const BITMAPINFO* dib) noexcept { return dib->bmiHeader; }

// Of a header that a CDib holds, so there is one.
DibLayout LayoutOf(const BITMAPINFO* dib) noexcept { return *LayOutDib(HeaderOf(dib)); }

DibLayout LayoutFor(const BITMAPINFOHEADER& header, const RGBQUAD* colors) {
    const std::optional<DibLayout> layout = LayOutDib(header);
    if (!layout) throw std::invalid_argument("CDib::Create: no such DIB");
    if (header.biCompression == BI_BITFIELDS && colors == nullptr)
        throw std::invalid_argument("CDib::Create: bit fields without masks");
    return *layout;
}

void WriteHeaderAndTable(std::uint8_t* block, const DibLayout& layout, const BITMAPINFOHEADER& header,
                         const RGBQUAD* colors) noexcept {
    const BITMAPINFOHEADER complete = CompleteDibHeader(header, layout);
    std::memcpy(block, &complete, sizeof(complete));
    std::uint8_t* const table = block + sizeof(complete);
    if (colors != nullptr)
        std::memcpy(table, colors, layout.tableBytes);
    else
        std::memset(table, 0, layout.tableBytes);
}

ByteBuffer CopyOf(const ByteBuffer& block) {
    ByteBuffer copy = ByteBuffer::Uninitialized(block.Size());
    if (!block.IsEmpty()) std::memcpy(copy.Data(), block.Data(), block.Size());
    return copy;
}

}  // namespace

CDib::CDib() noexcept = default;
CDib::~CDib() = default;
CDib::CDib(const CDib& other) : block(CopyOf(other.block)) {}
CDib::CDib(CDib&&) noexcept = default;
CDib& CDib::operator=(CDib&&) noexcept = default;

CDib& CDib::operator=(const CDib& other) {
    if (this != &other) block = CopyOf(other.block);
    return *this;
}

void CDib::Create(const BITMAPINFOHEADER& header, const RGBQUAD* colors, const void* bits) {
    const DibLayout layout = LayoutFor(header, colors);
    // A new block, since `colors` and `bits` may lie in the present one.
    ByteBuffer created =
        bits == nullptr ? ByteBuffer::Zeroed(layout.totalBytes) : ByteBuffer::Uninitialized(layout.totalBytes);
    WriteHeaderAndTable(created.Data(), layout, header, colors);
    if (bits != nullptr) std::memcpy(created.Data() + layout.bitsOffset, bits, layout.BitsBytes());
    block = std::move(created);
}

void CDib::CreateForOverwrite(const BITMAPINFOHEADER& header, const RGBQUAD* colors) {
    const DibLayout layout = LayoutFor(header, colors);
    if (block.Size() != layout.totalBytes) block = ByteBuffer::Uninitialized(layout.totalBytes);
    WriteHeaderAndTable(block.Data(), layout, header, colors);
}

void CDib::Create(int width, int height, int bitCount, unsigned colorCount, const RGBQUAD* colors, const void* bits,
                  int xResolution, int yResolution) {
    // A depth that 16 bits do not hold must not come out as one that is valid.
    if (bitCount < 0 || bitCount > 32) throw std::invalid_argument("CDib::Create: no such depth");
    BITMAPINFOHEADER header{};
    header.biWidth = width;
    header.biHeight = height;
    header.biBitCount = static_cast<WORD>(bitCount);
    header.biCompression = BI_RGB;
    header.biXPelsPerMeter = xResolution < 0 ? 0 : xResolution;
    header.biYPelsPerMeter = yResolution < 0 ? 0 : yResolution;
    header.biClrUsed = colorCount;
    Create(header, colors, bits);
}

void CDib::Destroy() noexcept { block.Free(); }

const BITMAPINFO* CDib::GetDib() const noexcept { return reinterpret_cast<const BITMAPINFO*>(block.Data()); }

std::size_t CDib::BitsOffset() const noexcept { return LayoutOf(GetDib()).bitsOffset; }

const void* CDib::GetBits() const noexcept { return IsEmpty() ? nullptr : block.Data() + BitsOffset(); }

std::uint8_t* CDib::GetWritableBits() noexcept { return IsEmpty() ? nullptr : block.Data() + BitsOffset(); }

const RGBQUAD* CDib::GetColors() const noexcept {
    if (IsEmpty() || LayoutOf(GetDib()).tableBytes == 0) return nullptr;
    return GetDib()->bmiColors;
}

unsigned CDib::GetNumColors() const noexcept { return IsEmpty() ? 0 : LayoutOf(GetDib()).colors; }

int CDib::GetWidth() const noexcept { return IsEmpty() ? 0 : HeaderOf(GetDib()).biWidth; }

int CDib::GetHeight() const noexcept { return IsEmpty() ? 0 : HeaderOf(GetDib()).biHeight; }

int CDib::GetBitCount() const noexcept { return IsEmpty() ? 0 : HeaderOf(GetDib()).biBitCount; }

int CDib::GetStride() const noexcept { return IsEmpty() ? 0 : static_cast<int>(LayoutOf(GetDib()).stride); }

std::ptrdiff_t CDib::GetPixelOffset(int x, int y) const noexcept {
    return std::ptrdiff_t{y} * GetStride() + std::ptrdiff_t{x} * GetBitCount() / 8;
}

}  // namespace shr
