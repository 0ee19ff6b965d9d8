#include "commands/TemporaryFolder.h"

#include <cwchar>
#include <stdexcept>

#include "shr/Exception.h"
#include "shr/Path.h"

namespace tool {

namespace {

constexpr wchar_t kEnding[] = L".d";

std::filesystem::path NativePath(const ZString& name) {
#ifdef _WIN32
    return name.Wide();
#else
    return name.ToUtf8();
#endif
}

void RefuseUnless(bool made, const char* what) {
    if (!made) throw std::runtime_error(what + shr::FormatSystemErrorMsg().ToUtf8());
}

constexpr const char* kNoFolder = "no folder for temporary files can be made beside it: ";

}  // namespace

TemporaryFolder::TemporaryFolder(const ZString& parent) : holder(parent) {
    RefuseUnless(holder.HasFile(), kNoFolder);
    path = NativePath(holder.Name() + kEnding);
    name = shr::CPath::AppendDirSeparator(holder.Name() + kEnding, true);
    std::error_code error;
    if (!std::filesystem::create_directory(path, error)) throw std::runtime_error(kNoFolder + error.message());
    // Where the file system knows no permissions there is nothing to take away.
    std::filesystem::permissions(path, std::filesystem::perms::owner_all, error);
}

TemporaryFolder::~TemporaryFolder() {
    files.clear();
    std::error_code error;
    if (std::filesystem::remove(path, error) || !error) return;
    try {
        std::filesystem::remove_all(path, error);  // what the library has left there
    } catch (...) {                                // NOLINT(bugprone-empty-catch): the sweep finds it
    }
}

shr::TempFile& TemporaryFolder::NewFile() {
    files.reserve(files.size() + 1);
    auto file = std::make_unique<shr::TempFile>(name);
    RefuseUnless(file->HasFile(), "no temporary file can be made beside it: ");
    files.push_back(std::move(file));
    return *files.back();
}

void RemoveTemporaryFolder(const ZString& folder) {
    std::error_code ignored;
    const std::wstring& name = folder.Wide();
    if (!std::filesystem::remove(NativePath(folder), ignored)) return;
    shr::RemoveFile(ZString(name.substr(0, name.size() - std::wcslen(kEnding))));
}

}  // namespace tool
