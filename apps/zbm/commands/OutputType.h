#pragma once
#include <string>
#include <vector>

#include "commands/BitmapFile.h"

namespace tool {

inline constexpr const char* kArchiveType = "zbm";
inline constexpr const char* kBitmapType = "zbf";  ///< a bitmap in a file

/// What a command can write.
enum class Writes { anything, archives, pictures, bitmaps };

/// Decides as what `output` is written: by the ending of its name, or, for standard output and names without ending, by
/// `type`, an ending without its dot (empty: not given). Returns what is wrong with the name, or nothing.
std::string ChooseOutputType(Output& output, const std::string& type, Writes writes);

/// The types that there are, as users write them.
const std::vector<std::string>& OutputTypes();

}  // namespace tool
