#pragma once
#include <ostream>

#include "shr/BufferedFile.h"
#include "shr/TempFile.h"
#include "shr/ZString.h"

namespace tool {

using shr::ZString;

/// Stands for standard output.
inline constexpr const char* kStandardOutputName = "-";

/// A file in the making. It grows under a temporary name beside its target, ".NAME.zv*.tmp", and takes the target's
/// place when it is whole; until then, and for ever when something fails, the target is what it was and nothing else is
/// left behind. For standard output it grows in the system's folder for such files, and is copied when it is whole.
class OutputFile {
public:
    /// `standardOutput` is borrowed. Raises ToolError if there is something at the target that is no regular file, or a
    /// link that leads nowhere, or if no file can be made.
    OutputFile(const ZString& name, std::ostream& standardOutput);
    /// Removes the temporary file unless it was committed.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// For messages: the name as it was given, or "standard output".
    const ZString& Target() const noexcept { return target; }
    /// Open for reading and writing, empty at first.
    shr::CBufferedFile& File() noexcept { return file; }
    /// The temporary name, which the file's own errors tell.
    const ZString& TemporaryName() const noexcept { return temporary.Name(); }

    /// Whether a file of that path bears such a name.
    static bool IsTemporaryName(const ZString& path);

    /// Closes the file, so that something else may write it by its temporary name, or put another one in its place.
    void Release();
    /// Puts the file on the device and gives it its name; or copies it to standard output. Raises ToolError.
    void Commit();

private:
    void Open();
    void ReplaceTarget();
    void CopyToStandardOutput();

    bool isStandardOutput;
    std::ostream& stream;
    ZString target;
    ZString place;  // the file itself, where the target is a link; none for standard output
    shr::TempFile temporary;
    shr::CBufferedFile file;  // after the temporary file, so that it is closed before that is removed
};

}  // namespace tool
