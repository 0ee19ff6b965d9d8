#include "shr/Archive.h"
#include "shr/Exception.h"

namespace shr {

FileArchive::FileArchive(CBufferedFile& openFile, Direction openFor) : file(openFile), direction(openFor) {}

FileArchive::~FileArchive() = default;

bool FileArchive::IsStoring() { return direction == Direction::storing; }

void FileArchive::Read(void* dst, unsigned int byteCount) {
    if (IsStoring()) ThrowInternalError(L"Shared", L"FileArchive", __LINE__, "an archive that stores cannot be read");
    file.ReadExactly(dst, byteCount);
}

void FileArchive::Write(const void* src, unsigned int byteCount) {
    if (!IsStoring())
        ThrowInternalError(L"Shared", L"FileArchive", __LINE__, "an archive that loads cannot be written");
    file.Write(src, byteCount);
}

std::uint64_t FileArchive::RemainingBytes() {
    if (IsStoring()) return 0;
    const std::int64_t length = file.GetLength(), position = file.GetPosition();
    return position < length ? static_cast<std::uint64_t>(length - position) : 0;
}

}  // namespace shr
