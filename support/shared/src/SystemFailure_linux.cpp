#include <cerrno>

#include "SystemFailure.h"

namespace shr {

int SystemErrorCode(SystemFailure failure) noexcept {
    switch (failure) {
        case SystemFailure::deviceFault: return EIO;
        case SystemFailure::diskFull: return ENOSPC;
        case SystemFailure::accessDenied: return EACCES;
        case SystemFailure::invalidArgument: return EINVAL;
        case SystemFailure::fileTooLarge: return EFBIG;
        case SystemFailure::outOfMemory: return ENOMEM;
    }
    return EIO;
}

void SetLastSystemError(int code) noexcept { errno = code; }

}  // namespace shr
