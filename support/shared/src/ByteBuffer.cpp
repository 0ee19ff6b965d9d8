#include "shr/ByteBuffer.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>
#include <utility>

namespace shr {
namespace {

constinit std::atomic<ByteBuffer::FaultHook> faultHook = nullptr;

void RefuseIfImpossible(std::uint64_t size) {
    constexpr auto kLargestObject = static_cast<std::uint64_t>(std::numeric_limits<std::ptrdiff_t>::max());
    const ByteBuffer::FaultHook hook = faultHook.load(std::memory_order_relaxed);
    if (size > kLargestObject || (hook != nullptr && hook())) throw std::bad_alloc();
}

std::uint8_t* Checked(void* block) {
    if (block == nullptr) throw std::bad_alloc();
    return static_cast<std::uint8_t*>(block);
}

}  // namespace

ByteBuffer::~ByteBuffer() { Free(); }

ByteBuffer::ByteBuffer(ByteBuffer&& other) noexcept
    : data(std::exchange(other.data, nullptr)), size(std::exchange(other.size, 0)) {}

ByteBuffer& ByteBuffer::operator=(ByteBuffer&& other) noexcept {
    std::swap(data, other.data);
    std::swap(size, other.size);
    if (this != &other) other.Free();
    return *this;
}

ByteBuffer ByteBuffer::Zeroed(std::uint64_t size) {
    if (size == 0) return {};
    RefuseIfImpossible(size);
    const auto byteCount = static_cast<std::size_t>(size);
    return {Checked(std::calloc(byteCount, 1)), byteCount};
}

ByteBuffer ByteBuffer::Uninitialized(std::uint64_t size) {
    if (size == 0) return {};
    RefuseIfImpossible(size);
    const auto byteCount = static_cast<std::size_t>(size);
    return {Checked(std::malloc(byteCount)), byteCount};
}

void ByteBuffer::Free() noexcept {
    std::free(std::exchange(data, nullptr));
    size = 0;
}

void ByteBuffer::SetFaultHook(FaultHook hook) noexcept { faultHook.store(hook, std::memory_order_relaxed); }

}  // namespace shr
