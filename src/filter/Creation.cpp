#include "filter/Creation.h"

namespace zbm {

void CheckResize(const ResizeChecks& checks, const ZBitmap& result, const ZBitmap& source, const RECT& rect) {
    const auto liesIn = [](LONG place, int size) { return place >= 0 && place <= size; };
    require(&source != &result, checks.self);
    require(liesIn(rect.left, source.GetPixelWidth()), checks.left);
    require(liesIn(rect.right, source.GetPixelWidth()), checks.right);
    require(liesIn(rect.top, source.GetPixelHeight()), checks.top);
    require(liesIn(rect.bottom, source.GetPixelHeight()), checks.bottom);
    require(rect.right > rect.left, checks.width);
    require(rect.bottom > rect.top, checks.height);
}

}  // namespace zbm
