#pragma once
// A device that is really full, and how a test comes to mount one: mounting takes the rights of the system's
// administrator, or a name space in which one has them.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace testkit {

/// A file system of 16 MiB in memory.
class SmallDevice {
public:
    static constexpr std::size_t kBytes = std::size_t{16} << 20;

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
    const std::filesystem::path& Folder() const { return folder; }

    /// Leaves so many bytes.
    void Fill(std::size_t left) const {
        struct statvfs space {};
        ASSERT_EQ(::statvfs(folder.c_str(), &space), 0);
        const std::size_t free = space.f_bavail * space.f_bsize;
        ASSERT_GE(free, left);
        const int filler = ::open((folder / kFiller).c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
        ASSERT_GE(filler, 0);
        if (free > left) { EXPECT_EQ(::posix_fallocate(filler, 0, static_cast<off_t>(free - left)), 0); }
        ::close(filler);
    }
    void MakeRoom() const { std::filesystem::remove(folder / kFiller); }

private:
    static constexpr const char* kFiller = "filler";
    const std::filesystem::path folder;
    bool isMounted = false;
};

namespace detail {

inline void WriteText(const char* file, const std::string& text) { std::ofstream(file) << text << std::flush; }

/// Whether this process has come into name spaces of its own, as their administrator.
inline bool EnterNamespaces() {
    const std::string user = std::to_string(::geteuid()), group = std::to_string(::getegid());
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    WriteText("/proc/self/setgroups", "deny");
    WriteText("/proc/self/uid_map", "0 " + user + " 1");
    WriteText("/proc/self/gid_map", "0 " + group + " 1");
    return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

inline bool CanMount() {
    const std::filesystem::path probe =
        std::filesystem::temp_directory_path() / ("zbm_mount_" + std::to_string(::getpid()));
    const bool isMounted = SmallDevice(probe).IsMounted();
    std::filesystem::remove(probe);
    return isMounted;
}

}  // namespace detail

/// How a process that was forked for a part of a test ends: what failed there was printed there.
[[noreturn]] inline void EndOfChild() {
    std::fflush(nullptr);
    ::_exit(testing::Test::HasFailure() ? 1 : 0);
}

inline int WaitFor(pid_t process) {
    int status = 0;
    while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {}
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

/// Runs `body` where file systems can be mounted: here, else in a process with name spaces of its own, else nowhere.
/// To be a test's last statement.
template <class Body>
void WhereDevicesCanBeMounted(const Body& body) {
    if (detail::CanMount()) return body();
    constexpr int kNowhere = 77;
    std::fflush(nullptr);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        if (!detail::EnterNamespaces() || !detail::CanMount()) ::_exit(kNowhere);
        body();
        EndOfChild();
    }
    const int code = WaitFor(child);
    if (code == kNowhere) GTEST_SKIP() << "neither this user nor one in a name space of its own may mount";
    EXPECT_EQ(code, 0) << "in the process that may mount";
}

}  // namespace testkit
