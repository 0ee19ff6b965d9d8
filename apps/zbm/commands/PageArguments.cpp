// The arguments of the commands about bitmaps in files.
#include <CLI/CLI.hpp>
#include <array>
#include <charconv>
#include <memory>

#include "commands/CommandArguments.h"
#include "commands/FileArguments.h"
#include "commands/PageCommands.h"

namespace tool {

namespace {

constexpr const char* kFileHelp = "The bitmap in a file";

/// "X,Y,W,H" of a rectangle that is not empty.
std::optional<ViewRect> ParseRect(const std::string& text) {
    std::array<int, 4> numbers{};
    const char* at = text.data();
    const char* const end = at + text.size();
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (i > 0 && (at == end || *at++ != ',')) return std::nullopt;
        const auto [rest, error] = std::from_chars(at, end, numbers[i]);
        if (error != std::errc{} || numbers[i] < (i < 2 ? 0 : 1)) return std::nullopt;
        at = rest;
    }
    if (at != end) return std::nullopt;
    return ViewRect{numbers[0], numbers[1], numbers[2], numbers[3]};
}

std::string CheckRect(const std::string& text) {
    return ParseRect(text) ? "" : "\"" + text + "\" is no rectangle like 100,50,640,480 (left, top, width, height)";
}

std::optional<unsigned> ParseLevel(const std::string& text) {
    unsigned level = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, level);
    return error == std::errc{} && end == last ? std::optional(level) : std::nullopt;
}

std::string CheckLevel(const std::string& text) {
    return ParseLevel(text) ? "" : "\"" + text + "\" is no level like 0, 1 or 2";
}

Command AddPage(CLI::App& app) {
    const auto options = std::make_shared<PageOptions>();
    CLI::App* page = app.add_subcommand("page", "Page a picture of any size into a bitmap in a file");
    AddInput(page, "PICTURE", options->input, "The picture to read; it is never in memory as a whole");
    AddOutput(page, "FILE", options->output, Writes::bitmaps, "The file to write (.zbf); - is standard output");
    return {page, [options](const Streams& streams) { Page(*options, streams); }};
}

Command AddLevels(CLI::App& app) {
    const auto options = std::make_shared<LevelsOptions>();
    CLI::App* levels = app.add_subcommand("levels", "Build the reductions of a bitmap in a file, for quick display");
    AddFile(levels, "FILE", options->file, kFileHelp);
    levels->add_flag("--rebuild", options->rebuild, "Also where they are up to date");
    return {levels, [options](const Streams& streams) { BuildLevels(*options, streams); }};
}

Command AddView(CLI::App& app) {
    const auto options = std::make_shared<ViewOptions>();
    CLI::App* view = app.add_subcommand("view", "Show a part of a bitmap in a file, at full size or reduced");
    AddInput(view, "FILE", options->input, kFileHelp);
    AddOutput(view, "OUTPUT", options->output, Writes::anything, "The picture to write; - is standard output");
    const auto takeRect = [options](const std::string& text) { options->rect = ParseRect(text); };
    view->add_option_function<std::string>("--rect", takeRect,
                                           "Left, top, width and height in pixels of the level; all of it if not given")
        ->type_name("X,Y,W,H")
        ->check(CheckRect);
    const auto takeLevel = [options](const std::string& text) { options->level = ParseLevel(text).value(); };
    view->add_option_function<std::string>("--level", takeLevel,
                                           "0, if not given, is the picture itself; each next has half its sides")
        ->type_name("N")
        ->check(CheckLevel);
    return {view, [options](const Streams& streams) { View(*options, streams); }};
}

Command AddCleanTemp(CLI::App& app) {
    const auto options = std::make_shared<CleanTempOptions>();
    CLI::App* clean = app.add_subcommand(
        "clean-temp", "Remove temporary bitmaps and half-written results that killed programs have left");
    AddFile(clean, "FOLDER", options->folder, "Where they are; if not given, the system's folder for temporary files")
        ->required(false);
    return {clean, [options](const Streams& streams) { CleanTemp(*options, streams); }};
}

}  // namespace

void AddPageCommands(CLI::App& app, std::vector<Command>& commands) {
    for (Command (*add)(CLI::App&) : {&AddPage, &AddLevels, &AddView, &AddCleanTemp}) commands.push_back(add(app));
}

}  // namespace tool
