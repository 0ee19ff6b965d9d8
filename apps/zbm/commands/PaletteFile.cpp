#include "commands/PaletteFile.h"

#include <cctype>
#include <stdexcept>
#include <string>

#include "ErrorContext.h"
#include "InputFile.h"
#include "pictures/PictureSource.h"
#include "pictures/RowConversion.h"
#include "shr/Path.h"

namespace tool {

namespace {

/// Enough for names and comments of any sense.
constexpr std::int64_t kMostBytes = 1 << 20;

std::string ReadBytes(const ZString& name) {
    PictureSource file(name);
    if (file.Length() == 0) throw std::runtime_error(kFileIsEmpty);
    if (file.Length() > kMostBytes) throw std::runtime_error("is too long for a palette");
    std::string bytes(static_cast<std::size_t>(file.Length()), '\0');
    file.ReadExactly(bytes.data(), bytes.size());
    return bytes;
}

}  // namespace

std::optional<PaletteFormat> PaletteFormatOf(const ZString& name) {
    std::string ending = shr::CPath(name).GetExtension().ToUtf8();
    for (char& letter : ending) letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    if (ending == ".gpl") return PaletteFormat::gimp;
    return ending == ".act" ? std::optional(PaletteFormat::adobe) : std::nullopt;
}

std::vector<shr::Color4b> ReadPaletteFile(const ZString& name) {
    return InContextOf(name, [&] { return DecodePalette(PaletteFormatOf(name).value(), ReadBytes(name)); });
}

void WritePalette(const zbm::ZBitmap& bitmap, OutputFile& file) {
    if (!IsIndexed(bitmap.GetColorFormat()))
        throw UsageError(file.Target(), "only a result in an INDEXED format has a palette");
    const shr::Color4b* const first = bitmap.GetConstColorTablePtr();
    const std::string bytes =
        EncodePalette(PaletteFormatOf(file.Target()).value(), {first, first + bitmap.GetNumColorTableItems()});
    InContextOf(file.Target(), [&] { file.File().Write(bytes.data(), bytes.size()); },
                {{file.TemporaryName(), file.Target()}});
}

}  // namespace tool
