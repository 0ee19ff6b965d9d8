// A device that is full, a real one: what is done with bitmaps in files ends well or with a stated error, and goes on
// once there is room.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/statvfs.h>

#include <fstream>

#include "file/FileWorks.h"

namespace {

using namespace testkit;

/// A file system of 16 MiB in memory. Mounting takes the rights of the system's administrator.
class SmallDevice {
public:
    explicit SmallDevice(std::filesystem::path place) : folder(std::move(place)) {
        std::filesystem::create_directory(folder);
        isMounted = ::mount("zbm_test", folder.c_str(), "tmpfs", 0, "size=16m") == 0;
    }
    ~SmallDevice() {
        if (isMounted) ::umount2(folder.c_str(), MNT_DETACH);
    }
    SmallDevice(const SmallDevice&) = delete;
    SmallDevice& operator=(const SmallDevice&) = delete;
    bool IsMounted() const { return isMounted; }
    shr::ZString File(const char* name) const { return shr::ZString((folder / name).wstring()); }

    /// Leaves so many bytes.
    void Fill(std::size_t left) const {
        struct statvfs space {};
        ASSERT_EQ(::statvfs(folder.c_str(), &space), 0);
        const std::size_t free = space.f_bavail * space.f_bsize;
        ASSERT_GE(free, left);
        WriteWhole(File("filler"), Bytes(free - left));
    }
    void MakeRoom() const { std::filesystem::remove(folder / "filler"); }

private:
    const std::filesystem::path folder;
    bool isMounted = false;
};

class FullDevice : public testing::TestWithParam<FileWork> {
protected:
    void SetUp() override {
        formerSink = shr::g_Logger.SetSink([](int, const shr::ZString&) {});
    }
    void TearDown() override {
        shr::g_Logger.SetSink(std::move(formerSink));
        zbm::SetGlobalFileBitmapTempDir(shr::CPath().GetTempPathW(true));
    }

    shr::Logger::Sink formerSink;
    const ScratchFolder scratch;
};
INSTANTIATE_TEST_SUITE_P(Works, FullDevice, testing::ValuesIn(kFileWorks),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(FullDevice, EndsWorkInAnErrorThatIsOverOnceThereIsRoom) {
    constexpr std::size_t kPage = 4096, kMostPages = 24;  // more than any of the files takes
    int errors = 0;
    for (std::size_t pages = 0; pages <= kMostPages; ++pages) {
        const SmallDevice device(shr::test::SystemPath(scratch.File("device")));
        if (!device.IsMounted()) GTEST_SKIP() << "no right to mount a file system";
        zbm::SetGlobalFileBitmapTempDir(device.File(""));
        FileWorkplace place(device.File("picture"), device.File("other"));
        GetParam().prepare(place);
        device.Fill(pages * kPage);
        Came came = Came::toItsEnd;
        try {
            GetParam().act(place);
        } catch (const shr::Exception&) {
            came = Came::toAnError;
            ++errors;
        }
        device.MakeRoom();
        GetParam().check(place, came);
        place.bitmap.reset();
        if (HasFailure()) FAIL() << pages << " pages were free";
    }
    const std::string name = GetParam().name;
    const bool takesRoom = name.starts_with("Create") || name.starts_with("BuildLevels");
    EXPECT_TRUE(!takesRoom || errors > 0);
}

}  // namespace
