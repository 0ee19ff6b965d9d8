#pragma once
#include <cstdint>
#include <optional>

#include "shr/ZString.h"

namespace shr {

/// Reads the entries of a folder one after another, as the system has them, "." and ".." included.
class FolderReader {
public:
    /// `folder` is empty for the current one, or ends with a separator. One that cannot be read has no entries.
    explicit FolderReader(const ZString& folder);
    ~FolderReader();
    FolderReader(const FolderReader&) = delete;
    FolderReader& operator=(const FolderReader&) = delete;

    /// Goes to the next entry; false after the last one.
    bool Next();
    /// Of the current entry. No facts: the entry has gone meanwhile.
    ZString GetName() const;
    struct Facts {
        std::uint32_t attributes;
        std::int64_t length;  ///< in bytes; -1 where the system does not tell
    };
    std::optional<Facts> GetFacts() const;

private:
    struct Search;
    Search* search;
};

}  // namespace shr
