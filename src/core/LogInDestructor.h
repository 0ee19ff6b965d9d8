#pragma once
#include "zbm/ZBMLib2.h"

namespace zbm {

/// For the catch (...) of a destructor, which has nobody to tell but the log. Where memory is too short even for that,
/// nothing is said.
inline void LogInDestructor(const char* sourceFile, int line) noexcept {
    try {
        shr::LogExceptionInfoAndRethrowIfUnknown(ModuleName(), sourceFile, line, nullptr);
    } catch (...) {
        // There is nothing else to do.
    }
}

}  // namespace zbm
