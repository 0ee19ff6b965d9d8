#include "FolderReader.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <memory>

#include "NativePath.h"
#include "Wildcard.h"
#include "shr/FileFind.h"

namespace shr {
namespace {

std::uint32_t KindOf(unsigned char type) {
    if (type == DT_DIR) return FileAttribute::folder;
    return type == DT_REG ? 0 : FileAttribute::system;
}

std::uint32_t AttributesOf(const struct stat& status) {
    constexpr mode_t kAnyoneWrites = S_IWUSR | S_IWGRP | S_IWOTH;
    std::uint32_t attributes = 0;
    if (S_ISDIR(status.st_mode)) {
        attributes |= FileAttribute::folder;
    } else if (!S_ISREG(status.st_mode)) {
        attributes |= FileAttribute::system;
    }
    if (!S_ISLNK(status.st_mode) && (status.st_mode & kAnyoneWrites) == 0) attributes |= FileAttribute::readOnly;
    return attributes;
}

}  // namespace

struct FolderReader::Search {
    DIR* folder = nullptr;
    const dirent* entry = nullptr;
};

FolderReader::FolderReader(const ZString& folder) : search(nullptr) {
    auto opened = std::make_unique<Search>();
    opened->folder = opendir(folder.IsEmpty() ? "." : NativePath(folder).c_str());
    search = opened.release();
}

FolderReader::~FolderReader() {
    if (search->folder != nullptr) closedir(search->folder);
    delete search;
}

bool FolderReader::Next() {
    search->entry = search->folder == nullptr ? nullptr : readdir(search->folder);
    return search->entry != nullptr;
}

ZString FolderReader::GetName() const { return ZString::FromUtf8(search->entry->d_name); }

std::optional<FolderReader::Facts> FolderReader::GetFacts() const {
    const char* const name = search->entry->d_name;
    const std::uint32_t hidden = name[0] == '.' ? FileAttribute::hidden : 0;
    struct stat status {};
    if (fstatat(dirfd(search->folder), name, &status, AT_SYMLINK_NOFOLLOW) == 0)
        return Facts{AttributesOf(status) | hidden, status.st_size};
    if (errno == ENOENT) return std::nullopt;
    // A folder may let its entries be listed but not be looked at.
    return Facts{KindOf(search->entry->d_type) | hidden, -1};
}

std::wstring FoldFileNameCase(const ZString& name) { return name.Wide(); }

}  // namespace shr
