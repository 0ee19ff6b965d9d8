#include "ErrorContext.h"

#include "shr/Path.h"

namespace tool {

namespace {

bool EndsLikeFolder(const ZString& name) { return name == shr::CPath::AppendDirSeparator(name, true); }

/// Whether the text tells that name, in quotes; it does not any more afterwards, nor a colon before it.
bool RemoveFrom(std::wstring& text, const ZString& name) {
    if (name.IsEmpty()) return false;
    const std::wstring start = L" \"" + name.Wide();
    const std::size_t place = text.find(EndsLikeFolder(name) ? start : start + L"\"");
    if (place == std::wstring::npos) return false;
    const std::size_t end = text.find(L'"', place + start.size()) + 1;
    const std::size_t begin = place > 0 && text[place - 1] == L':' ? place - 1 : place;
    text.erase(begin, end - begin);
    return true;
}

}  // namespace

ToolError ErrorAbout(const ZString& file, const shr::Exception& error, const FileAliases& aliases) {
    std::wstring text = error.GetMessageText().Wide();
    // Internal errors have no text, but a place.
    if (text.empty()) return {file, error.what()};
    for (const FileAlias& alias : aliases) {
        if (RemoveFrom(text, alias.openAs)) return {alias.shownAs, ZString(text).ToUtf8()};
    }
    RemoveFrom(text, file);
    return {file, ZString(text).ToUtf8()};
}

}  // namespace tool
