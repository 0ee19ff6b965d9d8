#pragma once
// How benchmarks measure: an operation and its rival take turns, so that both meet the same noise, and the medians of
// many rounds are compared. A ratio above 1 means that the operation is faster than its rival.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace bench {

/// What one round of an operation handles, for the figure that is printed.
struct Work {
    double amount;     ///< of the unit, a round
    const char* unit;  ///< a second: "GB/s", "MP/s"
};

/// Runs `operation` and `rival` in turns. The record's value is the operation's rate, and its ratio the rival's time
/// over the operation's; `ratioName` names the rival ("ratio_to_memcpy").
void TakeTurns(benchmark::State& state, Work work, const std::function<void()>& operation, const char* ratioName,
               const std::function<void()>& rival);

/// Two blocks of memory that memcpy copies as the rival of an operation; touched before, so that no page is fresh.
class Copy {
public:
    explicit Copy(std::size_t bytes);
    void operator()() const;

private:
    mutable std::vector<std::uint8_t> from, to;
};

/// Bytes that look like nothing in particular, the same in every run.
std::vector<std::uint8_t> Noise(std::size_t bytes);

}  // namespace bench
