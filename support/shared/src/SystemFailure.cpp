#include "SystemFailure.h"

#include "shr/Exception.h"

namespace shr {

SystemErrorKeeper::SystemErrorKeeper() noexcept : code(LastSystemError()) {}

SystemErrorKeeper::~SystemErrorKeeper() { SetLastSystemError(code); }

}  // namespace shr
