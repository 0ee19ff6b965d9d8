#pragma once
// What the tool asks of the operating system, beside what the shared library offers.
#include <cstdint>
#include <string>
#include <vector>

#include "shr/ZString.h"

namespace tool {

using shr::ZString;

/// The program's arguments without its name, in UTF-8 (as the bytes that they are, where the system has no encoding).
std::vector<std::string> Arguments(int argc, char** argv);

/// Makes the standard streams show UTF-8. Those that are closed stay so for good: no file takes their places. To be
/// called before any file is opened. Raises std::runtime_error where that cannot be had.
void PrepareConsole();
/// Makes standard output take bytes as they are, in place of text.
void PrepareBinaryOutput();
/// How many columns the terminal at standard error has; 0 if it is none.
int ErrorsWidth();

/// The memory in bytes that this process may use: the machine's, or less where its container (or, on Windows, its job)
/// or the process itself has a limit. Found out once.
std::uint64_t UsableMemory();

enum class FileKind { missing, regular, folder, danglingLink, other };
/// Of what the name leads to. Links are followed; one that leads nowhere is a dangling one.
FileKind KindOf(const ZString& name);

}  // namespace tool
