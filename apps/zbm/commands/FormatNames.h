#pragma once
#include <optional>
#include <string_view>

#include "shr/ColorFormat.h"

namespace tool {

/// As users write it, like "BGRA_32".
const char* FormatName(shr::ColorFormat format);
/// The format of that name, whatever its case.
std::optional<shr::ColorFormat> FormatNamed(std::string_view name);

}  // namespace tool
