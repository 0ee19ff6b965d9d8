#include "commands/FileArguments.h"

#include <cctype>
#include <charconv>
#include <optional>
#include <string_view>

namespace tool {

namespace {

std::string CheckFileName(const std::string& name) { return name.empty() ? "a file name is empty" : ""; }

/// A whole number from 1 to the largest that there is.
std::string CheckCount(const std::string& text) {
    std::uint64_t count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (error == std::errc{} && end == text.data() + text.size() && count > 0) return "";
    return "\"" + text + "\" is no whole number from 1 to " + std::to_string(UINT64_MAX);
}

/// "512", "512K", "512M" or "512G"; nothing for what is none, or more than there are numbers for.
std::optional<std::uint64_t> BytesIn(const std::string& text) {
    constexpr std::string_view kUnits = "KMG";
    std::uint64_t count = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, count);
    if (error != std::errc{} || last - end > 1) return std::nullopt;
    if (end == last) return count;
    const std::size_t unit = kUnits.find(static_cast<char>(std::toupper(static_cast<unsigned char>(*end))));
    if (unit == std::string_view::npos) return std::nullopt;
    const std::size_t shift = 10 * (unit + 1);
    return count > UINT64_MAX >> shift ? std::nullopt : std::optional(count << shift);
}

std::string CheckBytes(const std::string& text) {
    return BytesIn(text) ? "" : "\"" + text + "\" is no number of bytes like 1000000, 512K, 64M or 2G";
}

CLI::Option* AddName(CLI::App* command, const char* name, ZString& target, const char* description) {
    const auto take = [&target](const std::string& text) { target = ZString::FromUtf8(text); };
    return command->add_option_function<std::string>(name, take, description)->required();
}

/// "#RRGGBB", also without '#'; "black" or "white".
std::optional<shr::Color4b> ColorIn(std::string text) {
    if (text == "black") return shr::Color4b::Black;
    if (text == "white") return shr::Color4b::White;
    if (text.starts_with('#')) text.erase(0, 1);
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
    if (text.size() != 6 || error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return shr::Color4b(static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 8),
                        static_cast<std::uint8_t>(value));
}

std::string CheckColor(const std::string& text) {
    return ColorIn(text) ? "" : "\"" + text + "\" is no colour like #FF8000, black or white";
}

void AddPictureOptions(CLI::App* command, Output& output) {
    command->add_option("--quality", output.writing.jpegQuality, "Quality of a JPEG picture, 1 to 100; 90 if not given")
        ->type_name("N")
        ->check(CLI::Range(1, 100));
    const auto takeColor = [&output](const std::string& text) { output.writing.background = ColorIn(text); };
    command
        ->add_option_function<std::string>("--background", takeColor,
                                           "Puts transparent pixels on a colour, like #FF8000, black or white")
        ->type_name("COLOR")
        ->check(CheckColor);
}

}  // namespace

std::string CheckInputName(const std::string& name) {
    if (name == "-") return "standard input (-) is not supported: the input is read back and forth";
    return CheckFileName(name);
}

CLI::Option* AddFile(CLI::App* command, const char* name, ZString& target, const char* description) {
    return AddName(command, name, target, description)->check(CheckInputName);
}

void AddInput(CLI::App* command, const char* name, Input& input, const char* description) {
    AddFile(command, name, input.name, description);
    command->add_option("--max-pixels", input.reading.maxPixels, "Refuse larger pictures")
        ->type_name("N")
        ->check(CheckCount);
    const auto takeMemory = [&input](const std::string& text) { input.memory = BytesIn(text); };
    command
        ->add_option_function<std::string>(
            "--memory", takeMemory,
            "Bytes, also with K, M or G, of the largest bitmap that is held in memory; "
            "a quarter of what there is if not given. Larger ones are in files meanwhile")
        ->type_name("N")
        ->check(CheckBytes);
    command->add_flag("--keep-orientation", input.reading.keepOrientation,
                      "Leaves a picture as it lies in its file, marked to be shown turned, instead of turning it");
}

CLI::Option* AddOutput(CLI::App* command, const char* name, Output& output, Writes writes, const char* description) {
    CLI::Option* const nameOption = AddName(command, name, output.name, description)->check(CheckFileName);
    if (writes == Writes::anything || writes == Writes::pictures) AddPictureOptions(command, output);
    const auto type = std::make_shared<std::string>();
    CLI::Option* typeOption =
        command
            ->add_option("--type", *type,
                         "What the output is where its name has no ending or is -: png, jpg, tif, bmp, zbm or zbf")
            ->type_name("TYPE")
            ->check(CLI::IsMember(OutputTypes()));
    if (writes == Writes::anything || writes == Writes::archives) {
        command
            ->add_flag_callback(
                "--archive", [type] { *type = kArchiveType; }, "The same as --type zbm")
            ->excludes(typeOption);
    }
    command->parse_complete_callback([&output, type, writes, name] {
        if (output.isInPlace) return;
        if (output.name.IsEmpty()) throw CLI::RequiredError(name);
        const std::string wrong = ChooseOutputType(output, *type, writes);
        if (!wrong.empty()) throw CLI::ValidationError(name, wrong);
        if (output.type != FileType::picture && output.writing.background)
            throw CLI::ValidationError("--background", "only for pictures; other files keep transparency");
    });
    return nameOption;
}

void AddInPlace(CLI::App* command, CLI::Option* outputName, Output& output) {
    outputName->required(false);
    CLI::Option* const inPlace = command->add_flag(
        "--in-place", output.isInPlace,
        "Changes the bitmap in a file (.zbf) that is INPUT, row of tiles by row of tiles; without OUTPUT. "
        "What is interrupted leaves the picture partly changed");
    inPlace->excludes(outputName);
    // What tells how pictures are read and outputs written. (To ask for one by name would end the program where memory
    // is short.)
    constexpr const char* kOthers[] = {"keep-orientation", "memory", "type", "archive", "quality", "background"};
    for (CLI::Option* const option : command->get_options(nullptr))
        for (const char* const other : kOthers)
            if (option->check_lname(other)) inPlace->excludes(option);
}

}  // namespace tool
