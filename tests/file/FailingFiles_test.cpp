// Calls to the system fail, once or for good, in each thing that is done with bitmaps in files; disks are full from
// each write on, until there is room again; and the system moves fewer bytes than it is asked to.
#include <gtest/gtest.h>

#include <optional>

#include "file/FileWorks.h"

namespace {

using namespace testkit;
using shr::FileTransfer;

/// Whether it tells of a file or a folder in ours.
bool NamesAFile(const shr::Exception& error, const ScratchFolder& scratch) {
    return error.GetMessageText().Wide().find(scratch.File("").Wide()) != std::wstring::npos;
}

class FailingFile : public FileBitmapTest, public testing::WithParamInterface<FileWork> {
protected:
    void SetUp() override {
        FileBitmapTest::SetUp();
        formerSink = shr::g_Logger.SetSink([](int, const shr::ZString&) {});  // of bitmaps that close themselves
    }
    void TearDown() override {
        shr::g_Logger.SetSink(std::move(formerSink));
        FileBitmapTest::TearDown();
    }

    /// Whether `faults`, which live while the work is done, were met.
    template <class MakeFaults>
    bool TryWith(const MakeFaults& makeFaults, bool canDelete = true) {
        const FileWork& work = GetParam();
        FileWorkplace place(name, scratch.File("other"), work.way);
        place.canDelete = canDelete;
        work.prepare(place);
        bool met = false;
        {
            const auto faults = makeFaults();
            came = Came::toItsEnd;
            try {
                work.act(place);
            } catch (const shr::Exception& error) {
                came = Came::toAnError;
                EXPECT_TRUE(NamesAFile(error, scratch)) << Describe(error);
            }
            met = faults.HasFailed();
        }
        work.check(place, came);
        place.bitmap.reset();
        std::filesystem::remove(shr::test::SystemPath(place.other));
        return met;
    }

    Came came = Came::toItsEnd;  ///< the last work
    shr::Logger::Sink formerSink;
};

TEST_P(FailingFile, LeavesWhatItFoundAndCanBeDoneAgain) {
    int failing = 1;
    while (TryWith([&] { return FailingCall(failing); }) && !HasFailure()) ++failing;
    EXPECT_FALSE(HasFailure()) << "failing call " << failing;
    EXPECT_GT(failing, 1) << "no call was made";
}

/// From the n-th call on all fail, or all of one kind.
class FailingForGood {
public:
    explicit FailingForGood(int n, std::optional<FileCall> kind = std::nullopt) {
        left = n;
        onlyKind = kind;
        shr::SetFileFaultHook([](FileCall call) { return (!onlyKind || call == *onlyKind) && --left <= 0; });
    }
    ~FailingForGood() { shr::SetFileFaultHook(nullptr); }
    FailingForGood(const FailingForGood&) = delete;
    FailingForGood& operator=(const FailingForGood&) = delete;
    bool HasFailed() const { return left <= 0; }

private:
    static inline int left = 0;
    static inline std::optional<FileCall> onlyKind;
};

TEST_P(FailingFile, OfADeviceThatIsGoneForGoodCanBeWorkedOnWhenItIsBack) {
    int failing = 1;
    while (TryWith([&] { return FailingForGood(failing); }, false) && !HasFailure()) ++failing;
    EXPECT_FALSE(HasFailure()) << "failing from call " << failing;
}

TEST_P(FailingFile, WhoseCallsOfOneKindFailForGoodCanBeWorkedOnWhenTheyDoNot) {
    for (const FileCall kind : {FileCall::open, FileCall::lock, FileCall::query, FileCall::read, FileCall::write,
                                FileCall::truncate, FileCall::sync, FileCall::close, FileCall::remove}) {
        int failing = 1;
        const bool canDelete = kind != FileCall::remove;
        while (TryWith([&] { return FailingForGood(failing, kind); }, canDelete) && !HasFailure()) ++failing;
        ASSERT_FALSE(HasFailure()) << "kind " << static_cast<int>(kind) << ", failing from call " << failing;
    }
}

/// The n-th transfer of a kind and all later ones, or that one alone, go another way.
class OddTransfers {
public:
    OddTransfers(FileCall kind, FileTransfer way, int n, bool isOnce) : transfers(&Next) {
        onlyKind = kind;
        odd = way;
        left = n;
        once = isOnce;
    }
    bool HasFailed() const { return left <= 0; }

private:
    static FileTransfer Next(FileCall call) {
        if (call != onlyKind || (left <= 0 && once) || --left > 0) return FileTransfer::whole;
        return odd;
    }
    static inline FileCall onlyKind{};
    static inline FileTransfer odd{};
    static inline int left = 0;
    static inline bool once = false;
    shr::test::Transfers transfers;
};

TEST_P(FailingFile, WorksAgainOnceThereIsRoom) {
    int failing = 1;
    const auto fullDisk = [&] { return OddTransfers(FileCall::write, FileTransfer::diskFull, failing, false); };
    while (TryWith(fullDisk) && !HasFailure()) ++failing;
    EXPECT_FALSE(HasFailure()) << "full from write " << failing;
}

TEST_P(FailingFile, ThatEndsAtAnyReadOrTakesNothingAtAnyWriteIsAnError) {
    for (const FileCall kind : {FileCall::read, FileCall::write})
        for (const bool once : {true, false}) {
            int failing = 1;
            const auto nothing = [&] { return OddTransfers(kind, FileTransfer::nothing, failing, once); };
            while (TryWith(nothing) && !HasFailure()) ++failing;
            ASSERT_FALSE(HasFailure()) << (kind == FileCall::read ? "read " : "write ") << failing;
        }
}

TEST_P(FailingFile, IsNoneWhereTransfersArePartialOrInterrupted) {
    for (const FileCall kind : {FileCall::read, FileCall::write}) {
        TryWith([&] { return OddTransfers(kind, FileTransfer::part, 1, false); });
        EXPECT_EQ(came, Came::toItsEnd);
        int failing = 1;
        const auto interrupted = [&] { return OddTransfers(kind, FileTransfer::interrupted, failing, true); };
        while (TryWith(interrupted) && came == Came::toItsEnd && !HasFailure()) ++failing;
        EXPECT_EQ(came, Came::toItsEnd) << failing;
    }
}

INSTANTIATE_TEST_SUITE_P(Works, FailingFile, testing::ValuesIn(kFileWorks),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
