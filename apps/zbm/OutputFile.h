#pragma once
#include "shr/BufferedFile.h"
#include "shr/ZString.h"

namespace tool {

using shr::ZString;

/// A file in the making. It grows under a temporary name beside its target and takes the target's place when it is
/// whole; until then, and for ever when something fails, the target is what it was and nothing else is left behind.
class OutputFile {
public:
    /// Raises ToolError if there is something at the target that is no regular file, or no file can be made beside it.
    explicit OutputFile(const ZString& name);
    /// Removes the temporary file unless it was committed.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// The name as it was given.
    const ZString& Target() const noexcept { return target; }
    /// Open for reading and writing, empty at first.
    shr::CBufferedFile& File() noexcept { return file; }
    /// The temporary name, which the file's own errors tell.
    const ZString& TemporaryName() const noexcept { return temporary; }

    /// Puts the file on the device and gives it its name.
    void Commit();

private:
    ZString target;
    ZString place;      // the file itself, where the target is a link
    ZString temporary;  // empty once it is gone
    shr::CBufferedFile file;
};

}  // namespace tool
