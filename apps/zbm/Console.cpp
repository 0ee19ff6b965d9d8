#include "Console.h"

#include <algorithm>

namespace tool {

namespace {

constexpr int kShownWarnings = 5;

bool IsControl(wchar_t unit) { return unit < 0x20 || (unit >= 0x7F && unit < 0xA0); }

/// Turns the direction of what follows: a name would look as if it had another ending.
bool TurnsDirection(wchar_t unit) { return (unit >= 0x202A && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069); }

/// A byte that is no UTF-8, as texts keep it: a second half of a pair that has no first one.
bool IsStrayByte(wchar_t unit, wchar_t former) {
    const bool followsFirstHalf = former >= 0xD800 && former < 0xDC00;
    return unit >= 0xDC80 && unit <= 0xDCFF && !followsFirstHalf;
}

std::wstring Escape(wchar_t unit) {
    switch (unit) {
        case L'\n': return L"\\n";
        case L'\r': return L"\\r";
        case L'\t': return L"\\t";
        default: break;
    }
    constexpr wchar_t kDigits[] = L"0123456789ABCDEF";
    const auto digit = [&](int shift) { return kDigits[unit >> shift & 15]; };
    if (TurnsDirection(unit)) return {L'\\', L'u', digit(12), digit(8), digit(4), digit(0)};
    return {L'\\', L'x', digit(4), digit(0)};
}

/// Libraries break their longer messages.
std::string OnOneLine(std::string_view text) {
    std::string line(text);
    std::replace(line.begin(), line.end(), '\n', ' ');
    return Escaped(ZString::FromUtf8(line));
}

}  // namespace

std::string Escaped(const ZString& text) {
    std::wstring shown;
    wchar_t former = 0;
    for (const wchar_t unit : text.Wide()) {
        if (IsControl(unit) || TurnsDirection(unit) || IsStrayByte(unit, former))
            shown += Escape(unit);
        else
            shown += unit;
        former = unit;
    }
    return ZString(std::move(shown)).ToUtf8();
}

void Console::Error(const ZString& file, std::string_view text) { Line(file, "", text); }

void Console::Note(const ZString& file, std::string_view text) { Line(file, "note: ", text); }

void Console::Warning(const ZString& file, std::string_view text) {
    ++warnings;
    if (warnings <= kShownWarnings) Line(file, "warning: ", text);
    if (warnings == kShownWarnings + 1) Line(file, "warning: ", "there are more warnings, which are not shown");
}

void Console::Line(const ZString& file, std::string_view kind, std::string_view text) {
    ClearStatus();
    // Whole before it is written, so that the want of memory leaves no half of it.
    std::string line("zbm: ");
    line.append(Escaped(file)).append(": ").append(kind).append(OnOneLine(text)).push_back('\n');
    stream << line << std::flush;
}

std::size_t Console::StatusWidth() const {
    // What fills the last column moves the cursor to the next line on some terminals.
    const int columns = width();
    return columns > 1 ? static_cast<std::size_t>(columns - 1) : 0;
}

void Console::ShowStatus(std::string_view text) {
    const std::size_t room = StatusWidth();
    if (room == 0) return;
    std::string line = OnOneLine(text.substr(0, room));
    const std::size_t length = line.size();
    if (length < statusLength) line.append(std::min(statusLength, room) - length, ' ');
    statusLength = length;
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
