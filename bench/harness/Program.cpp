#include "harness/Program.h"

#include <cstdio>
#include <exception>

namespace bench {

void Options::AddTo(CLI::App& app) {
    app.add_option("--filter", filter, "only what has this regular expression in its name");
    app.add_option("--json", jsonFile, "a file for the figures, too");
    app.add_option("--rounds", rounds, "how many turns each takes")->check(CLI::PositiveNumber);
    app.add_flag("--quick", isQuick, "one round, where it can be on small pictures: only to see that all runs");
}

int RunProgram(CLI::App& app, int argc, char** argv, const std::function<int()>& program) try {
    CLI11_PARSE(app, argc, argv);
    return program();
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
    return 1;
}

}  // namespace bench
