#pragma once
#include <exception>
#include <ostream>
#include <string>
#include <string_view>

#include "shr/ZString.h"

namespace tool {

using shr::ZString;

/// An error that ends the command: the file that it is about, and in one line what is wrong with it.
class ToolError : public std::exception {
public:
    ToolError(ZString about, std::string wrong) : file(std::move(about)), text(std::move(wrong)) {}
    const char* what() const noexcept override { return text.c_str(); }
    const ZString& File() const noexcept { return file; }

private:
    ZString file;
    std::string text;
};

/// A ToolError about what the user asked for.
class UsageError final : public ToolError {
public:
    using ToolError::ToolError;
};

/// How many columns the terminal at which messages are read has now; 0 if they go elsewhere.
using TerminalWidth = int (*)();

/// The text with its control characters, those that turn the direction of writing, and bytes that are no text, as
/// escapes: "\n", "\x1B", "\u202E". Hostile names and files
/// would tell the terminal what to do.
std::string Escaped(const ZString& text);

/// What the user is told beside the results: lines, each naming its file, and below them, on a terminal only, one
/// status line that comes and goes. All text is UTF-8, and shown escaped.
class Console {
public:
    Console(std::ostream& target, TerminalWidth widthOfTarget) : stream(target), width(widthOfTarget) {}
    ~Console() { ClearStatus(); }
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    void Error(const ZString& file, std::string_view text);
    /// Something of the picture that the result does not hold.
    void Note(const ZString& file, std::string_view text);
    /// What a library found odd in a file. Only the first few are shown, since a damaged file gives thousands.
    void Warning(const ZString& file, std::string_view text);

    /// How many characters the status line may have, so that it stays one line; 0 if there is none.
    std::size_t StatusWidth() const;
    void ShowStatus(std::string_view text);
    void ClearStatus() noexcept;

private:
    void Line(const ZString& file, std::string_view kind, std::string_view text);

    std::ostream& stream;
    const TerminalWidth width;
    std::size_t statusLength = 0;
    int warnings = 0;
};

}  // namespace tool
