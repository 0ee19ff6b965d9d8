#include "shr/ByteBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "shr/ScopeExit.h"

namespace shr {
namespace {

bool IsZero(const ByteBuffer& buffer) {
    return std::all_of(buffer.Data(), buffer.Data() + buffer.Size(), [](std::uint8_t byte) { return byte == 0; });
}

TEST(ByteBuffer, IsEmptyByDefault) {
    const ByteBuffer buffer;
    EXPECT_TRUE(buffer.IsEmpty());
    EXPECT_EQ(buffer.Size(), 0u);
    EXPECT_EQ(buffer.Data(), nullptr);
}

TEST(ByteBuffer, OfNoBytesIsEmpty) {
    EXPECT_TRUE(ByteBuffer::Zeroed(0).IsEmpty());
    EXPECT_TRUE(ByteBuffer::Uninitialized(0).IsEmpty());
}

TEST(ByteBuffer, ReadsAsZeroAlsoWhereMemoryWasUsedBefore) {
    for (const std::uint64_t size : {1u, 4096u, 5'000'000u}) {
        ByteBuffer dirty = ByteBuffer::Uninitialized(size);
        std::memset(dirty.Data(), 0xEE, dirty.Size());
        dirty.Free();
        const ByteBuffer clean = ByteBuffer::Zeroed(size);
        EXPECT_EQ(clean.Size(), size);
        EXPECT_TRUE(IsZero(clean));
    }
}

TEST(ByteBuffer, BeginsAtALineOfTheCaches) {
    std::vector<ByteBuffer> buffers;
    for (const std::uint64_t size : {1u, 15u, 63u, 64u, 65u, 100u, 4096u, 300'000u})
        for (int i = 0; i < 8; ++i) {
            buffers.push_back(i % 2 == 0 ? ByteBuffer::Zeroed(size) : ByteBuffer::Uninitialized(size));
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(buffers.back().Data()) % 64, 0u) << size;
            std::memset(buffers.back().Data(), 0xEE, buffers.back().Size());
        }
}

TEST(ByteBuffer, MovesItsBlock) {
    ByteBuffer first = ByteBuffer::Zeroed(10);
    first.Data()[3] = 42;
    const std::uint8_t* block = first.Data();
    ByteBuffer second = std::move(first);
    EXPECT_EQ(second.Data(), block);
    EXPECT_EQ(second.Size(), 10u);
    ByteBuffer third = ByteBuffer::Zeroed(5);
    third = std::move(second);
    EXPECT_EQ(third.Data(), block);
    EXPECT_EQ(third.Data()[3], 42);
    for (const ByteBuffer* moved : {&first, &second}) {
        EXPECT_TRUE(moved->IsEmpty());
        EXPECT_EQ(moved->Size(), 0u);
    }
    ByteBuffer& same = third;
    third = std::move(same);
    EXPECT_EQ(third.Data(), block);
}

TEST(ByteBuffer, FreesMoreThanOnceWithoutHarm) {
    ByteBuffer buffer = ByteBuffer::Zeroed(10);
    buffer.Free();
    EXPECT_TRUE(buffer.IsEmpty());
    EXPECT_EQ(buffer.Size(), 0u);
    buffer.Free();
}

TEST(ByteBuffer, RefusesSizesThatNoAddressSpaceHolds) {
    for (const std::uint64_t size : {std::uint64_t{1} << 63, std::numeric_limits<std::uint64_t>::max()}) {
        EXPECT_THROW(ByteBuffer::Zeroed(size), std::bad_alloc);
        EXPECT_THROW(ByteBuffer::Uninitialized(size), std::bad_alloc);
    }
}

int allocationsUntilFailure = 0;
bool FailsAfterSome() { return allocationsUntilFailure-- == 0; }

TEST(ByteBuffer, FailsWhereATestWantsItTo) {
    const ScopeExit unhook([] { ByteBuffer::SetFaultHook(nullptr); });
    ByteBuffer::SetFaultHook(&FailsAfterSome);
    allocationsUntilFailure = 2;
    EXPECT_NO_THROW(ByteBuffer::Zeroed(1));
    EXPECT_NO_THROW(ByteBuffer::Uninitialized(1));
    EXPECT_THROW(ByteBuffer::Zeroed(1), std::bad_alloc);
    EXPECT_NO_THROW(ByteBuffer::Zeroed(1));
    allocationsUntilFailure = 0;
    EXPECT_THROW(ByteBuffer::Uninitialized(1), std::bad_alloc);
}

}  // namespace
}  // namespace shr
