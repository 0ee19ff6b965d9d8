#include <zstd.h>

#include <cstring>
#include <new>

#include "BlockFormat.h"
#include "Buffer.h"
#include "PlaneTransform.h"
#include "zcdl/Codec.h"

namespace zcdl {
namespace {

struct FreeContext {
    void operator()(ZSTD_DCtx* context) const noexcept { ZSTD_freeDCtx(context); }
};

bool Store(ByteReader reader, std::uint8_t* dst, std::size_t byteCount) noexcept {
    if (reader.Left() != byteCount) return false;
    std::memcpy(dst, reader.next, byteCount);
    return true;
}

bool Repeat(ByteReader reader, std::uint8_t* dst, std::size_t byteCount) noexcept {
    const std::size_t blockBytes = kKindBytes + reader.Left() + kChecksumBytes;
    std::uint64_t length = 0;
    std::uint8_t period = 0;
    if (!reader.Varint(length) || length != byteCount || !reader.Byte(period)) return false;
    if (period < 1 || period > kMaxPeriod || period > reader.Left() || period >= byteCount) return false;
    const std::uint8_t* pattern = reader.next;
    reader.next += period;
    if (reader.Left() != 0 && blockBytes != MinEncodedSize(byteCount)) return false;
    for (; reader.next != reader.end; ++reader.next)
        if (*reader.next != 0) return false;
    // Doubles what is there, in steps that stay in the first cache.
    constexpr std::size_t kStep = 3 * 4096;
    for (std::size_t i = 0; i < byteCount && i < kStep; ++i) dst[i] = pattern[i % period];
    for (std::size_t done = kStep; done < byteCount; done += kStep)
        std::memcpy(dst + done, dst, byteCount - done < kStep ? byteCount - done : kStep);
    return true;
}

}  // namespace

struct CDecode::State {
    Buffer block;
    std::uint32_t blockBytes = 0;
    PlaneDecoder planes;
    std::unique_ptr<ZSTD_DCtx, FreeContext> zstd;

    bool Decode(std::uint8_t* dst, std::size_t byteCount);
    bool Expand(ByteReader reader, std::uint8_t* dst, std::size_t byteCount);
    bool ExpandPlanes(ByteReader reader, std::uint8_t* dst, std::size_t byteCount);
};

CDecode::CDecode() : state(std::make_unique<State>()) {}
CDecode::~CDecode() = default;

void CDecode::SetEncodeBufferSize(std::uint32_t byteCount) {
    state->blockBytes = 0;
    state->block.Reserve(byteCount);
    state->blockBytes = byteCount;
}

std::uint8_t* CDecode::GetEncodeBuffer() noexcept { return state->block.Data(); }

bool CDecode::Decode(std::uint8_t* dst, std::size_t byteCount) {
    const auto clear = [&] {
        if (byteCount != 0) std::memset(dst, 0, byteCount);
        return false;
    };
    try {
        return state->Decode(dst, byteCount) || clear();
    } catch (const std::bad_alloc&) {
        clear();
        throw;
    }
}

bool CDecode::State::Decode(std::uint8_t* dst, std::size_t byteCount) {
    const std::uint8_t* bytes = block.Data();
    if (blockBytes < MinEncodedSize(byteCount)) return false;
    const auto kind = static_cast<BlockKind>(bytes[0]);
    if (byteCount == 0) return kind == BlockKind::empty && blockBytes == kKindBytes;

    const std::size_t bodyEnd = blockBytes - kChecksumBytes;
    std::uint32_t sum = 0;
    std::memcpy(&sum, bytes + bodyEnd, kChecksumBytes);
    if (sum != ActiveKernels().checksum(bytes, bodyEnd)) return false;
    const ByteReader reader{bytes + kKindBytes, bytes + bodyEnd};
    switch (kind) {
        case BlockKind::empty: return false;
        case BlockKind::stored: return Store(reader, dst, byteCount);
        case BlockKind::repeated: return Repeat(reader, dst, byteCount);
        case BlockKind::zstd: return Expand(reader, dst, byteCount);
        case BlockKind::planes: return ExpandPlanes(reader, dst, byteCount);
    }
    return false;
}

bool CDecode::State::Expand(ByteReader reader, std::uint8_t* dst, std::size_t byteCount) {
    // One frame of today's format that says how long its content is, and nothing behind it.
    constexpr std::uint8_t kMagic[] = {0x28, 0xB5, 0x2F, 0xFD};
    if (reader.Left() < sizeof kMagic || std::memcmp(reader.next, kMagic, sizeof kMagic) != 0) return false;
    if (ZSTD_getFrameContentSize(reader.next, reader.Left()) != byteCount) return false;
    if (ZSTD_findFrameCompressedSize(reader.next, reader.Left()) != reader.Left()) return false;
    if (zstd == nullptr) zstd.reset(ZSTD_createDCtx());
    if (zstd == nullptr) throw std::bad_alloc();
    return ZSTD_decompressDCtx(zstd.get(), dst, byteCount, reader.next, reader.Left()) == byteCount;
}

bool CDecode::State::ExpandPlanes(ByteReader reader, std::uint8_t* dst, std::size_t byteCount) {
    PlaneLayout layout;
    if (!GetLayout(reader, byteCount, layout)) return false;
    const std::uint64_t contentBytes = layout.ContentBytes();
    std::uint8_t* content = planes.ContentBuffer(layout);
    return Expand(reader, content, static_cast<std::size_t>(contentBytes)) && planes.Restore(layout, dst);
}

}  // namespace zcdl
