#pragma once
// What the tests of the file classes share: files read and written without the code under test, calls that fail.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "shr/Exception.h"
#include "shr/FileFaults.h"
#include "shr/ZString.h"
#include "support_code/ScratchFolder.h"

namespace shr::test {

using Bytes = std::vector<std::uint8_t>;

inline constexpr bool kOnWindows = std::filesystem::path::preferred_separator == L'\\';

/// In a form that has no limit on its length; the folder is to be a full path.
inline std::filesystem::path SystemPath(const ZString& name) {
    const std::string utf8 = name.ToUtf8();
    std::filesystem::path path(std::u8string(utf8.begin(), utf8.end()));
    if (!kOnWindows) return path;
    return L"\\\\?\\" + path.make_preferred().wstring();
}

inline Bytes BytesOf(const std::string& text) { return Bytes(text.begin(), text.end()); }

inline Bytes ReadWhole(const ZString& name) {
    std::ifstream file(SystemPath(name), std::ios::binary);
    EXPECT_TRUE(file.is_open()) << name.ToUtf8();
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

inline void WriteWhole(const ZString& name, const Bytes& bytes) {
    // A new file: ext4 waits for the device when an old one that was emptied is closed.
    std::filesystem::remove(SystemPath(name));
    std::ofstream file(SystemPath(name), std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    ASSERT_TRUE(file.good()) << name.ToUtf8();
}

/// Names of the entries of a folder.
inline std::vector<std::string> Entries(const ZString& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(SystemPath(folder))) {
        names.push_back(entry.path().filename().string());
    }
    return names;
}

/// The exception of this library that `act` raises, if any.
template <class Act>
std::optional<Exception> ErrorOf(Act act) {
    try {
        act();
    } catch (const Exception& error) { return error; }
    return std::nullopt;
}

/// Whether `error` is there, comes from that source file of this library, and its message holds both texts.
inline testing::AssertionResult Tells(const std::optional<Exception>& error, const ZString& sourceFile,
                                      const ZString& name, const ZString& text = L"") {
    if (!error) return testing::AssertionFailure() << "nothing was raised";
    const std::wstring& message = error->GetMessageText().Wide();
    const bool isComplete = error->GetModule() == L"Shared" && error->GetSourceFile() == sourceFile &&
                            error->GetLine() > 0 && message.find(name.Wide()) != std::wstring::npos &&
                            message.find(text.Wide()) != std::wstring::npos;
    return (isComplete ? testing::AssertionSuccess() : testing::AssertionFailure()) << error->what();
}

/// While it lives, the n-th system call fails, counted from 1 over all kinds or over one kind; 0 fails none.
class FailingCall {
public:
    explicit FailingCall(int n, std::optional<FileCall> kind = std::nullopt) {
        failing = n;
        onlyKind = kind;
        made = 0;
        passed.clear();
        SetFileFaultHook([](FileCall call) {
            if ((!onlyKind || call == *onlyKind) && ++made == failing) return true;
            passed.push_back(call);
            return false;
        });
    }
    ~FailingCall() { SetFileFaultHook(nullptr); }
    FailingCall(const FailingCall&) = delete;
    FailingCall& operator=(const FailingCall&) = delete;

    static bool HasFailed() { return failing != 0 && made >= failing; }
    static int CallsMade() { return made; }
    /// The calls of any kind that did not fail, in order.
    static const std::vector<FileCall>& Passed() { return passed; }

private:
    static inline int failing = 0, made = 0;
    static inline std::optional<FileCall> onlyKind;
    static inline std::vector<FileCall> passed;
};

/// While it lives, reads and writes go the way that `next` says.
class Transfers {
public:
    explicit Transfers(FileTransferHook next) { SetFileTransferHook(next); }
    ~Transfers() { SetFileTransferHook(nullptr); }
    Transfers(const Transfers&) = delete;
    Transfers& operator=(const Transfers&) = delete;
};

inline constexpr int kDiskFullCode = kOnWindows ? 112 : 28;  // ERROR_DISK_FULL, ENOSPC
inline constexpr int kFaultCode = kOnWindows ? 29 : 5;       // ERROR_WRITE_FAULT, EIO

}  // namespace shr::test
