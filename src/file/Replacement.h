#pragma once
#include <optional>

#include "shr/BufferedFile.h"
#include "shr/TempFile.h"

namespace zbm {

/// A new file beside the one that it is to replace in one step, once it is whole; without that it is removed with the
/// object. The former file is held until then, so that nobody opens what is about to go, and is never written.
class Replacement {
public:
    /// Nothing is held yet.
    explicit Replacement(const shr::ZString& target);

    /// False if others have the former file. One that is gone need not be held.
    bool HoldFormer() noexcept;
    /// Makes the new file, empty and not open. False if its folder takes none.
    bool Make();
    const shr::ZString& Name() const noexcept { return beside->Name(); }
    /// Of the new file, closed, with the former one's permissions. False if that fails; LastSystemError() tells why.
    bool TakePlace();

private:
    const shr::ZString place;  ///< the file itself, where the target is a link
    shr::CBufferedFile former;
    std::optional<shr::TempFile> beside;
};

}  // namespace zbm
