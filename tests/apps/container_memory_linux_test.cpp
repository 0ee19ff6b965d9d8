// How much memory a container leaves to the process, told from files like those of the system.
#include <gtest/gtest.h>

#include "ContainerMemory_linux.h"
#include "apps/Scratch.h"

namespace test {
namespace {

class ContainerMemory : public testing::Test {
protected:
    void Put(const std::string& name, const std::string& text) const {
        const auto path = ToPath(folder.File(name));
        std::filesystem::create_directories(path.parent_path());
        WriteFile(folder.File(name), Bytes(text.begin(), text.end()));
    }
    std::uint64_t Limit() const { return tool::ContainerMemory(ToPath(folder.File(".")).string()); }

    ScratchFolder folder;
};

TEST_F(ContainerMemory, HasNoLimitWhereNothingTellsOne) {
    EXPECT_EQ(Limit(), UINT64_MAX);
    Put("proc/self/cgroup", "0::/a/b\n");
    EXPECT_EQ(Limit(), UINT64_MAX);
    Put("sys/fs/cgroup/a/b/memory.max", "max\n");
    EXPECT_EQ(Limit(), UINT64_MAX);
    Put("proc/self/cgroup", "nonsense\n::\n");
    EXPECT_EQ(Limit(), UINT64_MAX);
}

TEST_F(ContainerMemory, IsTheLeastOfTheGroupsAroundTheProcess) {
    Put("proc/self/cgroup", "0::/a/b\n");
    Put("sys/fs/cgroup/a/b/memory.max", "3000\n");
    EXPECT_EQ(Limit(), 3000u);
    Put("sys/fs/cgroup/a/memory.max", "2000\n");
    EXPECT_EQ(Limit(), 2000u);
    Put("sys/fs/cgroup/memory.max", "4000\n");
    EXPECT_EQ(Limit(), 2000u);
}

TEST_F(ContainerMemory, OfVersion1IsThatOfTheMemoryController) {
    Put("proc/self/cgroup", "5:cpu,cpuacct:/a\n4:blkio,memory:/b\n0::/\n");
    Put("sys/fs/cgroup/memory/a/memory.limit_in_bytes", "1000\n");
    Put("sys/fs/cgroup/memory/b/memory.limit_in_bytes", "2000\n");
    EXPECT_EQ(Limit(), 2000u);
}

TEST_F(ContainerMemory, IsThatAtTheTopWhereThePathIsOneOutsideTheContainer) {
    Put("proc/self/cgroup", "4:memory:/docker/1234\n");
    Put("sys/fs/cgroup/memory/memory.limit_in_bytes", "5000\n");
    EXPECT_EQ(Limit(), 5000u);
    Put("proc/self/cgroup", "0::/\n");
    Put("sys/fs/cgroup/memory.max", "6000\n");
    EXPECT_EQ(Limit(), 6000u);
}

}  // namespace
}  // namespace test
