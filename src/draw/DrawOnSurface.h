#pragma once
// Drawing on surfaces whose corner need not be that of what is drawn on: those of bands of a device.
#include "draw/DrawnSurface.h"
#include "shr/IProgress.h"
#include "zbm/Drawing.h"

namespace zbm {

class ZBitmap;

inline constexpr const wchar_t* kDrawingTask = L"Drawing image...";

/// Finite and with a size.
bool IsUsable(const SourceArea& area) noexcept;

/// As ZBitmap::DrawOnPixels, without its checks and without a task of its own. Cancelling passes on.
void DrawOnSurface(const ZBitmap& bitmap, const PixelSurface& surface, const Destination& destination,
                   const SourceArea& area, const DrawOptions& options, shr::IProgress* progress);

}  // namespace zbm
