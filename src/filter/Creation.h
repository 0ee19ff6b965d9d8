#pragma once
// The frame of creations from other bitmaps, and what they check.
#include "core/Checks.h"
#include "zbm/ZBitmap.h"

namespace zbm {

inline constexpr const wchar_t* kCreatingImage = L"Creating image...";

/// Takes the steps of a creation. When they are cancelled (false) or throw, `cleanUp` undoes what they made; then the
/// exception passes on, or the one that `cleanUp` throws.
template <class Steps, class CleanUp>
bool CreateOrCleanUp(const Steps& steps, const CleanUp& cleanUp) {
    bool created = false;
    try {
        created = steps();
    } catch (...) {
        cleanUp();
        throw;
    }
    if (!created) cleanUp();
    return created;
}

/// What a family of bitmaps checks before a creation by resampling.
struct ResizeChecks {
    Check self;                      ///< the source is another bitmap
    Check left, right, top, bottom;  ///< each side of the rectangle lies in the source
    Check width, height;             ///< the rectangle is not empty
};

void CheckResize(const ResizeChecks& checks, const ZBitmap& result, const ZBitmap& source, const RECT& rect);

}  // namespace zbm
