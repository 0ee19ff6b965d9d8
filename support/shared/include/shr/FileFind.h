#pragma once
#include <cstdint>
#include <memory>

#include "shr/Export.h"
#include "shr/ZString.h"

namespace shr {

/// Attributes of a file, with Windows' values. Elsewhere a name that starts with a dot is hidden, and whatever is
/// neither a regular file nor a folder (a link is judged as a link, not followed) is `system`.
namespace FileAttribute {
inline constexpr std::uint32_t readOnly = 1, hidden = 2, system = 4, folder = 16, archive = 32, compressed = 2048;
}

/// Walks through the entries of a folder that match a pattern. Advance first, then look at the entry:
///
///     CFileFind find(folder + L"zv*.tmp");
///     while (find.FindNextFileW()) Use(find.GetFilePath());
class SHR_API CFileFind {
public:
    /// `pattern` is a folder (may be missing) followed by a name with the wildcards * and ?. Case counts where the
    /// system's file names do; "*.*" asks for a dot on every system. A folder that cannot be read has no entries.
    explicit CFileFind(const ZString& pattern);
    ~CFileFind();
    CFileFind(const CFileFind&) = delete;
    CFileFind& operator=(const CFileFind&) = delete;

    /// Goes to the first, then to each next entry; true for every entry, the last one too, and false after it.
    /// "." and ".." are left out.
    bool FindNextFileW();

    // About the current entry; before the first and after the last entry they answer false, 0 and empty.
    /// Whether the entry has any of the attributes in `mask`.
    bool MatchesMask(std::uint32_t mask) const noexcept;
    std::uint32_t GetAttributes() const noexcept;
    /// In bytes; -1 where the system does not tell. Of a file that is being written it may be an older one.
    std::int64_t GetLength() const noexcept;
    ZString GetFileName() const;
    /// The pattern's folder and the entry's name.
    ZString GetFilePath() const;

private:
    struct SHR_LOCAL State;
    std::unique_ptr<State> state;
};

}  // namespace shr
