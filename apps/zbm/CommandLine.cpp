#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <map>
#include <optional>

#include "Commands.h"
#include "FormatNames.h"
#include "PictureWriter.h"
#include "RowConversion.h"
#include "shr/Exception.h"
#include "shr/Logger.h"

namespace tool {

namespace {

constexpr const char* kDescription =
    "zbm packs pictures into archives of tiled bitmaps, unpacks them again, every pixel the same, and converts them\n"
    "between pixel formats.";

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

/// What the parser fills in. File names arrive as UTF-8.
struct Parsed {
    std::string picture, archive, tile, method = "balanced";
    std::string input, output, format, quantizer;
    int jpegQuality = kDefaultJpegQuality;
};

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

/// "WxH", both at least 1.
std::optional<TileSize> ParseTileSize(const std::string& text) {
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

std::string CheckTileSize(const std::string& text) {
    return ParseTileSize(text) ? "" : "\"" + text + "\" is no size like 512x512";
}

std::string CheckFormat(const std::string& name) {
    if (FormatNamed(name)) return "";
    std::string text = "\"" + name + "\" is none of the formats";
    for (int i = shr::GRAYSCALE_1; i < shr::kColorFormats; ++i)
        text += std::string(" ") + FormatName(static_cast<shr::ColorFormat>(i));
    return text;
}

CLI::Option* AddFile(CLI::App* command, const char* name, std::string& value, const char* description) {
    return command->add_option(name, value, description)->required()->check(CheckFileName);
}

CLI::App* AddPack(CLI::App& app, Parsed& parsed) {
    CLI::App* pack = app.add_subcommand("pack", "Pack a picture into an archive");
    AddFile(pack, "PICTURE", parsed.picture, "The picture to read");
    AddFile(pack, "ARCHIVE", parsed.archive, "The archive to write");
    pack->add_option("--tile", parsed.tile, "Size of the tiles in pixels, 512x512 if not given")
        ->type_name("WxH")
        ->check(CheckTileSize);
    pack->add_option("--method", parsed.method, "stored, fast, balanced (the default) or small")
        ->type_name("METHOD")
        ->check(CLI::IsMember(Methods()));
    return pack;
}

CLI::App* AddUnpack(CLI::App& app, Parsed& parsed) {
    CLI::App* unpack = app.add_subcommand("unpack", "Unpack an archive into a picture");
    AddFile(unpack, "ARCHIVE", parsed.archive, "The archive to read");
    AddFile(unpack, "PICTURE", parsed.picture, "The picture to write")->check(CheckPictureName);
    unpack->add_option("--quality", parsed.jpegQuality, "Quality of a JPEG picture, 1 to 100; 90 if not given")
        ->type_name("N")
        ->check(CLI::Range(1, 100));
    return unpack;
}

CLI::App* AddConvert(CLI::App& app, Parsed& parsed) {
    CLI::App* convert = app.add_subcommand("convert", "Convert a picture or an archive to another pixel format");
    AddFile(convert, "INPUT", parsed.input, "The picture or archive to read");
    AddFile(convert, "OUTPUT", parsed.output, "What to write: a picture by its extension, else an archive");
    convert->add_option("--format", parsed.format, "The pixel format, like BGRA_32 or INDEXED_8")
        ->type_name("FORMAT")
        ->required()
        ->check(CheckFormat);
    convert
        ->add_option("--quantizer", parsed.quantizer,
                     "How an indexed format's colours are found: median5, median8 (the default), popularity, ordered "
                     "or diffuse")
        ->type_name("QUANTIZER")
        ->check(CLI::IsMember(Quantizers()));
    convert->callback([&parsed] {
        if (!parsed.quantizer.empty() && !IsIndexed(*FormatNamed(parsed.format)))
            throw CLI::ValidationError("--quantizer", "only an INDEXED format has colours to find");
    });
    return convert;
}

CLI::App* AddInfo(CLI::App& app, Parsed& parsed) {
    CLI::App* info = app.add_subcommand("info", "Show what an archive holds");
    AddFile(info, "ARCHIVE", parsed.archive, "The archive to read");
    return info;
}

void RunPack(const Parsed& parsed, Console& console) {
    PackOptions options;
    options.picture = ZString::FromUtf8(parsed.picture);
    options.archive = ZString::FromUtf8(parsed.archive);
    options.tiles = ParseTileSize(parsed.tile).value_or(TileSize{});
    options.method = Methods().at(parsed.method);
    Pack(options, console);
}

void RunUnpack(const Parsed& parsed, Console& console) {
    Unpack({ZString::FromUtf8(parsed.archive), ZString::FromUtf8(parsed.picture), parsed.jpegQuality}, console);
}

void RunConvert(const Parsed& parsed, Console& console) {
    ConvertOptions options{ZString::FromUtf8(parsed.input), ZString::FromUtf8(parsed.output),
                           FormatNamed(parsed.format).value(), std::nullopt};
    if (!parsed.quantizer.empty()) options.quantizer = Quantizers().at(parsed.quantizer);
    Convert(options, console);
}

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
    Parsed parsed;
    CLI::App app(kDescription, "zbm");
    app.allow_windows_style_options(false);  // a name may begin with a slash
    app.set_version_flag("--version", "zbm " ZBM_VERSION);
    app.footer(kFooter);
    app.require_subcommand(1);
    CLI::App* pack = AddPack(app, parsed);
    CLI::App* unpack = AddUnpack(app, parsed);
    CLI::App* convert = AddConvert(app, parsed);
    AddInfo(app, parsed);
    if (const auto code = Parse(app, arguments, out, console)) return *code;
    return Execute(
        [&] {
            if (pack->parsed()) return RunPack(parsed, console);
            if (unpack->parsed()) return RunUnpack(parsed, console);
            if (convert->parsed()) return RunConvert(parsed, console);
            Info({ZString::FromUtf8(parsed.archive)}, out, console);
            if (!out.flush()) throw ToolError("standard output", "cannot be written");
        },
        console);
}

}  // namespace tool
