#include <windows.h>

#include "SystemFailure.h"

namespace shr {

int SystemErrorCode(SystemFailure failure) noexcept {
    switch (failure) {
        case SystemFailure::deviceFault: return ERROR_WRITE_FAULT;
        case SystemFailure::diskFull: return ERROR_DISK_FULL;
        case SystemFailure::accessDenied: return ERROR_ACCESS_DENIED;
        case SystemFailure::invalidArgument: return ERROR_INVALID_PARAMETER;
        case SystemFailure::fileTooLarge: return ERROR_FILE_TOO_LARGE;
        case SystemFailure::outOfMemory: return ERROR_NOT_ENOUGH_MEMORY;
    }
    return ERROR_WRITE_FAULT;
}

void SetLastSystemError(int code) noexcept { SetLastError(static_cast<DWORD>(code)); }

}  // namespace shr
