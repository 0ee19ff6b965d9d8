#pragma once
// A benchmark of our own is a row of data: its name, how many rounds it takes, and what sets it up and measures it.
#include <string>
#include <vector>

#include "harness/Records.h"
#include "harness/Turns.h"

namespace bench {

/// What one round of an operation handles, for the figure that is printed.
struct Work {
    double amount;     ///< of the unit, a round
    const char* unit;  ///< a second: "GB/s", "MP/s"
};

/// One benchmark as it runs.
class Run {
public:
    explicit Run(int howOften) : rounds(howOften) {}

    /// Runs `operation` and its rival in turns. The result is the operation's rate, and the rival's time over the
    /// operation's; `ratioName` names the rival ("ratio_to_memcpy").
    void TakeTurns(Work work, const Job& operation, const char* ratioName, const Job& rival);
    void TakeTurns(Work work, const Job& operation, std::size_t bytesOfMemcpy);
    /// One more figure of the result.
    void Add(const char* name, double value) { more.emplace_back(name, value); }

    struct Result {
        Work work{};
        double rate = 0;
        const char* ratioName = "";
        double ratio = 0;
    };
    const Result& TheResult() const { return result; }
    const std::vector<std::pair<const char*, double>>& More() const { return more; }

private:
    int rounds;
    Result result;
    std::vector<std::pair<const char*, double>> more;
};

struct Benchmark {
    std::string name;
    int rounds;
    std::function<void(Run&)> run;
};

/// Adds benchmarks to the program, before main():
///
///     [[maybe_unused]] const bool kAdded = bench::Add({{"Median/3", 5, [](bench::Run& run) { Median(run, 3); }}});
bool Add(const std::vector<Benchmark>& benchmarks);
const std::vector<Benchmark>& AllBenchmarks();

/// The rates of all benchmarks whose names are like "Convert/bgr24_to_gray8/512", as a table in Markdown: printed when
/// every pair has run.
class PairTable {
public:
    void Add(const std::string& name, double rate);
    void Print() const;

private:
    struct Cell {
        std::string from, to;
        double rate;
    };
    std::vector<Cell> cells;
};

}  // namespace bench
