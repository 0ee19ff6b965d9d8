// Every call to the system fails once, in each thing that is done with bitmaps in files; and disks are full from each
// write on, until there is room again.
#include <gtest/gtest.h>

#include "file/FileWorks.h"

namespace {

using namespace testkit;

class FailingFile : public FileBitmapTest, public testing::WithParamInterface<FileWork> {
protected:
    /// Whether `faults`, which live while the work is done, were met.
    template <class MakeFaults>
    bool TryWith(const MakeFaults& makeFaults) {
        const FileWork& work = GetParam();
        FileWorkplace place(name, scratch.File("other"));
        work.prepare(place);
        Came came = Came::toItsEnd;
        bool met = false;
        {
            const auto faults = makeFaults();
            try {
                work.act(place);
            } catch (const shr::Exception&) { came = Came::toAnError; }
            met = faults.HasFailed();
        }
        work.check(place, came);
        place.bitmap.reset();
        std::filesystem::remove(shr::test::SystemPath(place.other));
        return met;
    }
};

TEST_P(FailingFile, LeavesWhatItFoundAndCanBeDoneAgain) {
    int failing = 1;
    while (TryWith([&] { return FailingCall(failing); }) && !HasFailure()) ++failing;
    EXPECT_FALSE(HasFailure()) << "failing call " << failing;
    EXPECT_GT(failing, 1) << "no call was made";
}

/// From the n-th write on.
class FullDisk {
public:
    explicit FullDisk(int n) : transfers(&Next) { left = n; }
    bool HasFailed() const { return left <= 0; }

private:
    static shr::FileTransfer Next(FileCall call) {
        if (call != FileCall::write || --left > 0) return shr::FileTransfer::whole;
        left = 0;
        return shr::FileTransfer::diskFull;
    }
    static inline int left = 0;
    shr::test::Transfers transfers;
};

TEST_P(FailingFile, WorksAgainOnceThereIsRoom) {
    int failing = 1;
    while (TryWith([&] { return FullDisk(failing); }) && !HasFailure()) ++failing;
    EXPECT_FALSE(HasFailure()) << "full from write " << failing;
}

INSTANTIATE_TEST_SUITE_P(Works, FailingFile, testing::ValuesIn(kFileWorks),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
