#pragma once
#include <ostream>
#include <string>
#include <vector>

#include "Console.h"

namespace tool {

/// What the process ends with.
namespace ExitCode {
inline constexpr int success = 0, failure = 1, usage = 2, cancelled = 130;
}

/// The whole tool, but for the process around it: parses the arguments (in UTF-8, without the program's name), executes
/// the command and returns the exit code. Results go to `out`; errors, one line each, notes and, on a terminal, the
/// progress go to `errors`. Raises std::bad_alloc when there is not even the memory to tell of an error.
int RunTool(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& errors,
            TerminalWidth widthOfErrors);

/// All that main() does: the tool on the process's arguments and streams. Whatever happens is told by the exit code.
int RunProcess(int argc, char** argv) noexcept;

}  // namespace tool
