#pragma once
#include <cstdint>
#include <vector>

#include "gdi/gdi.h"
#include "shr/ByteBuffer.h"
#include "shr/ColorFormat.h"
#include "zbm/Export.h"

namespace shr {
class CBufferedFile;
class CDib;
struct Color4b;
}  // namespace shr

namespace zbm {

class SerializeIO;

/// One tile of a bitmap: rows of pixels of one format, and for a format without alpha channel a mask of the same size,
/// one bit per pixel, set where the pixel is opaque.
///
/// Rows of both lie bottom-up in one block each, as in a DIB, padded to 4 bytes: row 0, the top one, is the last in
/// memory. Hence strides are negative; `GetRowPtr(r) + GetStride()` is row r + 1.
///
/// Sizes below 1 raise an internal error at line 342, an unknown format at line 343, and a size that memory cannot hold
/// std::bad_alloc. An operation that fails leaves the tile as it was.
class ZBM_API ZScanRect {
public:
    /// Pixels read as zero, the mask as opaque.
    explicit ZScanRect(int w = 1, int h = 1, shr::ColorFormat format = shr::BGRA_32);
    ZScanRect(const ZScanRect& source);
    ZScanRect& operator=(const ZScanRect& source);
    ~ZScanRect();

    int GetWidth() const noexcept { return width; }
    int GetHeight() const noexcept { return height; }
    shr::ColorFormat GetColorFormat() const noexcept { return colorFormat; }

    /// The first byte of row `row`, 0 being the top one. Not checked.
    std::uint8_t* GetRowPtr(int row) noexcept { return rowPtrs[static_cast<std::size_t>(row)]; }
    const std::uint8_t* GetRowPtr(int row) const noexcept { return rowPtrs[static_cast<std::size_t>(row)]; }
    /// Bytes from a row to the one below: negative.
    int GetStride() const noexcept { return -static_cast<int>(stride); }

    /// The mask's row; null when the format has an alpha channel. Pixel x is bit 0x80 >> (x & 7) of byte x >> 3.
    std::uint8_t* GetAlphaRowPtr(int row) noexcept {
        return alphaRowPtrs.empty() ? nullptr : alphaRowPtrs[static_cast<std::size_t>(row)];
    }
    const std::uint8_t* GetAlphaRowPtr(int row) const noexcept {
        return alphaRowPtrs.empty() ? nullptr : alphaRowPtrs[static_cast<std::size_t>(row)];
    }
    /// Bytes from a mask row to the one below: negative, or 0 without mask.
    int GetAlphaStride() const noexcept { return -alphaStride; }

    /// Fills the tile from the rectangle of its own size whose top-left corner is pixel (x, y), counted from the top,
    /// of a bottom-up DIB. 1, 4 and 8 bits become indexed formats, 16 and 24 bits BGR_24, 32 bits an opaque BGRA_32;
    /// the mask becomes opaque. A colour table is not looked at. The masks of bit fields are read at header + biSize,
    /// for 16 bits only: 5-5-5, or else, whatever they are, 5-6-5; low bits stay zero. 32 bits are B, G, R and a byte.
    /// A rectangle that the DIB does not hold raises an internal error at line 67 (across) or 68 (down; always for a
    /// top-down DIB), another depth at line 333, a compression that is not BI_RGB or BI_BITFIELDS
    /// ERR_ZBM_UNSUPPORTED_DIB_FORMAT.
    void CopyFromDib(const BITMAPINFOHEADER* header, const void* bits, int x, int y);

    /// Makes `dib` of the whole tile, to be drawn: with the resolutions and `numColors` (as biClrUsed) that are given.
    /// Grey formats get a grey table, indexed ones the first `numColors` of `colorTable` (black where it is null), all
    /// others none.
    ///
    /// Formats that a DIB has (1, 4, 8 and 24 bits, BGRX_32) come as they are. The rest come in the order that programs
    /// rely upon: of BGRA_32, RGBA_32 and PBGRA_32 the tile's top row is the DIB's lowest one, so that the picture is
    /// upside down, with 0 in byte 3 (RGBA_32 keeps its alpha there) and premultiplied colours made straight as by
    /// ZBitmap::FetchDib; of GRAYSCALE_16 and GRAYSCALE_32 the lowest row is the tile's lowest, in 8 bits, and all
    /// others are 0. ZBitmap::FetchDib gives every format upright and whole.
    ///
    /// Raises std::invalid_argument for what CDib::Create refuses (2^31 bytes and more, more colours than the depth
    /// has) and std::bad_alloc; `dib` then keeps what it held.
    void GetContents(shr::CDib& dib, int xResolution, int yResolution, const shr::Color4b* colorTable,
                     unsigned numColors);
    /// Makes `dib` of 1 bit a pixel, black where the tile is transparent and white where it is opaque: the mask, or
    /// where alpha is 128 and more. Raises as GetContents does.
    void CreateMonoAlphaMask(shr::CDib& dib) const;

    /// The tile's record in a file: all pixel rows as they lie in memory, then all mask rows if there is a mask. It
    /// describes nothing: Read fills a tile of the size and format with which it was written. The file's errors pass
    /// on; a file that ends too early is one.
    void Write(shr::CBufferedFile& file) const;
    void Read(shr::CBufferedFile& file);

    /// The tile's record in an archive, which holds its size and format. Loading makes the tile what the record says
    /// and raises ERR_ZBM_READ_ARCHIVE for what is no such record, but internal errors, which have no message, for a
    /// record with a size below 1 (line 342) or no format (343); storing raises ERR_ZBM_WRITE_ARCHIVE for a tile too
    /// large to store.
    void Serialize(SerializeIO& io);

protected:
    void Create(int newWidth, int newHeight, shr::ColorFormat newFormat);
    void Free() noexcept;
    void Copy(const ZScanRect& source);
    void SetAlphaToMax() noexcept;
    void UpdateRowPtrs();

private:
    friend class ZBasicMemBitmap;
    friend class ZBitmapCFileStore;
    friend class ZFileBitmap;

    enum class Content { zero, overwritten };  // whether the maker is certain to overwrite all pixels and the mask
    struct ZBM_LOCAL Place;                    // the tile that a loaded record must be

    bool IsShapedAs(int otherWidth, int otherHeight, shr::ColorFormat otherFormat) const noexcept;
    void CreateWith(int newWidth, int newHeight, shr::ColorFormat newFormat, Content content);
    /// Makes the tile as if newly created, in the memory that it has.
    void Renew(Content content) noexcept;
    /// As Read, but only the rows from `begin` to `end`, of a record that begins at `position`.
    void ReadRows(shr::CBufferedFile& file, std::int64_t position, int begin, int end);
    void Store(SerializeIO& io) const;
    /// False, with nothing read but the version, for a record of an unknown version.
    bool Load(SerializeIO& io, const Place* place);

    std::int32_t width = 0;
    std::int32_t height = 0;
    shr::ColorFormat colorFormat = shr::FORMAT_NONE;
    std::uint32_t stride = 0;
    shr::ByteBuffer pixels;
    std::vector<std::uint8_t*> rowPtrs;
    shr::ByteBuffer alpha;
    std::int32_t alphaStride = 0;
    std::vector<std::uint8_t*> alphaRowPtrs;
};

}  // namespace zbm
