#pragma once

namespace shr {

/// Failures that the file classes find themselves and report as the system reports its own.
enum class SystemFailure { deviceFault, diskFull, accessDenied, invalidArgument, fileTooLarge, outOfMemory };

/// The system's code for the failure.
int SystemErrorCode(SystemFailure failure) noexcept;
/// What LastSystemError() answers from now on, on this thread.
void SetLastSystemError(int code) noexcept;

/// Keeps LastSystemError() as it is over a clean-up.
class SystemErrorKeeper {
public:
    SystemErrorKeeper() noexcept;
    ~SystemErrorKeeper();
    SystemErrorKeeper(const SystemErrorKeeper&) = delete;
    SystemErrorKeeper& operator=(const SystemErrorKeeper&) = delete;

private:
    int code;
};

}  // namespace shr
