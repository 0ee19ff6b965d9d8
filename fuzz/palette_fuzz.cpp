// Reads whatever comes as a palette file. What is accepted is written in both formats and must come back.
//
// An input's first byte chooses the format (its lowest bit: 0 GIMP's, 1 Adobe's); the others are the file.
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "pictures/PaletteFormats.h"

namespace {

using tool::PaletteFormat;
using Colors = std::vector<shr::Color4b>;

void Require(bool condition) {
    if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const auto format = (data[0] & 1) == 0 ? PaletteFormat::gimp : PaletteFormat::adobe;
    Colors colors;
    try {
        colors = tool::DecodePalette(format, std::string_view(reinterpret_cast<const char*>(data) + 1, size - 1));
    } catch (const std::runtime_error& error) {
        Require(*error.what() != '\0');
        return 0;
    }
    Require(!colors.empty() && colors.size() <= 256);
    for (const auto other : {PaletteFormat::gimp, PaletteFormat::adobe})
        Require(tool::DecodePalette(other, tool::EncodePalette(other, colors)) == colors);
    return 0;
}
