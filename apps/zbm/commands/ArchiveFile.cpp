#include "commands/ArchiveFile.h"

#include <string>

#include "ErrorContext.h"
#include "commands/ArchiveCheck.h"
#include "shr/Archive.h"
#include "shr/BufferedFile.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZMemBitmap.h"

namespace tool {

namespace {

constexpr bool kWithReductions = true;  // where the bitmap has such

void Serialize(zbm::ZBitmap& bitmap, shr::FileArchive& archive, zcdl::CodecMethod method, shr::IProgress& progress) {
    zbm::SerializeIO io(archive, kWithReductions, method);
    if (!bitmap.Serialize(io, &progress, nullptr)) throw shr::AbortException();
}

void NoteTrailingBytes(Console& console, const ZString& name, std::uint64_t byteCount) {
    if (byteCount == 0) return;
    console.Note(name, std::to_string(byteCount) + " byte(s) after the end of the archive are ignored");
}

}  // namespace

void StoreArchive(zbm::ZBitmap& bitmap, OutputFile& output, zcdl::CodecMethod method, shr::IProgress& progress) {
    InContextOf(
        output.Target(),
        [&] {
            shr::FileArchive archive(output.File(), shr::FileArchive::Direction::storing);
            Serialize(bitmap, archive, method, progress);
            output.Commit();
        },
        output.TemporaryName());
}

LoadedArchive LoadArchive(const ZString& name, Console& console, shr::IProgress& progress) {
    shr::CBufferedFile file;
    if (!file.OpenNoThrow(name, shr::FileAccess::read, shr::FileMode::openExisting, shr::FileSharing::read)) {
        throw ToolError(name, shr::FormatSystemErrorMsg().ToUtf8());
    }
    return InContextOf(name, [&] {
        const ArchiveKind kind = CheckArchive(file, progress);
        file.Seek(0);
        LoadedArchive loaded;
        loaded.fileBytes = static_cast<std::uint64_t>(file.GetLength());
        if (kind == ArchiveKind::withReductions)
            loaded.bitmap = std::make_unique<zbm::ZMemBitmap>(1, 1, shr::BGRA_32);
        else
            loaded.bitmap = std::make_unique<zbm::ZBasicMemBitmap>(1, 1, shr::BGRA_32);
        shr::FileArchive archive(file, shr::FileArchive::Direction::loading);
        Serialize(*loaded.bitmap, archive, zcdl::CodecMethod::balanced, progress);
        NoteTrailingBytes(console, name, archive.RemainingBytes());
        return loaded;
    });
}

}  // namespace tool
