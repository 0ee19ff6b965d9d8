#pragma once
// The library's free functions: its identity, its named errors and the progress of a walk over tiles.

#include "shr/Exception.h"
#include "shr/IProgress.h"
#include "shr/ZString.h"
#include "zbm/Export.h"

namespace zbm {

using shr::ZString;

/// How a picture is resampled. ZPixfResize.h says what each does.
enum ResizeMethod : int {
    ResizePlain = 1,     ///< nearest pixel
    ResizeBilinear = 2,  ///< triangle
    ResizeBicubic0 = 3,  ///< Catmull-Rom
    ResizeBicubic1 = 4,  ///< Mitchell
    ResizeBicubic2 = 5,  ///< B-spline
};

/// How a picture's colours are chosen. ZPixfQuantize.h says what each does.
enum QuantMethod : int {
    QuantMedian5 = 1,
    QuantMedian8 = 2,
    QuantPopularity = 3,
};

/// The module that every error of this library names: L"ZBMLib2".
ZBM_API const ZString& ModuleName();

/// Each throws a shr::Exception of (module, sourceFile, line, its own text).
[[noreturn]] ZBM_API void Throw_ERR_ZBM_READ_ARCHIVE(const ZString& module, const ZString& sourceFile, int line);
[[noreturn]] ZBM_API void Throw_ERR_ZBM_WRITE_ARCHIVE(const ZString& module, const ZString& sourceFile, int line);
[[noreturn]] ZBM_API void Throw_ERR_ZBM_UNSUPPORTED_DIB_FORMAT(const ZString& module, const ZString& sourceFile,
                                                               int line);

/// Reports that tile (tileRow, tileCol) of a walk over all tiles is done; the last tile gives exactly 1.0.
///
/// `progress` may be null. False when the target cancels by throwing shr::AbortException; whatever else it throws
/// passes on.
[[nodiscard]] ZBM_API bool SRProgress(shr::IProgress* progress, int tileRow, int tileCol, int numTileRows,
                                      int numTilesPerRow);

}  // namespace zbm
