#pragma once
#include "shr/BufferedFile.h"
#include "shr/ZString.h"

namespace tool {

using shr::ZString;

/// What is wrong with a file without a byte.
inline constexpr const char* kFileIsEmpty = "is empty";

/// Opens a file to be read. Raises ToolError, also for what is no file but a pipe or a device: readers go back and
/// forth.
shr::CBufferedFile OpenInput(const ZString& name);

}  // namespace tool
