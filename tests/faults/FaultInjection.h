#pragma once
// Makes the n-th request for memory fail: those of operator new, which this program replaces, and those for pixels,
// which ask a hook. On Linux the replaced operator serves every library of the process; Windows libraries keep the one
// of their runtime, so that there the faults reach pixels and what headers make in this program.
#include <gtest/gtest.h>

#include <new>

#include "faults/HeapMeter.h"
#include "shr/Exception.h"

namespace faults {

enum class Failing { once, fromThenOn };

/// While it lives, request `nth` (counted from 1) fails; with `fromThenOn` all later ones too. One at a time.
class ScopedFault {
public:
    ScopedFault(unsigned nth, Failing failing) noexcept;
    ~ScopedFault();
    ScopedFault(const ScopedFault&) = delete;
    ScopedFault& operator=(const ScopedFault&) = delete;
    /// Whether the faulty request was ever made.
    bool WasMet() const noexcept;
};

/// The same for requests to malloc and its kin, those of C libraries among them, where the program has its own malloc.
/// To be used beside no other.
class ScopedMallocFault {
public:
    ScopedMallocFault(unsigned nth, Failing failing) noexcept;
    ~ScopedMallocFault();
    ScopedMallocFault(const ScopedMallocFault&) = delete;
    ScopedMallocFault& operator=(const ScopedMallocFault&) = delete;
    bool WasMet() const noexcept;
};

/// Whether operator new of the libraries is the one that can be made to fail.
bool ReachesLibraries();

/// What a failed piece of work must leave behind, and what a finished one.
enum class Outcome { failed, done };

namespace detail {

constexpr unsigned kEndless = 100000;

struct Trial {
    bool met;           ///< whether a request failed
    std::int64_t left;  ///< blocks that are there afterwards and were not before
};

template <class Prepare, class Act, class Inspect>
Trial TryWithFault(unsigned nth, Failing failing, Prepare& prepare, Act& act, Inspect& inspect) {
    bool met = false;
    const std::int64_t before = LiveBlocks();
    {
        auto state = prepare();
        Outcome outcome = Outcome::done;
        {
            const ScopedFault fault(nth, failing);
            try {
                act(state);
            } catch (const std::bad_alloc&) { outcome = Outcome::failed; }
            met = fault.WasMet();
        }
        inspect(state, outcome);
    }
    return {met, LiveBlocks() - before};
}

}  // namespace detail

/// For work on files, whose stated errors may tell of the want of memory.
template <class Act>
void OrBadAlloc(Act act) {
    try {
        act();
    } catch (const shr::Exception&) { throw std::bad_alloc(); }
}

/// For n = 1, 2, ... until the work gets through: makes a state, lets `act` work on it with the n-th request failing,
/// once and then from there on, and hands the state to `inspect` with the outcome. Nothing but std::bad_alloc may come
/// out of `act`, and no block may be left when the state is gone. Returns how many requests were made to fail.
///
/// A failed request that the work survives must show in nothing: `inspect` then sees it done.
/// What the process makes once and keeps, for some work or for its first error of a kind, is left once and not again.
template <class Prepare, class Act, class Inspect>
unsigned FailEveryRequest(Prepare prepare, Act act, Inspect inspect) {
    unsigned failed = 0;
    detail::TryWithFault(detail::kEndless, Failing::once, prepare, act, inspect);
    for (const Failing failing : {Failing::once, Failing::fromThenOn})
        for (unsigned nth = 1; nth < detail::kEndless; ++nth) {
            auto trial = detail::TryWithFault(nth, failing, prepare, act, inspect);
            if (trial.left != 0) trial = detail::TryWithFault(nth, failing, prepare, act, inspect);
            // (What a test has to say about a failure stays in memory as well.)
            if (!testing::Test::HasFailure()) {
                EXPECT_EQ(trial.left, 0) << "leaked blocks after failing request " << nth;
            }
            if (!trial.met || testing::Test::HasFailure()) break;
            ++failed;
        }
    return failed;
}

}  // namespace faults
