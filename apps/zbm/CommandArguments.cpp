// The arguments of each command: each parses straight into the command's options.
#include "CommandArguments.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <map>
#include <memory>
#include <optional>

#include "Commands.h"
#include "FormatNames.h"
#include "PictureWriter.h"
#include "RowConversion.h"

namespace tool {

namespace {

const std::map<std::string, zcdl::CodecMethod>& Methods() {
    static const std::map<std::string, zcdl::CodecMethod> methods{{"stored", zcdl::CodecMethod::stored},
                                                                  {"fast", zcdl::CodecMethod::fast},
                                                                  {"balanced", zcdl::CodecMethod::balanced},
                                                                  {"small", zcdl::CodecMethod::small}};
    return methods;
}

const std::map<std::string, Quantizer>& Quantizers() {
    static const std::map<std::string, Quantizer> quantizers{{"median5", Quantizer::median5},
                                                             {"median8", Quantizer::median8},
                                                             {"popularity", Quantizer::popularity},
                                                             {"ordered", Quantizer::ordered},
                                                             {"diffuse", Quantizer::diffuse}};
    return quantizers;
}

constexpr const char* kOutputHelp = "What to write: a picture by its extension, else an archive";

/// "WxH", both at least 1.
std::optional<TileSize> ParseSize(const std::string& text) {
    TileSize size;
    const char* end = text.data() + text.size();
    const auto width = std::from_chars(text.data(), end, size.width);
    if (width.ec != std::errc{} || width.ptr == end || (*width.ptr != 'x' && *width.ptr != 'X')) return std::nullopt;
    const auto height = std::from_chars(width.ptr + 1, end, size.height);
    if (height.ec != std::errc{} || height.ptr != end || size.width < 1 || size.height < 1) return std::nullopt;
    return size;
}

std::string CheckFileName(const std::string& name) {
    if (name.empty()) return "a file name is empty";
    return name == "-" ? "standard input and output (-) are not supported" : "";
}

std::string CheckPictureName(const std::string& name) {
    if (WriterFor(ZString::FromUtf8(name)) != nullptr) return "";
    return name + ": the extension is none of .png .jpg .jpeg .tif .tiff .bmp";
}

std::string CheckSize(const std::string& text) {
    return ParseSize(text) ? "" : "\"" + text + "\" is no size like 512x512";
}

std::string CheckFormat(const std::string& name) {
    if (FormatNamed(name)) return "";
    std::string text = "\"" + name + "\" is none of the formats";
    for (int i = shr::GRAYSCALE_1; i < shr::kColorFormats; ++i)
        text += std::string(" ") + FormatName(static_cast<shr::ColorFormat>(i));
    return text;
}

/// A file's name, in UTF-8. `value` and those below must live until the arguments are parsed.
CLI::Option* AddFile(CLI::App* command, const char* name, ZString& value, const char* description) {
    const auto take = [&value](const std::string& text) { value = ZString::FromUtf8(text); };
    return command->add_option_function<std::string>(name, take, description)->required()->check(CheckFileName);
}

/// One of the names of a map; it is the map's value that counts.
template <class Value, class Target>
CLI::Option* AddChoice(CLI::App* command, const char* name, Target& value, const std::map<std::string, Value>& choices,
                       const char* typeName, const char* description) {
    const auto take = [&value, &choices](const std::string& text) { value = choices.at(text); };
    return command->add_option_function<std::string>(name, take, description)
        ->type_name(typeName)
        ->check(CLI::IsMember(choices));
}

CLI::Option* AddSize(CLI::App* command, const char* name, TileSize& value, const char* description) {
    const auto take = [&value](const std::string& text) { value = ParseSize(text).value(); };
    return command->add_option_function<std::string>(name, take, description)->type_name("WxH")->check(CheckSize);
}

Command AddPack(CLI::App& app) {
    const auto options = std::make_shared<PackOptions>();
    CLI::App* pack = app.add_subcommand("pack", "Pack a picture into an archive");
    AddFile(pack, "PICTURE", options->picture, "The picture to read");
    AddFile(pack, "ARCHIVE", options->archive, "The archive to write");
    AddSize(pack, "--tile", options->tiles, "Size of the tiles in pixels, 512x512 if not given");
    AddChoice(pack, "--method", options->method, Methods(), "METHOD", "stored, fast, balanced (the default) or small");
    return {pack, [options](std::ostream&, Console& console) { Pack(*options, console); }};
}

Command AddUnpack(CLI::App& app) {
    const auto options = std::make_shared<UnpackOptions>();
    CLI::App* unpack = app.add_subcommand("unpack", "Unpack an archive into a picture");
    AddFile(unpack, "ARCHIVE", options->archive, "The archive to read");
    AddFile(unpack, "PICTURE", options->picture, "The picture to write")->check(CheckPictureName);
    unpack->add_option("--quality", options->jpegQuality, "Quality of a JPEG picture, 1 to 100; 90 if not given")
        ->type_name("N")
        ->check(CLI::Range(1, 100));
    return {unpack, [options](std::ostream&, Console& console) { Unpack(*options, console); }};
}

Command AddConvert(CLI::App& app) {
    const auto options = std::make_shared<ConvertOptions>();
    CLI::App* convert = app.add_subcommand("convert", "Convert a picture or an archive to another pixel format");
    AddFile(convert, "INPUT", options->input, "The picture or archive to read");
    AddFile(convert, "OUTPUT", options->output, kOutputHelp);
    const auto takeFormat = [options](const std::string& name) { options->format = FormatNamed(name).value(); };
    convert->add_option_function<std::string>("--format", takeFormat, "The pixel format, like BGRA_32 or INDEXED_8")
        ->type_name("FORMAT")
        ->required()
        ->check(CheckFormat);
    AddChoice(convert, "--quantizer", options->quantizer, Quantizers(), "QUANTIZER",
              "How an indexed format's colours are found: median5, median8 (the default), popularity, ordered or "
              "diffuse");
    convert->callback([options] {
        if (options->quantizer && !IsIndexed(options->format))
            throw CLI::ValidationError("--quantizer", "only an INDEXED format has colours to find");
    });
    return {convert, [options](std::ostream&, Console& console) { Convert(*options, console); }};
}

Command AddInfo(CLI::App& app) {
    const auto options = std::make_shared<InfoOptions>();
    CLI::App* info = app.add_subcommand("info", "Show what an archive holds");
    AddFile(info, "ARCHIVE", options->archive, "The archive to read");
    return {info, [options](std::ostream& out, Console& console) { Info(*options, out, console); }};
}

}  // namespace

std::vector<Command> AddCommands(CLI::App& app) {
    return {AddPack(app), AddUnpack(app), AddConvert(app), AddInfo(app)};
}

}  // namespace tool
