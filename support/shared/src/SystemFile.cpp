#include "SystemFile.h"

#include <algorithm>
#include <limits>

#include "FaultSeam.h"
#include "SystemFailure.h"

namespace shr {
namespace {

// No system takes more in one call than fits in 31 bits.
constexpr std::size_t kMostBytesInACall = std::size_t{1} << 30;

bool FailWith(SystemFailure failure) noexcept {
    SetLastSystemError(SystemErrorCode(failure));
    return false;
}

// Makes `call(byteCount)` until it is not interrupted, in the way that the test at work wants it to go.
template <class Call>
std::int64_t Transfer(FileCall kind, std::size_t byteCount, std::int64_t interrupted, Call call) noexcept {
    for (;;) {
        if (IsFaultInjected(kind)) return -1;
        std::int64_t moved = interrupted;
        switch (InjectedTransfer(kind)) {
            case FileTransfer::whole: moved = call(std::min(byteCount, kMostBytesInACall)); break;
            case FileTransfer::part: moved = call(std::min((byteCount + 1) / 2, kMostBytesInACall)); break;
            case FileTransfer::interrupted: break;
            case FileTransfer::diskFull: FailWith(SystemFailure::diskFull); return -1;
            case FileTransfer::nothing: return 0;
        }
        if (moved != interrupted) return moved;
    }
}

bool IsPastTheLargestPosition(std::size_t byteCount, std::int64_t position) noexcept {
    return byteCount > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max() - position);
}

}  // namespace

std::int64_t SystemFile::ReadAll(void* dst, std::size_t byteCount, std::int64_t position) noexcept {
    if (IsPastTheLargestPosition(byteCount, position)) {
        byteCount = static_cast<std::size_t>(std::numeric_limits<std::int64_t>::max() - position);
    }
    auto* const bytes = static_cast<std::uint8_t*>(dst);
    std::size_t done = 0;
    while (done < byteCount) {
        const std::int64_t from = position + static_cast<std::int64_t>(done);
        const std::int64_t moved = Transfer(FileCall::read, byteCount - done, kInterrupted,
                                            [&](std::size_t count) { return ReadOnce(bytes + done, count, from); });
        if (moved < 0) return -1;
        if (moved == 0) break;
        done += static_cast<std::size_t>(moved);
    }
    return static_cast<std::int64_t>(done);
}

bool SystemFile::WriteAll(const void* src, std::size_t byteCount, std::int64_t position) noexcept {
    if (IsPastTheLargestPosition(byteCount, position)) return FailWith(SystemFailure::fileTooLarge);
    const auto* const bytes = static_cast<const std::uint8_t*>(src);
    std::size_t done = 0;
    while (done < byteCount) {
        const std::int64_t to = position + static_cast<std::int64_t>(done);
        const std::int64_t moved = Transfer(FileCall::write, byteCount - done, kInterrupted,
                                            [&](std::size_t count) { return WriteOnce(bytes + done, count, to); });
        if (moved < 0) return false;
        // A write that takes nothing and gives no reason would be repeated for ever.
        if (moved == 0) return FailWith(SystemFailure::diskFull);
        done += static_cast<std::size_t>(moved);
    }
    return true;
}

}  // namespace shr
