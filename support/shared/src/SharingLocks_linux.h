#pragma once
#include "shr/BufferedFile.h"

namespace shr {

/// Declares, with locks on the open file description, how `descriptor` uses its file and what it allows others, unless
/// that clashes with what others have declared. The declaration lasts until the description is closed.
///
/// `readable` tells whether the descriptor was opened for reading. Returns 0, or the error's code: EBUSY for a clash.
/// Where the file system has no locks there is nothing to declare to, and the result is 0.
int DeclareSharing(int descriptor, bool readable, FileAccess access, FileSharing sharing) noexcept;

}  // namespace shr
