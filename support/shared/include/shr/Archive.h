#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

#include "shr/BufferedFile.h"
#include "shr/Export.h"
#include "shr/ISerialize.h"

namespace shr {

/// An archive in memory. Stores into `Bytes()`; loads from bytes that it owns.
class SHR_API MemoryArchive : public ISerialize, public ISerializeExtent {
public:
    /// For storing.
    MemoryArchive();
    /// For loading.
    explicit MemoryArchive(std::vector<std::uint8_t> bytes);
    virtual ~MemoryArchive();

    bool IsStoring() override;
    /// Raises ERR_SHR_FILE_READ, and reads nothing, when fewer bytes are left.
    void Read(void* dst, unsigned int byteCount) override;
    void Write(const void* src, unsigned int byteCount) override;
    std::uint64_t RemainingBytes() override;

    const std::vector<std::uint8_t>& Bytes() const noexcept { return bytes; }
    /// Bytes read so far.
    std::size_t Position() const noexcept { return position; }

private:
    bool storing;
    std::vector<std::uint8_t> bytes;
    std::size_t position = 0;
};

/// An archive on an open file, from the file's position at construction on. The file is borrowed and stays open.
class SHR_API FileArchive : public ISerialize, public ISerializeExtent {
public:
    enum class Direction { storing, loading };
    FileArchive(CBufferedFile& file, Direction direction);
    virtual ~FileArchive();

    bool IsStoring() override;
    /// Raises ERR_SHR_FILE_READ naming the file when it ends too early.
    void Read(void* dst, unsigned int byteCount) override;
    void Write(const void* src, unsigned int byteCount) override;
    std::uint64_t RemainingBytes() override;

private:
    CBufferedFile& file;
    Direction direction;
};

}  // namespace shr
