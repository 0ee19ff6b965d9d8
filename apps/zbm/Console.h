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

/// What the user is told beside the results: lines, each naming its file, and below them one status line that comes and
/// goes. All text is UTF-8; control characters, which a hostile file may bring along, are shown as '?'.
class Console {
public:
    /// `isTerminal`: whether `target` is one, where the status line makes sense.
    Console(std::ostream& target, bool isTerminal) : stream(target), showStatus(isTerminal) {}
    ~Console() { ClearStatus(); }
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    void Error(const ZString& file, std::string_view text);
    /// Something of the picture that the result does not hold.
    void Note(const ZString& file, std::string_view text);
    /// What a library found odd in a file. Only the first few are shown, since a damaged file gives thousands.
    void Warning(const ZString& file, std::string_view text);

    bool ShowsStatus() const noexcept { return showStatus; }
    void ShowStatus(std::string_view text);
    void ClearStatus() noexcept;

private:
    void Line(const ZString& file, std::string_view kind, std::string_view text);

    std::ostream& stream;
    const bool showStatus;
    std::size_t statusLength = 0;
    int warnings = 0;
};

}  // namespace tool
