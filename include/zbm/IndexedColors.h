#pragma once
// From pictures of any format to indexed ones: which colours the table holds, and which of them a pixel gets.
#include <vector>

#include "shr/Color4b.h"
#include "shr/IProgress.h"
#include "zbm/Export.h"
#include "zbm/ZBMLib2.h"

namespace zbm {

class ZBitmap;

/// Where the colours of a table come from.
enum class PaletteSource {
    picture,  ///< chosen for the picture
    fixed,    ///< the largest of black and white, the 16 colours of VGA displays, and a cube of 256 colours
    given,    ///< the caller's
};

/// How a pixel of a colour that the table does not have is shown.
enum class Dither {
    none,       ///< by the entry nearest to it
    ordered,    ///< by a mixture of entries in a regular pattern; equal lines stay equal
    diffusion,  ///< by handing the error on to the neighbours: the most faithful
    blueNoise,  ///< by a mixture of entries in an even grain
};

/// How a picture becomes an indexed one. Left as it is: as many colours of its own as the format holds, not dithered.
struct IndexedColors {
    PaletteSource source = PaletteSource::picture;
    QuantMethod method = QuantMedian8;       ///< how colours are chosen for the picture
    unsigned most = 0;                       ///< how many at most, not of given ones; as many as the format holds if 0
    std::vector<shr::Color4b> entries = {};  ///< those given, 1 or more; without alpha
    Dither dither = Dither::none;
    double strength = 1;  ///< of the dither: 0, nothing is seen of it, to 1
};

/// Makes `result`, an indexed bitmap of any class and any tiles, show what `source` shows, another bitmap of its size
/// in any format. Its table becomes the colours found, which may be fewer than asked for; of given ones all are kept,
/// in their order. Indices of a picture that is indexed already count no more than other colours.
///
///     zbm::ZBasicMemBitmap small(photo.GetPixelWidth(), photo.GetPixelHeight(), shr::INDEXED_8);
///     zbm::ConvertToIndexed(photo, small, {.dither = zbm::Dither::diffusion}, nullptr);
///
/// Transparency becomes the mask, opaque where alpha is 128 or more. Pixels of alpha 0 choose no colours, unless there
/// are no others, and take and hand on no error. Where all colours are grey, a fixed or given palette and every dither
/// show the luma of the pixels.
///
/// The source is read once, and once more before where its own colours are chosen. In memory are some of its lines and,
/// where the result's tiles do not stay there, one row of these. The changes end with the caller's CommitAll.
///
/// Raises internal errors of source file "IndexedColors", which docs/errors.md lists, before anything is read or
/// written: for a result that is not indexed, is the source or of another size; for counts, methods or strengths that
/// cannot be. Later errors of bitmaps pass on, those of a filter as a shr::Exception with its words, and so does what
/// `progress` (which may be null) throws to cancel. Then the result has the lines written until then, without their
/// colours.
ZBM_API void ConvertToIndexed(const ZBitmap& source, ZBitmap& result, const IndexedColors& colors,
                              shr::IProgress* progress);

}  // namespace zbm
