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

// The folder of temporary bitmaps, one for the process, without a lock: it is set before bitmaps are made on other
// threads. Errors are of source file "ZBMFileBitmap".

/// Puts new temporary bitmaps into the folder `dir`, with or without a separator at its end. Raises ERR_SHR_FILE_FIND
/// (line 49) if there is no such folder; the former choice then stays.
ZBM_API void SetGlobalFileBitmapTempDir(const ZString& dir);
/// That folder, or the system's folder for temporary files when none was chosen; with a separator at its end. Raises
/// ERR_SHR_FILE_FIND (line 62) if the chosen one is gone.
ZBM_API ZString GetGlobalFileBitmapTempDir();
/// Deletes the files of temporary bitmaps there that a killed program has left: "zv*.tmp" with a bitmap's signature,
/// neither hidden nor a system's nor in use. For the start of a program, as bitmaps that nobody has open go, too.
ZBM_API void CleanGlobalFileBitmapTempDir();

}  // namespace zbm
