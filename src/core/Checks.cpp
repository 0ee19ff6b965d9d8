#include "core/Checks.h"

#include "zbm/ZBMLib2.h"

namespace zbm {

void Require::Fail(Check check) const {
    const CheckRow& row = check.Row();
    switch (row.raises) {
        case Raises::readArchive: Throw_ERR_ZBM_READ_ARCHIVE(ModuleName(), check.Source(), row.line);
        case Raises::writeArchive: Throw_ERR_ZBM_WRITE_ARCHIVE(ModuleName(), check.Source(), row.line);
        case Raises::unsupportedDib: Throw_ERR_ZBM_UNSUPPORTED_DIB_FORMAT(ModuleName(), check.Source(), row.line);
        case Raises::memoryShort: shr::Throw_ERR_SHR_NOGLOBALMEM(ModuleName(), check.Source(), row.line);
        default: shr::ThrowInternalError(ModuleName(), check.Source(), row.line, row.text);
    }
}

void Require::Fail(Check check, const ZString& name) const {
    const auto raise = [&](auto thrower, const auto&... texts) {
        thrower(ModuleName(), check.Source(), check.Line(), name, texts...);
    };
    switch (check.Row().raises) {
        case Raises::badFile: raise(shr::Throw_ERR_SHR_BADFILE); break;
        case Raises::fileFind: raise(shr::Throw_ERR_SHR_FILE_FIND); break;
        case Raises::fileReadOnly: raise(shr::Throw_ERR_SHR_FILE_READ_ONLY); break;
        case Raises::fileOpen: raise(shr::Throw_ERR_SHR_FILE_OPEN, shr::FormatSystemErrorMsg()); break;
        case Raises::fileCreate: raise(shr::Throw_ERR_SHR_FILE_CREATE, shr::FormatSystemErrorMsg()); break;
        case Raises::fileDelete: raise(shr::Throw_ERR_SHR_FILE_DELETE, shr::FormatSystemErrorMsg()); break;
        case Raises::tempFileCreate: raise(shr::Throw_ERR_SHR_TEMPFILE_CREATE); break;
        default: break;
    }
    Fail(check);
}

}  // namespace zbm
