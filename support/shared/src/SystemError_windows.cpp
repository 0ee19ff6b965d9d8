#include <windows.h>

#include "shr/Exception.h"
#include "shr/ScopeExit.h"

namespace shr {

int LastSystemError() noexcept { return static_cast<int>(GetLastError()); }

ZString FormatSystemErrorMsg(int code) {
    wchar_t* text = nullptr;
    DWORD length =
        FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                       nullptr, static_cast<DWORD>(code), 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    if (length == 0) return L"Error " + std::to_wstring(code);
    const ScopeExit freeText([&] { LocalFree(text); });
    // The system ends its sentences with a line break.
    while (length > 0 && (text[length - 1] == L'\r' || text[length - 1] == L'\n' || text[length - 1] == L' ')) --length;
    return ZString(std::wstring_view(text, length));
}

}  // namespace shr
