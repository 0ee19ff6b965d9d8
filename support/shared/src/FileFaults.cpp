#include "shr/FileFaults.h"

#include <atomic>

#include "FaultSeam.h"
#include "SystemFailure.h"

namespace shr {
namespace {

std::atomic<FileFaultHook> faultHook = nullptr;
std::atomic<FileTransferHook> transferHook = nullptr;

}  // namespace

FileFaultHook SetFileFaultHook(FileFaultHook hook) noexcept { return faultHook.exchange(hook); }

FileTransferHook SetFileTransferHook(FileTransferHook hook) noexcept { return transferHook.exchange(hook); }

bool IsFaultInjected(FileCall call) noexcept {
    const FileFaultHook hook = faultHook.load(std::memory_order_acquire);
    if (hook == nullptr || !hook(call)) return false;
    SetLastSystemError(SystemErrorCode(SystemFailure::deviceFault));
    return true;
}

FileTransfer InjectedTransfer(FileCall call) noexcept {
    const FileTransferHook hook = transferHook.load(std::memory_order_acquire);
    return hook == nullptr ? FileTransfer::whole : hook(call);
}

}  // namespace shr
