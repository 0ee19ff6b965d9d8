#pragma once
#include <cstdint>

#include "gdi/gdi.h"
#include "shr/ByteBuffer.h"
#include "shr/Export.h"
#include "shr/ZString.h"

namespace shr {

/// Owns a packed device-independent bitmap: header, colour table and bits in one block, rows bottom-up, uncompressed,
/// 1, 4, 8, 16, 24 or 32 bits per pixel.
class SHR_API CDib {
public:
    CDib() noexcept;  ///< without a picture
    ~CDib();
    CDib(const CDib&);
    CDib(CDib&&) noexcept;
    CDib& operator=(const CDib&);
    CDib& operator=(CDib&&) noexcept;

    /// Makes the picture that `header` describes; biClrUsed colours are taken from `colors` (black if null) and the
    /// bits from `bits` (rows as in a DIB; zero-filled if null). biClrUsed 0 means the full table of a depth up to 8.
    /// Raises std::invalid_argument for a size below 1 or above 2^31 - 1 bytes, another depth or a compression (BI_RGB
    /// only; with 16 and 32 bits also BI_BITFIELDS, whose three masks `colors` then points at); std::bad_alloc. On an
    /// exception the object keeps what it held.
    void Create(const BITMAPINFOHEADER& header, const RGBQUAD* colors, const void* bits);
    /// The same from single values; a resolution is in pixels per metre, and negative means not known (0 is written).
    void Create(int width, int height, int bitCount, unsigned colorCount, const RGBQUAD* colors, const void* bits,
                int xResolution, int yResolution);
    /// Create without bits, but the bits hold anything: for pixels all of which are written next. Memory of just that
    /// size is used again. `colors` must not lie in this picture.
    void CreateForOverwrite(const BITMAPINFOHEADER& header, const RGBQUAD* colors);
    void Destroy() noexcept;
    bool IsEmpty() const noexcept { return block.Size() == 0; }

    // Of an empty object: null and 0.
    const BITMAPINFO* GetDib() const noexcept;
    const void* GetBits() const noexcept;
    std::uint8_t* GetWritableBits() noexcept;
    const RGBQUAD* GetColors() const noexcept;
    unsigned GetNumColors() const noexcept;
    int GetWidth() const noexcept;
    int GetHeight() const noexcept;
    int GetBitCount() const noexcept;
    /// Bytes from one row to the next in memory (the row above in the picture): always positive.
    int GetStride() const noexcept;
    /// Bytes from the start of the bits to pixel `x` (its first byte) of row `y`, where rows are counted from the
    /// bottom: row 0 is the picture's lowest, and the first in memory.
    std::ptrdiff_t GetPixelOffset(int x, int y) const noexcept;

    /// Reads a .bmp file of those kinds, top-down ones included (turned bottom-up). Raises ERR_SHR_FILE_OPEN,
    /// ERR_SHR_FILE_READ or, for what is no such file, ERR_SHR_BADFILE; the object then keeps what it held.
    void Load(const ZString& fileName);
    /// Writes a .bmp file: a new file beside the old one first, which then takes its place; both are on the device when
    /// the call returns. Raises ERR_SHR_FILE_CREATE or ERR_SHR_FILE_WRITE, and leaves the old file as it was, unless it
    /// was the new name that the device failed to take (see RenameFile).
    void Save(const ZString& fileName) const;

private:
    std::size_t BitsOffset() const noexcept;
    ByteBuffer block;
};

}  // namespace shr
