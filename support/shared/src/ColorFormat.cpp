#include "shr/ColorFormat.h"

namespace shr {

ColorFormat ColorFormatClosestToDIB(const BITMAPINFOHEADER& header) noexcept {
    switch (header.biBitCount) {
        case 1: return INDEXED_1;
        case 4: return INDEXED_4;
        case 8: return INDEXED_8;
        case 16:
        case 24: return BGR_24;
        case 32: return BGRA_32;
        default: return FORMAT_NONE;
    }
}

}  // namespace shr
