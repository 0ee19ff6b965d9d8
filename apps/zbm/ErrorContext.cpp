#include "ErrorContext.h"

namespace tool {

namespace {

void RemoveFrom(std::wstring& text, const ZString& name) {
    if (name.IsEmpty()) return;
    const std::wstring quoted = L" \"" + name.Wide() + L"\"";
    const std::size_t place = text.find(quoted);
    if (place != std::wstring::npos) text.erase(place, quoted.size());
}

}  // namespace

std::string TextOf(const shr::Exception& error, const ZString& file, const ZString& alias) {
    std::wstring text = error.GetMessageText().Wide();
    RemoveFrom(text, file);
    RemoveFrom(text, alias);
    // Internal errors have no text, but a place.
    if (text.empty()) return error.what();
    return ZString(text).ToUtf8();
}

}  // namespace tool
