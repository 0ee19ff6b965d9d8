#pragma once
// Checks by name. Callers know a check that fails by its source name and its line; both are fixed, wherever the code
// stands today. Each source's checks are listed once, in core/checks/: name, line, what a failure raises, and what must
// hold, in words. Lines from 9000 on are ours to give; all others are promised to callers.
//
//     require(amount >= -1 && amount <= 1, BitmapCheck::brightnessRange);
#include <algorithm>
#include <span>

namespace shr {
class ZString;
}

namespace zbm {

/// What a check raises when it fails.
enum class Raises {
    internalError,   ///< without message; what() says what must hold
    readArchive,     ///< Throw_ERR_ZBM_READ_ARCHIVE
    writeArchive,    ///< Throw_ERR_ZBM_WRITE_ARCHIVE
    unsupportedDib,  ///< Throw_ERR_ZBM_UNSUPPORTED_DIB_FORMAT
    memoryShort,     ///< shr::Throw_ERR_SHR_NOGLOBALMEM
    // Errors of a file or folder, of which the check is told the name: shr::Throw_ERR_SHR_...
    badFile,         ///< BADFILE
    fileFind,        ///< FILE_FIND
    fileReadOnly,    ///< FILE_READ_ONLY
    fileOpen,        ///< FILE_OPEN, with the system's words for its last error
    fileCreate,      ///< FILE_CREATE, likewise
    fileDelete,      ///< FILE_DELETE, likewise
    tempFileCreate,  ///< TEMPFILE_CREATE
};

struct CheckRow {
    int line;
    Raises raises;
    const char* text;
};

/// The checks of one source, by rising lines.
struct CheckList {
    const char* source;
    std::span<const CheckRow> rows;
};

/// Whether each check has its own line, above the one before, and a text.
constexpr bool IsInOrder(std::span<const CheckRow> rows) {
    int last = 0;
    for (const CheckRow& row : rows) {
        if (row.line <= last || row.text == nullptr || *row.text == '\0') return false;
        last = row.line;
    }
    return true;
}

/// A check of any source: what an enumerator of one of the lists becomes where sources differ.
class Check {
public:
    template <class Named>
    requires requires(Named named) { ListOf(named); }
    constexpr Check(Named named) noexcept : list(&ListOf(named)), line(static_cast<int>(named)) {}

    constexpr const char* Source() const noexcept { return list->source; }
    constexpr int Line() const noexcept { return line; }
    constexpr const CheckRow& Row() const noexcept { return *std::ranges::find(list->rows, line, &CheckRow::line); }

private:
    const CheckList* list;
    int line;
};

/// Raises what the check says unless the condition holds; Fail raises it in any case.
struct Require {
    void operator()(bool condition, Check check) const {
        if (!condition) [[unlikely]]
            Fail(check);
    }
    [[noreturn]] void Fail(Check check) const;

    /// The same for a check of a file or folder with that name.
    void operator()(bool condition, Check check, const shr::ZString& name) const {
        if (!condition) [[unlikely]]
            Fail(check, name);
    }
    [[noreturn]] void Fail(Check check, const shr::ZString& name) const;
};
inline constexpr Require require;

}  // namespace zbm

/// Makes the enumeration `Checks` of a list of CHECK(name, line, what it raises, what must hold).
#define ZBM_DEFINE_CHECKS(Checks, source, LIST)                                    \
    enum class Checks : int { LIST(ZBM_CHECK_NAME) };                              \
    inline constexpr CheckRow k##Checks##Rows[] = {LIST(ZBM_CHECK_ROW)};           \
    static_assert(IsInOrder(k##Checks##Rows), "each check has a line and a text"); \
    inline constexpr CheckList k##Checks##List{source, k##Checks##Rows};           \
    constexpr const CheckList& ListOf(Checks) noexcept { return k##Checks##List; }
#define ZBM_CHECK_NAME(name, line, raises, text) name = (line),
#define ZBM_CHECK_ROW(name, line, raises, text) {(line), Raises::raises, (text)},
