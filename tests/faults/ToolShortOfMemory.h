#pragma once
// The tool as main() starts it, while memory stays short from the n-th request on: it ends with an exit code and one
// line, and leaves nothing but what was there. Each run is a process of its own, so that a crash is seen as one.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "commands/CommandLine.h"
#include "faults/FaultInjection.h"
#include "support_code/ScratchFolder.h"

namespace faults {

namespace fs = std::filesystem;

inline constexpr int kUnmet = 0x40;  // beside the exit code: there was no n-th request

inline std::string ReadText(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// How a run of the tool ended.
struct Ending {
    int status;  // as waitpid tells it
    std::string messages;

    bool IsExit() const { return WIFEXITED(status); }
    int Code() const { return WEXITSTATUS(status) & ~kUnmet; }
    bool WasFaultMet() const { return (WEXITSTATUS(status) & kUnmet) == 0; }
};

template <class Fault>
[[noreturn]] void RunHere(std::vector<std::string>& words, unsigned nth, Failing failing) {
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    int code = 0;
    bool met = false;
    {
        const Fault fault(nth, failing);
        code = tool::RunProcess(static_cast<int>(words.size()), arguments.data());
        met = fault.WasMet();
    }
    _exit(code | (met ? 0 : kUnmet));
}

class ToolShortOfMemory : public testing::Test {
protected:
    ToolShortOfMemory() {
        fs::create_directory(Path(""));
        // A picture with a colour table: 8 x 8 pixels of 4 bits.
        std::string bmp("BM\xD6\0\0\0\0\0\0\0\x76\0\0\0", 14);
        bmp += std::string(
            "\x28\0\0\0\x08\0\0\0\x08\0\0\0\x01\0\x04\0\0\0\0\0\x20\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 40);
        for (int i = 0; i < 64 + 32; ++i) bmp += static_cast<char>(7 * i);
        std::ofstream(Path("in.bmp"), std::ios::binary) << bmp;
    }

    fs::path Path(const std::string& name) const { return fs::path(folder.File("there").Wide()) / name; }
    std::set<std::string> Names() const {
        std::set<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(Path("")))
            names.insert(entry.path().filename().string());
        return names;
    }

    template <class Fault>
    Ending Run(std::vector<std::string> words, unsigned nth, Failing failing) const {
        const fs::path messages(folder.File("messages").Wide());
        const pid_t process = fork();
        if (process == 0) {
            dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
            dup2(open(messages.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0600), STDERR_FILENO);
            RunHere<Fault>(words, nth, failing);
        }
        Ending ending{};
        waitpid(process, &ending.status, 0);
        ending.messages = ReadText(messages);
        return ending;
    }

    /// Runs the command with the n-th request failing, and looks at what is left. Whether there was such a request.
    template <class Fault>
    bool TryFailing(unsigned nth, Failing failing, const std::vector<std::string>& words) {
        const fs::path output = words[3];
        std::ofstream(output, std::ios::binary) << "old";
        const Ending ending = Run<Fault>(words, nth, failing);
        SCOPED_TRACE(words[1] + ", request " + std::to_string(nth) + ": " + ending.messages);
        EXPECT_TRUE(ending.IsExit()) << "signal " << WTERMSIG(ending.status);
        EXPECT_TRUE(ending.Code() == 0 || ending.Code() == 1) << ending.Code();
        EXPECT_EQ(Names(), (std::set<std::string>{"in.bmp", output.filename().string()}));
        EXPECT_EQ(ReadText(output) == "old", ending.Code() != 0);
        const bool isOneLine =
            ending.messages.starts_with("zbm: ") && ending.messages.find('\n') == ending.messages.size() - 1;
        EXPECT_TRUE(ending.Code() == 0 || isOneLine);
        return ending.WasFaultMet();
    }

    /// Lets requests of the command fail: few of the many that set up the arguments, and all of those that come later.
    template <class Fault>
    void FailRequests(Failing failing, const std::string& command, const std::string& output,
                      const std::vector<std::string>& options = {}) {
        constexpr unsigned kSparse = 23, kLater = 500;
        std::vector<std::string> words{"zbm", command, Path("in.bmp").string(), Path(output).string()};
        words.insert(words.end(), options.begin(), options.end());
        unsigned nth = 1;
        while (!HasFailure() && TryFailing<Fault>(nth, failing, words)) nth += kSparse;
        EXPECT_GT(nth, kLater) << "requests that fail where none was met";
        for (unsigned later = nth - kLater; !HasFailure() && later < nth; ++later)
            TryFailing<Fault>(later, failing, words);
        fs::remove(Path(output));
    }

    testkit::ScratchFolder folder;
};

}  // namespace faults
