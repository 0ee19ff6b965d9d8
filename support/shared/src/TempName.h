#pragma once
#include "shr/ZString.h"

namespace shr {

/// "zv", 16 letters or digits at random, ".tmp". Letters are small ones, since some systems do not tell them apart from
/// large ones. Raises what std::random_device raises.
ZString RandomTempName();

/// How many such names are tried where one may exist already; that happens by ill luck only, and never twice.
inline constexpr int kTempNameAttempts = 32;

}  // namespace shr
