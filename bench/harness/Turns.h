#pragma once
// How contestants are measured: all take turns in one run on one thread, so that each meets the same noise, and the
// medians of many rounds are compared.
#include <functional>
#include <string>
#include <vector>

namespace contest {

/// One who takes part: does its job `times` times and says how many seconds they took together.
struct Contestant {
    std::string name;
    std::function<double(int times)> run;
};

/// A contestant whose job is a function of this process.
Contestant InThisProcess(std::string name, std::function<void()> job);

/// The median seconds that each one's job took. A turn lasts a millisecond at least; a job of less than a tenth of a
/// second is done once before it is timed, so that nobody pays for the memory that the one before left to be written.
/// The order changes from round to round.
std::vector<double> TakeTurns(const std::vector<Contestant>& contestants, int rounds);

}  // namespace contest
