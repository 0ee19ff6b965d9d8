#include "commands/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <iostream>
#include <optional>

#include "Cancel.h"
#include "Host.h"
#include "commands/CommandArguments.h"
#include "shr/Exception.h"
#include "shr/Logger.h"

namespace tool {

namespace {

constexpr const char* kDescription =
    "zbm packs pictures into archives of tiled bitmaps, unpacks them again, every pixel the same, converts them\n"
    "between pixel formats, and edits them, however large they are.";

constexpr const char* kFooter =
    "Pictures are PNG, JPEG, TIFF or BMP files: told by their content when read, by their ending (.png .jpg .jpeg\n"
    ".tif .tiff .bmp) when written; archives end in .zbm, bitmaps in files in .zbf. The result replaces a file of\n"
    "its name, but only when it is whole. For - it goes to standard output. The input is a file, never a pipe.\n"
    "\n"
    "A picture that takes more than a quarter of the memory that there is, or than --memory, is in a temporary file\n"
    "beside the output meanwhile (for -, in the system's folder for such files, which TMPDIR or TEMP names); the\n"
    "result is the same, every bit. A bitmap in a file (.zbf) is worked on in files.\n"
    "\n"
    "A picture that is marked to be shown turned (EXIF orientation) is turned. Kept are the pixels, transparency, the\n"
    "colour table, the resolution and, between pictures, the colour profile. Texts and other EXIF data are not kept;\n"
    "of a file with several pictures the first is read. Colours of 16 bits a sample, and deep grey with alpha, are\n"
    "reduced to 8 bits, grey levels deeper than a picture file's to what it holds (PNG: 16 bits; JPEG, BMP: 8 bits),\n"
    "and those of pictures that are edited to 8 bits. JPEG holds no transparency: transparent pixels are put on\n"
    "white, or on what --background says. What changes the picture's look is noted on standard error.\n"
    "\n"
    "Exit codes: 0 success, 1 failure, 2 wrong usage, 130 cancelled.";

void RefuseUnlessWritten(std::ostream& out) {
    if (!out.flush()) throw ToolError("standard output", "cannot be written");
}

/// What the parser itself would only miss as one of its commands.
void RefuseUnknownCommand(const std::vector<Command>& commands, const std::vector<std::string>& arguments) {
    const auto isNamed = [&](const Command& command) { return command.arguments->get_name() == arguments[0]; };
    if (arguments.empty() || arguments[0].starts_with('-') || std::any_of(commands.begin(), commands.end(), isNamed))
        return;
    throw CLI::ParseError("\"" + arguments[0] + "\" is no command", ExitCode::usage);
}

/// The exit code if the arguments ask for help or the version, or are wrong; else nothing.
std::optional<int> Parse(CLI::App& app, const std::vector<Command>& commands, std::vector<std::string> arguments,
                         const Streams& streams) {
    try {
        RefuseUnknownCommand(commands, arguments);
        std::reverse(arguments.begin(), arguments.end());  // as the parser takes them
        app.parse(arguments);
        return std::nullopt;
    } catch (const CLI::Success& request) {
        app.exit(request, streams.out, streams.out);
        RefuseUnlessWritten(streams.out);
        return ExitCode::success;
    } catch (const CLI::ParseError& error) {
        streams.console.Error("usage", std::string(error.what()) + " (see zbm --help)");
        return ExitCode::usage;
    }
}

int ParseAndRun(const std::vector<std::string>& arguments, const Streams& streams) {
    CLI::App app(kDescription, "zbm");
    app.allow_windows_style_options(false);  // a name may begin with a slash
    app.set_version_flag("--version", "zbm " ZBM_VERSION);
    app.footer(kFooter);
    app.require_subcommand(1);
    const std::vector<Command> commands = AddCommands(app);
    if (const auto code = Parse(app, commands, arguments, streams)) return *code;
    for (const Command& command : commands)
        if (command.arguments->parsed()) command.run(streams);
    RefuseUnlessWritten(streams.out);
    return ExitCode::success;
}

/// While the tool runs, the libraries' log stays quiet: what it tells comes on top of an error that is raised as well,
/// and that is one line.
class QuietLog {
public:
    QuietLog() : former(shr::g_Logger.SetSink([](int, const ZString&) {})) {}
    ~QuietLog() { shr::g_Logger.SetSink(std::move(former)); }
    QuietLog(const QuietLog&) = delete;
    QuietLog& operator=(const QuietLog&) = delete;

private:
    shr::Logger::Sink former;
};

}  // namespace

int RunTool(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& errors,
            TerminalWidth widthOfErrors) {
    Console console(errors, widthOfErrors);
    const QuietLog quiet;
    try {
        return ParseAndRun(arguments, {out, console});
    } catch (const shr::AbortException&) {
        console.ClearStatus();
        return ExitCode::cancelled;
    } catch (const UsageError& error) {
        console.Error(error.File(), error.what());
        return ExitCode::usage;
    } catch (const ToolError& error) { console.Error(error.File(), error.what()); } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) { console.Error("internal error", error.what()); }
    return ExitCode::failure;
}

int RunProcess(int argc, char** argv) noexcept {
    try {
        PrepareConsole();
        InstallCancelHandler();
        return RunTool(Arguments(argc, argv), std::cout, std::cerr, &ErrorsWidth);
    } catch (...) {
        // In this place nothing is left to rely on but a text that is there already.
        std::fputs("zbm: there is not enough memory\n", stderr);
        return ExitCode::failure;
    }
}

}  // namespace tool
