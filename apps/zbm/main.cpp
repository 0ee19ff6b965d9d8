// The command-line tool zbm: see CommandLine.h for what it does.
#include <iostream>

#include "Cancel.h"
#include "Host.h"
#include "commands/CommandLine.h"

int main(int argc, char** argv) {
    const bool errorsOnTerminal = tool::PrepareConsole();
    tool::InstallCancelHandler();
    return tool::RunTool(tool::Arguments(argc, argv), std::cout, std::cerr, errorsOnTerminal);
}
