#include "OutputFile.h"

#include "Console.h"
#include "Host.h"
#include "shr/Exception.h"
#include "shr/Path.h"

namespace tool {

namespace {

void RefuseOtherThanFiles(const ZString& target) {
    const FileKind kind = KindOf(target);
    if (kind == FileKind::folder) throw ToolError(target, "is a folder");
    if (kind == FileKind::other) throw ToolError(target, "is no regular file, and only such are written");
}

}  // namespace

OutputFile::OutputFile(const ZString& name) : target(name), place(FollowLinks(name)) {
    RefuseOtherThanFiles(target);
    temporary = shr::CPath::GetTempFilename(shr::CPath(place).GetFolder());
    if (temporary.IsEmpty()) {
        const ZString reason = shr::FormatSystemErrorMsg();
        throw ToolError(target, "no file can be made in its folder: " + reason.ToUtf8());
    }
    if (!file.OpenNoThrow(temporary, shr::FileAccess::readWrite, shr::FileMode::openExisting, shr::FileSharing::none)) {
        const ZString reason = shr::FormatSystemErrorMsg();
        shr::RemoveFile(temporary);
        throw ToolError(target, "cannot be written: " + reason.ToUtf8());
    }
}

OutputFile::~OutputFile() {
    if (temporary.IsEmpty()) return;
    // What is still buffered would only be written to be deleted, and on a full device could only fail once more.
    try {
        file.Close();
    } catch (...) {  // NOLINT(bugprone-empty-catch): the error already on its way is the one to report
    }
    shr::RemoveFile(temporary);
}

void OutputFile::Commit() {
    file.FlushToDevice();
    file.Close();
    TakePermissions(temporary, place);
    if (!shr::RenameFile(temporary, place)) {
        const ZString reason = shr::FormatSystemErrorMsg();
        throw ToolError(target, "cannot be replaced: " + reason.ToUtf8());
    }
    temporary.Clear();
}

}  // namespace tool
