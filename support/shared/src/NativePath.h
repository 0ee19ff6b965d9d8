#pragma once
#include <filesystem>

#include "shr/ZString.h"

namespace shr {

/// `name` as system calls take it: bytes on Linux; on Windows UTF-16, with the prefix that lifts the limit on the
/// length where the path needs it. A name with a zero in it, which no file has, becomes the empty name.
std::filesystem::path::string_type NativePath(const ZString& name);

}  // namespace shr
