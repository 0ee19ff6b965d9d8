#pragma once
// Archives that do not do what a good one does.
#include <cstring>
#include <limits>

#include "faults/FaultyBitmaps.h"
#include "shr/ISerialize.h"

namespace faults {

/// What a host's own archive may throw: nothing that the libraries know.
struct HostError {
    int number;
};

/// Loads from bytes and does not tell how many are left. Its end is a HostError.
class PlainArchive : public shr::ISerialize {
public:
    explicit PlainArchive(const Bytes& source) : bytes(source) {}
    bool IsStoring() override { return false; }
    void Read(void* dst, unsigned int byteCount) override {
        if (byteCount > bytes.size() - position) throw HostError{0};
        if (byteCount != 0) std::memcpy(dst, bytes.data() + position, byteCount);
        position += byteCount;
    }
    void Write(const void*, unsigned int) override { throw HostError{1}; }

private:
    const Bytes& bytes;
    std::size_t position = 0;
};

/// Stores into bytes or loads from them, until a call of the given number or a byte past the given count is asked for;
/// that throws HostError{kNumber}. Calls are counted from 1.
class FailingArchive : public shr::ISerialize, public shr::ISerializeExtent {
public:
    static constexpr int kNumber = 4711;
    static constexpr auto kNever = std::numeric_limits<std::size_t>::max();

    static FailingArchive Storing() { return FailingArchive(true, {}); }
    static FailingArchive Loading(const Bytes& source) { return FailingArchive(false, source); }
    FailingArchive& AtCall(std::size_t number) {
        failingCall = number;
        return *this;
    }
    FailingArchive& AfterBytes(std::size_t count) {
        mostBytes = count;
        return *this;
    }
    /// Questions for the direction are calls too.
    FailingArchive& CountingQuestions() {
        countsQuestions = true;
        return *this;
    }

    bool IsStoring() override {
        if (countsQuestions) Count();
        return storing;
    }
    void Read(void* dst, unsigned int byteCount) override {
        Count();
        if (byteCount > mostBytes - position || byteCount > bytes.size() - position) throw HostError{kNumber};
        if (byteCount != 0) std::memcpy(dst, bytes.data() + position, byteCount);
        position += byteCount;
    }
    void Write(const void* src, unsigned int byteCount) override {
        Count();
        if (byteCount > mostBytes - bytes.size()) throw HostError{kNumber};
        const auto* first = static_cast<const std::uint8_t*>(src);
        bytes.insert(bytes.end(), first, first + byteCount);
    }
    std::uint64_t RemainingBytes() override {
        Count();
        return bytes.size() - position;
    }

    const Bytes& Written() const { return bytes; }
    bool HasFailed() const { return failed; }

private:
    FailingArchive(bool stores, const Bytes& source) : storing(stores), bytes(source) {}

    void Count() {
        if (++calls != failingCall) return;
        failed = true;
        throw HostError{kNumber};
    }

    bool storing;
    Bytes bytes;
    std::size_t position = 0;
    std::size_t calls = 0, failingCall = kNever, mostBytes = kNever;
    bool countsQuestions = false, failed = false;
};

}  // namespace faults
