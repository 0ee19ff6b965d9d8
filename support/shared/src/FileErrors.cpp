// The named errors of files and their messages.
#include "shr/Exception.h"

namespace shr {
namespace {

constexpr wchar_t kReplacement = L'\xFFFD';

/// Control characters, which a file name may hold, would break the line or steer the terminal that shows it.
ZString Printable(const ZString& text) {
    std::wstring printable = text.Wide();
    for (wchar_t& unit : printable)
        if (static_cast<char32_t>(unit) < U' ' || unit == L'\x7F') unit = kReplacement;
    return ZString(std::move(printable));
}

/// `what "name"` and a full stop, or a colon and the system's text.
ZString Sentence(const wchar_t* what, const ZString& name, const ZString& systemText = {}) {
    const ZString sentence = ZString(what) + L" \"" + Printable(name) + L"\"";
    return systemText.IsEmpty() ? sentence + L"." : sentence + L": " + Printable(systemText);
}

[[noreturn]] void Throw(const ZString& module, const ZString& sourceFile, int line, const ZString& message) {
    throw Exception(module, sourceFile, line, message, false);
}

}  // namespace

void Throw_ERR_SHR_BADFILE(const ZString& module, const ZString& sourceFile, int line, const ZString& name) {
    Throw(module, sourceFile, line, Sentence(L"Damaged file or file of another kind:", name));
}

void Throw_ERR_SHR_FILE_FIND(const ZString& module, const ZString& sourceFile, int line, const ZString& name) {
    Throw(module, sourceFile, line, Sentence(L"Cannot find the file", name));
}

void Throw_ERR_SHR_FILE_READ_ONLY(const ZString& module, const ZString& sourceFile, int line, const ZString& name) {
    Throw(module, sourceFile, line, Sentence(L"Cannot change the read-only file", name));
}

void Throw_ERR_SHR_TEMPFILE_CREATE(const ZString& module, const ZString& sourceFile, int line, const ZString& folder) {
    Throw(module, sourceFile, line, Sentence(L"Cannot create a temporary file in the folder", folder));
}

void Throw_ERR_SHR_FILE_CREATE(const ZString& module, const ZString& sourceFile, int line, const ZString& name,
                               const ZString& systemText) {
    Throw(module, sourceFile, line, Sentence(L"Cannot create the file", name, systemText));
}

void Throw_ERR_SHR_FILE_OPEN(const ZString& module, const ZString& sourceFile, int line, const ZString& name,
                             const ZString& systemText) {
    Throw(module, sourceFile, line, Sentence(L"Cannot open the file", name, systemText));
}

void Throw_ERR_SHR_FILE_DELETE(const ZString& module, const ZString& sourceFile, int line, const ZString& name,
                               const ZString& systemText) {
    Throw(module, sourceFile, line, Sentence(L"Cannot delete the file", name, systemText));
}

void Throw_ERR_SHR_FILE_READ(const ZString& module, const ZString& sourceFile, int line, const ZString& name,
                             const ZString& systemText) {
    Throw(module, sourceFile, line, Sentence(L"Cannot read from the file", name, systemText));
}

void Throw_ERR_SHR_FILE_WRITE(const ZString& module, const ZString& sourceFile, int line, const ZString& name,
                              const ZString& systemText) {
    Throw(module, sourceFile, line, Sentence(L"Cannot write to the file", name, systemText));
}

void Throw_ERR_SHR_FILE_SEEK(const ZString& module, const ZString& sourceFile, int line, const ZString& name,
                             const ZString& systemText) {
    Throw(module, sourceFile, line, Sentence(L"Cannot move the position in the file", name, systemText));
}

void Throw_ERR_SHR_NOGLOBALMEM(const ZString& module, const ZString& sourceFile, int line) {
    Throw(module, sourceFile, line, L"Not enough memory.");
}

}  // namespace shr
