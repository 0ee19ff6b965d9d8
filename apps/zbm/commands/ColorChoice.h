#pragma once
#include <optional>
#include <string>

#include "shr/ColorFormat.h"
#include "zbm/IndexedColors.h"
#include "zpixf/ZPixFilterBase.h"

namespace tool {

inline constexpr const char* kPicturePalette = "picture";
inline constexpr const char* kFixedPalette = "fixed";

/// What the user says of the colours of an indexed format. What is not said is left to the library.
struct ColorChoice {
    std::optional<zpixf::ZPixfType> quantizer;  ///< of zpixf::MakeQuantizer; the ditherers use the fixed palette
    std::optional<unsigned> most;               ///< how many colours at most
    std::optional<std::string> palette;         ///< kPicturePalette, kFixedPalette or a palette file's name
    std::optional<zbm::Dither> dither;
    std::optional<double> strength;

    bool IsGiven() const { return quantizer || most || palette || dither || strength; }
};

/// What is wrong with a choice for a format, and the option that says it; nothing where all goes together.
struct WrongChoice {
    const char* option;
    std::string reason;
};
std::optional<WrongChoice> FindWrongChoice(const ColorChoice& choice, std::optional<shr::ColorFormat> format);

/// The choice, which must be right, in the library's terms; nothing where nothing is said. Reads the palette's file;
/// raises ToolError, and UsageError where it has more colours than the format.
std::optional<zbm::IndexedColors> IndexedColorsFor(const ColorChoice& choice, shr::ColorFormat format);

}  // namespace tool
