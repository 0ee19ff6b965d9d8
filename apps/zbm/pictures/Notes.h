#pragma once
#include <string_view>

#include "Console.h"

namespace tool {

/// What is told to the user about one picture file beside errors.
class Notes {
public:
    Notes(Console& target, ZString about) : console(target), file(std::move(about)) {}

    /// Something of the picture that the result does not hold, or holds in another form.
    void Add(std::string_view text) { console.Note(file, text); }
    /// Something odd in the file that costs no pixel.
    void Warn(std::string_view text) { console.Warning(file, text); }

private:
    Console& console;
    const ZString file;
};

}  // namespace tool
