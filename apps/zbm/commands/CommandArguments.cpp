// The arguments of each command: each parses straight into the command's options.
#include "commands/CommandArguments.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <map>
#include <memory>
#include <optional>

#include "commands/EditCommands.h"
#include "commands/FileArguments.h"
#include "commands/FormatNames.h"
#include "commands/PaletteFile.h"
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

const std::map<std::string, zbm::Dither>& Dithers() {
    using enum zbm::Dither;
    static const std::map<std::string, zbm::Dither> dithers{
        {"none", none}, {"ordered", ordered}, {"diffusion", diffusion}, {"blue", blueNoise}};
    return dithers;
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

constexpr const char* kInputHelp = "The picture, archive or bitmap in a file to read";
constexpr const char* kOutputHelp =
    "What to write: a picture, an archive (.zbm) or a bitmap in a file (.zbf) by its ending; - is standard output";

constexpr const char* kArchiveHelp = "The archive to write (.zbm); - is standard output";

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

std::string CheckSize(const std::string& text) {
    return ParseSize(text) ? "" : "\"" + text + "\" is no size like 512x512";
}

std::string CheckNewSize(const std::string& text) {
    return NewSize::Parse(text) ? "" : "\"" + text + "\" is no size like 800x600, 800x, x600 or 50%";
}

std::string CheckFormat(const std::string& name) {
    if (FormatNamed(name)) return "";
    std::string text = "\"" + name + "\" is none of the formats";
    for (int i = shr::GRAYSCALE_1; i < shr::kColorFormats; ++i)
        text += std::string(" ") + FormatName(static_cast<shr::ColorFormat>(i));
    return text;
}

CLI::Option* AddSize(CLI::App* command, const char* name, TileSize& value, const char* description) {
    const auto take = [&value](const std::string& text) { value = ParseSize(text).value(); };
    return command->add_option_function<std::string>(name, take, description)->type_name("WxH")->check(CheckSize);
}

Command AddPack(CLI::App& app) {
    const auto options = std::make_shared<PackOptions>();
    CLI::App* pack = app.add_subcommand("pack", "Pack a picture into an archive");
    AddInput(pack, "PICTURE", options->input, "The picture to read");
    AddOutput(pack, "ARCHIVE", options->output, Writes::archives, kArchiveHelp);
    AddSize(pack, "--tile", options->tiles, "Size of the tiles in pixels, 512x512 if not given");
    AddChoice(pack, "--method", options->output.method, Methods(), "METHOD",
              "stored, fast, balanced (the default) or small");
    return {pack, [options](const Streams& streams) { Pack(*options, streams); }};
}

Command AddUnpack(CLI::App& app) {
    const auto options = std::make_shared<UnpackOptions>();
    CLI::App* unpack = app.add_subcommand("unpack", "Unpack an archive, or a bitmap in a file, into a picture");
    AddInput(unpack, "ARCHIVE", options->input, "The archive, or the bitmap in a file, to read");
    AddOutput(unpack, "PICTURE", options->output, Writes::pictures,
              "The picture to write, of the type that its ending tells; - is standard output");
    return {unpack, [options](const Streams& streams) { Unpack(*options, streams); }};
}

/// Refuses a choice of colours where there is none, and what does not go together.
void CheckColorChoice(const ConvertOptions& options) {
    if (const auto wrong = FindWrongChoice(options.colors, options.format))
        throw CLI::ValidationError(wrong->option, wrong->reason);
    if (options.paletteOutput && options.format && !IsIndexed(*options.format))
        throw CLI::ValidationError("--write-palette", "only an INDEXED format has a palette");
}

std::string CheckPaletteFile(const std::string& name) {
    if (PaletteFormatOf(ZString::FromUtf8(name))) return "";
    return "\"" + name + "\" is no name of a palette file, .act or .gpl";
}

std::string CheckPalette(const std::string& text) {
    if (text == kPicturePalette || text == kFixedPalette || CheckPaletteFile(text).empty()) return "";
    return "\"" + text + "\" is neither picture nor fixed nor the name of a palette file, .act or .gpl";
}

/// Between two numbers. Written so that what is no number at all (nan) is refused.
CLI::Validator InRange(double least, double most) {
    const auto check = [least, most](const std::string& text) -> std::string {
        double amount = 0;
        const bool isNumber = CLI::detail::lexical_cast(text, amount);
        if (isNumber && amount >= least && amount <= most) return "";
        return "\"" + text + "\" is no number from " + std::to_string(static_cast<int>(least)) + " to " +
               std::to_string(static_cast<int>(most));
    };
    return {check, ""};
}

void AddDither(CLI::App* convert, ColorChoice& colors) {
    AddChoice(convert, "--dither", colors.dither, Dithers(), "DITHER",
              "How other colours than the palette's are shown: none (the default), ordered, diffusion or blue (noise)");
    convert->add_option("--strength", colors.strength, "How strong the dither is, 0 to 1 (the default)")
        ->type_name("AMOUNT")
        ->check(InRange(0, 1));
}

void AddPalettes(CLI::App* convert, ConvertOptions& options) {
    convert
        ->add_option("--palette", options.colors.palette,
                     "The colours of an indexed format: picture (its own, the default), fixed, or those of a palette "
                     "file, .act or .gpl")
        ->type_name("PALETTE")
        ->check(CheckPalette);
    const auto takeOutput = [&options](const std::string& name) { options.paletteOutput = ZString::FromUtf8(name); };
    convert
        ->add_option_function<std::string>("--write-palette", takeOutput,
                                           "Also write the colours of the result, a palette file (.act or .gpl)")
        ->type_name("FILE")
        ->check(CheckPaletteFile);
}

/// The options must outlive the parsing.
void AddColorChoice(CLI::App* convert, ConvertOptions& options) {
    AddPalettes(convert, options);
    AddDither(convert, options.colors);
    AddChoice(convert, "--quantizer", options.colors.quantizer, Quantizers(), "QUANTIZER",
              "How the picture's own colours are chosen: median5, median8 (the default) or popularity; or, in place of "
              "--palette fixed --dither, ordered or diffuse");
    convert->add_option("--colors", options.colors.most, "How many colours of an indexed format at most, not of a file")
        ->type_name("N")
        ->check(CLI::Range(1, 256));
    convert->callback([&options] { CheckColorChoice(options); });
}

Command AddConvert(CLI::App& app) {
    const auto options = std::make_shared<ConvertOptions>();
    CLI::App* convert = app.add_subcommand("convert", "Convert a file to another type, or another pixel format");
    AddInput(convert, "INPUT", options->input, kInputHelp);
    AddOutput(convert, "OUTPUT", options->output, Writes::anything, kOutputHelp);
    const auto takeFormat = [options](const std::string& name) { options->format = FormatNamed(name); };
    convert
        ->add_option_function<std::string>("--format", takeFormat,
                                           "The pixel format, like BGRA_32 or INDEXED_8; as it is if not given")
        ->type_name("FORMAT")
        ->check(CheckFormat);
    AddColorChoice(convert, *options);
    convert->footer(
        "Only BGRA_32, RGBA_32 and PBGRA_32 hold soft transparency; in all others a pixel has all or none.");
    return {convert, [options](const Streams& streams) { Convert(*options, streams); }};
}

/// An adjustment that needs nothing to be read.
void Append(std::vector<AdjustmentMaker>& adjustments, const Adjustment& adjustment) {
    adjustments.push_back([adjustment] { return adjustment; });
}

/// An adjustment by an amount between `least` and `most`. Each time it is named it is appended to the adjustments.
template <class Apply>
void AddAmount(CLI::App* command, const char* name, std::vector<AdjustmentMaker>& adjustments, double least,
               double most, const char* description, const Apply& apply) {
    const auto append = [&adjustments, apply](double amount) {
        Append(adjustments, [apply, amount](zbm::ZBitmap& bitmap, shr::IProgress& progress) {
            return apply(bitmap, amount, progress);
        });
    };
    command->add_option_function<double>(name, append, description)
        ->type_name("AMOUNT")
        ->check(InRange(least, most))
        ->trigger_on_parse();
}

void AddAmounts(CLI::App* adjust, std::vector<AdjustmentMaker>& adjustments) {
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

void AddKernel(CLI::App* adjust, std::vector<AdjustmentMaker>& adjustments) {
    const auto append = [&adjustments](const std::string& file) {
        // Read when the command runs: that a file is missing is no wrong usage.
        adjustments.push_back([file] { return ConvolutionFrom(ZString::FromUtf8(file)); });
    };
    adjust
        ->add_option_function<std::string>("--convolve", append,
                                           "A convolution; FILE holds 9 or 25 numbers, then a divisor and a bias")
        ->type_name("FILE")
        ->check(CheckInputName)
        ->trigger_on_parse();
}

Command AddAdjust(CLI::App& app) {
    const auto options = std::make_shared<AdjustOptions>();
    CLI::App* adjust = app.add_subcommand("adjust", "Adjust a picture, in the order of the options");
    adjust->footer(
        "Deep grey keeps 8 bits. Transparent pixels have colours too, often black, which --blur, --sharpen, --median\n"
        "and --convolve mix into their neighbours': a fringe. Against it put the picture on its background first, "
        "with\n"
        "zbm convert --background; --background here comes after the adjustments.");
    AddInput(adjust, "INPUT", options->input, kInputHelp);
    AddInPlace(adjust, AddOutput(adjust, "OUTPUT", options->output, Writes::anything, kOutputHelp), options->output);
    std::vector<AdjustmentMaker>& adjustments = options->adjustments;
    AddAmounts(adjust, adjustments);
    const auto gray = [&adjustments](std::int64_t) {
        Append(adjustments,
               [](zbm::ZBitmap& bitmap, shr::IProgress& progress) { return bitmap.ConvertToGrayScale(&progress); });
    };
    adjust->add_flag_function("--gray", gray, "Only the luminance")->trigger_on_parse();
    const auto median = [&adjustments](unsigned span) {
        Append(adjustments,
               [span](zbm::ZBitmap& bitmap, shr::IProgress& progress) { return bitmap.MedianFilter(span, &progress); });
    };
    adjust->add_option_function<unsigned>("--median", median, "The median of a window of that many pixels a side")
        ->type_name("SPAN")
        ->check(CLI::Range(1u, 255u))
        ->trigger_on_parse();
    AddKernel(adjust, adjustments);
    adjust->callback([options] {
        if (options->adjustments.empty()) throw CLI::RequiredError("an adjustment, such as --brightness,");
    });
    return {adjust, [options](const Streams& streams) { Adjust(*options, streams); }};
}

Command AddResize(CLI::App& app) {
    const auto options = std::make_shared<ResizeOptions>();
    CLI::App* resize = app.add_subcommand("resize", "Resample a picture to another size");
    resize->footer("The pixel format stays: what is black and white remains so, without grey. Deep grey keeps 8 bits.");
    AddInput(resize, "INPUT", options->input, kInputHelp);
    AddOutput(resize, "OUTPUT", options->output, Writes::anything, kOutputHelp);
    const auto takeSize = [options](const std::string& text) { options->size = NewSize::Parse(text).value(); };
    CLI::Option* size =
        resize
            ->add_option_function<std::string>("--size", takeSize,
                                               "The size in pixels, like 800x600; 800x or x600 keep the proportions; "
                                               "or in percent, like 50%")
            ->type_name("SIZE")
            ->check(CheckNewSize);
    const auto takeBox = [options](const std::string& text) {
        const TileSize box = ParseSize(text).value();
        options->size = {.width = box.width, .height = box.height, .isBox = true};
    };
    CLI::Option* const fit =
        resize
            ->add_option_function<std::string>("--fit", takeBox,
                                               "The largest size of the same proportions within a box like 800x600")
            ->type_name("WxH")
            ->check(CheckSize)
            ->excludes(size);
    AddChoice(resize, "--method", options->method, ResizeMethods(), "METHOD",
              "nearest, bilinear (the default), catmull-rom, mitchell or b-spline");
    resize->callback([size, fit] {  // to count them by name would end the program where memory is short
        if (size->count() + fit->count() == 0) throw CLI::RequiredError("--size or --fit");
    });
    return {resize, [options](const Streams& streams) { Resize(*options, streams); }};
}

Command AddQuantize(CLI::App& app) {
    const auto options = std::make_shared<QuantizeOptions>();
    CLI::App* quantize = app.add_subcommand("quantize", "Reduce the colours of a picture");
    quantize->footer(
        "The pixel format stays; for a picture with a palette say zbm convert --format INDEXED_8 --colors N.");
    AddInput(quantize, "INPUT", options->input, kInputHelp);
    AddInPlace(quantize, AddOutput(quantize, "OUTPUT", options->output, Writes::anything, kOutputHelp),
               options->output);
    quantize->add_option("--colors", options->colors, "How many colours, 1 to 256; 256 if not given")
        ->type_name("N")
        ->check(CLI::Range(1, 256));
    AddChoice(quantize, "--quantizer", options->method, QuantMethods(), "QUANTIZER",
              "median5, median8 (the default) or popularity");
    return {quantize, [options](const Streams& streams) { QuantizeColors(*options, streams); }};
}

Command AddReduce(CLI::App& app) {
    const auto options = std::make_shared<ReduceOptions>();
    CLI::App* reduce = app.add_subcommand("reduce", "Store an archive with reductions for quick display");
    AddInput(reduce, "INPUT", options->input, kInputHelp);
    AddOutput(reduce, "ARCHIVE", options->output, Writes::archives, kArchiveHelp);
    return {reduce, [options](const Streams& streams) { Reduce(*options, streams); }};
}

Command AddInfo(CLI::App& app) {
    const auto options = std::make_shared<InfoOptions>();
    CLI::App* info = app.add_subcommand("info", "Show what a file holds");
    AddFile(info, "FILE", options->file, kInputHelp);
    return {info, [options](const Streams& streams) { Info(*options, streams); }};
}

}  // namespace

std::vector<Command> AddCommands(CLI::App& app) {
    std::vector<Command> commands{AddPack(app),   AddUnpack(app),   AddConvert(app), AddAdjust(app),
                                  AddResize(app), AddQuantize(app), AddReduce(app),  AddInfo(app)};
    AddPageCommands(app, commands);
    return commands;
}

}  // namespace tool
