#include "commands/ColorChoice.h"

#include "Console.h"
#include "commands/PaletteFile.h"
#include "pictures/RowConversion.h"

namespace tool {

namespace {

using zpixf::ZPixfType;

unsigned CapacityOf(shr::ColorFormat format) { return static_cast<unsigned>(shr::TraitsOf(format).TableSize()); }

bool IsDitherer(std::optional<ZPixfType> quantizer) {
    return quantizer == ZPixfType::DitherOrdered || quantizer == ZPixfType::DitherDiffuse;
}

bool IsFixed(const ColorChoice& choice) { return choice.palette == kFixedPalette; }
bool IsFile(const ColorChoice& choice) {
    return choice.palette && choice.palette != kPicturePalette && choice.palette != kFixedPalette;
}

/// The option that is given; the first of several.
const char* NameOfGiven(const ColorChoice& choice) {
    if (choice.most) return "--colors";
    if (choice.palette) return "--palette";
    if (choice.dither) return "--dither";
    return choice.strength ? "--strength" : "--quantizer";
}

std::optional<WrongChoice> FindWrongCount(const ColorChoice& choice, shr::ColorFormat format) {
    if (!choice.most) return std::nullopt;
    if (IsDitherer(choice.quantizer)) return {{"--colors", "the colours of ordered and diffuse are fixed"}};
    if (IsFile(choice)) return {{"--colors", "the colours of a palette file are all used"}};
    if (IsFixed(choice) && *choice.most < 2) return {{"--colors", "a fixed palette has at least 2"}};
    const unsigned capacity = CapacityOf(format);
    if (*choice.most > capacity) return {{"--colors", "the format has at most " + std::to_string(capacity)}};
    return std::nullopt;
}

std::optional<WrongChoice> FindWrongQuantizer(const ColorChoice& choice) {
    if (!choice.quantizer) return std::nullopt;
    if (IsDitherer(choice.quantizer) && (choice.palette || choice.dither))
        return {{"--quantizer", "ordered and diffuse say palette and dither; then --palette and --dither cannot"}};
    if (IsFixed(choice) || IsFile(choice)) return {{"--quantizer", "chooses colours for --palette picture only"}};
    return std::nullopt;
}

zbm::Dither DitherOf(const ColorChoice& choice) {
    if (choice.quantizer == ZPixfType::DitherOrdered) return zbm::Dither::ordered;
    if (choice.quantizer == ZPixfType::DitherDiffuse) return zbm::Dither::diffusion;
    return choice.dither.value_or(zbm::Dither::none);
}

zbm::QuantMethod MethodOf(const ColorChoice& choice) {
    if (choice.quantizer == ZPixfType::QuantizeMedian5) return zbm::QuantMedian5;
    return choice.quantizer == ZPixfType::QuantizePopularity ? zbm::QuantPopularity : zbm::QuantMedian8;
}

zbm::PaletteSource SourceOf(const ColorChoice& choice) {
    if (IsFile(choice)) return zbm::PaletteSource::given;
    return IsFixed(choice) || IsDitherer(choice.quantizer) ? zbm::PaletteSource::fixed : zbm::PaletteSource::picture;
}

std::vector<shr::Color4b> ReadEntries(const ZString& file, shr::ColorFormat format) {
    std::vector<shr::Color4b> entries = ReadPaletteFile(file);
    if (entries.size() > CapacityOf(format))
        throw UsageError(file, "has " + std::to_string(entries.size()) + " colours, and the format at most " +
                                   std::to_string(CapacityOf(format)));
    return entries;
}

}  // namespace

std::optional<WrongChoice> FindWrongChoice(const ColorChoice& choice, std::optional<shr::ColorFormat> format) {
    if (!choice.IsGiven()) return std::nullopt;
    if (!format || !IsIndexed(*format)) return {{NameOfGiven(choice), "only an INDEXED format has colours to find"}};
    if (auto wrong = FindWrongCount(choice, *format)) return wrong;
    if (auto wrong = FindWrongQuantizer(choice)) return wrong;
    if (choice.strength && DitherOf(choice) == zbm::Dither::none)
        return {{"--strength", "is that of --dither ordered, diffusion or blue"}};
    return std::nullopt;
}

std::optional<zbm::IndexedColors> IndexedColorsFor(const ColorChoice& choice, shr::ColorFormat format) {
    if (!choice.IsGiven()) return std::nullopt;
    zbm::IndexedColors colors{.source = SourceOf(choice),
                              .method = MethodOf(choice),
                              .most = choice.most.value_or(0),
                              .dither = DitherOf(choice),
                              .strength = choice.strength.value_or(1)};
    if (IsFile(choice)) colors.entries = ReadEntries(ZString::FromUtf8(*choice.palette), format);
    return colors;
}

}  // namespace tool
