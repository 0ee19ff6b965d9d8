#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>

#include "Buffer.h"
#include "zcdl/Codec.h"

struct ZSTD_CCtx_s;

namespace zcdl {

struct Effort {
    CodecMethod method = CodecMethod::balanced;
    /// The content repeats itself so little that the time should go into how often each byte occurs.
    bool frequenciesOnly = false;
};

/// Writes zstd frames. Its working memory is kept from frame to frame.
class FrameWriter {
public:
    FrameWriter();
    ~FrameWriter();

    /// Gives the frame's length, or 0 if it would not fit into `room` bytes. Raises std::bad_alloc.
    std::size_t Write(std::uint8_t* dst, std::size_t room, const std::uint8_t* content, std::size_t byteCount,
                      Effort effort);

private:
    struct FreeContext {
        void operator()(ZSTD_CCtx_s* context) const noexcept;
    };
    std::unique_ptr<ZSTD_CCtx_s, FreeContext> context;
    Buffer trial;
};

}  // namespace zcdl
