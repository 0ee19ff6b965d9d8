#include "ErrorContext.h"

namespace tool {

namespace {

/// Whether the text tells that name; it does not any more afterwards.
bool RemoveFrom(std::wstring& text, const ZString& name) {
    if (name.IsEmpty()) return false;
    const std::wstring quoted = L" \"" + name.Wide() + L"\"";
    const std::size_t place = text.find(quoted);
    if (place == std::wstring::npos) return false;
    text.erase(place, quoted.size());
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
