#include "pictures/PaletteFormats.h"

#include <cctype>
#include <charconv>
#include <optional>
#include <stdexcept>

namespace tool {

namespace {

using Colors = std::vector<shr::Color4b>;

constexpr std::size_t kMostColors = 256;
constexpr std::string_view kGimpHead = "GIMP Palette";
constexpr std::size_t kAdobeColorBytes = 3 * kMostColors, kAdobeTailBytes = 4;
constexpr unsigned kNothingIsTransparent = 0xFFFF;

void RequireUsefulCount(std::size_t count) {
    if (count == 0) throw std::runtime_error("has no colours");
    if (count > kMostColors) throw std::runtime_error("has more than 256 colours");
}

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f'; }

std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsSpace(text.back())) text.remove_suffix(1);
    return text;
}

/// Takes the next line off the text.
std::string_view TakeLine(std::string_view& text) {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return Trimmed(line);
}

/// Takes a number of 0 to 255, alone between spaces, off the line.
std::optional<std::uint8_t> TakeLevel(std::string_view& line) {
    line = Trimmed(line);
    std::uint8_t level = 0;
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), level);
    const auto length = static_cast<std::size_t>(end - line.data());
    if (error != std::errc{} || (length < line.size() && !IsSpace(line[length]))) return std::nullopt;
    line.remove_prefix(length);
    return level;
}

std::optional<shr::Color4b> ColorIn(std::string_view line) {
    const auto red = TakeLevel(line), green = TakeLevel(line), blue = TakeLevel(line);
    if (!red || !green || !blue) return std::nullopt;
    return shr::Color4b(*red, *green, *blue);
}

/// "Name: ...", "Columns: ..." and what programs add of that kind.
bool IsProperty(std::string_view line) {
    const std::size_t colon = line.find(':');
    return colon != std::string_view::npos && std::isalpha(static_cast<unsigned char>(line.front())) != 0;
}

Colors DecodeGimp(std::string_view text) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
    if (TakeLine(text) != kGimpHead) throw std::runtime_error("does not begin with \"GIMP Palette\"");
    Colors colors;
    for (int number = 2; !text.empty(); ++number) {
        const std::string_view line = TakeLine(text);
        if (line.empty() || line.front() == '#' || (colors.empty() && IsProperty(line))) continue;
        const auto color = ColorIn(line);
        if (!color)
            throw std::runtime_error("line " + std::to_string(number) +
                                     " does not begin with red, green and blue, each 0 to 255");
        colors.push_back(*color);
        if (colors.size() > kMostColors) break;
    }
    return colors;
}

unsigned BigEndian16(std::string_view bytes, std::size_t at) {
    return static_cast<unsigned>(static_cast<std::uint8_t>(bytes[at]) << 8 | static_cast<std::uint8_t>(bytes[at + 1]));
}

void AppendBigEndian16(std::string& bytes, unsigned value) {
    bytes += static_cast<char>(value >> 8);
    bytes += static_cast<char>(value & 255);
}

Colors DecodeAdobe(std::string_view bytes) {
    if (bytes.size() != kAdobeColorBytes && bytes.size() != kAdobeColorBytes + kAdobeTailBytes)
        throw std::runtime_error("has " + std::to_string(bytes.size()) + " bytes, and a colour table 768 or 772");
    const std::size_t count = bytes.size() == kAdobeColorBytes ? kMostColors : BigEndian16(bytes, kAdobeColorBytes);
    RequireUsefulCount(count);  // before it leads beyond the bytes
    Colors colors;
    const auto level = [&](std::size_t i) { return static_cast<std::uint8_t>(bytes[i]); };
    for (std::size_t i = 0; i < count; ++i) colors.emplace_back(level(3 * i), level(3 * i + 1), level(3 * i + 2));
    return colors;
}

std::string EncodeGimp(const Colors& colors) {
    std::string text = std::string(kGimpHead) + "\nName: zbm\nColumns: 16\n#\n";
    for (const shr::Color4b& color : colors) {
        for (const unsigned level : {color.red, color.green, color.blue}) {
            const std::string digits = std::to_string(level);
            text += std::string(3 - digits.size(), ' ') + digits + ' ';
        }
        text.back() = '\t';
        text += "Untitled\n";
    }
    return text;
}

/// Without a count where all are used, as programs read it that know no count.
std::string EncodeAdobe(const Colors& colors) {
    std::string bytes;
    for (const shr::Color4b& color : colors)
        for (const std::uint8_t level : {color.red, color.green, color.blue}) bytes += static_cast<char>(level);
    bytes.resize(kAdobeColorBytes);
    if (colors.size() == kMostColors) return bytes;
    AppendBigEndian16(bytes, static_cast<unsigned>(colors.size()));
    AppendBigEndian16(bytes, kNothingIsTransparent);
    return bytes;
}

}  // namespace

std::vector<shr::Color4b> DecodePalette(PaletteFormat format, std::string_view bytes) {
    Colors colors = format == PaletteFormat::gimp ? DecodeGimp(bytes) : DecodeAdobe(bytes);
    RequireUsefulCount(colors.size());
    return colors;
}

std::string EncodePalette(PaletteFormat format, const std::vector<shr::Color4b>& colors) {
    return format == PaletteFormat::gimp ? EncodeGimp(colors) : EncodeAdobe(colors);
}

}  // namespace tool
