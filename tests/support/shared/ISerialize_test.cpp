#include "shr/ISerialize.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace shr {
namespace {

class RecordingArchive : public ISerialize {
public:
    bool IsStoring() override {
        calls += "IsStoring ";
        return true;
    }
    void Read(void*, unsigned int byteCount) override { calls += "Read " + std::to_string(byteCount) + " "; }
    void Write(const void*, unsigned int byteCount) override { calls += "Write " + std::to_string(byteCount) + " "; }

    std::string calls;
};

using Slot = void (*)();

#if defined(__GNUC__)
#define CALLS_BY_ADDRESS __attribute__((no_sanitize("undefined")))  // the call below is typed by hand, on purpose
#else
#define CALLS_BY_ADDRESS
#endif

/// Calls the operations the way a host's compiler has laid them down: by their places in the virtual table.
CALLS_BY_ADDRESS void CallSlotsInOrder(ISerialize& archive) {
    const Slot* slots = nullptr;
    std::memcpy(&slots, static_cast<void*>(&archive), sizeof slots);
    reinterpret_cast<bool (*)(void*)>(slots[0])(&archive);
    reinterpret_cast<void (*)(void*, void*, unsigned)>(slots[1])(&archive, nullptr, 11);
    reinterpret_cast<void (*)(void*, const void*, unsigned)>(slots[2])(&archive, nullptr, 22);
}

TEST(ISerialize, HasItsThreeOperationsFirstInTheVirtualTable) {
    RecordingArchive archive;
    CallSlotsInOrder(archive);
    EXPECT_EQ(archive.calls, "IsStoring Read 11 Write 22 ");
}

TEST(ISerialize, HoldsNothingButItsVirtualTable) { EXPECT_EQ(sizeof(ISerialize), sizeof(void*)); }

}  // namespace
}  // namespace shr
