#include <cstring>

#include "shr/Archive.h"
#include "shr/Exception.h"

namespace shr {

MemoryArchive::MemoryArchive() : storing(true) {}
MemoryArchive::MemoryArchive(std::vector<std::uint8_t> loadedBytes) : storing(false), bytes(std::move(loadedBytes)) {}
MemoryArchive::~MemoryArchive() = default;

bool MemoryArchive::IsStoring() { return storing; }

void MemoryArchive::Read(void* dst, unsigned int byteCount) {
    if (storing) ThrowInternalError(L"Shared", L"MemoryArchive", __LINE__, "an archive that stores cannot be read");
    if (byteCount > RemainingBytes())
        Throw_ERR_SHR_FILE_READ(L"Shared", L"MemoryArchive", __LINE__, L"archive in memory", L"Unexpected end of data");
    if (byteCount == 0) return;
    std::memcpy(dst, bytes.data() + position, byteCount);
    position += byteCount;
}

void MemoryArchive::Write(const void* src, unsigned int byteCount) {
    if (!storing) ThrowInternalError(L"Shared", L"MemoryArchive", __LINE__, "an archive that loads cannot be written");
    const auto* first = static_cast<const std::uint8_t*>(src);
    bytes.insert(bytes.end(), first, first + byteCount);
}

std::uint64_t MemoryArchive::RemainingBytes() { return storing ? 0 : bytes.size() - position; }

}  // namespace shr
