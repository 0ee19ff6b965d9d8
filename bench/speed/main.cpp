// zbm_bench runs our own benchmarks, on one thread, each in turns with its rival, and prints a line for each.
#include <cstdio>
#include <cstdlib>

#include "Benchmark.h"
#include "harness/Program.h"

namespace {

using namespace bench;

void Report(const std::string& name, const Run& run, Records& records) {
    const Run::Result& result = run.TheResult();
    std::printf("%-44s %10.2f %-6s %s %.2f", name.c_str(), result.rate, result.work.unit, result.ratioName,
                result.ratio);
    std::vector<Field> fields = {
        {"name", name}, {"unit", result.work.unit}, {"value", result.rate}, {result.ratioName, result.ratio}};
    for (const auto& [key, value] : run.More()) {
        std::printf("  %s %.2f", key, value);
        fields.emplace_back(key, value);
    }
    std::printf("\n");
    std::fflush(stdout);
    records.Add(fields);
}

int RunAll(const Options& options) {
    Records records(options.jsonFile);
    PairTable pairs;
    int count = 0;
    for (const Benchmark& benchmark : AllBenchmarks()) {
        if (!options.Wants(benchmark.name)) continue;
        Run run(options.RoundsOr(benchmark.rounds));
        benchmark.run(run);
        Report(benchmark.name, run, records);
        pairs.Add(benchmark.name, run.TheResult().rate);
        ++count;
    }
    pairs.Print();
    return count > 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Runs the benchmarks whose names match, on one thread, each in turns with its rival.");
    Options options;
    std::string level;
    options.AddTo(app);
    app.add_option("--level", level, "the kernels: base, avx2 or avx512");
    return RunProgram(app, argc, argv, [&] {
        // The libraries choose their kernels at the first use, which is later than this.
        if (!level.empty()) setenv("ZBM_CPU_LEVEL", level.c_str(), 1);
        return RunAll(options);
    });
}
