// The arguments of each command: each parses straight into the command's options.
#include "commands/CommandArguments.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <map>
#include <memory>
#include <optional>

#include "commands/Commands.h"
#include "commands/EditCommands.h"
#include "commands/FormatNames.h"
#include "pictures/PictureWriter.h"
#include "pictures/RowConversion.h"

namespace tool {

namespace {

const std::map<std::string, zcdl::CodecMethod>& Methods() {
    static const std::map<std::string, zcdl::CodecMethod> methods{{"stored", zcdl::CodecMethod::stored},
                                                                  {"fast", zcdl::CodecMethod::fast},
                                                                  {"balanced", zcdl::CodecMethod::balanced},
                                                                  {"small", zcdl::CodecMethod::small}};
    return methods;
}

const std::map<std::string, zpixf::ZPixfType>& Quantizers() {
    using enum zpixf::ZPixfType;
    static const std::map<std::string, zpixf::ZPixfType> quantizers{{"median5", QuantizeMedian5},
                                                                    {"median8", QuantizeMedian8},
                                                                    {"popularity", QuantizePopularity},
                                                                    {"ordered", DitherOrdered},
                                                                    {"diffuse", DitherDiffuse}};
    return quantizers;
}

const std::map<std::string, zbm::ResizeMethod>& ResizeMethods() {
    static const std::map<std::string, zbm::ResizeMethod> methods{{"nearest", zbm::ResizePlain},
                                                                  {"bilinear", zbm::ResizeBilinear},
                                                                  {"catmull-rom", zbm::ResizeBicubic0},
                                                                  {"mitchell", zbm::ResizeBicubic1},
                                                                  {"b-spline", zbm::ResizeBicubic2}};
    return methods;
}

const std::map<std::string, zbm::QuantMethod>& QuantMethods() {
    static const std::map<std::string, zbm::QuantMethod> methods{
        {"median5", zbm::QuantMedian5}, {"median8", zbm::QuantMedian8}, {"popularity", zbm::QuantPopularity}};
    return methods;
}

constexpr const char* kInputHelp = "The picture or archive to read";
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
    unpack
        ->add_option("--quality", options->writing.jpegQuality, "Quality of a JPEG picture, 1 to 100; 90 if not given")
        ->type_name("N")
        ->check(CLI::Range(1, 100));
    return {unpack, [options](std::ostream&, Console& console) { Unpack(*options, console); }};
}

Command AddConvert(CLI::App& app) {
    const auto options = std::make_shared<ConvertOptions>();
    CLI::App* convert = app.add_subcommand("convert", "Convert a picture or an archive to another pixel format");
    AddFile(convert, "INPUT", options->input, kInputHelp);
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

/// An adjustment by an amount between `least` and `most`. Each time it is named it is appended to the adjustments.
template <class Apply>
void AddAmount(CLI::App* command, const char* name, std::vector<Adjustment>& adjustments, double least, double most,
               const char* description, const Apply& apply) {
    const auto append = [&adjustments, apply](double amount) {
        adjustments.push_back([apply, amount](zbm::ZBitmap& bitmap, shr::IProgress& progress) {
            return apply(bitmap, amount, progress);
        });
    };
    command->add_option_function<double>(name, append, description)
        ->type_name("AMOUNT")
        ->check(CLI::Range(least, most))
        ->trigger_on_parse();
}

void AddAmounts(CLI::App* adjust, std::vector<Adjustment>& adjustments) {
    AddAmount(adjust, "--brightness", adjustments, -1, 1, "-1 black .. 0 .. 1 white",
              [](zbm::ZBitmap& bitmap, double amount, shr::IProgress& progress) {
                  return bitmap.ChangeBrightness(amount, &progress);
              });
    AddAmount(adjust, "--contrast", adjustments, -1, 1, "-1 grey .. 0 .. 1 only black and full channels",
              [](zbm::ZBitmap& bitmap, double amount, shr::IProgress& progress) {
                  return bitmap.ChangeContrast(amount, &progress);
              });
    AddAmount(adjust, "--saturation", adjustments, -1, 1, "-1 complementary colours .. 0 grey .. 1 as it is",
              [](zbm::ZBitmap& bitmap, double amount, shr::IProgress& progress) {
                  return bitmap.ChangeSaturation(amount, &progress);
              });
    AddAmount(adjust, "--sharpen", adjustments, 0, 1, "0 as it is .. 1",
              [](zbm::ZBitmap& bitmap, double amount, shr::IProgress& progress) {
                  return bitmap.Sharpen(amount, &progress);
              });
    AddAmount(adjust, "--blur", adjustments, 0, 1, "0 as it is .. 1",
              [](zbm::ZBitmap& bitmap, double amount, shr::IProgress& progress) {
                  return bitmap.Sharpen(-amount, &progress);
              });
}

Command AddAdjust(CLI::App& app) {
    const auto options = std::make_shared<AdjustOptions>();
    CLI::App* adjust = app.add_subcommand("adjust", "Adjust a picture or an archive, in the order of the options");
    AddFile(adjust, "INPUT", options->input, kInputHelp);
    AddFile(adjust, "OUTPUT", options->output, kOutputHelp);
    std::vector<Adjustment>& adjustments = options->adjustments;
    AddAmounts(adjust, adjustments);
    const auto gray = [&adjustments](std::int64_t) {
        adjustments.push_back(
            [](zbm::ZBitmap& bitmap, shr::IProgress& progress) { return bitmap.ConvertToGrayScale(&progress); });
    };
    adjust->add_flag_function("--gray", gray, "Only the luminance")->trigger_on_parse();
    const auto median = [&adjustments](unsigned span) {
        adjustments.push_back(
            [span](zbm::ZBitmap& bitmap, shr::IProgress& progress) { return bitmap.MedianFilter(span, &progress); });
    };
    adjust->add_option_function<unsigned>("--median", median, "The median of a window of that many pixels a side")
        ->type_name("SPAN")
        ->check(CLI::Range(1u, 255u))
        ->trigger_on_parse();
    const auto convolve = [&adjustments](const std::string& file) {
        // Read when the command runs: that a file is missing is no wrong usage.
        adjustments.push_back([file](zbm::ZBitmap& bitmap, shr::IProgress& progress) {
            return ConvolutionFrom(ZString::FromUtf8(file))(bitmap, progress);
        });
    };
    adjust
        ->add_option_function<std::string>("--convolve", convolve,
                                           "A convolution; FILE holds 9 or 25 numbers, then a divisor and a bias")
        ->type_name("FILE")
        ->check(CheckFileName)
        ->trigger_on_parse();
    adjust->callback([options] {
        if (options->adjustments.empty()) throw CLI::RequiredError("an adjustment, such as --brightness,");
    });
    return {adjust, [options](std::ostream&, Console& console) { Adjust(*options, console); }};
}

Command AddResize(CLI::App& app) {
    const auto options = std::make_shared<ResizeOptions>();
    CLI::App* resize = app.add_subcommand("resize", "Resample a picture or an archive to another size");
    AddFile(resize, "INPUT", options->input, kInputHelp);
    AddFile(resize, "OUTPUT", options->output, kOutputHelp);
    AddSize(resize, "--size", options->size, "The size in pixels, like 800x600")->required();
    AddChoice(resize, "--method", options->method, ResizeMethods(), "METHOD",
              "nearest, bilinear (the default), catmull-rom, mitchell or b-spline");
    return {resize, [options](std::ostream&, Console& console) { Resize(*options, console); }};
}

Command AddQuantize(CLI::App& app) {
    const auto options = std::make_shared<QuantizeOptions>();
    CLI::App* quantize = app.add_subcommand("quantize", "Reduce the colours of a picture or an archive");
    AddFile(quantize, "INPUT", options->input, kInputHelp);
    AddFile(quantize, "OUTPUT", options->output, kOutputHelp);
    quantize->add_option("--colors", options->colors, "How many colours, 1 to 256; 256 if not given")
        ->type_name("N")
        ->check(CLI::Range(1, 256));
    AddChoice(quantize, "--quantizer", options->method, QuantMethods(), "QUANTIZER",
              "median5, median8 (the default) or popularity");
    return {quantize, [options](std::ostream&, Console& console) { QuantizeColors(*options, console); }};
}

Command AddReduce(CLI::App& app) {
    const auto options = std::make_shared<ReduceOptions>();
    CLI::App* reduce = app.add_subcommand("reduce", "Store an archive with reductions for quick display");
    AddFile(reduce, "INPUT", options->input, kInputHelp);
    AddFile(reduce, "ARCHIVE", options->archive, "The archive to write");
    return {reduce, [options](std::ostream&, Console& console) { Reduce(*options, console); }};
}

Command AddInfo(CLI::App& app) {
    const auto options = std::make_shared<InfoOptions>();
    CLI::App* info = app.add_subcommand("info", "Show what an archive holds");
    AddFile(info, "ARCHIVE", options->archive, "The archive to read");
    return {info, [options](std::ostream& out, Console& console) { Info(*options, out, console); }};
}

}  // namespace

std::vector<Command> AddCommands(CLI::App& app) {
    return {AddPack(app),   AddUnpack(app),   AddConvert(app), AddAdjust(app),
            AddResize(app), AddQuantize(app), AddReduce(app),  AddInfo(app)};
}

}  // namespace tool
