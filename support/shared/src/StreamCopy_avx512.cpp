#include "StreamCopy.inl"

void shr::StreamCopy_avx512(std::uint8_t* destination, const std::uint8_t* source, std::size_t byteCount,
                            const std::uint8_t* nextSource) {
    StreamCopyKernel(destination, source, byteCount, nextSource);
}
