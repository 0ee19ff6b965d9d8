#include "core/Checks.h"

#include "zbm/ZBMLib2.h"

namespace zbm {

void Require::Fail(Check check) const {
    const CheckRow& row = check.Row();
    switch (row.raises) {
        case Raises::internalError: break;
        case Raises::readArchive: Throw_ERR_ZBM_READ_ARCHIVE(ModuleName(), check.Source(), row.line);
        case Raises::writeArchive: Throw_ERR_ZBM_WRITE_ARCHIVE(ModuleName(), check.Source(), row.line);
        case Raises::unsupportedDib: Throw_ERR_ZBM_UNSUPPORTED_DIB_FORMAT(ModuleName(), check.Source(), row.line);
        case Raises::memoryShort: shr::Throw_ERR_SHR_NOGLOBALMEM(ModuleName(), check.Source(), row.line);
    }
    shr::ThrowInternalError(ModuleName(), check.Source(), row.line, row.text);
}

}  // namespace zbm
