#include <windows.h>

#include "NativePath.h"

namespace shr {
namespace {

// Folders are limited to a path of MAX_PATH less a name of 8.3 form; what is shorter needs no prefix anywhere.
constexpr DWORD kShortPath = MAX_PATH - 12;

std::wstring FullPath(const std::wstring& path, DWORD length) {
    std::wstring full(length, L'\0');
    full.resize(GetFullPathNameW(path.c_str(), length, full.data(), nullptr));
    return full.size() < length ? full : std::wstring();
}

}  // namespace

std::wstring NativePath(const ZString& name) {
    const std::wstring& path = name.Wide();
    if (path.find(L'\0') != std::wstring::npos) return {};
    const DWORD length = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    if (length <= kShortPath) return path;
    // The prefix switches off all interpretation of the path, so it is put before the path in its full form only.
    std::wstring full = FullPath(path, length);
    if (full.empty() || full.starts_with(L"\\\\?\\") || full.starts_with(L"\\\\.\\")) return path;
    if (full.starts_with(L"\\\\")) return L"\\\\?\\UNC" + full.substr(1);
    return L"\\\\?\\" + full;
}

}  // namespace shr
