#include "shr/ByteBuffer.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>
#include <utility>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#endif

namespace shr {
namespace {

constinit std::atomic<ByteBuffer::FaultHook> faultHook = nullptr;

/// A vector that lies across two lines of the caches takes twice as long to load or store.
constexpr std::size_t kAlignment = 64;

/// How much to allocate, for the bytes can begin later than the block.
std::size_t BlockSize(std::uint64_t size) {
    constexpr auto kLargestObject = static_cast<std::uint64_t>(std::numeric_limits<std::ptrdiff_t>::max());
    const ByteBuffer::FaultHook hook = faultHook.load(std::memory_order_relaxed);
    if (size > kLargestObject - kAlignment || (hook != nullptr && hook())) throw std::bad_alloc();
    return static_cast<std::size_t>(size) + kAlignment - 1;
}

std::uint8_t* FirstAligned(void* block) {
    const auto beyond = reinterpret_cast<std::uintptr_t>(block) % kAlignment;
    return static_cast<std::uint8_t*>(block) + (beyond == 0 ? 0 : kAlignment - beyond);
}

/// Tells a sanitizer that what is left of the block is none of the bytes.
void CloseBehind([[maybe_unused]] const std::uint8_t* end, [[maybe_unused]] const void* block,
                 [[maybe_unused]] std::size_t blockSize) {
#if defined(__SANITIZE_ADDRESS__)
    ASAN_POISON_MEMORY_REGION(end, static_cast<std::size_t>(static_cast<const std::uint8_t*>(block) + blockSize - end));
#endif
}

}  // namespace

ByteBuffer::ByteBuffer(void* allocated, std::size_t byteCount) noexcept
    : block(allocated), data(FirstAligned(allocated)), size(byteCount) {
    CloseBehind(data + size, block, size + kAlignment - 1);
}

ByteBuffer::~ByteBuffer() { Free(); }

ByteBuffer::ByteBuffer(ByteBuffer&& other) noexcept
    : block(std::exchange(other.block, nullptr)),
      data(std::exchange(other.data, nullptr)),
      size(std::exchange(other.size, 0)) {}

ByteBuffer& ByteBuffer::operator=(ByteBuffer&& other) noexcept {
    std::swap(block, other.block);
    std::swap(data, other.data);
    std::swap(size, other.size);
    if (this != &other) other.Free();
    return *this;
}

ByteBuffer ByteBuffer::Zeroed(std::uint64_t size) {
    if (size == 0) return {};
    void* const block = std::calloc(BlockSize(size), 1);
    if (block == nullptr) throw std::bad_alloc();
    return {block, static_cast<std::size_t>(size)};
}

ByteBuffer ByteBuffer::Uninitialized(std::uint64_t size) {
    if (size == 0) return {};
    void* const block = std::malloc(BlockSize(size));
    if (block == nullptr) throw std::bad_alloc();
    return {block, static_cast<std::size_t>(size)};
}

void ByteBuffer::Free() noexcept {
    std::free(std::exchange(block, nullptr));
    data = nullptr;
    size = 0;
}

void ByteBuffer::SetFaultHook(FaultHook hook) noexcept { faultHook.store(hook, std::memory_order_relaxed); }

}  // namespace shr
