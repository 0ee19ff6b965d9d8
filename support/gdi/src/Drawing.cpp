// DIBs are drawn row by row: which columns and rows of the source show where is found first, once a call.
#include <cstring>
#include <limits>

#include "DeviceContext.h"
#include "DibSource.h"
#include "StretchAxis.h"
#include "gdi/gdi_device.h"

namespace gdi {
namespace {

constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();

/// What of a source meets the DIB, on one axis.
bool MeetsSource(const StretchAxis& axis) noexcept {
    return axis.sourceSize > 0 && axis.sourceStart < axis.sourceLimit && axis.sourceStart + axis.sourceSize > 0;
}

bool AreNeighbors(const std::vector<std::int32_t>& sources) noexcept {
    for (std::size_t i = 1; i < sources.size(); ++i)
        if (sources[i] != sources[0] + static_cast<std::int32_t>(i)) return false;
    return true;
}

void Draw(const DeviceContext& context, const DibSource& source, const StretchAxis& across, const StretchAxis& down) {
    const RECT visible = context.VisibleRect();
    const StretchedRun columns = Stretch(across, visible.left, visible.right);
    const StretchedRun rows = Stretch(down, visible.top, visible.bottom);
    if (columns.sources.empty() || rows.sources.empty()) return;

    const Bitmap& bitmap = *context.now.selected.bitmap;
    const GatherPixels gather = GathererFor(source.bitCount);
    const bool isCopy = source.bitCount == 32 && AreNeighbors(columns.sources);
    const std::size_t count = columns.sources.size();
    for (std::size_t i = 0; i < rows.sources.size(); ++i) {
        std::uint8_t* const pixels = bitmap.PixelAt(columns.begin, rows.begin + static_cast<LONG>(i));
        const std::uint8_t* const row = source.Row(rows.sources[i]);
        if (isCopy)
            std::memcpy(pixels, row + std::size_t{4} * static_cast<std::size_t>(columns.sources[0]), 4 * count);
        else if (i > 0 && rows.sources[i] == rows.sources[i - 1])
            std::memcpy(pixels, pixels - bitmap.stride, 4 * count);
        else
            gather(pixels, row, columns.sources.data(), count, source.palette);
    }
}

/// The logical point (x + width, y + height).
POINT Sum(int x, int y, int width, int height) noexcept {
    const auto sum = [](std::int64_t a, std::int64_t b) {
        return static_cast<LONG>(std::clamp(a + b, -kMost - 1, kMost));
    };
    return {sum(x, width), sum(y, height)};
}

}  // namespace

int SetDIBitsToDevice(HDC dc, int x, int y, DWORD width, DWORD height, int sourceX, int sourceY, UINT firstLine,
                      UINT lines, const void* bits, const BITMAPINFO* info, UINT usage) noexcept {
    std::optional<DibSource> source = DescribeDib(info, usage);
    if (!source || bits == nullptr || firstLine >= source->height || width > kMost || height > kMost) return 0;
    source->bits = static_cast<const std::uint8_t*>(bits);
    // Of rows stored from the top, the first is the last of those that the caller tells of, also past the DIB's top.
    source->lines = std::min<std::int64_t>(lines, source->isTopDown ? source->height : source->height - firstLine);
    return WithContext(dc, 0, [&](const DeviceContext& context) {
        const POINT corner = context.ToDevice({x, y});
        const StretchAxis across{corner.x, width, sourceX, width, source->width, Meeting::last};
        const std::int64_t top = firstLine + source->lines - (std::int64_t{sourceY} + height);
        const StretchAxis down{corner.y, height, top, height, source->lines, Meeting::first};
        if (!MeetsSource(across) || !MeetsSource(down)) return 0;
        Draw(context, *source, across, down);
        // Lines above the rectangle are of no use, if they come last.
        const std::int64_t above = source->isTopDown ? 0 : std::max<std::int64_t>(0, top);
        return static_cast<int>(source->lines - above);
    });
}

int StretchDIBits(HDC dc, int x, int y, int width, int height, int sourceX, int sourceY, int sourceWidth,
                  int sourceHeight, const void* bits, const BITMAPINFO* info, UINT usage, DWORD operation) noexcept {
    std::optional<DibSource> source = DescribeDib(info, usage);
    if (!source || bits == nullptr || operation != SRCCOPY) return 0;
    source->bits = static_cast<const std::uint8_t*>(bits);
    source->lines = source->height;
    return WithContext(dc, 0, [&](const DeviceContext& context) {
        const POINT from = context.ToDevice({x, y}), to = context.ToDevice(Sum(x, y, width, height));
        const std::int64_t top = source->height - (std::int64_t{sourceY} + sourceHeight);
        const StretchAxis across{from.x,       std::int64_t{to.x} - from.x, sourceX, sourceWidth, source->width,
                                 Meeting::last};
        const StretchAxis down{from.y, std::int64_t{to.y} - from.y, top, sourceHeight, source->height, Meeting::first};
        if (!MeetsSource(across) || !MeetsSource(down)) return 0;
        Draw(context, *source, across, down);
        return static_cast<int>(std::min(source->height, kMost));
    });
}

}  // namespace gdi
