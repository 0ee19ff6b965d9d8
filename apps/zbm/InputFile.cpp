#include "InputFile.h"

#include "Console.h"
#include "Host.h"
#include "shr/Exception.h"

namespace tool {

shr::CBufferedFile OpenInput(const ZString& name) {
    shr::CBufferedFile file;
    if (file.OpenNoThrow(name, shr::FileAccess::read, shr::FileMode::openExisting, shr::FileSharing::read)) return file;
    const ZString reason = shr::FormatSystemErrorMsg();
    if (KindOf(name) == FileKind::other)
        throw ToolError(name, "is no regular file; the input must be one, since it is read back and forth (seekable)");
    throw ToolError(name, reason.ToUtf8());
}

}  // namespace tool
