#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <functional>

#include "FileTesting.h"
#include "shr/BufferedFile.h"
#include "shr/Path.h"

namespace {

// Takes the place of the system's function for the library, too: what a file system without locks answers, and what
// others do just before a call.
int lockError = 0;
int lockCalls = 0;
std::function<void(int command, const struct flock& lock)> beforeLocking;

}  // namespace

extern "C" __attribute__((visibility("default"))) int fcntl(int descriptor, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    const long argument = va_arg(arguments, long);
    va_end(arguments);
    if (command == F_OFD_SETLK || command == F_OFD_GETLK) {
        ++lockCalls;
        // A copy, which may take away the original while it runs.
        if (const auto act = beforeLocking) act(command, *reinterpret_cast<const struct flock*>(argument));
        if (lockError != 0) {
            errno = lockError;
            return -1;
        }
    }
    return static_cast<int>(syscall(SYS_fcntl, descriptor, command, argument));
}

namespace shr {
namespace {

using namespace test;
using testkit::ScratchFolder;

constexpr FileSharing kAlone = FileSharing::none;
/// The bytes by which an open says that it is not settled yet.
constexpr off_t kOpeningBegin = off_t{1} << 62, kOpeningEnd = kOpeningBegin + 4096;

/// Another process that opens a file and keeps it open until it is told to end.
class HoldingProcess {
public:
    HoldingProcess(const ZString& name, FileAccess access, FileSharing sharing) {
        int toChild[2], toParent[2];
        if (pipe(toChild) != 0 || pipe(toParent) != 0) std::abort();
        child = fork();
        if (child == 0) {
            close(toChild[1]);
            CBufferedFile file;
            char answer = file.OpenNoThrow(name, access, FileMode::openExisting, sharing) ? 'y' : 'n';
            if (write(toParent[1], &answer, 1) == 1 && read(toChild[0], &answer, 1) >= 0) _exit(0);
            _exit(1);
        }
        close(toChild[0]);
        close(toParent[1]);
        endOfChild = toChild[1];
        char answer = 'n';
        holds = read(toParent[0], &answer, 1) == 1 && answer == 'y';
        close(toParent[0]);
    }
    ~HoldingProcess() {
        close(endOfChild);
        int status = 0;
        waitpid(child, &status, 0);
    }
    HoldingProcess(const HoldingProcess&) = delete;
    HoldingProcess& operator=(const HoldingProcess&) = delete;

    bool Holds() const { return holds; }

private:
    pid_t child;
    int endOfChild;
    bool holds;
};

TEST(FileSharing, HoldsBetweenProcesses) {
    const ScratchFolder folder;
    const ZString name = folder.File("f");
    WriteWhole(name, {});
    for (int firstAccess = 1; firstAccess <= 3; ++firstAccess) {
        for (int firstSharing = 0; firstSharing <= 3; ++firstSharing) {
            const HoldingProcess holder(name, static_cast<FileAccess>(firstAccess),
                                        static_cast<FileSharing>(firstSharing));
            ASSERT_TRUE(holder.Holds());
            for (int access = 1; access <= 3; ++access) {
                for (int sharing = 0; sharing <= 3; ++sharing) {
                    const bool getOn = (access & ~firstSharing) == 0 && (firstAccess & ~sharing) == 0;
                    CBufferedFile file;
                    EXPECT_EQ(file.OpenNoThrow(name, static_cast<FileAccess>(access), FileMode::openExisting,
                                               static_cast<FileSharing>(sharing)),
                              getOn)
                        << firstAccess << firstSharing << " then " << access << sharing;
                    if (!getOn) { EXPECT_EQ(LastSystemError(), EBUSY); }
                }
            }
        }
    }
    CBufferedFile file;
    EXPECT_TRUE(file.OpenNoThrow(name, FileAccess::readWrite, FileMode::openExisting, kAlone)) << "all have ended";
}

TEST(FileSharing, HoldsForFilesThatMayOnlyBeReadOrOnlyBeWritten) {
    const ScratchFolder folder;
    const ZString name = folder.File("f");
    WriteWhole(name, {});
    for (const mode_t permission : {mode_t{0444}, mode_t{0222}}) {
        ASSERT_EQ(chmod(name.ToUtf8().c_str(), permission), 0);
        const FileAccess access = permission == 0444 ? FileAccess::read : FileAccess::write;
        CBufferedFile one, two;
        one.Open(name, access, FileMode::openExisting, kAlone);
        EXPECT_FALSE(two.OpenNoThrow(name, access, FileMode::openExisting, FileSharing::readWrite));
        one.Open(name, access, FileMode::openExisting, FileSharing::readWrite);
        EXPECT_TRUE(two.OpenNoThrow(name, access, FileMode::openExisting, FileSharing::readWrite));
    }
}

TEST(FileSharing, AdmitsManyWhoOnlyWrite) {
    const ScratchFolder folder;
    WriteWhole(folder.File("f"), {});
    std::vector<CBufferedFile> writers(100);
    for (CBufferedFile& writer : writers) {
        writer.Open(folder.File("f"), FileAccess::write, FileMode::openExisting, FileSharing::write);
    }
    CBufferedFile reader;
    EXPECT_FALSE(
        reader.OpenNoThrow(folder.File("f"), FileAccess::read, FileMode::openExisting, FileSharing::readWrite));
}

TEST(FileSharing, LeavesLocksOnTheDataToOthers) {
    const ScratchFolder folder;
    WriteWhole(folder.File("f"), BytesOf("data"));
    CBufferedFile file;
    file.Open(folder.File("f"), FileAccess::readWrite, FileMode::openExisting, kAlone);
    const int other = open(folder.File("f").ToUtf8().c_str(), O_RDWR | O_CLOEXEC);
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_len = 1 << 30;
    EXPECT_EQ(fcntl(other, F_OFD_SETLK, &lock), 0);
    close(other);
}

TEST(FileSharing, IsNotWatchedWhereTheFileSystemHasNoLocks) {
    const ScratchFolder folder;
    for (const int error : {ENOLCK, EINVAL, ENOSYS, EOPNOTSUPP}) {
        lockError = error;
        CBufferedFile one, two;
        EXPECT_TRUE(one.OpenNoThrow(folder.File("f"), FileAccess::readWrite, FileMode::create, kAlone)) << error;
        EXPECT_TRUE(two.OpenNoThrow(folder.File("f"), FileAccess::readWrite, FileMode::openExisting, kAlone)) << error;
    }
    lockError = 0;
}

TEST(FileSharing, GivesUpInTheEndIfAnotherNeverSettles) {
    const ScratchFolder folder;
    WriteWhole(folder.File("f"), BytesOf("data"));
    const int stranger = open(folder.File("f").ToUtf8().c_str(), O_RDWR | O_CLOEXEC);
    struct flock lock {};
    lock.l_type = F_RDLCK;
    lock.l_start = off_t{1} << 62;  // all statements at once, and still opening
    lock.l_len = 1 << 20;
    ASSERT_EQ(fcntl(stranger, F_OFD_SETLK, &lock), 0);
    CBufferedFile file;
    EXPECT_FALSE(file.OpenNoThrow(folder.File("f"), FileAccess::readWrite, FileMode::create, kAlone));
    EXPECT_EQ(LastSystemError(), EBUSY);
    close(stranger);
    EXPECT_EQ(ReadWhole(folder.File("f")), BytesOf("data"));
}

/// An open that holds a file by a lock of its own on all statements, with that of not being settled or without.
class Stranger {
public:
    explicit Stranger(const ZString& name, bool isSettled = true)
        : descriptor(open(name.ToUtf8().c_str(), O_RDWR | O_CLOEXEC)) {
        struct flock lock {};
        lock.l_type = F_RDLCK;
        lock.l_start = isSettled ? kOpeningEnd : kOpeningBegin;
        lock.l_len = 1 << 20;
        EXPECT_EQ(fcntl(descriptor, F_OFD_SETLK, &lock), 0);
    }
    ~Stranger() { Leave(); }
    Stranger(const Stranger&) = delete;
    Stranger& operator=(const Stranger&) = delete;
    void Leave() {
        if (descriptor >= 0) close(descriptor);
        descriptor = -1;
    }

private:
    int descriptor;
};

TEST(FileSharing, RefusesAtOnceWhereTheOtherIsSettled) {
    const ScratchFolder folder;
    WriteWhole(folder.File("f"), {});
    CBufferedFile holder, other;
    holder.Open(folder.File("f"), FileAccess::readWrite, FileMode::openExisting, kAlone);
    lockCalls = 0;
    EXPECT_FALSE(other.OpenNoThrow(folder.File("f"), FileAccess::readWrite, FileMode::openExisting, kAlone));
    EXPECT_LT(lockCalls, 20) << "one attempt makes, looks and takes back";
}

TEST(FileSharing, LooksAgainWhenTheOtherMayJustHaveLeft) {
    const ScratchFolder folder;
    WriteWhole(folder.File("f"), {});
    Stranger stranger(folder.File("f"));
    // It is still there when the clash is found, and gone when the question is whether it has yet to settle.
    beforeLocking = [&](int command, const struct flock& lock) {
        if (command == F_OFD_GETLK && lock.l_start == kOpeningBegin) stranger.Leave();
    };
    CBufferedFile file;
    EXPECT_TRUE(file.OpenNoThrow(folder.File("f"), FileAccess::readWrite, FileMode::openExisting, kAlone));
    beforeLocking = nullptr;
}

TEST(FileSharing, TriesAgainWhileTheOtherIsNotSettled) {
    const ScratchFolder folder;
    WriteWhole(folder.File("f"), {});
    Stranger stranger(folder.File("f"), false);
    // It gives up when the open has taken everything back.
    beforeLocking = [&](int command, const struct flock& lock) {
        if (command == F_OFD_SETLK && lock.l_type == F_UNLCK) stranger.Leave();
    };
    CBufferedFile file;
    EXPECT_TRUE(file.OpenNoThrow(folder.File("f"), FileAccess::readWrite, FileMode::openExisting, kAlone));
    beforeLocking = nullptr;
}

TEST(FileSharing, LeavesANewFileToWhoWasFasterInOpeningIt) {
    const ScratchFolder folder;
    std::optional<Stranger> stranger;
    beforeLocking = [&](int, const struct flock&) {
        beforeLocking = nullptr;  // the stranger locks, too
        stranger.emplace(folder.File("f"));
    };
    CBufferedFile file;
    EXPECT_FALSE(file.OpenNoThrow(folder.File("f"), FileAccess::readWrite, FileMode::createNew, kAlone));
    EXPECT_EQ(LastSystemError(), EBUSY);
    EXPECT_TRUE(PathExists(folder.File("f")));
}

TEST(BufferedFileOnLinux, RefusesPipesAndDevicesAtOnce) {
    const ScratchFolder folder;
    const ZString pipeName = folder.File("pipe");
    ASSERT_EQ(mkfifo(pipeName.ToUtf8().c_str(), 0600), 0);
    for (const ZString& name : {pipeName, ZString(L"/dev/null"), ZString(L"/dev/full"), ZString(L"/dev/zero")}) {
        for (const FileAccess access : {FileAccess::read, FileAccess::write, FileAccess::readWrite}) {
            CBufferedFile file;
            EXPECT_FALSE(file.OpenNoThrow(name, access, FileMode::openExisting, kAlone));
            EXPECT_EQ(LastSystemError(), EOPNOTSUPP) << name.ToUtf8();
        }
    }
    CBufferedFile file;
    EXPECT_FALSE(file.OpenNoThrow(folder.File(""), FileAccess::read, FileMode::openExisting, kAlone));
    EXPECT_EQ(LastSystemError(), EISDIR);
}

TEST(BufferedFileOnLinux, TakesNamesThatAreNoUtf8) {
    const ScratchFolder folder;
    const std::string bytes = folder.File("").ToUtf8() + "caf\xE9 \xFF\x80 \xC3";
    const ZString name = ZString::FromUtf8(bytes);
    CBufferedFile file;
    file.Open(name, FileAccess::write, FileMode::createNew, kAlone);
    file.Write("text", 4);
    file.Close();
    struct stat status {};
    ASSERT_EQ(stat(bytes.c_str(), &status), 0);
    EXPECT_EQ(status.st_size, 4);
    EXPECT_TRUE(PathExists(name));
    EXPECT_TRUE(RemoveFile(name));
}

TEST(BufferedFileOnLinux, MakesTheFileThatALinkLeadsTo) {
    const ScratchFolder folder;
    std::filesystem::create_symlink("target", SystemPath(folder.File("link")));
    CBufferedFile file;
    EXPECT_FALSE(file.OpenNoThrow(folder.File("link"), FileAccess::write, FileMode::createNew, kAlone));
    file.Open(folder.File("link"), FileAccess::write, FileMode::create, kAlone);
    file.Write("text", 4);
    file.Close();
    EXPECT_EQ(ReadWhole(folder.File("target")), BytesOf("text"));
}

/// The flags of the open descriptor of a file, as the system lists them.
long FlagsOf(const ZString& name) {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code ignored;
        if (std::filesystem::read_symlink(entry.path(), ignored) != SystemPath(name)) continue;
        std::ifstream info("/proc/self/fdinfo/" + entry.path().filename().string());
        std::string word;
        while (info >> word) {
            if (word == "flags:" && info >> word) return std::strtol(word.c_str(), nullptr, 8);
        }
    }
    return -1;
}

TEST(BufferedFileOnLinux, IsNotHandedToProgramsThatAreStarted) {
    const ScratchFolder folder;
    CBufferedFile file;
    file.Open(folder.File("f"), FileAccess::readWrite, FileMode::createNew, kAlone);
    EXPECT_EQ(FlagsOf(folder.File("f")) & (O_CLOEXEC | O_DSYNC), O_CLOEXEC);
    file.Open(folder.File("f"), FileAccess::readWrite, FileMode::openExisting, kAlone, true);
    EXPECT_EQ(FlagsOf(folder.File("f")) & (O_CLOEXEC | O_DSYNC), O_CLOEXEC | O_DSYNC);
}

}  // namespace
}  // namespace shr
