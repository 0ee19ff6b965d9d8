#include "commands/OutputType.h"

#include <cctype>
#include <optional>

#include "shr/Path.h"

namespace tool {

namespace {

constexpr const char* kEndings = ".png .jpg .jpeg .tif .tiff .bmp .zbm";

bool IsStandardOutput(const Output& output) { return output.name == kStandardOutputName; }

/// In small letters, without its dot; nothing where there is none.
std::optional<std::string> EndingOf(const Output& output) {
    std::string ending = shr::CPath(output.name).GetExtension().ToUtf8();
    if (IsStandardOutput(output) || ending.empty()) return std::nullopt;
    ending.erase(0, 1);
    for (char& letter : ending) letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    return ending;
}

PictureWriter WriterForType(const std::string& type) { return WriterFor(ZString::FromUtf8("x." + type)); }

bool IsType(const std::string& text) { return text == kArchiveType || WriterForType(text) != nullptr; }

/// The type of an output whose name has no ending; empty if nobody tells.
std::string TypeWithoutEnding(const Output& output, const std::string& type, Writes writes) {
    const bool impliesArchive = type.empty() && writes == Writes::archives && IsStandardOutput(output);
    return impliesArchive ? kArchiveType : type;
}

std::string Quoted(const ZString& name) {
    std::string quoted(1, '"');
    return (quoted += name.ToUtf8()) += '"';
}

std::string AskForType(const Output& output, Writes writes) {
    if (IsStandardOutput(output)) return "what is written to standard output? Say --type";
    const char* remedy = writes == Writes::pictures ? "--type" : "--archive or --type";
    return Quoted(output.name) + " has no ending; add one, or say " + remedy;
}

}  // namespace

std::string ChooseOutputType(Output& output, const std::string& type, Writes writes) {
    const std::optional<std::string> ending = EndingOf(output);
    if (ending && !IsType(*ending)) return "the ending of " + Quoted(output.name) + " is none of " + kEndings;
    const std::string chosen = ending ? *ending : TypeWithoutEnding(output, type, writes);
    if (chosen.empty()) return AskForType(output, writes);
    output.writer = WriterForType(chosen);
    if (!type.empty() && WriterForType(type) != output.writer)
        return "the ending of " + Quoted(output.name) + " is not that of the type " + type;
    const bool isArchive = output.writer == nullptr;
    if (isArchive && writes == Writes::pictures) return "the output is a picture, not an archive (" + chosen + ")";
    if (!isArchive && writes == Writes::archives)
        return "the output is an archive (.zbm), not a picture (" + chosen + ")";
    return "";
}

const std::vector<std::string>& OutputTypes() {
    static const std::vector<std::string> types{"png", "jpg", "jpeg", "tif", "tiff", "bmp", kArchiveType};
    return types;
}

}  // namespace tool
