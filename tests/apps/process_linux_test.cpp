// The tool as a process of its own: signals, devices and file systems that are really full.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <functional>
#include <thread>

#include "apps/Image.h"
#include "apps/Scratch.h"
#include "apps/ToolRun.h"
#include "shr/FileFaults.h"

namespace test {
namespace {

/// The tool, running.
class Process {
public:
    /// `prepare` runs in the new process, before the tool.
    Process(
        const ScratchFolder& folder, const std::vector<std::string>& arguments,
        const std::function<void()>& prepare = [] {})
        : outName(folder.File("stdout.txt")), errorsName(folder.File("stderr.txt")) {
        std::vector<std::string> words{ZBM_TOOL};
        words.insert(words.end(), arguments.begin(), arguments.end());
        std::vector<char*> pointers;
        for (std::string& word : words) pointers.push_back(word.data());
        pointers.push_back(nullptr);
        id = fork();
        if (id != 0) return;
        dup2(open(outName.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0600), STDOUT_FILENO);
        dup2(open(errorsName.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0600), STDERR_FILENO);
        prepare();
        execv(pointers[0], pointers.data());
        _exit(127);
    }
    void Signal(int signal) const { kill(id, signal); }

    /// Waits for its end. The files that took its output are gone afterwards.
    ToolResult Result() {
        int status = 0;
        rusage usage{};
        wait4(id, &status, 0, &usage);
        mostMemory = usage.ru_maxrss;
        ToolResult result;
        result.code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
        const auto text = [](const std::string& name) {
            const Bytes bytes = ReadFile(name);
            std::filesystem::remove(ToPath(name));
            return std::string(bytes.begin(), bytes.end());
        };
        result.out = text(outName);
        result.errors = text(errorsName);
        return result;
    }

    /// Once it has ended: how many kilobytes it had at a time.
    long MostMemory() const { return mostMemory; }

private:
    std::string outName, errorsName;
    pid_t id;
    long mostMemory = 0;
};

/// A BMP picture of noise, which takes the slowest method a while.
Bytes LargeNoise(int side) {
    Bytes bytes = EncodeBmp(RandomImage(Kind::rgb, 8, 4, 4, 1));
    const auto put = [&](std::size_t offset, std::uint32_t value) { std::memcpy(&bytes[offset], &value, 4); };
    put(18, static_cast<std::uint32_t>(side));
    put(22, static_cast<std::uint32_t>(side));
    bytes.resize(54 + static_cast<std::size_t>(side) * static_cast<unsigned>(side) * 3);
    std::uint32_t state = 1;
    for (std::size_t i = 54; i < bytes.size(); ++i) {
        state = state * 1664525 + 1013904223;
        bytes[i] = static_cast<std::uint8_t>(state >> 24);
    }
    return bytes;
}

TEST(Process, GivesTheExitCodesToTheShell) {
    const ScratchFolder folder;
    WriteFile(folder.File("p"), EncodePng(RandomImage(Kind::rgb, 8, 20, 20, 1)));
    EXPECT_EQ(Process(folder, {"pack", folder.File("p"), folder.File("a.zbm")}).Result().code, 0);
    const ToolResult info = Process(folder, {"info", folder.File("a.zbm")}).Result();
    EXPECT_EQ(info.code, 0);
    EXPECT_EQ(info.out.find("kind: archive of a bitmap in memory\nsize: 20 x 20\n"), 0u);
    EXPECT_EQ(info.errors, "");
    ExpectOneErrorAbout(Process(folder, {"info", folder.File("none")}).Result(), folder.File("none"));
    EXPECT_EQ(Process(folder, {"pack"}).Result().code, 2);
    EXPECT_EQ(Process(folder, {"--version"}).Result().code, 0);
}

class Interrupting : public testing::TestWithParam<int> {};

TEST_P(Interrupting, EndsTheToolWithNothingLeftBehind) {
    const ScratchFolder folder;
    WriteFile(folder.File("p.bmp"), LargeNoise(3000));
    WriteFile(folder.File("a.zbm"), {1, 2, 3});
    Process process(folder,
                    {"pack", folder.File("p.bmp"), folder.File("a.zbm"), "--method", "small", "--tile", "64x64"});
    // As soon as it has begun to write.
    const auto writing = [&] {
        for (const std::string& name : folder.Names()) {
            std::error_code ignored;
            const auto size = std::filesystem::file_size(ToPath(folder.File(name)), ignored);
            const bool isTemporary = name.starts_with(".a.zbm.zv") && name.ends_with(".tmp");
            if (isTemporary && !ignored && size > 0) return true;
        }
        return false;
    };
    while (!writing()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    process.Signal(GetParam());
    const ToolResult result = process.Result();
    EXPECT_EQ(result.code, 130);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"a.zbm", "p.bmp"}));
    EXPECT_EQ(ReadFile(folder.File("a.zbm")), (Bytes{1, 2, 3}));
}

TEST(Process, KilledLeavesAFileThatTellsWhatItWasToBecome) {
    const ScratchFolder folder;
    // Its name is as long as names go, in characters of three bytes.
    std::string name = "a";
    for (int i = 0; i < 83; ++i) name += "\xE5\x9B\xBE";
    name += ".zbm";
    WriteFile(folder.File("p.bmp"), LargeNoise(3000));
    Process process(folder, {"pack", folder.File("p.bmp"), folder.File(name), "--method", "small"});
    std::string temporary;
    while (temporary.empty()) {
        for (const std::string& there : folder.Names())
            if (there.ends_with(".tmp")) temporary = there;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    process.Signal(SIGKILL);
    EXPECT_EQ(process.Result().code, -SIGKILL);
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{temporary, "p.bmp"}));
    const std::size_t mark = temporary.find(".zv");
    ASSERT_NE(mark, std::string::npos) << temporary;
    EXPECT_EQ(temporary.front(), '.');
    EXPECT_EQ(temporary.substr(1, mark - 1), name.substr(0, mark - 1));
    EXPECT_GT(mark, 200u);
    EXPECT_TRUE(std::filesystem::exists(ToPath(folder.File(temporary))));
}

INSTANTIATE_TEST_SUITE_P(Signals, Interrupting, testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const auto& instance) { return std::string("Signal") + std::to_string(instance.param); });

TEST(Process, RefusesDevicesAsFiles) {
    const ScratchFolder folder;
    WriteFile(folder.File("p"), EncodePng(RandomImage(Kind::rgb, 8, 20, 20, 1)));
    ExpectOneErrorAbout(Process(folder, {"pack", folder.File("p"), "/dev/full", "--archive"}).Result(), "/dev/full");
    ExpectOneErrorAbout(Process(folder, {"pack", "/dev/full", folder.File("a.zbm")}).Result(), "/dev/full");
    ExpectOneErrorAbout(Process(folder, {"info", "/dev/full"}).Result(), "/dev/full");
    // A link to it is no way around, and the device is still one.
    ASSERT_EQ(symlink("/dev/full", folder.File("full.png").c_str()), 0);
    ASSERT_EQ(Process(folder, {"pack", folder.File("p"), folder.File("a.zbm")}).Result().code, 0);
    ExpectOneErrorAbout(Process(folder, {"unpack", folder.File("a.zbm"), folder.File("full.png")}).Result(),
                        folder.File("full.png"));
    struct stat status {};
    ASSERT_EQ(stat("/dev/full", &status), 0);
    EXPECT_TRUE(S_ISCHR(status.st_mode));
}

TEST(Process, ReportsAStandardOutputThatIsFull) {
    const ScratchFolder folder;
    WriteFile(folder.File("p"), EncodePng(RandomImage(Kind::rgb, 8, 20, 20, 1)));
    ASSERT_EQ(Process(folder, {"pack", folder.File("p"), folder.File("a.zbm")}).Result().code, 0);
    const ToolResult result = Process(folder, {"info", folder.File("a.zbm")}, [] {
                                  dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO);
                              }).Result();
    ExpectOneErrorAbout(result, "standard output");
    for (const char* request : {"--help", "--version"}) {
        ExpectOneErrorAbout(
            Process(folder, {request}, [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); }).Result(),
            "standard output");
    }
    ExpectOneErrorAbout(Process(folder, {"unpack", folder.File("a.zbm"), "-", "--type", "png"},
                                [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); })
                            .Result(),
                        "standard output");
}

TEST(Process, NothingButThePictureGoesIntoAFileWhereStandardStreamsAreClosed) {
    const ScratchFolder folder;
    // Deep colours, so that there is a note.
    WriteFile(folder.File("p"), EncodePng(RandomImage(Kind::rgb, 16, 20, 20, 1)));
    for (const char* name : {"a.bmp", "a.png", "a.tif", "a.jpg", "a.zbm"}) {
        const std::vector<std::string> command{"convert", folder.File("p"), folder.File(name)};
        const ToolResult open = Process(folder, command).Result();
        EXPECT_EQ(open.ErrorLines().size(), 1u) << open.errors;
        const Bytes expected = ReadFile(folder.File(name));
        for (unsigned closed = 1; closed < 8; ++closed) {
            const ToolResult result = Process(folder, command, [closed] {
                                          for (int i = 0; i < 3; ++i)
                                              if ((closed >> i & 1) != 0) close(i);
                                      }).Result();
            EXPECT_EQ(result.code, 0) << name << ' ' << closed;
            EXPECT_TRUE(ReadFile(folder.File(name)) == expected) << name << ' ' << closed;
            EXPECT_EQ(result.out, "");
        }
    }
}

TEST(Process, ReportsAStandardOutputThatIsClosed) {
    const ScratchFolder folder;
    WriteFile(folder.File("p"), EncodePng(RandomImage(Kind::rgb, 8, 20, 20, 1)));
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"convert", folder.File("p"), "-", "--type", "png"},
          {"info", folder.File("p")},
          {"--help"}}) {
        ExpectOneErrorAbout(Process(folder, command, [] { close(STDOUT_FILENO); }).Result(), "standard output");
        EXPECT_EQ(Process(folder, command,
                          [] {
                              for (int i = 0; i < 3; ++i) close(i);
                          })
                      .Result()
                      .code,
                  1);
    }
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"p"});
}

TEST(Process, AForgedSizeOfAJpegTakesLittleMemoryOnceItsDataHasEnded) {
    const ScratchFolder folder;
    // Of a picture in several scans the coefficients of all blocks are kept, here 1.1 GB.
    Bytes file = EncodeJpeg(RandomImage(Kind::grey, 8, 64, 64, 1), {.progressive = true, .arithmetic = true});
    SetJpegSize(file, 24000, 24000);
    WriteFile(folder.File("p.jpg"), file);
    Process process(folder, {"pack", folder.File("p.jpg"), folder.File("p.zbm")});
    const ToolResult result = process.Result();
    ExpectOneErrorAbout(result, folder.File("p.jpg"));
    EXPECT_NE(result.errors.find("its arithmetic-coded data ends too early"), std::string::npos) << result.errors;
    EXPECT_LT(process.MostMemory(), 800000) << "kilobytes";  // sanitizers take their share
}

TEST(Process, SaysThatAPipeAsInputMustBeSeekable) {
    const ScratchFolder folder;
    ASSERT_EQ(mkfifo(folder.File("pipe").c_str(), 0600), 0);
    for (const std::vector<std::string>& command : {std::vector<std::string>{"info", folder.File("pipe")},
                                                    {"pack", folder.File("pipe"), folder.File("a.zbm")},
                                                    {"unpack", folder.File("pipe"), folder.File("a.png")},
                                                    {"convert", folder.File("pipe"), folder.File("a.png")}}) {
        const ToolResult result = Process(folder, command).Result();
        ExpectOneErrorAbout(result, folder.File("pipe"));
        EXPECT_NE(result.errors.find("seekable"), std::string::npos) << result.errors;
    }
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"pipe"});
}

TEST(Process, RefusesALinkThatLeadsNowhereAsOutput) {
    const ScratchFolder folder;
    WriteFile(folder.File("p"), EncodePng(RandomImage(Kind::rgb, 8, 20, 20, 1)));
    ASSERT_EQ(symlink("nowhere", folder.File("a.zbm").c_str()), 0);
    ASSERT_EQ(symlink("b.zbm", folder.File("b.zbm").c_str()), 0);  // to itself
    for (const char* name : {"a.zbm", "b.zbm"}) {
        ExpectOneErrorAbout(Process(folder, {"pack", folder.File("p"), folder.File(name)}).Result(), folder.File(name));
        EXPECT_TRUE(std::filesystem::is_symlink(ToPath(folder.File(name))));
    }
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"a.zbm", "b.zbm", "p"}));
}

TEST(Process, StopsAtAFileSizeLimitWithAnError) {
    const ScratchFolder folder;
    WriteFile(folder.File("p"), LargeNoise(800));
    const ToolResult result = Process(folder, {"pack", folder.File("p"), folder.File("a.zbm")}, [] {
                                  const rlimit limit{1 << 20, 1 << 20};
                                  setrlimit(RLIMIT_FSIZE, &limit);
                              }).Result();
    ExpectOneErrorAbout(result, folder.File("a.zbm"));
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"p"});
}

/// A file system of 1 MiB on a folder, where we may mount one.
class SmallDisk {
public:
    explicit SmallDisk(const std::string& name) : folder(name) {
        mkdir(folder.c_str(), 0700);
        mounted = mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=1m") == 0;
    }
    ~SmallDisk() {
        if (mounted) umount2(folder.c_str(), MNT_DETACH);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;
    bool IsMounted() const { return mounted; }

private:
    std::string folder;
    bool mounted;
};

TEST(Process, OnADiskOfOneMebibyteSaysItIsFullAndLeavesNothing) {
    const ScratchFolder folder;
    WriteFile(folder.File("p"), LargeNoise(800));
    ASSERT_EQ(Process(folder, {"pack", folder.File("p"), folder.File("a.zbm")}).Result().code, 0);
    const SmallDisk disk(folder.File("disk"));
    const std::vector<std::vector<std::string>> commands{{"pack", folder.File("p"), folder.File("disk/a.zbm")},
                                                         {"unpack", folder.File("a.zbm"), folder.File("disk/b.png")},
                                                         {"unpack", folder.File("a.zbm"), folder.File("disk/b.tif")},
                                                         {"unpack", folder.File("a.zbm"), folder.File("disk/b.bmp")}};
    for (const auto& command : commands) {
        // Where nothing can be mounted, the first mebibyte of writes succeeds and the rest is told the same.
        static int writesLeft;
        writesLeft = 2;
        if (!disk.IsMounted()) {
            shr::SetFileTransferHook([](shr::FileCall call) {
                const bool full = call == shr::FileCall::write && --writesLeft < 0;
                return full ? shr::FileTransfer::diskFull : shr::FileTransfer::whole;
            });
        }
        const ToolResult result = disk.IsMounted() ? Process(folder, command).Result() : RunTool(command);
        shr::SetFileTransferHook(nullptr);
        ExpectOneErrorAbout(result, command[2]);
        EXPECT_NE(result.errors.find("No space left on device"), std::string::npos) << result.errors;
        EXPECT_TRUE(std::filesystem::is_empty(ToPath(folder.File("disk"))));
    }
}

mode_t ModeOf(const std::string& name) {
    struct stat status {};
    EXPECT_EQ(stat(name.c_str(), &status), 0);
    return status.st_mode & 0777;
}

TEST(Process, GivesANewFileTheUsualPermissionsAndKeepsThoseOfAnOldOne) {
    const ScratchFolder folder;
    WriteFile(folder.File("p"), EncodePng(RandomImage(Kind::rgb, 8, 20, 20, 1)));
    const auto pack = [&] {
        return Process(folder, {"pack", folder.File("p"), folder.File("a.zbm")}, [] { umask(027); }).Result().code;
    };
    ASSERT_EQ(pack(), 0);
    EXPECT_EQ(ModeOf(folder.File("a.zbm")), 0640u);
    chmod(folder.File("a.zbm").c_str(), 0604);
    ASSERT_EQ(pack(), 0);
    EXPECT_EQ(ModeOf(folder.File("a.zbm")), 0604u);
}

TEST(Process, WritesTheFileBehindALink) {
    const ScratchFolder folder;
    WriteFile(folder.File("p"), EncodePng(RandomImage(Kind::rgb, 8, 20, 20, 1)));
    WriteFile(folder.File("real.zbm"), {1});
    ASSERT_EQ(symlink("real.zbm", folder.File("link.zbm").c_str()), 0);
    ASSERT_EQ(Process(folder, {"pack", folder.File("p"), folder.File("link.zbm")}).Result().code, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(ToPath(folder.File("link.zbm"))));
    EXPECT_EQ(LoadArchive(folder.File("real.zbm"))->GetPixelWidth(), 20);
}

TEST(Process, TakesFileNamesThatAreNoText) {
    const ScratchFolder folder;
    WriteFile(folder.File("p"), EncodePng(RandomImage(Kind::rgb, 8, 20, 20, 1)));
    const std::string name = folder.File("") + "a\xFF\x80.zbm";
    ASSERT_EQ(Process(folder, {"pack", folder.File("p"), name}).Result().code, 0);
    EXPECT_EQ(access(name.c_str(), R_OK), 0);
    EXPECT_EQ(Process(folder, {"info", name}).Result().code, 0);
}

}  // namespace
}  // namespace test
