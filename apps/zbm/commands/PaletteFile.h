#pragma once
#include <optional>
#include <vector>

#include "OutputFile.h"
#include "pictures/PaletteFormats.h"
#include "zbm/ZBitmap.h"

namespace tool {

/// What a file's ending says; nothing for another one than .gpl and .act, in letters of any size.
std::optional<PaletteFormat> PaletteFormatOf(const ZString& name);

/// The colours of a palette file with such a name. Raises ToolError.
std::vector<shr::Color4b> ReadPaletteFile(const ZString& name);

/// Writes a bitmap's colours into a file with such a name, uncommitted. Raises ToolError, and UsageError for a bitmap
/// that is not indexed.
void WritePalette(const zbm::ZBitmap& bitmap, OutputFile& file);

}  // namespace tool
