#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "gdi/gdi.h"
#include "shr/Color4b.h"
#include "shr/ColorFormat.h"
#include "shr/IProgress.h"
#include "shr/TypeInfo.h"
#include "zbm/Export.h"
#include "zbm/ZBMLib2.h"
#include "zbm/ZScanRect.h"

namespace shr {
class CDib;
}
namespace zpixf {
class ZPixFilterBase;
enum class ZPixf3x3Mode : int;
enum class ZPixf5x5Mode : int;
}  // namespace zpixf

namespace zbm {

class ISerializeLegacyGCS;
class SerializeIO;
struct DrawOptions;
struct PixelSurface;
struct SourceArea;

/// A picture as a grid of tiles: the base of every bitmap class.
///
/// Tiles are laid out from the top-left corner; the last column and the last row take the remainders. Every access to
/// pixels follows one protocol:
///
///     ZScanRect& tile = bitmap.LockScanRect(row, col);
///     ...                                               // read or change its rows
///     bitmap.CommitScanRect(row, col);                  // if it was changed
///     bitmap.UnlockScanRect(row, col);
///
/// and a series of changes ends with CommitAll. Rectangles are in pixels, y downwards, left and top inclusive, right
/// and bottom exclusive. Broken preconditions raise internal errors of source file "zbmbitmap". One thread at a time.
///
/// Long operations report to an shr::IProgress, which may be null, and end early when its SetProgress throws
/// shr::AbortException. How that arrives at the caller, of bitmaps in memory and of those in files:
///
/// | operation                                    | arrives as     | left in memory                 | left in a file  |
/// |----------------------------------------------|----------------|--------------------------------|-----------------|
/// | Serialize, storing                           | false          | the bitmap; part of an archive | the same        |
/// | Serialize, loading                           | false          | a bitmap of 1 x 1              | see (1)         |
/// | Create with zeros or from a DIB              | false          | (cannot be cancelled)          | closed, no file |
/// | Create from a bitmap, in its own format      | false          | an empty bitmap                | closed, no file |
/// | Create in another format or at another size  | AbortException | an empty bitmap                | closed, no file |
/// | FilterScanLines, RunFilters, all adjustments | AbortException | the lines written until then   | whole tile rows |
/// | CommitAll                                    | AbortException | the pixels, without reductions | see (2)         |
///
/// (1) A ZCachedBitmap of 1 x 1; any other is closed, and its file what it was, or, where there was none, one of one
/// pixel, or of the picture if only reductions were still to come. (2) The pixels; reductions that were being built are
/// dropped, and those that were being refreshed stay, known to be stale.
///
/// An indexed picture keeps its old colours until its last line is written, so lines written until then have wrong
/// ones. A host's own bitmap class may answer false where these raise; what is built upon it hands that on. So a caller
/// that serves any bitmap looks at both.
class ZBM_API ZBitmap : public shr::CTypedObject {
public:
    // The virtual operations stand in the order of the virtual table, which applications are compiled against.
    ~ZBitmap() override;
    const shr::CTypeInfo* GetTypeId() const override;

    /// Replaces the colour table: `count` colours, the rest of the 256 black. Raises an internal error (line 156) for
    /// more colours than the format's table holds.
    virtual void FillColorTable(const shr::Color4b* colors, unsigned count);
    virtual void SetXResolution(int pixelsPerMeter);
    virtual void SetYResolution(int pixelsPerMeter);

    /// Makes `dib` of a rectangle, with its top row as the picture's: grey formats with a grey table (of more than 8
    /// bits the highest 8), indexed ones with the bitmap's, all others as colours with 0 in byte 3, premultiplied ones
    /// straight (value * 255 / alpha, at most 255; with alpha 0 as they are). What lies outside the bitmap is 0. The
    /// pixels come by FetchRegion.
    ///
    /// Raises internal errors for a negative coordinate (line 220), a width (222) or height (223) below 1 and a bitmap
    /// without format (491), std::invalid_argument for what CDib::Create refuses (2^31 bytes and more, more colours
    /// than the depth has), std::bad_alloc, and what FetchRegion raises, after which `dib` is empty.
    virtual void FetchDib(shr::CDib& dib, const RECT& rect) const;
    virtual void FetchDib(shr::CDib& dib, int x, int y, int w, int h) const;

    /// Copies a rectangle in the bitmap's own format into the caller's rows, `dst` being its top row and `dstStride`
    /// the bytes to the next. What lies outside the bitmap is not written. Raises internal errors for a negative
    /// coordinate (line 519) and for a width (521) or height (522) below 1. Given as a corner and a size, a rectangle
    /// may end beyond the largest number.
    virtual void FetchRegion(unsigned char* dst, int dstStride, const RECT& rect) const;
    virtual void FetchRegion(unsigned char* dst, int dstStride, int x, int y, int w, int h) const;
    /// Copies the caller's rows into a rectangle and commits the tiles that it meets. The rectangle may reach outside
    /// the bitmap on every side, or be empty: what lies outside is not stored.
    virtual void StoreRegion(const unsigned char* src, int srcStride, const RECT& rect);
    virtual void StoreRegion(const unsigned char* src, int srcStride, int x, int y, int w, int h);

    /// Makes tile (row, col) resident. The reference holds until the matching UnlockScanRect.
    virtual ZScanRect& LockScanRect(int row, int col) const = 0;
    virtual void UnlockScanRect(int row, int col) const = 0;
    /// Says that the locked tile was changed and must be kept.
    virtual void CommitScanRect(int row, int col) = 0;
    /// Makes every change durable. The table above says how cancelling arrives, here and below.
    [[nodiscard]] virtual bool CommitAll(shr::IProgress* progress) = 0;
    /// The bitmap reduced by 2 to the power `level`, owned by this one; null where there is none.
    virtual ZBitmap* GetPtrToPOTReduction(unsigned level) = 0;
    /// Stores into the archive or loads from it, as its direction is. An archive that is none raises
    /// ERR_ZBM_READ_ARCHIVE or what the host's archive raises; but one that states a negative size (line 878), tiles
    /// without pixels (879) or no pixel format (122), or the like of a tile ("ZBMScanRect", 342 and 343), raises an
    /// internal error, which has no message for a user. Whoever loads what others have sent expects both.
    [[nodiscard]] virtual bool Serialize(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) = 0;

    /// Expands the mask of a rectangle: the last byte of each destination pixel of `pixelStep` bytes becomes 255 where
    /// the bitmap is opaque and 0 where not. Only for formats without alpha channel, and steps of 1 or more (else
    /// internal errors).
    virtual void GetAlphaFromMask(unsigned char* dst, int dstStride, const RECT& rect, unsigned pixelStep) const;
    /// The reverse from pixels of 4 bytes: opaque where the fourth byte is 128 or more. Commits the tiles that it
    /// meets.
    virtual void SetMaskFromAlpha(unsigned char* src, int srcStride, const RECT& rect);

    /// Runs a filter over the whole bitmap in place.
    [[nodiscard]] virtual bool FilterScanLines(zpixf::ZPixFilterBase& filter, shr::IProgress* progress) = 0;

protected:
    virtual void SerializeFormatInfo(SerializeIO& io, ISerializeLegacyGCS* legacy);

public:
    /// Whether there is no picture: no format and no tiles, as after a creation or a load that failed. A picture of
    /// width or height 0 is one, and so is what a closed file leaves: ask ZFileBitmap::IsFileOpen there. What is empty
    /// can be created anew.
    bool IsEmpty() const noexcept { return colorFormat == shr::FORMAT_NONE; }

    int GetPixelWidth() const noexcept { return pixelWidth; }
    int GetPixelHeight() const noexcept { return pixelHeight; }
    int GetScanRectWidth() const noexcept { return scanRectWidth; }
    int GetScanRectHeight() const noexcept { return scanRectHeight; }
    shr::ColorFormat GetColorFormat() const noexcept { return colorFormat; }

    unsigned GetNumColorTableItems() const noexcept { return numColorTableItems; }
    /// The first of always 256 entries.
    const shr::Color4b* GetConstColorTablePtr() const noexcept { return colorTable; }
    /// Raises an internal error without a table (line 186) or for an index past it (190).
    shr::Color4b GetColorTableItem(unsigned index) const;

    int GetNumScanRectRows() const noexcept { return static_cast<int>(scanRectRows.size()); }
    /// Tiles in a row. Neither this nor the next checks its indices.
    int GetNumScanRects(int row) const noexcept;
    RECT GetScanRectBBox(int row, int col) const noexcept;

    // Resolution in pixels per metre, 0 where it is not known, and in dots per inch rounded to the nearest. A new
    // bitmap is taken for 6 inches along its longer side; set 0 where that would be stored as a fact.
    int GetXResolution() const noexcept { return xResolution; }
    int GetYResolution() const noexcept { return yResolution; }
    void SetXDPIResolution(int dotsPerInch);
    void SetYDPIResolution(int dotsPerInch);
    int GetXDPIResolution() const noexcept;
    int GetYDPIResolution() const noexcept;

    // Adjustments of the whole picture, in place. Alpha and masks stay; an indexed picture gets a new choice of
    // colours, as many as its table had. The result is that of FilterScanLines.

    /// -1 (black) .. 1 (white); 0 does nothing. Any other number raises an internal error (line 1111).
    [[nodiscard]] bool ChangeBrightness(double amount, shr::IProgress* progress);
    /// -1 (mid-grey) .. 1 (a threshold); 0 does nothing. Any other number raises an internal error (line 1140).
    [[nodiscard]] bool ChangeContrast(double amount, shr::IProgress* progress);
    /// -1 (complementary) .. 0 (grey) .. 1, which does nothing. Any other number raises an internal error (line 1169).
    [[nodiscard]] bool ChangeSaturation(double amount, shr::IProgress* progress);
    [[nodiscard]] bool ConvertToGrayScale(shr::IProgress* progress);
    /// 9 coefficients, row by row; each result is the weighted sum over `divisor` (0: the coefficients' sum) plus
    /// `bias`.
    [[nodiscard]] bool Convolute3x3(double* const kernel, double divisor, double bias, shr::IProgress* progress);
    [[nodiscard]] bool Convolute3x3(zpixf::ZPixf3x3Mode mode, shr::IProgress* progress);
    /// The same with 25 coefficients.
    [[nodiscard]] bool Convolute5x5(double* const kernel, double divisor, double bias, shr::IProgress* progress);
    [[nodiscard]] bool Convolute5x5(zpixf::ZPixf5x5Mode mode, shr::IProgress* progress);
    /// `span` is the window's side; an even one stands for the next odd one.
    [[nodiscard]] bool MedianFilter(unsigned span, shr::IProgress* progress);
    /// -1 (blur) .. 1 (sharp). Any other number raises an internal error (line 1337).
    [[nodiscard]] bool Sharpen(double amount, shr::IProgress* progress);
    /// Reduces the picture to at most `numColors` colours (1 .. 256), which are given in `palette` (blue, green, red,
    /// 0). The format stays what it is. `palette` is empty unless the result is true. Raises an internal error for a
    /// method that is none (line 1430).
    [[nodiscard]] bool QuantizeColors(QuantMethod method, int numColors, std::vector<RGBQUAD>& palette,
                                      shr::IProgress* progress);

    // Drawing into memory (zbm/Drawing.h).

    /// Draws the area of the bitmap into the destination, which is in the surface's pixels, over the background; only
    /// what is in the options' clip and on the surface. Each format comes out upright, in its colours and with its
    /// transparency: its alpha, or the mask where it has none. False when cancelled: what was drawn stays.
    ///
    ///     bitmap.DrawOnPixels({memory, 4 * 800, 800, 600, SurfaceLayout::bgrx}, {0, 0, 800, 600}, {x, y, 400, 300},
    ///                         {}, nullptr);                                                        // enlarged twice
    ///
    /// A pixel of the destination shows the bitmap if its middle, as it lies in the area, is inside the bitmap; else
    /// the background alone. Enlarging and shrinking are told for each axis apart:
    /// - nearest: the pixel in which the middle lies, floor (left + (i + 1/2) * scale), scale = area width / its width;
    /// - bilinear: between the pixels whose middles are around it; the bitmap's border is repeated, not the area's;
    /// - average: of what it covers of the bitmap, each pixel with its share, colours weighed by alpha. Shrinking
    ///   begins with the smallest reduction that is current, has the size w >> k x h >> k and no fewer pixels than the
    ///   destination has, and shows what that keeps of the picture: nothing finer than its pixels where the destination
    ///   does not divide them, masks with edges of its pixels, odd sizes as bilinear sampling made them. A bitmap whose
    ///   reductions have no greys between (those of 1 and 4 bits) and one of a derived class is drawn from its own.
    ///
    /// Transparent pixels are mixed with what is below as the exact sum, rounded to nearest; sums of several are held
    /// to 1/128 of a level before. A destination that is drawn in pieces, by clips, gets the bits that it gets as a
    /// whole, on every system and for every tile size.
    ///
    /// A destination without width or height and a bitmap without pixels draw nothing, or the background. Raises
    /// internal errors for a surface without memory, with an unknown layout or rows that overlap (line 9007) and for an
    /// area that is not finite or has no size (9008), before anything is drawn; and what locks and reads of tiles
    /// raise: what was drawn until then stays. Reports progress after each row of tiles; tiles are read one by one, and
    /// each one once wherever that takes less than 32 MiB.
    [[nodiscard]] bool DrawOnPixels(const PixelSurface& surface, const RECT& destination, const SourceArea& area,
                                    const DrawOptions& options, shr::IProgress* progress) const;
    /// The same on a device context: destination and clip are in pixels of the device, whatever logical units are set,
    /// and what the context is confined to holds as well. It is drawn in bands of at most 1 MiB, one after the other;
    /// the context is given back as it was. A device that cannot tell what is on it, as a printer, is taken for black
    /// where that is kept; so choose a background there. A context that is none draws nothing.
    ///
    /// Raises std::bad_alloc where the system has no memory for a band, and for the area as above.
    [[nodiscard]] bool DrawOnDevice(HDC dc, const RECT& destination, const SourceArea& area, const DrawOptions& options,
                                    shr::IProgress* progress) const;

    // Drawing onto a device context, tile by tile: of a picture on file, one tile is in memory at a time. Nothing is
    // locked while the device works, and the context is left as it was, also when a lock raises. A context that is
    // none, or has no clip box, gets nothing. Tiles come as ZScanRect::GetContents makes them: of BGRA_32, RGBA_32 and
    // PBGRA_32 upside down, of GRAYSCALE_16 and GRAYSCALE_32 with one row. DrawOnDevice draws every format upright,
    // with its transparency, and scales alike on every system.

    /// Draws the tiles that meet the clip box at their places, the bitmap's top-left pixel being at (x, y). The clip
    /// box is taken in logical units and the device maps each tile's corner, so use it in MM_TEXT with origins of 0.
    void SetPixelsOnDevice(HDC dc, int x, int y);
    /// Stretches the whole bitmap into a rectangle of logical units, which stays as it is, in mode COLORONCOLOR. All
    /// tiles are drawn if the rectangle meets the clip box in device units; mirrored, it meets none. The context's
    /// window origin is not reset meanwhile: one that is not (0, 0) shifts what is drawn.
    void StretchToLogRect(HDC dc, RECT& logicalRect);

    static const shr::CTypeInfo* GetClassTypeId() noexcept { return &ClassTypeId; }
    static const shr::CTypeInfo ClassTypeId;

protected:
    /// One row of tiles: their boxes, left to right, and the tiles, which the row owns. A slot is null until a subclass
    /// fills it. A copy has tiles of its own.
    struct ZBM_API ZScanRectRow {
        ZScanRectRow();
        ~ZScanRectRow();
        ZScanRectRow(const ZScanRectRow& source);
        ZScanRectRow(ZScanRectRow&&) noexcept;
        ZScanRectRow& operator=(const ZScanRectRow& source);
        ZScanRectRow& operator=(ZScanRectRow&&) noexcept;

        std::vector<RECT> boxes;
        std::vector<std::unique_ptr<ZScanRect>> tiles;
    };

    ZBitmap();
    ZBitmap(const ZBitmap& source);
    ZBitmap& operator=(const ZBitmap& source);

    /// Drops all tiles and lays out anew, without tiles. Raises internal errors for a negative size (878), a tile size
    /// below 1 (879) and an unknown format (122); the bitmap is then without format and rows.
    void Init(int newPixelHeight, int newPixelWidth, shr::ColorFormat newFormat, int newScanRectHeight,
              int newScanRectWidth);
    /// All of Init but the layout.
    void InitWithoutLayout(int newPixelHeight, int newPixelWidth, shr::ColorFormat newFormat, int newScanRectHeight,
                           int newScanRectWidth);
    /// Only on a bitmap without format (120).
    void SetColorFormat(shr::ColorFormat newFormat);
    /// Drops all tiles, the format and the table's count; keeps the sizes.
    void Free() noexcept;
    /// Takes over everything but the resolutions. Only on a bitmap without format (120).
    void Copy(const ZBitmap& source);
    void CopyColorTable(const ZBitmap& source);
    /// Takes over everything, and leaves its old tiles to the source.
    void TakeOver(ZBitmap& source) noexcept;
    void CreateScanRectLayout(int tileHeight, int tileWidth);
    void SetScanRectRowInfo(ZScanRectRow& row, int top, int rowHeight, int tileWidth) const;
    /// What becomes of a large grid of which nothing is known to be in the archive: it is laid out (and refused if it
    /// is larger still), or left out for a bitmap that adds the places of tiles as these arrive.
    enum class UnprovenGrid { laidOut, leftOut };
    void LoadFormatInfo(SerializeIO& io, ISerializeLegacyGCS* legacy, UnprovenGrid unproven);
    /// All of it but the version. Where a bitmap that was `described` before is given, layout and number of colours
    /// must be its own.
    void LoadFormatValues(SerializeIO& io, ISerializeLegacyGCS* legacy, UnprovenGrid unproven,
                          const ZBitmap* described);
    void SetPixelWidth(int value) noexcept { pixelWidth = value; }
    void SetPixelHeight(int value) noexcept { pixelHeight = value; }
    void SetScanRectWidth(int value) noexcept { scanRectWidth = value; }
    void SetScanRectHeight(int value) noexcept { scanRectHeight = value; }

    std::int32_t pixelHeight = 0;
    std::int32_t pixelWidth = 0;
    std::int32_t scanRectHeight = 0;
    std::int32_t scanRectWidth = 0;
    std::int32_t xResolution = 0;
    std::int32_t yResolution = 0;
    shr::ColorFormat colorFormat = shr::FORMAT_NONE;
    std::uint32_t numColorTableItems = 0;
    shr::Color4b colorTable[256];
    /// Locks of const bitmaps fill and empty the slots of tiles that lie in files.
    mutable std::vector<ZScanRectRow> scanRectRows;

private:
    bool FilterAsTask(zpixf::ZPixFilterBase& filter, const wchar_t* taskText, shr::IProgress* progress);
    void CopyFields(const ZBitmap& source) noexcept;
    void StoreFormatInfo(SerializeIO& io) const;
};

}  // namespace zbm
