#pragma once
// How time is taken: all contestants take turns in one run on one thread, so that each meets the same noise, and the
// medians of many rounds are compared. A ratio above 1 means that the first is faster than the other.
#include <functional>
#include <string>
#include <vector>

namespace bench {

/// What is timed. It is made beforehand, with all that it needs.
using Job = std::function<void()>;

/// One who takes part: does its job `times` times and says how many seconds they took together.
struct Contestant {
    std::string name;
    std::function<double(int times)> run;
};

/// Times a job of this process.
std::function<double(int times)> Timed(Job job);

struct Times {
    double median, best;  ///< seconds for the job once
};

/// What each one's job took. A turn lasts a millisecond at least; a job of less than a tenth of a second is done once
/// before it is timed, so that nobody pays for the memory that the one before left to be written. The order changes
/// from round to round. Where a round takes long, a fifth of the rounds do.
std::vector<Times> TakeTurns(const std::vector<Contestant>& contestants, int rounds);

/// Keeps the compiler from leaving out what was written to memory although nobody reads it.
inline void KeepWrites() { asm volatile("" : : : "memory"); }
template <class T>
void Keep(const T& value) {
    asm volatile("" : : "g"(&value) : "memory");
}

}  // namespace bench
