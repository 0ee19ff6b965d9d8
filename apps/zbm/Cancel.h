#pragma once

namespace tool {

/// From now on Ctrl-C (and a request to end) no longer kills the process: it sets a flag at which every long operation
/// stops by itself, so that it can clean up. Nor do other signals that a failing write brings.
void InstallCancelHandler();

bool CancelRequested() noexcept;

/// Sets the flag as Ctrl-C does, or takes it back.
void SetCancelRequested(bool requested) noexcept;

}  // namespace tool
