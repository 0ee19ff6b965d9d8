#pragma once
// What the programs have in common: their arguments, and what becomes of errors.
#include <CLI/CLI.hpp>
#include <functional>
#include <regex>
#include <string>

namespace bench {

/// The arguments of every program that measures.
struct Options {
    std::string filter = ".", jsonFile;
    int rounds = 0;        ///< 0 for as many as each benchmark takes by itself
    bool isQuick = false;  ///< only to see that all runs: small pictures, one round

    void AddTo(CLI::App& app);
    /// Whether a benchmark of this name is asked for.
    bool Wants(const std::string& name) const { return std::regex_search(name, std::regex(filter)); }
    int RoundsOr(int usual) const { return isQuick ? 1 : rounds > 0 ? rounds : usual; }
};

/// Parses the arguments and runs the program, whose answer is the exit status; an exception is told, and gives 1.
int RunProgram(CLI::App& app, int argc, char** argv, const std::function<int()>& program);

}  // namespace bench
