#pragma once
#include <cstdint>
#include <memory>

#include "gdi/gdi.h"
#include "shr/Color4b.h"
#include "shr/ColorFormat.h"
#include "shr/IProgress.h"
#include "zbm/Export.h"

namespace zbm {

class ColorTableMatcher;
class ZBitmap;

/// An editable copy of a rectangle of a bitmap, in a format of the caller's choice.
///
///     zbm::ZPixelRect rect(bitmap, 0, 0, 64, 64, shr::BGRA_32, nullptr);
///     rect.GetRowPtr(3)[4 * 5 + 2] = 255;  // more red in pixel (5, 3)
///     rect.CommitPixels(nullptr);
///
/// Nothing reaches the bitmap before CommitPixels, which changes it though the rect was made of a const reference. The
/// bitmap must outlive the rect. Progress targets are accepted and not used.
///
/// Broken preconditions raise internal errors of source file "ZBMPixelRect": a format that is none (line 270), a
/// rectangle that reaches outside the bitmap (left 393, right 394, top 395, bottom 396) or is empty in width (398) or
/// height (399), or an empty bitmap (9000). A region whose pixels no memory holds raises std::bad_alloc.
class ZBM_API ZPixelRect {
public:
    ZPixelRect(const ZBitmap& source, int x, int y, int w, int h, shr::ColorFormat format, shr::IProgress* progress);
    ZPixelRect(const ZBitmap& source, const RECT& rect, shr::ColorFormat format, shr::IProgress* progress);
    /// Fetches the same region anew: edits of the other rect that were not committed are not carried over. Assignment
    /// lets go of everything first, and after an error the rect holds no pixels. Of a rect without pixels comes one.
    ZPixelRect(const ZPixelRect& other);
    ZPixelRect& operator=(const ZPixelRect& other);
    ~ZPixelRect();

    /// Another region of the same bitmap in the same format; the colour table stays, unless the bitmap's pixels are
    /// quantized anew. Raises an internal error once the table was edited (line 161), or if the rect holds no pixels
    /// (160). After an error the rect is as it was.
    void Fetch(int x, int y, int w, int h, shr::IProgress* progress);
    void Fetch(const RECT& rect, shr::IProgress* progress);
    /// Lets go of everything and starts anew. After an error the rect holds no pixels, and sizes of 0; it can be
    /// fetched into again.
    void Fetch(const ZBitmap& source, int x, int y, int w, int h, shr::ColorFormat format, shr::IProgress* progress);
    void Fetch(const ZBitmap& source, const RECT& rect, shr::ColorFormat format, shr::IProgress* progress);

    /// Writes the pixels into the bitmap's region, converting them back if need be. The colours of an indexed bitmap
    /// stay as they are: each pixel gets the one that ColorTableMatcher answers. Alpha goes into the mask of a bitmap
    /// without alpha channel.
    ///
    /// The bitmap is written to only after all conversion has succeeded. Raises an internal error if the rect holds no
    /// pixels (line 200), or if a bitmap whose format has no table has colours (221).
    void CommitPixels(shr::IProgress* progress);

    unsigned GetWidth() const noexcept { return width; }
    unsigned GetHeight() const noexcept { return height; }
    int GetStride() const noexcept { return stride; }
    shr::ColorFormat GetColorFormat() const noexcept { return colorFormat; }
    RECT GetRegionRect() const noexcept { return regionRect; }
    /// The top row; null when the rect holds no pixels. Neither row nor index is checked here and below.
    unsigned char* GetFirstRowPtr() const noexcept { return pixels.get(); }
    unsigned char* GetRowPtr(int row) const noexcept;
    unsigned GetNumColorTableItems() const noexcept { return numColorTableItems; }
    shr::Color4b GetColorTableItem(unsigned index) const noexcept { return colorTable[index]; }
    /// Raises an internal error (line 310) for an index of 256 or more. From then on every commit converts.
    void SetColorTableItem(unsigned index, const shr::Color4b& color);

protected:
    void Init(const ZBitmap& source, const RECT& rect, shr::ColorFormat format);
    void AllocatePixelData();
    void RetrievePixelData();
    void SetRegionRect(const RECT& rect);
    void Free() noexcept;

    std::unique_ptr<unsigned char[]> pixels;  ///< `height` rows of `stride` bytes, top row first
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::int32_t stride = 0;
    shr::ColorFormat colorFormat = shr::FORMAT_NONE;
    const ZBitmap* bitmap = nullptr;
    RECT regionRect{};
    std::uint32_t numColorTableItems = 0;
    shr::Color4b colorTable[256];
    bool colorTableChanged = false;
    std::unique_ptr<ColorTableMatcher> matcher;  ///< over the bitmap's table, made by the first commit that needs it
};

}  // namespace zbm
