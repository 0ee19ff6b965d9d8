#include <cerrno>
#include <system_error>

#include "shr/Exception.h"

namespace shr {

int LastSystemError() noexcept { return errno; }

ZString FormatSystemErrorMsg(int code) { return ZString::FromUtf8(std::generic_category().message(code)); }

}  // namespace shr
