#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>

#include "zcdl/Export.h"

namespace zcdl {

/// How much work goes into making a block small. Any decoder reads the blocks of any method.
enum class CodecMethod : int {
    stored = 0,    ///< not compressed
    fast = 1,      ///< quickest that still shrinks
    balanced = 2,  ///< the default
    small = 3,     ///< smallest, slowest
};

/// The longest block that encoding `byteCount` bytes can give.
ZCDL_API std::uint64_t MaxEncodedSize(std::uint64_t byteCount) noexcept;
/// The shortest block that can hold `byteCount` bytes: a shorter one is damaged. Readers use it to refuse a size that
/// the data at hand cannot back.
ZCDL_API std::uint64_t MinEncodedSize(std::uint64_t byteCount) noexcept;

/// Encodes blocks of bytes, each on its own. Buffers are reused from block to block. The same bytes, method and library
/// version give the same block on every system and processor.
class ZCDL_API CEncode {
public:
    /// `option` is reserved for the codec and must be 0.
    explicit CEncode(CodecMethod method = CodecMethod::balanced, int option = 0);
    ~CEncode();
    CEncode(const CEncode&) = delete;
    CEncode& operator=(const CEncode&) = delete;

    /// Encodes `byteCount` bytes (0 is a block too) into the encoder's buffer. Raises std::bad_alloc, and
    /// std::length_error if the block could be longer than 2^32 - 1 bytes; the buffer then holds an empty result.
    void Encode(const std::uint8_t* src, std::size_t byteCount);
    /// Of the last Encode.
    std::uint32_t GetNumEncodedBytes() const noexcept;
    const std::uint8_t* GetEncodedBytes() const noexcept;

private:
    struct ZCDL_LOCAL State;
    std::unique_ptr<State> state;
};

/// Decodes blocks of any method.
class ZCDL_API CDecode {
public:
    CDecode();
    ~CDecode();
    CDecode(const CDecode&) = delete;
    CDecode& operator=(const CDecode&) = delete;

    /// Makes the input buffer `byteCount` bytes long. Its content is undefined until it is written. Raises
    /// std::bad_alloc.
    void SetEncodeBufferSize(std::uint32_t byteCount);
    /// The input buffer, for the caller to put an encoded block into.
    std::uint8_t* GetEncodeBuffer() noexcept;
    /// Expands the block in the input buffer into exactly `byteCount` bytes. False if the block is damaged or holds
    /// another number of bytes; what could not be decoded of `dst` is then zero. Never reads or writes out of bounds.
    /// Raises std::bad_alloc, with `dst` zeroed: a block that there was no memory for is not a damaged one.
    bool Decode(std::uint8_t* dst, std::size_t byteCount);

private:
    struct ZCDL_LOCAL State;
    std::unique_ptr<State> state;
};

}  // namespace zcdl
