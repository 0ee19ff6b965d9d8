#pragma once
#include <cstddef>
#include <filesystem>
#include <string>

#include "shr/ZString.h"

// What differs between the systems in names of files and folders, and the calls on them.
namespace shr {

extern const wchar_t kDirSeparator;
bool IsDirSeparator(wchar_t unit) noexcept;
/// The length of the part of `path` in front of its first name that is not to be shortened: "/", "C:\",
/// "\\host\share\".
std::size_t RootLength(const std::wstring& path) noexcept;
/// The length of the part up to and including the last separator.
std::size_t FolderLength(const std::wstring& path) noexcept;

/// The folder for temporary files as the system names it, with or without a separator at its end.
ZString SystemTempFolder();

/// RemoveFile for who has the name ready, as NativePath makes it, and must not fail for want of memory.
bool RemoveNativeFile(const std::filesystem::path::string_type& nativeName) noexcept;

enum class FileMaking { made, existsAlready, failed };
/// Makes a new empty file that only its owner may read and write.
FileMaking MakePrivateFile(const ZString& name);

}  // namespace shr
