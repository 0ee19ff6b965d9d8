// Drawing a bitmap into memory of the caller's.
#include <algorithm>
#include <cmath>
#include <limits>

#include "core/TileReading.h"
#include "core/checks/BitmapChecks.h"
#include "draw/DrawOnSurface.h"
#include "draw/Drawing.h"
#include "shr/Exception.h"
#include "zbm/ZBitmap.h"

namespace zbm {

namespace {

bool IsUsable(const PixelSurface& surface) {
    if (surface.width < 0 || surface.height < 0) return false;
    if (surface.width == 0 || surface.height == 0) return true;
    const std::ptrdiff_t rowBytes = std::ptrdiff_t{4} * surface.width;
    const bool rowsAreApart = surface.height == 1 || surface.stride >= rowBytes || surface.stride <= -rowBytes;
    const bool isLayout = surface.layout >= SurfaceLayout::bgrx && surface.layout <= SurfaceLayout::pbgra;
    return surface.firstRow != nullptr && rowsAreApart && isLayout;
}

AxisScale ScaleOf(double start, double length, std::int64_t places) {
    return {start, length / static_cast<double>(places)};
}

/// The same area in the pixels of a reduction.
SourceArea AreaIn(const ZBitmap& level, const ZBitmap& bitmap, const SourceArea& area) {
    const double width = level.GetPixelWidth(), height = level.GetPixelHeight();
    const double across = bitmap.GetPixelWidth(), down = bitmap.GetPixelHeight();
    return {area.left * width / across, area.top * height / down, area.width * width / across,
            area.height * height / down};
}

struct Scales {
    AxisScale across, down;

    Scales(const SourceArea& area, const Destination& destination)
        : across(ScaleOf(area.left, area.width, destination.right - destination.left)),
          down(ScaleOf(area.top, area.height, destination.bottom - destination.top)) {}
};

/// Reductions have the bitmap's format. One of few greys holds black and white where the average is between them.
bool AreReductionsAverages(shr::ColorFormat format) { return format != shr::GRAYSCALE_1 && format != shr::GRAYSCALE_4; }

/// The smallest reduction that shows what the bitmap holds and has no fewer pixels than the destination, along both
/// axes; the bitmap itself if there is none.
const ZBitmap& ChooseLevel(const ZBitmap& bitmap, const SourceArea& area, const Destination& destination) {
    const ZBitmap* chosen = &bitmap;
    for (unsigned level = 1; level < 31; ++level) {
        const int width = bitmap.GetPixelWidth() >> level, height = bitmap.GetPixelHeight() >> level;
        if (width < 1 || height < 1) break;
        const ZBitmap* const reduced = FindCurrentLevel(bitmap, level);
        if (reduced == nullptr || reduced->GetPixelWidth() != width || reduced->GetPixelHeight() != height) break;
        const Scales scales(AreaIn(*reduced, bitmap, area), destination);
        if (scales.across.scale < 1 || scales.down.scale < 1) break;
        chosen = reduced;
    }
    return *chosen;
}

AxisMethod MethodFor(double scale, const DrawOptions& options) {
    if (scale > 1)
        return options.shrinking == DrawOptions::Shrinking::average ? AxisMethod::average : AxisMethod::nearest;
    return options.enlarging == DrawOptions::Enlarging::bilinear ? AxisMethod::linear : AxisMethod::nearest;
}

void Draw(const ZBitmap& bitmap, const DrawnSurface& surface, const Scales& scales, const DrawOptions& options,
          shr::IProgress* progress) {
    const AxisMap columns(scales.across, MethodFor(scales.across.scale, options), bitmap.GetPixelWidth(),
                          surface.Left(), surface.Right());
    const AxisMap rows(scales.down, MethodFor(scales.down.scale, options), bitmap.GetPixelHeight(), surface.Top(),
                       surface.Bottom());
    if (columns.Count() == 0 || rows.Count() == 0)
        return surface.FillAround(surface.Right(), surface.Bottom(), surface.Right(), surface.Bottom());
    surface.FillAround(columns.Begin(), rows.Begin(), columns.Begin() + columns.Count(), rows.Begin() + rows.Count());
    const Drawing drawing{bitmap, surface, columns, rows, progress};
    columns.ShowsSingles() && rows.ShowsSingles() ? DrawSingles(drawing) : DrawSums(drawing);
}

}  // namespace

void DrawOnSurface(const ZBitmap& bitmap, const PixelSurface& surface, const Destination& destination,
                   const SourceArea& area, const DrawOptions& options, shr::IProgress* progress) {
    const DrawnSurface drawn(surface, destination, options);
    if (drawn.IsEmpty()) return;
    const bool areLevelsTaken =
        options.shrinking == DrawOptions::Shrinking::average && AreReductionsAverages(bitmap.GetColorFormat());
    const ZBitmap& level = areLevelsTaken ? ChooseLevel(bitmap, area, destination) : bitmap;
    Draw(level, drawn, Scales(AreaIn(level, bitmap, area), destination), options, progress);
}

bool IsUsable(const SourceArea& area) noexcept {
    return std::isfinite(area.left) && std::isfinite(area.top) && std::isfinite(area.width) &&
           std::isfinite(area.height) && area.width > 0 && area.height > 0;
}

bool ZBitmap::DrawOnPixels(const PixelSurface& surface, const RECT& destination, const SourceArea& area,
                           const DrawOptions& options, shr::IProgress* progress) const {
    require(IsUsable(surface), BitmapCheck::drawnSurface);
    require(IsUsable(area), BitmapCheck::drawnArea);
    try {
        const shr::CScopedIProgressTask task(progress, kDrawingTask);
        DrawOnSurface(*this, surface, {destination.left, destination.top, destination.right, destination.bottom}, area,
                      options, progress);
    } catch (const shr::AbortException&) { return false; }
    return true;
}

}  // namespace zbm
