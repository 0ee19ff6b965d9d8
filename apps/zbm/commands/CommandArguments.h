#pragma once
#include <functional>
#include <vector>

#include "commands/Commands.h"

namespace CLI {
class App;
}

namespace tool {

/// A command that the user may name.
struct Command {
    CLI::App* arguments;                              ///< owned by the application's parser
    std::function<void(const Streams& streams)> run;  ///< for when its arguments were parsed
};

/// Adds every command, with its arguments, to the parser.
std::vector<Command> AddCommands(CLI::App& app);

/// Those that are about bitmaps in files only.
void AddPageCommands(CLI::App& app, std::vector<Command>& commands);

}  // namespace tool
