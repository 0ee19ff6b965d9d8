#pragma once
#include "shr/FileFaults.h"

namespace shr {

/// Whether the test at work wants this call to fail; the last system error is then set.
bool IsFaultInjected(FileCall call) noexcept;
/// How the test at work wants this read or write to go.
FileTransfer InjectedTransfer(FileCall call) noexcept;

}  // namespace shr
