#pragma once
#include <cstdint>
#include <string>

#include "shr/BufferedFile.h"
#include "shr/ZString.h"

namespace tool {

using shr::ZString;

/// The picture file that a decoder reads. Every read looks whether cancelling was requested, for the decoders' own long
/// ways, and then throws shr::AbortException.
class PictureSource {
public:
    /// Raises ToolError if it cannot be opened.
    explicit PictureSource(const ZString& fileName);

    const ZString& Name() const noexcept { return name; }
    std::int64_t Length() const noexcept { return length; }
    std::int64_t Position() const noexcept { return file.GetPosition(); }
    void Seek(std::int64_t position) { file.Seek(position); }
    /// Fewer bytes than asked for only at the file's end.
    std::size_t Read(void* destination, std::size_t byteCount);
    /// Raises std::runtime_error when the file ends too early.
    void ReadExactly(void* destination, std::size_t byteCount);

    /// Raises std::runtime_error for a picture of which the file can not hold even a small part, so that a forged size
    /// sizes no allocation: `leastBytes` is what its pixels take at least.
    void RefuseUnlessHolding(std::uint64_t leastBytes, int width, int height) const;

private:
    ZString name;
    shr::CBufferedFile file;
    std::int64_t length = 0;
};

inline constexpr const char* kEndsTooEarly = "the file ends too early";

}  // namespace tool
