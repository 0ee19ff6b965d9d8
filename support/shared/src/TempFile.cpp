#include "shr/TempFile.h"

#include <utility>

#include "NativePath.h"
#include "PathSystem.h"
#include "TempName.h"
#include "shr/Path.h"

namespace shr {

TempFile::TempFile(const ZString& folder, const ZString& start) {
    const ZString prefix = CPath::AppendDirSeparator(folder, true) + start;
    for (int attempt = 0; attempt < kTempNameAttempts; ++attempt) {
        name = prefix + RandomTempName();
        auto native = NativePath(name);  // before the file is there
        const FileMaking outcome = MakePrivateFile(name);
        if (outcome == FileMaking::made) nativeName = std::move(native);
        if (outcome != FileMaking::existsAlready) return;
    }
}

TempFile::~TempFile() {
    if (HasFile()) RemoveNativeFile(nativeName);
}

bool TempFile::Rename(const ZString& target) noexcept {
    const bool isRenamed = RenameFile(name, target);
    if (isRenamed) nativeName.clear();
    return isRenamed;
}

}  // namespace shr
