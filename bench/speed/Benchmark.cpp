#include "Benchmark.h"

#include <algorithm>
#include <cstdio>
#include <regex>

#include "harness/Pictures.h"

namespace bench {

namespace {

std::vector<Benchmark>& Registry() {
    static std::vector<Benchmark> benchmarks;
    return benchmarks;
}

}  // namespace

bool Add(const std::vector<Benchmark>& benchmarks) {
    Registry().insert(Registry().end(), benchmarks.begin(), benchmarks.end());
    return true;
}

const std::vector<Benchmark>& AllBenchmarks() { return Registry(); }

void Run::TakeTurns(Work work, const Job& operation, const char* ratioName, const Job& rival) {
    const auto times = bench::TakeTurns({{"rival", Timed(rival)}, {"ours", Timed(operation)}}, rounds);
    result = {work, work.amount / times[1].median, ratioName, times[0].median / times[1].median};
}

void Run::TakeTurns(Work work, const Job& operation, std::size_t bytesOfMemcpy) {
    TakeTurns(work, operation, "ratio_to_memcpy", Copy(bytesOfMemcpy));
}

void PairTable::Add(const std::string& name, double rate) {
    static const std::regex kPair("[^/]*/(.*)_to_([^/]*)/512");
    std::smatch parts;
    if (std::regex_match(name, parts, kPair)) cells.push_back({parts[1], parts[2], rate});
}

void PairTable::Print() const {
    std::vector<std::string> formats;
    for (const Cell& cell : cells)
        if (formats.empty() || formats.back() != cell.from) formats.push_back(cell.from);
    if (cells.empty() || cells.size() != formats.size() * formats.size()) return;
    std::string head = "\n| from \\ to |", line = "\n|---|";
    for (const std::string& format : formats) head += " " + format + " |", line += "---:|";
    std::printf("%s%s", head.c_str(), line.c_str());
    for (const std::string& from : formats) {
        std::printf("\n| %s |", from.c_str());
        for (const Cell& cell : cells)
            if (cell.from == from) std::printf(" %.0f |", cell.rate);
    }
    std::printf("\n");
}

}  // namespace bench
