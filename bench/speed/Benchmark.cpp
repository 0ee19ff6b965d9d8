#include "Benchmark.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

double Seconds(const std::function<void()>& action, int times) {
    const auto start = Clock::now();
    for (int i = 0; i < times; ++i) action();
    return std::chrono::duration<double>(Clock::now() - start).count() / times;
}

/// How often to run an action so that the clock's grain does not show.
int TimesForAMillisecond(const std::function<void()>& action) {
    action();
    return std::clamp(static_cast<int>(1e-3 / std::max(Seconds(action, 1), 1e-8)), 1, 100000);
}

double Median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace

void TakeTurns(benchmark::State& state, Work work, const std::function<void()>& operation, const char* ratioName,
               const std::function<void()>& rival) {
    const int times = TimesForAMillisecond(operation), rivalTimes = TimesForAMillisecond(rival);
    std::vector<double> own, other;
    for ([[maybe_unused]] auto round : state) {
        other.push_back(Seconds(rival, rivalTimes));
        own.push_back(Seconds(operation, times));
        state.SetIterationTime(own.back());
    }
    state.counters[work.unit] = work.amount / Median(own);
    state.counters[ratioName] = Median(other) / Median(own);
}

Copy::Copy(std::size_t bytes) : from(bytes, 1), to(bytes, 2) {}

void Copy::operator()() const {
    std::memcpy(to.data(), from.data(), from.size());
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
}

std::vector<std::uint8_t> Noise(std::size_t bytes) {
    std::vector<std::uint8_t> noise(bytes);
    std::uint64_t state = 88172645463325252u;
    for (auto& byte : noise) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        byte = static_cast<std::uint8_t>(state >> 56);
    }
    return noise;
}

namespace {

/// A line a benchmark, and on request a JSON file of records: name, unit, value and the ratio to the rival.
class Reporter : public benchmark::BenchmarkReporter {
public:
    explicit Reporter(const std::string& jsonFile) {
        if (!jsonFile.empty()) json.open(jsonFile);
        if (json) json << "[";
    }
    ~Reporter() override {
        if (json) json << "\n]\n";
    }
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) Report(run);
    }

private:
    void Report(const Run& run) {
        const std::string name =
            run.run_name.function_name + (run.run_name.args.empty() ? "" : "/") + run.run_name.args;
        if (run.error_occurred) {
            std::printf("%-44s  %s\n", name.c_str(), run.error_message.c_str());
            return;
        }
        std::string unit, ratioName;
        double value = 0, ratio = 0;
        for (const auto& [key, counter] : run.counters) {
            const bool isRatio = key.rfind("ratio_to_", 0) == 0;
            (isRatio ? ratioName : unit) = key;
            (isRatio ? ratio : value) = counter.value;
        }
        std::printf("%-44s %10.2f %-6s %s %.2f\n", name.c_str(), value, unit.c_str(), ratioName.c_str(), ratio);
        std::fflush(stdout);
        if (!json) return;
        json << (first ? "\n" : ",\n") << R"( {"name": ")" << name << R"(", "unit": ")" << unit << R"(", "value": )"
             << value << ", \"" << ratioName << "\": " << ratio << "}";
        first = false;
    }

    std::ofstream json;
    bool first = true;
};

constexpr char kUsage[] =
    "zbm_bench [--filter REGEX] [--json FILE] [--level base|avx2|avx512]\n"
    "Runs the benchmarks whose names match, on one thread, each in turns with its rival.\n";

struct Options {
    std::string filter = ".", jsonFile, level;
};

bool Parse(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; i += 2) {
        const std::string key = argv[i];
        if (i + 1 >= argc) return false;
        if (key == "--filter")
            options.filter = argv[i + 1];
        else if (key == "--json")
            options.jsonFile = argv[i + 1];
        else if (key == "--level")
            options.level = argv[i + 1];
        else
            return false;
    }
    return true;
}

}  // namespace

}  // namespace bench

int main(int argc, char** argv) {
    bench::Options options;
    if (!bench::Parse(argc, argv, options)) {
        std::fputs(bench::kUsage, stderr);
        return 2;
    }
    // The libraries choose their kernels at the first use, which is later than this.
    if (!options.level.empty()) setenv("ZBM_CPU_LEVEL", options.level.c_str(), 1);
    int one = 1;
    benchmark::Initialize(&one, argv);
    bench::Reporter reporter(options.jsonFile);
    const bool ran = benchmark::RunSpecifiedBenchmarks(&reporter, nullptr, options.filter) > 0;
    benchmark::Shutdown();
    return ran ? 0 : 1;
}
