// A .bmp file is a DIB in pieces: file header, info header (of several lengths), masks or colours, a gap, the bits.

#include <cstring>

#include "DibLayout.h"
#include "NativePath.h"
#include "PathSystem.h"
#include "SystemFile.h"
#include "TempName.h"
#include "shr/BufferedFile.h"
#include "shr/Dib.h"
#include "shr/Exception.h"
#include "shr/Path.h"
#include "shr/ScopeExit.h"

namespace shr {
namespace {

constexpr wchar_t kModule[] = L"Shared";
constexpr wchar_t kSourceFile[] = L"DibFile";
constexpr WORD kFileType = 'B' | 'M' << 8;

/// What the headers of a .bmp file say, as far as it is needed. Positions are in the file.
struct BmpHeaders {
    BITMAPINFOHEADER info;  // of the bottom-up picture
    DibLayout layout;
    bool isTopDown;
    std::uint64_t tablePosition;
    std::uint64_t bitsPosition;
};

// Later versions of the header have the masks (52 bytes and more), then an alpha mask, colour space and profile.
bool IsInfoHeaderSize(DWORD size) noexcept {
    return size == 40 || size == 52 || size == 56 || size == 108 || size == 124;
}

// The masks follow the first 40 bytes, where a long header has them too; a table of colours follows the whole header.
std::uint64_t TablePosition(const BITMAPINFOHEADER& info) noexcept {
    return sizeof(BITMAPFILEHEADER) + (info.biCompression == BI_BITFIELDS ? sizeof(BITMAPINFOHEADER) : info.biSize);
}

std::uint64_t EndOfTable(const BITMAPINFOHEADER& info, const DibLayout& layout) noexcept {
    const std::uint64_t end = TablePosition(info) + layout.tableBytes;
    const std::uint64_t endOfHeader = sizeof(BITMAPFILEHEADER) + std::uint64_t{info.biSize};
    return end > endOfHeader ? end : endOfHeader;
}

std::optional<BmpHeaders> Understand(const BITMAPFILEHEADER& file, BITMAPINFOHEADER info,
                                     std::uint64_t fileLength) noexcept {
    if (file.bfType != kFileType || !IsInfoHeaderSize(info.biSize) || info.biPlanes != 1) return std::nullopt;
    const bool isTopDown = info.biHeight < 0;
    // The one height that cannot be negated stays negative, and is refused for that.
    if (isTopDown) info.biHeight = static_cast<LONG>(0u - static_cast<DWORD>(info.biHeight));
    const std::optional<DibLayout> layout = LayOutDib(info);
    if (!layout || info.biClrUsed > std::uint64_t{1} << info.biBitCount) return std::nullopt;
    if (EndOfTable(info, *layout) > file.bfOffBits) return std::nullopt;
    if (file.bfOffBits + std::uint64_t{layout->BitsBytes()} > fileLength) return std::nullopt;
    return BmpHeaders{info, *layout, isTopDown, TablePosition(info), file.bfOffBits};
}

BmpHeaders ReadHeaders(CBufferedFile& file) {
    std::uint8_t bytes[sizeof(BITMAPFILEHEADER) + sizeof(BITMAPINFOHEADER)];
    const std::int64_t length = file.GetLength();
    if (length < static_cast<std::int64_t>(sizeof(bytes))) {
        Throw_ERR_SHR_BADFILE(kModule, kSourceFile, __LINE__, file.GetName());
    }
    file.ReadExactly(bytes, sizeof(bytes));
    BITMAPFILEHEADER fileHeader;
    BITMAPINFOHEADER infoHeader;
    std::memcpy(&fileHeader, bytes, sizeof(fileHeader));
    std::memcpy(&infoHeader, bytes + sizeof(fileHeader), sizeof(infoHeader));
    const auto headers = Understand(fileHeader, infoHeader, static_cast<std::uint64_t>(length));
    if (!headers) Throw_ERR_SHR_BADFILE(kModule, kSourceFile, __LINE__, file.GetName());
    return *headers;
}

void ReadBits(CBufferedFile& file, const BmpHeaders& headers, std::uint8_t* bits) {
    const DibLayout& layout = headers.layout;
    file.Seek(static_cast<std::int64_t>(headers.bitsPosition));
    if (!headers.isTopDown) {
        file.ReadExactly(bits, layout.BitsBytes());
        return;
    }
    for (std::size_t end = layout.BitsBytes(); end > 0; end -= layout.stride) {
        file.ReadExactly(bits + end - layout.stride, layout.stride);
    }
}

/// A file that is removed unless it takes another's place: its native name is made before the file, so that removing it
/// needs no memory.
struct TempFile {
    ZString name;
    std::filesystem::path::string_type nativeName;
};

/// Opens a new file in the folder of `fileName`, which is not to be touched before the new one is whole.
TempFile OpenNewFileBeside(const ZString& fileName, SystemFile& file) {
    const ZString folder = CPath(fileName).GetFolder();
    for (int attempt = 1;; ++attempt) {
        const ZString name = folder + RandomTempName();
        TempFile temp{name, NativePath(name)};
        if (file.Open(name, FileAccess::write, FileMode::createNew, FileSharing::none, false)) return temp;
        const ZString systemText = FormatSystemErrorMsg();
        if (attempt == kTempNameAttempts || !PathExists(name)) {
            Throw_ERR_SHR_FILE_CREATE(kModule, kSourceFile, __LINE__, fileName, systemText);
        }
    }
}

}  // namespace

void CDib::Load(const ZString& fileName) {
    CBufferedFile file;
    file.Open(fileName, FileAccess::read, FileMode::openExisting, FileSharing::read);
    const BmpHeaders headers = ReadHeaders(file);
    const DibLayout& layout = headers.layout;
    ByteBuffer loaded = ByteBuffer::Uninitialized(layout.totalBytes);
    const BITMAPINFOHEADER complete = CompleteDibHeader(headers.info, layout);
    std::memcpy(loaded.Data(), &complete, sizeof(complete));
    file.Seek(static_cast<std::int64_t>(headers.tablePosition));
    file.ReadExactly(loaded.Data() + sizeof(complete), layout.tableBytes);
    ReadBits(file, headers, loaded.Data() + layout.bitsOffset);
    block = std::move(loaded);
}

void CDib::Save(const ZString& fileName) const {
    if (IsEmpty()) ThrowInternalError(kModule, kSourceFile, __LINE__, "an empty DIB cannot be saved");
    BITMAPFILEHEADER header{};
    header.bfType = kFileType;
    header.bfOffBits = static_cast<DWORD>(sizeof(header) + BitsOffset());
    header.bfSize = static_cast<DWORD>(sizeof(header) + block.Size());

    SystemFile file;
    const TempFile temp = OpenNewFileBeside(fileName, file);
    ScopeExit removeTemp([&] {
        file.Close();
        RemoveNativeFile(temp.nativeName);
    });
    // On the device before it takes the old file's place: after a crash there is the one or the other.
    const bool isReplaced = file.WriteAll(&header, sizeof(header), 0) &&
                            file.WriteAll(block.Data(), block.Size(), sizeof(header)) && file.Sync() && file.Close() &&
                            RenameFile(temp.name, fileName);
    if (!isReplaced) Throw_ERR_SHR_FILE_WRITE(kModule, kSourceFile, __LINE__, fileName, FormatSystemErrorMsg());
    removeTemp.Release();
}

}  // namespace shr
