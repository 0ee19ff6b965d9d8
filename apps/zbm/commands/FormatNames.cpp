#include "commands/FormatNames.h"

#include <algorithm>

namespace tool {

namespace {

bool AreEqualButForCase(std::string_view a, std::string_view b) {
    const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return upper(x) == upper(y); });
}

}  // namespace

const char* FormatName(shr::ColorFormat format) { return shr::TraitsOf(format).name; }

std::optional<shr::ColorFormat> FormatNamed(std::string_view name) {
    for (int i = shr::GRAYSCALE_1; i < shr::kColorFormats; ++i) {
        if (AreEqualButForCase(name, shr::kColorFormatTraits[i].name)) return static_cast<shr::ColorFormat>(i);
    }
    return std::nullopt;
}

}  // namespace tool
