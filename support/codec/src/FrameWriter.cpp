#define ZSTD_STATIC_LINKING_ONLY  // for ZSTD_c_literalCompressionMode, which the shared library has as well
#include "FrameWriter.h"

#include <zstd.h>
#include <zstd_errors.h>

#include <cstring>
#include <span>

namespace zcdl {
namespace {

struct Parameter {
    ZSTD_cParameter id;
    int value;
};
using Parameters = std::span<const Parameter>;

// For drawings and everything that is no picture.
constexpr Parameter kFastRepetitions[] = {{ZSTD_c_compressionLevel, 1}};
constexpr Parameter kBalancedRepetitions[] = {{ZSTD_c_compressionLevel, 3}};
constexpr Parameter kSmallRepetitions[] = {{ZSTD_c_compressionLevel, 16}};

// For the residuals of photographs. zstd ends its blocks at the window's size: short ones follow the changes of a
// picture from place to place. The search for repetitions goes through the content in strides, so as to meet long ones
// only; short ones cost more than the bytes they stand for.
constexpr Parameter kFastFrequencies[] = {{ZSTD_c_compressionLevel, 1},
                                          {ZSTD_c_strategy, ZSTD_fast},
                                          {ZSTD_c_windowLog, 15},
                                          {ZSTD_c_hashLog, 10},
                                          {ZSTD_c_targetLength, ZSTD_TARGETLENGTH_MAX},
                                          {ZSTD_c_literalCompressionMode, ZSTD_ps_enable}};
constexpr Parameter kBalancedFrequencies[] = {
    {ZSTD_c_compressionLevel, 1}, {ZSTD_c_strategy, ZSTD_fast}, {ZSTD_c_windowLog, 15},
    {ZSTD_c_hashLog, 10},         {ZSTD_c_targetLength, 256},   {ZSTD_c_literalCompressionMode, ZSTD_ps_enable}};
// Weighs each repetition against the bytes it stands for; wrongly where all bytes are about as likely.
constexpr Parameter kSmallFrequencies[] = {
    {ZSTD_c_compressionLevel, 13}, {ZSTD_c_strategy, ZSTD_btopt}, {ZSTD_c_windowLog, 17}, {ZSTD_c_hashLog, 15},
    {ZSTD_c_chainLog, 15},         {ZSTD_c_searchLog, 1},         {ZSTD_c_minMatch, 6},   {ZSTD_c_targetLength, 32}};

Parameters ParametersOf(Effort effort) noexcept {
    switch (effort.method) {
        case CodecMethod::small: return effort.frequenciesOnly ? Parameters(kSmallFrequencies) : kSmallRepetitions;
        case CodecMethod::balanced:
            return effort.frequenciesOnly ? Parameters(kBalancedFrequencies) : kBalancedRepetitions;
        default: return effort.frequenciesOnly ? Parameters(kFastFrequencies) : kFastRepetitions;
    }
}

/// 0 if the frame does not fit.
std::size_t WriteWith(ZSTD_CCtx* context, Parameters parameters, std::uint8_t* dst, std::size_t room,
                      const std::uint8_t* content, std::size_t byteCount) {
    ZSTD_CCtx_reset(context, ZSTD_reset_session_and_parameters);
    for (const Parameter& parameter : parameters) ZSTD_CCtx_setParameter(context, parameter.id, parameter.value);
    const std::size_t written = ZSTD_compress2(context, dst, room, content, byteCount);
    if (!ZSTD_isError(written)) return written;
    if (ZSTD_getErrorCode(written) == ZSTD_error_memory_allocation) throw std::bad_alloc();
    return 0;
}

}  // namespace

void FrameWriter::FreeContext::operator()(ZSTD_CCtx_s* freed) const noexcept { ZSTD_freeCCtx(freed); }

FrameWriter::FrameWriter() = default;
FrameWriter::~FrameWriter() = default;

std::size_t FrameWriter::Write(std::uint8_t* dst, std::size_t room, const std::uint8_t* content, std::size_t byteCount,
                               Effort effort) {
    if (context == nullptr) context.reset(ZSTD_createCCtx());
    if (context == nullptr) throw std::bad_alloc();
    if (effort.method != CodecMethod::small)
        return WriteWith(context.get(), ParametersOf(effort), dst, room, content, byteCount);

    // The balanced frame costs little beside the small one, and is at times the smaller of the two.
    const Parameters lighter = ParametersOf({CodecMethod::balanced, effort.frequenciesOnly});
    const std::size_t balanced = WriteWith(context.get(), lighter, dst, room, content, byteCount);
    const std::size_t limit = balanced != 0 ? balanced : room;
    std::uint8_t* const other = trial.Reserve(limit);
    const std::size_t smaller = WriteWith(context.get(), ParametersOf(effort), other, limit, content, byteCount);
    if (smaller == 0 || smaller >= limit) return balanced;
    std::memcpy(dst, other, smaller);
    return smaller;
}

}  // namespace zcdl
