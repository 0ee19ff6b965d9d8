#include "FolderReader.h"

#include <windows.h>

#include <memory>

#include "NativePath.h"
#include "Wildcard.h"
#include "shr/FileFind.h"

namespace shr {

struct FolderReader::Search {
    HANDLE handle = INVALID_HANDLE_VALUE;
    WIN32_FIND_DATAW entry{};
    bool isFirst = true;  // opening the search has read the first entry already
};

FolderReader::FolderReader(const ZString& folder) : search(nullptr) {
    auto opened = std::make_unique<Search>();
    // All entries: the system's own wildcards would also match the short names that files have beside their own.
    opened->handle = FindFirstFileExW(NativePath(folder + L"*").c_str(), FindExInfoBasic, &opened->entry,
                                      FindExSearchNameMatch, nullptr, 0);
    search = opened.release();
}

FolderReader::~FolderReader() {
    if (search->handle != INVALID_HANDLE_VALUE) FindClose(search->handle);
    delete search;
}

bool FolderReader::Next() {
    if (search->handle == INVALID_HANDLE_VALUE) return false;
    if (search->isFirst) {
        search->isFirst = false;
        return true;
    }
    return ::FindNextFileW(search->handle, &search->entry) != FALSE;
}

ZString FolderReader::GetName() const { return search->entry.cFileName; }

std::optional<FolderReader::Facts> FolderReader::GetFacts() const {
    static_assert(
        FileAttribute::readOnly == FILE_ATTRIBUTE_READONLY && FileAttribute::hidden == FILE_ATTRIBUTE_HIDDEN &&
        FileAttribute::system == FILE_ATTRIBUTE_SYSTEM && FileAttribute::folder == FILE_ATTRIBUTE_DIRECTORY &&
        FileAttribute::archive == FILE_ATTRIBUTE_ARCHIVE && FileAttribute::compressed == FILE_ATTRIBUTE_COMPRESSED);
    const WIN32_FIND_DATAW& entry = search->entry;
    return Facts{entry.dwFileAttributes,
                 static_cast<std::int64_t>(entry.nFileSizeHigh) << 32 | static_cast<std::int64_t>(entry.nFileSizeLow)};
}

std::wstring FoldFileNameCase(const ZString& name) {
    const std::wstring& text = name.Wide();
    std::wstring folded(text.size(), L'\0');
    const int length = static_cast<int>(text.size());
    if (LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, text.c_str(), length, folded.data(), length, nullptr,
                      nullptr, 0) != length) {
        return text;
    }
    return folded;
}

}  // namespace shr
