#pragma once
#include <memory>

#include "zbm/ZBitmap.h"

namespace testkit {

/// A bitmap of a host that is built without RTTI: 5 x 3 pixels of BGRA_32 in one tile, all bytes 100.
std::unique_ptr<zbm::ZBitmap> MakeBitmapWithoutTypeRecord();

}  // namespace testkit
