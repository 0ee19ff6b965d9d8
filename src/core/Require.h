#pragma once
#include "zbm/ZBMLib2.h"

namespace zbm {

/// Preconditions of one source file: an internal error names the file and the line that callers know the check by.
class Require {
public:
    explicit constexpr Require(const char* file) noexcept : sourceFile(file) {}

    void operator()(bool condition, int line) const {
        if (!condition) [[unlikely]]
            Fail(line);
    }
    [[noreturn]] void Fail(int line) const { shr::ThrowInternalError(ModuleName(), sourceFile, line); }

private:
    const char* sourceFile;
};

}  // namespace zbm
