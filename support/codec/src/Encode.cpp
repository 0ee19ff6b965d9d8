#include <cstring>
#include <stdexcept>

#include "BlockFormat.h"
#include "Buffer.h"
#include "FrameWriter.h"
#include "PlaneTransform.h"
#include "Survey.h"
#include "zcdl/Codec.h"

namespace zcdl {
namespace {

bool HasPeriod(const std::uint8_t* src, std::size_t byteCount, std::size_t period) noexcept {
    if (byteCount <= period) return false;
    // The middle and the end first: half a page may be blank, and would be read for nothing.
    const std::size_t count = byteCount - period, probe = count < 64 ? count : 64;
    for (const std::size_t at : {count - probe, (count - probe) / 2})
        if (std::memcmp(src + at, src + at + period, probe) != 0) return false;
    return std::memcmp(src, src + period, count) == 0;
}

/// The length of the shortest pattern, of up to 4 bytes, that the block repeats throughout; 0 if there is none.
std::size_t FindPeriod(const std::uint8_t* src, std::size_t byteCount) noexcept {
    // A pattern of 1 or 2 bytes is one of 4 as well.
    const std::size_t longest = HasPeriod(src, byteCount, 4) ? 4 : HasPeriod(src, byteCount, 3) ? 3 : 0;
    for (std::size_t period = 1; period < longest; ++period)
        if (HasPeriod(src, byteCount, period)) return period;
    return longest;
}

}  // namespace

struct CEncode::State {
    CodecMethod method;
    Buffer block;
    Buffer kept;
    std::size_t blockBytes = 0;
    PlaneEncoder planes;
    FrameWriter frames;

    void Store(const std::uint8_t* src, std::size_t byteCount) noexcept;
    bool Repeat(const std::uint8_t* src, std::size_t byteCount) noexcept;
    bool Compress(const std::uint8_t* src, std::size_t byteCount);
    bool CompressPlain(const std::uint8_t* src, std::size_t byteCount);
    bool CompressPlanes(const std::uint8_t* src, Survey& survey);
    /// The smaller of these.
    bool CompressDrawing(const std::uint8_t* src, Survey& survey);
    /// Appends a frame of `content` to the `headBytes` that the block has, and the checksum. False if storing
    /// `byteCount` bytes as they are would take no more, or if the block is so short that no reader would believe it.
    bool Finish(std::size_t headBytes, const std::uint8_t* content, std::size_t contentBytes, Effort effort,
                std::size_t byteCount);
    void Seal(std::size_t bytes) noexcept;
};

CEncode::CEncode(CodecMethod method, int option) : state(std::make_unique<State>()) {
    static_cast<void>(option);
    state->method = method;
}

CEncode::~CEncode() = default;

void CEncode::Encode(const std::uint8_t* src, std::size_t byteCount) {
    state->blockBytes = 0;
    const std::uint64_t longest = MaxEncodedSize(byteCount);
    if (longest > UINT32_MAX) throw std::length_error("zcdl::CEncode: block too long");
    std::uint8_t* block = state->block.Reserve(longest + kMaxLayoutBytes);
    if (byteCount == 0) {
        block[0] = static_cast<std::uint8_t>(BlockKind::empty);
        state->blockBytes = kKindBytes;
        return;
    }
    if (state->method != CodecMethod::stored) {
        if (state->Repeat(src, byteCount)) return;
        if (state->Compress(src, byteCount)) return;
    }
    state->Store(src, byteCount);
}

std::uint32_t CEncode::GetNumEncodedBytes() const noexcept { return static_cast<std::uint32_t>(state->blockBytes); }
const std::uint8_t* CEncode::GetEncodedBytes() const noexcept { return state->block.Data(); }

void CEncode::State::Seal(std::size_t bytes) noexcept {
    const std::uint32_t sum = ActiveKernels().checksum(block.Data(), bytes);
    std::memcpy(block.Data() + bytes, &sum, kChecksumBytes);
    blockBytes = bytes + kChecksumBytes;
}

void CEncode::State::Store(const std::uint8_t* src, std::size_t byteCount) noexcept {
    block.Data()[0] = static_cast<std::uint8_t>(BlockKind::stored);
    std::memcpy(block.Data() + kKindBytes, src, byteCount);
    Seal(kKindBytes + byteCount);
}

bool CEncode::State::Repeat(const std::uint8_t* src, std::size_t byteCount) noexcept {
    const std::size_t period = FindPeriod(src, byteCount);
    if (period == 0) return false;
    std::uint8_t* next = block.Data();
    *next++ = static_cast<std::uint8_t>(BlockKind::repeated);
    next = PutVarint(next, byteCount);
    *next++ = static_cast<std::uint8_t>(period);
    std::memcpy(next, src, period);
    next += period;
    // No block is shorter than its number of bytes lets a reader expect.
    std::size_t bytes = static_cast<std::size_t>(next - block.Data());
    const auto least = static_cast<std::size_t>(MinEncodedSize(byteCount));
    if (bytes + kChecksumBytes < least) {
        std::memset(next, 0, least - kChecksumBytes - bytes);
        bytes = least - kChecksumBytes;
    }
    if (bytes >= kKindBytes + byteCount) return false;
    Seal(bytes);
    return true;
}

bool CEncode::State::Compress(const std::uint8_t* src, std::size_t byteCount) {
    Survey survey = LookAt(src, byteCount);
    switch (survey.content) {
        case Content::photographic: return CompressPlanes(src, survey) || CompressPlain(src, byteCount);
        case Content::drawn:
            // A drawing takes next to nothing either way; only `small` is to spend time on the rest of it.
            if (method == CodecMethod::small) return CompressDrawing(src, survey);
            break;
        case Content::unpredictable: break;
    }
    return CompressPlain(src, byteCount);
}

bool CEncode::State::CompressPlain(const std::uint8_t* src, std::size_t byteCount) {
    block.Data()[0] = static_cast<std::uint8_t>(BlockKind::zstd);
    return Finish(kKindBytes, src, byteCount, {method, false}, byteCount);
}

bool CEncode::State::CompressDrawing(const std::uint8_t* src, Survey& survey) {
    const auto byteCount = static_cast<std::size_t>(survey.layout.byteCount);
    if (!CompressPlanes(src, survey)) return CompressPlain(src, byteCount);
    const std::size_t planesBytes = blockBytes;
    std::memcpy(kept.Reserve(planesBytes), block.Data(), planesBytes);
    if (CompressPlain(src, byteCount) && blockBytes < planesBytes) return true;
    std::memcpy(block.Data(), kept.Data(), planesBytes);
    blockBytes = planesBytes;
    return true;
}

bool CEncode::State::CompressPlanes(const std::uint8_t* src, Survey& survey) {
    PlaneLayout& layout = survey.layout;
    planes.Transform(src, layout);
    block.Data()[0] = static_cast<std::uint8_t>(BlockKind::planes);
    const std::uint8_t* head = PutLayout(block.Data() + kKindBytes, layout);
    return Finish(static_cast<std::size_t>(head - block.Data()), planes.Content(),
                  static_cast<std::size_t>(layout.ContentBytes()), {method, survey.content == Content::photographic},
                  static_cast<std::size_t>(layout.byteCount));
}

bool CEncode::State::Finish(std::size_t headBytes, const std::uint8_t* content, std::size_t contentBytes, Effort effort,
                            std::size_t byteCount) {
    if (headBytes >= byteCount) return false;
    const std::size_t frameBytes =
        frames.Write(block.Data() + headBytes, byteCount - headBytes, content, contentBytes, effort);
    const std::size_t bytes = headBytes + frameBytes;
    if (frameBytes == 0 || bytes + kChecksumBytes < MinEncodedSize(byteCount)) return false;
    Seal(bytes);
    return true;
}

}  // namespace zcdl
