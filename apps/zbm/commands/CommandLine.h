#pragma once
#include <ostream>
#include <string>
#include <vector>

namespace tool {

/// What the process ends with.
namespace ExitCode {
inline constexpr int success = 0, failure = 1, usage = 2, cancelled = 130;
}

/// The whole tool, but for the process around it: parses the arguments (in UTF-8, without the program's name), executes
/// the command and returns the exit code. Results go to `out`; errors, one line each, notes and, if `errorsOnTerminal`,
/// the progress go to `errors`.
int RunTool(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& errors, bool errorsOnTerminal);

}  // namespace tool
