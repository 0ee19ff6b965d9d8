// The command-line tool zbm: see CommandLine.h for what it does.
#include "commands/CommandLine.h"

int main(int argc, char** argv) { return tool::RunProcess(argc, argv); }
