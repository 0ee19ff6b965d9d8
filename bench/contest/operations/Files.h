#pragma once
#include "Contest.h"

namespace contest {

/// Of a picture in a file, all its reductions; the result is the one of a quarter of its sides.
inline constexpr char kLevels[] = "levels";

}  // namespace contest
