// A caller's copy of a rectangle of a bitmap: fetched, converted, edited and stored back.
#include <algorithm>
#include <limits>
#include <new>

#include "convert/ConvertEveryPair.h"
#include "convert/MatcherMaps.h"
#include "core/RectAt.h"
#include "core/checks/PixelRectChecks.h"
#include "shr/ScopeExit.h"
#include "zbm/ColorTableMatcher.h"
#include "zbm/ZBitmap.h"
#include "zbm/ZPixelRect.h"

namespace zbm {

using shr::Color4b;
using shr::ColorFormat;
using shr::IProgress;

namespace {

/// A rect refers to a const bitmap, since reading is most of what it does; a commit writes to it all the same.
ZBitmap& Writable(const ZBitmap& bitmap) { return const_cast<ZBitmap&>(bitmap); }

std::int32_t StrideFor(std::uint32_t width, ColorFormat format) {
    const std::uint64_t rowBytes = shr::RowBytes(width, format);
    if (rowBytes > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max())) throw std::bad_alloc();
    return static_cast<std::int32_t>(rowBytes);
}

/// Rows of pixels, uninitialised.
std::unique_ptr<unsigned char[]> AllocateRows(std::int32_t stride, std::uint32_t height) {
    const std::uint64_t bytes = static_cast<std::uint64_t>(stride) * height;
    if (bytes > static_cast<std::uint64_t>(std::numeric_limits<std::ptrdiff_t>::max())) throw std::bad_alloc();
    return std::unique_ptr<unsigned char[]>(new unsigned char[static_cast<std::size_t>(bytes)]);
}

/// The region's pixels in the bitmap's own format, on their way in or out.
struct BitmapRows {
    BitmapRows(const ZBitmap& bitmap, std::uint32_t width, std::uint32_t height)
        : format(bitmap.GetColorFormat()), stride(StrideFor(width, format)), rows(AllocateRows(stride, height)) {}

    ColorFormat format;
    std::int32_t stride;
    std::unique_ptr<unsigned char[]> rows;
};

bool OnlyRectHasAlpha(ColorFormat bitmapFormat, ColorFormat rectFormat) {
    return !shr::ColorFmtHasAlphaChannel[bitmapFormat] && shr::ColorFmtHasAlphaChannel[rectFormat];
}

}  // namespace

ZPixelRect::ZPixelRect(const ZBitmap& source, int x, int y, int w, int h, ColorFormat format, IProgress* progress)
    : ZPixelRect(source, RectAt(x, y, w, h), format, progress) {}

ZPixelRect::ZPixelRect(const ZBitmap& source, const RECT& rect, ColorFormat format, IProgress*) {
    Init(source, rect, format);
}

ZPixelRect::ZPixelRect(const ZPixelRect& other) {
    if (other.bitmap != nullptr) Init(*other.bitmap, other.regionRect, other.colorFormat);
}

ZPixelRect& ZPixelRect::operator=(const ZPixelRect& other) {
    if (this == &other) return *this;
    Free();
    if (other.bitmap != nullptr) Init(*other.bitmap, other.regionRect, other.colorFormat);
    return *this;
}

ZPixelRect::~ZPixelRect() = default;

void ZPixelRect::Free() noexcept {
    pixels.reset();
    width = 0;
    height = 0;
    stride = 0;
    colorFormat = shr::FORMAT_NONE;
    bitmap = nullptr;
    regionRect = {};
    numColorTableItems = 0;
    colorTableChanged = false;
    matcher.reset();
}

void ZPixelRect::Init(const ZBitmap& source, const RECT& rect, ColorFormat format) {
    require(shr::IsColorFormat(format), PixelRectCheck::formatRange);
    shr::ScopeExit freeAll([this] { Free(); });
    pixels.reset();
    bitmap = &source;
    colorFormat = format;
    SetRegionRect(rect);
    // All 256 entries, so that an index past the table means black here as it does in the bitmap.
    if (format == source.GetColorFormat()) {
        numColorTableItems = source.GetNumColorTableItems();
        std::copy_n(source.GetConstColorTablePtr(), 256, colorTable);
    } else {
        numColorTableItems = static_cast<std::uint32_t>(shr::ColorFmtToTblSize[format]);
        std::fill_n(colorTable, 256, Color4b::Black);
    }
    colorTableChanged = false;
    AllocatePixelData();
    RetrievePixelData();
    freeAll.Release();
}

void ZPixelRect::SetRegionRect(const RECT& rect) {
    const int bitmapWidth = bitmap->GetPixelWidth(), bitmapHeight = bitmap->GetPixelHeight();
    require(rect.left >= 0 && rect.left <= bitmapWidth, PixelRectCheck::regionLeft);
    require(rect.right >= 0 && rect.right <= bitmapWidth, PixelRectCheck::regionRight);
    require(rect.top >= 0 && rect.top <= bitmapHeight, PixelRectCheck::regionTop);
    require(rect.bottom >= 0 && rect.bottom <= bitmapHeight, PixelRectCheck::regionBottom);
    require(rect.right > rect.left, PixelRectCheck::regionWidth);
    require(rect.bottom > rect.top, PixelRectCheck::regionHeight);
    regionRect = rect;
    width = static_cast<std::uint32_t>(rect.right - rect.left);
    height = static_cast<std::uint32_t>(rect.bottom - rect.top);
}

void ZPixelRect::AllocatePixelData() {
    stride = StrideFor(width, colorFormat);
    pixels = AllocateRows(stride, height);
}

void ZPixelRect::RetrievePixelData() {
    const ColorFormat bitmapFormat = bitmap->GetColorFormat();
    require(shr::IsColorFormat(bitmapFormat), PixelRectCheck::emptyBitmap);
    if (colorFormat == bitmapFormat) {
        bitmap->FetchRegion(pixels.get(), stride, regionRect);
        return;
    }
    const BitmapRows temporary(*bitmap, width, height);
    bitmap->FetchRegion(temporary.rows.get(), temporary.stride, regionRect);
    ConvertEveryPair({pixels.get(), colorFormat, stride, colorTable},
                     {temporary.rows.get(), bitmapFormat, temporary.stride, bitmap->GetConstColorTablePtr()}, width,
                     height);
    if (OnlyRectHasAlpha(bitmapFormat, colorFormat)) bitmap->GetAlphaFromMask(pixels.get(), stride, regionRect, 4);
}

void ZPixelRect::Fetch(int x, int y, int w, int h, IProgress* progress) { Fetch(RectAt(x, y, w, h), progress); }

void ZPixelRect::Fetch(const RECT& rect, IProgress*) {
    require(bitmap != nullptr, PixelRectCheck::fetchedBitmap);
    require(!colorTableChanged, PixelRectCheck::fetchedTable);
    const RECT oldRegion = regionRect;
    const std::uint32_t oldWidth = width, oldHeight = height;
    const std::int32_t oldStride = stride;
    SetRegionRect(rect);
    // The table too: it changes where pixels are quantized.
    Color4b oldColors[256];
    std::copy_n(colorTable, 256, oldColors);
    std::unique_ptr<unsigned char[]> oldPixels = std::move(pixels);
    shr::ScopeExit restore([&] {
        regionRect = oldRegion;
        width = oldWidth;
        height = oldHeight;
        stride = oldStride;
        pixels = std::move(oldPixels);
        std::copy_n(oldColors, 256, colorTable);
    });
    AllocatePixelData();
    RetrievePixelData();
    restore.Release();
}

void ZPixelRect::Fetch(const ZBitmap& source, int x, int y, int w, int h, ColorFormat format, IProgress* progress) {
    Fetch(source, RectAt(x, y, w, h), format, progress);
}

void ZPixelRect::Fetch(const ZBitmap& source, const RECT& rect, ColorFormat format, IProgress*) {
    const RECT region = rect;  // it may be this rect's own
    Free();
    Init(source, region, format);
}

void ZPixelRect::CommitPixels(IProgress*) {
    require(bitmap != nullptr, PixelRectCheck::committedBitmap);
    ZBitmap& target = Writable(*bitmap);
    const ColorFormat bitmapFormat = target.GetColorFormat();
    if (colorFormat == bitmapFormat && !colorTableChanged) {
        target.StoreRegion(pixels.get(), stride, regionRect);
        return;
    }
    const BitmapRows temporary(target, width, height);
    const PixelRows converted{temporary.rows.get(), bitmapFormat, temporary.stride, nullptr};
    const ConstPixelRows own{pixels.get(), colorFormat, stride, colorTable};
    if (const auto tableSize = static_cast<unsigned>(shr::ColorFmtToTblSize[bitmapFormat]); tableSize != 0) {
        const Color4b* colors = target.GetConstColorTablePtr();
        // An archive may have more colours than the indices can tell apart.
        const unsigned bitmapColors = std::min(target.GetNumColorTableItems(), tableSize);
        if (matcher == nullptr || colorTableChanged || !IsBuiltOver(*matcher, colors, bitmapColors)) {
            matcher.reset();  // first, for it is large
            matcher = std::make_unique<ColorTableMatcher>(colors, bitmapColors);
        }
        ConvertEveryPairToColorTable(converted, bitmapColors, own, numColorTableItems, width, height, *matcher);
    } else {
        require(target.GetNumColorTableItems() == 0, PixelRectCheck::committedColors);
        ConvertEveryPair(converted, own, width, height);
    }
    target.StoreRegion(temporary.rows.get(), temporary.stride, regionRect);
    if (OnlyRectHasAlpha(bitmapFormat, colorFormat)) target.SetMaskFromAlpha(pixels.get(), stride, regionRect);
}

unsigned char* ZPixelRect::GetRowPtr(int row) const noexcept {
    return pixels.get() + static_cast<std::ptrdiff_t>(stride) * row;
}

void ZPixelRect::SetColorTableItem(unsigned index, const Color4b& color) {
    require(index < 256, PixelRectCheck::colorIndex);
    colorTable[index] = color;
    colorTableChanged = true;
}

}  // namespace zbm
