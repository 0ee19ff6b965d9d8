#include "commands/OutputType.h"

#include <cctype>
#include <optional>

#include "shr/Path.h"

namespace tool {

namespace {

constexpr const char* kEndings = ".png .jpg .jpeg .tif .tiff .bmp .zbm .zbf";

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

/// Nothing if there is no such type.
std::optional<FileType> FileTypeOf(const std::string& type) {
    if (type == kArchiveType) return FileType::archive;
    if (type == kBitmapType) return FileType::bitmap;
    return WriterForType(type) != nullptr ? std::optional(FileType::picture) : std::nullopt;
}

/// What a command writes that writes one type only; empty for one that leaves a choice.
std::string OnlyTypeOf(Writes writes) {
    if (writes == Writes::archives) return kArchiveType;
    return writes == Writes::bitmaps ? kBitmapType : "";
}

/// The type of an output whose name has no ending; empty if nobody tells.
std::string TypeWithoutEnding(const Output& output, const std::string& type, Writes writes) {
    return type.empty() && IsStandardOutput(output) ? OnlyTypeOf(writes) : type;
}

std::string Quoted(const ZString& name) {
    std::string quoted(1, '"');
    return (quoted += name.ToUtf8()) += '"';
}

std::string AskForType(const Output& output, Writes writes) {
    if (IsStandardOutput(output)) return "what is written to standard output? Say --type";
    const bool canBeArchive = writes == Writes::anything || writes == Writes::archives;
    const char* remedy = canBeArchive ? "--archive or --type" : "--type";
    return Quoted(output.name) + " has no ending; add one, or say " + remedy;
}

const char* NameOf(FileType type) {
    switch (type) {
        case FileType::picture: return "a picture";
        case FileType::archive: return "an archive (.zbm)";
        case FileType::bitmap: break;
    }
    return "a bitmap in a file (.zbf)";
}

/// What is wrong with that type of a command's output, or nothing.
std::string CheckType(FileType type, Writes writes) {
    if (writes == Writes::anything) return "";
    const FileType wanted = writes == Writes::pictures ? FileType::picture : FileTypeOf(OnlyTypeOf(writes)).value();
    if (type == wanted) return "";
    return std::string("the output is ") + NameOf(wanted) + ", not " + NameOf(type);
}

}  // namespace

std::string ChooseOutputType(Output& output, const std::string& type, Writes writes) {
    const std::optional<std::string> ending = EndingOf(output);
    if (ending && !FileTypeOf(*ending)) return "the ending of " + Quoted(output.name) + " is none of " + kEndings;
    const std::string chosen = ending ? *ending : TypeWithoutEnding(output, type, writes);
    if (chosen.empty()) return AskForType(output, writes);
    output.type = FileTypeOf(chosen).value();
    output.writer = WriterForType(chosen);
    if (!type.empty() && (FileTypeOf(type) != output.type || WriterForType(type) != output.writer))
        return "the ending of " + Quoted(output.name) + " is not that of the type " + type;
    return CheckType(output.type, writes);
}

const std::vector<std::string>& OutputTypes() {
    static const std::vector<std::string> types{"png", "jpg", "jpeg", "tif", "tiff", "bmp", kArchiveType, kBitmapType};
    return types;
}

}  // namespace tool
