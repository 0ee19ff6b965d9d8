#include "Console.h"

namespace tool {

namespace {

constexpr int kShownWarnings = 5;

std::string OnOneLine(std::string_view text) {
    std::string line(text);
    for (char& unit : line) {
        const auto code = static_cast<unsigned char>(unit);
        if (code < 0x20 || code == 0x7F) unit = code == '\n' ? ' ' : '?';
    }
    return line;
}

}  // namespace

void Console::Error(const ZString& file, std::string_view text) { Line(file, "", text); }

void Console::Note(const ZString& file, std::string_view text) { Line(file, "note: ", text); }

void Console::Warning(const ZString& file, std::string_view text) {
    ++warnings;
    if (warnings <= kShownWarnings) Line(file, "warning: ", text);
    if (warnings == kShownWarnings + 1) Line(file, "warning: ", "there are more warnings, which are not shown");
}

void Console::Line(const ZString& file, std::string_view kind, std::string_view text) {
    ClearStatus();
    stream << "zbm: " << OnOneLine(file.ToUtf8()) << ": " << kind << OnOneLine(text) << '\n' << std::flush;
}

void Console::ShowStatus(std::string_view text) {
    if (!showStatus) return;
    std::string line = OnOneLine(text);
    if (line.size() < statusLength) line.append(statusLength - line.size(), ' ');
    statusLength = text.size();
    stream << '\r' << line << std::flush;
}

void Console::ClearStatus() noexcept {
    if (statusLength == 0) return;
    // Blanks instead of an escape sequence: they work on every terminal of either system.
    stream << '\r';
    for (; statusLength != 0; --statusLength) stream << ' ';
    stream << '\r' << std::flush;
}

}  // namespace tool
