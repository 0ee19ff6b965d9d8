#include "commands/FormatNames.h"

#include <algorithm>

namespace tool {

namespace {

constexpr const char* kFormatNames[shr::kColorFormats] = {
    "none",      "GRAYSCALE_1", "GRAYSCALE_4", "GRAYSCALE_8", "GRAYSCALE_16", "GRAYSCALE_32", "INDEXED_1",
    "INDEXED_4", "INDEXED_8",   "BGR_24",      "BGRA_32",     "RGBA_32",      "BGRX_32",      "PBGRA_32",
};

bool AreEqualButForCase(std::string_view a, std::string_view b) {
    const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return upper(x) == upper(y); });
}

}  // namespace

const char* FormatName(shr::ColorFormat format) { return kFormatNames[format]; }

std::optional<shr::ColorFormat> FormatNamed(std::string_view name) {
    for (int i = shr::GRAYSCALE_1; i < shr::kColorFormats; ++i) {
        if (AreEqualButForCase(name, kFormatNames[i])) return static_cast<shr::ColorFormat>(i);
    }
    return std::nullopt;
}

}  // namespace tool
