#include "shr/Path.h"

#include <exception>

#include "PathSystem.h"
#include "TempName.h"

namespace shr {

CPath::CPath() = default;

CPath::CPath(const ZString& name) : path(name) {}

CPath::~CPath() = default;

ZString CPath::GetFileName() const { return path.Part(FolderLength(path.Wide())); }

ZString CPath::GetFolder() const { return path.Part(0, FolderLength(path.Wide())); }

ZString CPath::GetExtension() const {
    const ZString name = GetFileName();
    const std::size_t dot = name.Wide().rfind(L'.');
    // The dot that starts a hidden name, or is one of "..", starts no extension.
    if (dot == std::wstring::npos || dot == 0 || name.Wide() == L"..") return {};
    return name.Part(dot);
}

ZString CPath::GetTempPathW(bool appendSeparator) const {
    return AppendDirSeparator(SystemTempFolder(), appendSeparator);
}

ZString CPath::AppendDirSeparator(const ZString& path, bool append) {
    const std::wstring& text = path.Wide();
    const std::size_t root = RootLength(text);
    std::size_t length = text.size();
    while (length > root && IsDirSeparator(text[length - 1])) --length;
    ZString result = path.Part(0, length);
    if (append && length > 0 && !IsDirSeparator(result.Last())) result += kDirSeparator;
    return result;
}

ZString CPath::GetTempFilename(const ZString& folder) {
    try {
        const ZString prefix = AppendDirSeparator(folder, true);
        for (int attempt = 0; attempt < kTempNameAttempts; ++attempt) {
            ZString name = prefix + RandomTempName();  // moved out: a copy could fail once the file is there
            const FileMaking outcome = MakePrivateFile(name);
            if (outcome == FileMaking::made) return name;
            if (outcome == FileMaking::failed) break;
        }
    } catch (const std::exception&) {
        // No memory or no source of randomness: for the caller a failure as any other.
    }
    return {};
}

}  // namespace shr
