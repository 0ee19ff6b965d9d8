#include "commands/CommandLine.h"

#include <CLI/CLI.hpp>
#include <optional>

#include "commands/CommandArguments.h"
#include "shr/Exception.h"
#include "shr/Logger.h"

namespace tool {

namespace {

constexpr const char* kDescription =
    "zbm packs pictures into archives of tiled bitmaps, unpacks them again, every pixel the same, converts them\n"
    "between pixel formats, and edits them.";

constexpr const char* kFooter =
    "Pictures are PNG, JPEG, TIFF or BMP files: told by their content when read, by their extension (.png .jpg .jpeg\n"
    ".tif .tiff .bmp) when written. The result replaces a file of its name, but only when it is whole.\n"
    "\n"
    "Kept are the pixels, transparency, the colour table and the resolution. Not kept are colour profiles, texts and\n"
    "EXIF data; its orientation is not applied. Of a file with several pictures the first is read. Colours of 16 bits "
    "a\n"
    "sample, and deep grey with alpha, are reduced to 8 bits. CMYK and floating-point pictures are refused.\n"
    "Grey levels deeper than a picture file's are reduced to what it holds (PNG: 16 bits; JPEG, BMP: 8 bits). A "
    "bitmap\n"
    "with transparent pixels cannot become JPEG. What changes the picture's look is noted on standard error.\n"
    "\n"
    "Exit codes: 0 success, 1 failure, 2 wrong usage, 130 cancelled.";

/// The exit code if the arguments ask for help or the version, or are wrong; else nothing.
std::optional<int> Parse(CLI::App& app, std::vector<std::string> arguments, std::ostream& out, Console& console) {
    try {
        std::reverse(arguments.begin(), arguments.end());  // as the parser takes them
        app.parse(arguments);
        return std::nullopt;
    } catch (const CLI::Success& request) {
        app.exit(request, out, out);
        return ExitCode::success;
    } catch (const CLI::ParseError& error) {
        console.Error("usage", std::string(error.what()) + " (see zbm --help)");
        return ExitCode::usage;
    }
}

/// Executes a command and says what went wrong.
template <class Command>
int Execute(const Command& command, Console& console) {
    try {
        command();
        return ExitCode::success;
    } catch (const shr::AbortException&) {
        console.ClearStatus();
        return ExitCode::cancelled;
    } catch (const ToolError& error) {
        console.Error(error.File(), error.what());
    } catch (const std::exception& error) { console.Error("internal error", error.what()); }
    return ExitCode::failure;
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

int RunTool(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& errors, bool errorsOnTerminal) {
    Console console(errors, errorsOnTerminal);
    const QuietLog quiet;
    CLI::App app(kDescription, "zbm");
    app.allow_windows_style_options(false);  // a name may begin with a slash
    app.set_version_flag("--version", "zbm " ZBM_VERSION);
    app.footer(kFooter);
    app.require_subcommand(1);
    const std::vector<Command> commands = AddCommands(app);
    if (const auto code = Parse(app, arguments, out, console)) return *code;
    return Execute(
        [&] {
            for (const Command& command : commands)
                if (command.arguments->parsed()) command.run(out, console);
            if (!out.flush()) throw ToolError("standard output", "cannot be written");
        },
        console);
}

}  // namespace tool
