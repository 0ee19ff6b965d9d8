#include "commands/NewSize.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <stdexcept>

namespace tool {

namespace {

/// The whole text as a number.
template <class Number>
std::optional<Number> NumberIn(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return number;
}

/// A side, or nothing for one that is left out: then 0.
std::optional<int> SideIn(std::string_view text) {
    if (text.empty()) return 0;
    const std::optional<int> side = NumberIn<int>(text);
    return side && *side >= 1 ? side : std::nullopt;
}

std::optional<NewSize> ParsePercent(std::string_view number) {
    const std::optional<double> percent = NumberIn<double>(number);
    if (!percent || !std::isfinite(*percent) || *percent <= 0) return std::nullopt;
    NewSize size;
    size.percent = *percent;
    return size;
}

int Side(double pixels) {
    const double side = std::max(1.0, std::round(pixels));
    if (side <= INT_MAX) return static_cast<int>(side);
    throw std::runtime_error("a side would be longer than 2147483647 pixels");
}

/// A side of the picture times a ratio of two others.
int Scaled(int side, int numerator, int denominator) {
    return Side(static_cast<double>(side) * numerator / denominator);
}

}  // namespace

std::optional<NewSize> NewSize::Parse(std::string_view text) {
    if (text.ends_with('%')) return ParsePercent(text.substr(0, text.size() - 1));
    const std::size_t cross = text.find_first_of("xX");
    if (cross == std::string_view::npos) return std::nullopt;
    const std::optional<int> width = SideIn(text.substr(0, cross)), height = SideIn(text.substr(cross + 1));
    if (!width || !height || (*width == 0 && *height == 0)) return std::nullopt;
    NewSize size;
    size.width = *width;
    size.height = *height;
    return size;
}

PixelSize NewSize::For(PixelSize picture) const {
    if (percent != 0) return {Side(picture.width * percent / 100), Side(picture.height * percent / 100)};
    if (isBox) {
        const bool widthDecides =
            static_cast<std::int64_t>(picture.width) * height >= static_cast<std::int64_t>(picture.height) * width;
        return (widthDecides ? NewSize{width, 0} : NewSize{0, height}).For(picture);
    }
    if (height == 0) return {width, Scaled(picture.height, width, picture.width)};
    if (width == 0) return {Scaled(picture.width, height, picture.height), height};
    return {width, height};
}

}  // namespace tool
