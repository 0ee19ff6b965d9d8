#pragma once
#include <csetjmp>
#include <exception>

namespace tool {

/// Lets C++ call a C library that reports errors by never returning, and be called back by it.
///
/// An exception must not pass through the library's frames, and a jump must not pass over objects with destructors. So
/// each call of the library stands in a small lambda that Run executes, and the library's callbacks end either normally
/// or in Fail, which jumps to that Run, which throws.
class LibraryGuard {
public:
    /// Executes `call`, which calls the library and makes no objects. Raises what a callback caught, or
    /// std::runtime_error with the library's own message.
    template <class Call>
    void Run(const Call& call) {
        if (setjmp(jump) != 0) Raise();
        call();
    }

    /// For callbacks: executes `action`; false when it threw. What it threw is kept for Run.
    template <class Action>
    bool Try(const Action& action) noexcept {
        try {
            action();
            return true;
        } catch (...) {
            pending = std::current_exception();
            return false;
        }
    }

    /// For the library's error callback, and for others after Try was false. Nothing with a destructor may live in the
    /// frames between here and Run.
    [[noreturn]] void Fail(const char* message) noexcept;

private:
    [[noreturn]] void Raise();

    std::jmp_buf jump;
    std::exception_ptr pending;
    char text[256] = "";
};

}  // namespace tool
