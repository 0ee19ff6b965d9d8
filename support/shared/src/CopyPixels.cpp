#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "CopyBits.h"
#include "Kernels.h"
#include "StreamCopy.h"
#include "cpu/KernelSet.h"
#include "shr/ColorFormat.h"
#include "shr/CopyPixelRows.h"

namespace shr {
namespace {

/// What is smaller stays near the processor from one copy to the next.
constexpr std::size_t kFirstCacheBytes = std::size_t{128} << 10;

constinit cpu::KernelSet<CopyBitsFunction> copyBits(CopyBits_base, CPU_WIDE(CopyBits_avx2), CPU_WIDE(CopyBits_avx512));
constinit cpu::KernelSet<StreamCopyFunction> streamCopy(StreamCopy_base, CPU_WIDE(StreamCopy_avx2),
                                                        CPU_WIDE(StreamCopy_avx512));

/// Where a run of pixels lies in its row, in bits.
struct BitRun {
    std::size_t firstByte;
    unsigned phase;
    BitRun(int x, ColorFormat format) {
        const std::uint64_t bit = static_cast<std::uint64_t>(ColorFmtToBPP[format]) * static_cast<unsigned>(x);
        firstByte = static_cast<std::size_t>(bit / 8);
        phase = bit % 8;
    }
};

std::size_t BitCount(int count, ColorFormat format) {
    return static_cast<std::size_t>(ColorFmtToBPP[format]) * static_cast<unsigned>(count);
}

bool HasPixels(int destinationX, int sourceX, int count, ColorFormat format) {
    return count > 0 && destinationX >= 0 && sourceX >= 0 && IsColorFormat(format);
}

}  // namespace

bool UseKernels(cpu::Level level) noexcept { return cpu::UseLevel(level, copyBits, streamCopy); }

void CopyPixels(void* destinationRow, int destinationX, const void* sourceRow, int sourceX, int count,
                ColorFormat format) noexcept {
    // Not by way of CopyPixelRows: what that sets up for its rows would cost a short row three times its copying.
    if (!HasPixels(destinationX, sourceX, count, format)) return;
    const BitRun to(destinationX, format), from(sourceX, format);
    const std::size_t bitCount = BitCount(count, format);
    std::uint8_t* const target = static_cast<std::uint8_t*>(destinationRow) + to.firstByte;
    const std::uint8_t* const origin = static_cast<const std::uint8_t*>(sourceRow) + from.firstByte;
    if (((to.phase | from.phase | bitCount) & 7) == 0) {
        std::memcpy(target, origin, bitCount / 8);
    } else {
        copyBits.Active()({target, 0, to.phase, origin, 0, from.phase, bitCount, 1});
    }
}

void CopyPixelLine(const PixelRuns<std::uint8_t>& destination, const PixelRuns<const std::uint8_t>& source, int count,
                   ColorFormat format, CopyWrites writes) noexcept {
    if (!HasPixels(destination.x, source.x, count, format)) return;
    const BitRun to(destination.x, format), from(source.x, format);
    const std::size_t bitCount = BitCount(count, format);
    if (((to.phase | from.phase | bitCount) & 7) != 0)
        return CopyPixels(destination.firstRow, destination.x, source.firstRow, source.x, count, format);
    std::uint8_t* const target = destination.firstRow + to.firstByte;
    const std::uint8_t* const origin = source.firstRow + from.firstByte;
    if (writes == CopyWrites::streamed)
        streamCopy.Active()(target, origin, bitCount / 8, origin + source.stride);
    else if (source.stride != 0)
        FetchingCopy(target, origin, bitCount / 8, origin + source.stride);
    else
        std::memcpy(target, origin, bitCount / 8);
}

void FinishCopyWrites() noexcept { StreamFence(); }

void CopyPixelRows(PixelRuns<std::uint8_t> destination, PixelRuns<const std::uint8_t> source, int count, int rows,
                   ColorFormat format, CopyWrites writes) noexcept {
    if (!HasPixels(destination.x, source.x, count, format)) return;
    const BitRun to(destination.x, format), from(source.x, format);
    const std::size_t bitCount = BitCount(count, format);
    std::uint8_t* target = destination.firstRow + to.firstByte;
    const std::uint8_t* origin = source.firstRow + from.firstByte;
    std::ptrdiff_t targetStep = destination.stride, originStep = source.stride;
    // Memory is fastest upwards; the rows that lie closer together (a tile's) decide what is up.
    const std::ptrdiff_t closer = std::abs(targetStep) < std::abs(originStep) ? targetStep : originStep;
    if (closer < 0 && rows > 0) {
        target += (rows - 1) * targetStep;
        origin += (rows - 1) * originStep;
        targetStep = -targetStep;
        originStep = -originStep;
    }
    if ((to.phase | from.phase | (bitCount & 7)) != 0) {
        copyBits.Active()({target, targetStep, to.phase, origin, originStep, from.phase, bitCount, rows});
    } else if (writes == CopyWrites::streamed) {
        StreamCopyFunction& copy = streamCopy.Active();
        for (int row = 0; row < rows; ++row, target += targetStep, origin += originStep)
            copy(target, origin, bitCount / 8, row + 1 < rows ? origin + originStep : origin);
        StreamFence();
    } else {
        const std::size_t rowBytes = bitCount / 8;
        const bool isFetched = rowBytes * static_cast<std::size_t>(std::max(rows, 0)) > kFirstCacheBytes &&
                               std::abs(targetStep) != static_cast<std::ptrdiff_t>(rowBytes);
        for (int row = 0; row < rows; ++row, target += targetStep, origin += originStep) {
            if (isFetched && row + 1 < rows)
                FetchingRowCopy(target, origin, rowBytes, origin + originStep, target + targetStep);
            else
                std::memcpy(target, origin, rowBytes);
        }
    }
}

}  // namespace shr
