#pragma once
#include <CLI/CLI.hpp>
#include <map>
#include <string>

#include "commands/BitmapFile.h"
#include "commands/OutputType.h"

// Arguments that several commands have. The targets must live until the arguments are parsed.
namespace tool {

/// For CLI::Option::check: what is wrong with the name of a file to read; nothing if nothing is.
std::string CheckInputName(const std::string& name);
/// A file's name, in UTF-8, that is no standard stream's.
CLI::Option* AddFile(CLI::App* command, const char* name, ZString& target, const char* description);
/// A file to read, and the options of reading.
void AddInput(CLI::App* command, const char* name, Input& input, const char* description);
/// A file to write, and the options of writing it. Returns the name's option.
CLI::Option* AddOutput(CLI::App* command, const char* name, Output& output, Writes writes, const char* description);
/// The choice to change the input itself instead.
void AddInPlace(CLI::App* command, CLI::Option* outputName, Output& output);

/// One of the names of a map; it is the map's value that counts.
template <class Value, class Target>
CLI::Option* AddChoice(CLI::App* command, const char* name, Target& target, const std::map<std::string, Value>& choices,
                       const char* typeName, const char* description) {
    const auto take = [&target, &choices](const std::string& text) { target = choices.at(text); };
    return command->add_option_function<std::string>(name, take, description)
        ->type_name(typeName)
        ->check(CLI::IsMember(choices));
}

}  // namespace tool
