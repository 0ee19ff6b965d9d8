#include "pictures/LibraryGuard.h"

#include <cstdio>
#include <stdexcept>
#include <utility>

namespace tool {

void LibraryGuard::Fail(const char* message) noexcept {
    std::snprintf(text, sizeof text, "%s", message);
    std::longjmp(jump, 1);
}

void LibraryGuard::Raise() {
    if (pending) std::rethrow_exception(std::exchange(pending, nullptr));
    throw std::runtime_error(text);
}

}  // namespace tool
