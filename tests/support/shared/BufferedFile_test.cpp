#include "shr/BufferedFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <thread>

#include "FileTesting.h"
#include "LogCapture.h"
#include "shr/Path.h"

namespace shr {
namespace {

using namespace test;
using testkit::ScratchFolder;

constexpr FileAccess kRead = FileAccess::read, kWrite = FileAccess::write, kReadWrite = FileAccess::readWrite;
constexpr FileSharing kAlone = FileSharing::none;

Bytes Pattern(std::size_t count, unsigned seed = 1) {
    Bytes bytes(count);
    std::minstd_rand random(seed);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    return bytes;
}

void WriteText(CBufferedFile& file, const std::string& text) { file.Write(text.data(), text.size()); }

std::string ReadText(CBufferedFile& file, std::size_t count) {
    std::string text(count, '\0');
    text.resize(file.Read(text.data(), count));
    return text;
}

// --- opening -------------------------------------------------------------------------------------------------------

struct ModeCase {
    const char* name;
    FileMode mode;
    bool opensMissing, opensExisting, keepsContents;
};

class FileModes : public testing::TestWithParam<ModeCase> {};

TEST_P(FileModes, OpenAMissingFileIfTheyMayMakeIt) {
    const ScratchFolder folder;
    const ZString name = folder.File("f");
    for (const FileAccess access : {kRead, kWrite, kReadWrite}) {
        CBufferedFile file;
        EXPECT_EQ(file.OpenNoThrow(name, access, GetParam().mode, kAlone), GetParam().opensMissing);
        EXPECT_EQ(file.IsOpen(), GetParam().opensMissing);
        EXPECT_EQ(PathExists(name), GetParam().opensMissing);
        file.Close();
        RemoveFile(name);
    }
}

TEST_P(FileModes, KeepOrEmptyAnExistingFile) {
    const ScratchFolder folder;
    const ZString name = folder.File("f");
    for (const FileAccess access : {kRead, kWrite, kReadWrite}) {
        WriteWhole(name, BytesOf("contents"));
        CBufferedFile file;
        EXPECT_EQ(file.OpenNoThrow(name, access, GetParam().mode, kAlone), GetParam().opensExisting);
        file.Close();
        EXPECT_EQ(ReadWhole(name), GetParam().keepsContents ? BytesOf("contents") : Bytes());
    }
}

INSTANTIATE_TEST_SUITE_P(AllModes, FileModes,
                         testing::Values(ModeCase{"createNew", FileMode::createNew, true, false, true},
                                         ModeCase{"create", FileMode::create, true, true, false},
                                         ModeCase{"openExisting", FileMode::openExisting, false, true, true},
                                         ModeCase{"openAlways", FileMode::openAlways, true, true, true}),
                         [](const auto& modeCase) { return std::string(modeCase.param.name); });

TEST(BufferedFile, KnowsItsNameWhileItIsOpen) {
    const ScratchFolder folder;
    CBufferedFile file;
    EXPECT_FALSE(file.IsOpen());
    EXPECT_TRUE(file.GetName().IsEmpty());
    file.Open(folder.File("f"), kReadWrite, FileMode::createNew, kAlone);
    EXPECT_EQ(file.GetName(), folder.File("f"));
    file.Open(file.GetName(), kReadWrite, FileMode::openExisting, kAlone);
    EXPECT_EQ(file.GetName(), folder.File("f"));
    file.Close();
    EXPECT_TRUE(file.GetName().IsEmpty());
    file.Close();
}

TEST(BufferedFile, TellsInItsErrorsTheNameAndTheSystemsText) {
    const ScratchFolder folder;
    const ZString name = folder.File("missing");
    CBufferedFile file;
    const auto error = ErrorOf([&] { file.Open(name, kRead, FileMode::openExisting, FileSharing::read); });
    EXPECT_TRUE(Tells(error, L"BufferedFile", name, FormatSystemErrorMsg(2)));  // no such file, on either system
    EXPECT_FALSE(file.OpenNoThrow(name, kRead, FileMode::openExisting, FileSharing::read));
    EXPECT_EQ(LastSystemError(), 2);
    const ZString inNoFolder = folder.File("missing") + L"/f";
    EXPECT_TRUE(
        Tells(ErrorOf([&] { file.Open(inNoFolder, kWrite, FileMode::create, kAlone); }), L"BufferedFile", inNoFolder));
}

TEST(BufferedFile, RefusesAFolder) {
    const ScratchFolder folder;
    CBufferedFile file;
    for (const FileAccess access : {kRead, kWrite, kReadWrite}) {
        EXPECT_FALSE(file.OpenNoThrow(folder.File(""), access, FileMode::openExisting, kAlone));
        EXPECT_FALSE(file.OpenNoThrow(folder.File(""), access, FileMode::create, kAlone));
        EXPECT_TRUE(Tells(ErrorOf([&] { file.Open(folder.File("."), access, FileMode::openExisting, kAlone); }),
                          L"BufferedFile", folder.File(".")));
    }
}

TEST(BufferedFile, RefusesADevice) {
    const ZString device = kOnWindows ? L"NUL" : L"/dev/full";
    CBufferedFile file;
    EXPECT_FALSE(file.OpenNoThrow(device, kWrite, FileMode::openExisting, kAlone));
    EXPECT_TRUE(
        Tells(ErrorOf([&] { file.Open(device, kReadWrite, FileMode::create, kAlone); }), L"BufferedFile", device));
}

TEST(BufferedFile, RefusesANameThatHoldsAZero) {
    const ScratchFolder folder;
    CBufferedFile file;
    const ZString name = folder.File("f") + ZString(std::wstring(L"\0more", 5));
    EXPECT_FALSE(file.OpenNoThrow(name, kReadWrite, FileMode::create, kAlone));
    EXPECT_FALSE(file.OpenNoThrow(L"", kReadWrite, FileMode::create, kAlone));
    EXPECT_TRUE(Entries(folder.File("")).empty());
}

TEST(BufferedFile, TakesNamesOfAnyCharacters) {
    const ScratchFolder folder;
    for (const ZString& leaf : {ZString("sp ace"), ZString("\xC3\xA4\xC3\xB6\xC3\xBC \xE2\x82\xAC"),
                                ZString("\xE6\x96\x87\xE5\xAD\x97"), ZString("\xF0\x9F\x98\x80.zbm")}) {
        const ZString name = folder.File("") + leaf;
        CBufferedFile file;
        file.Open(name, kWrite, FileMode::createNew, kAlone);
        WriteText(file, "text");
        file.Close();
        EXPECT_EQ(ReadWhole(name), BytesOf("text"));
        EXPECT_TRUE(RemoveFile(name));
    }
}

TEST(BufferedFile, TakesPathsLongerThanTheUsualLimit) {
    const ScratchFolder folder;
    ZString deep = folder.File("");
    for (int level = 0; level < 3; ++level) deep += ZString(std::wstring(120, L'd')) + L"/";
    std::filesystem::create_directories(SystemPath(deep));
    CBufferedFile file;
    file.Open(deep + L"f", kReadWrite, FileMode::createNew, kAlone);
    WriteText(file, "deep");
    file.Close();
    EXPECT_TRUE(PathExists(deep + L"f"));
    file.Open(deep + L"f", kRead, FileMode::openExisting, kAlone);
    EXPECT_EQ(ReadText(file, 10), "deep");
    file.Close();
    EXPECT_TRUE(RenameFile(deep + L"f", deep + L"g"));
    EXPECT_TRUE(RemoveFile(deep + L"g"));
    EXPECT_FALSE(PathExists(deep + L"g"));
    for (; deep != folder.File(""); deep = CPath(CPath::AppendDirSeparator(deep, false)).GetFolder()) {
        EXPECT_TRUE(std::filesystem::remove(SystemPath(CPath::AppendDirSeparator(deep, false))));
    }
}

TEST(BufferedFile, ClosesTheFileThatIsOpenWhenItOpensAnother) {
    const ScratchFolder folder;
    CBufferedFile file;
    file.Open(folder.File("a"), kWrite, FileMode::createNew, kAlone);
    WriteText(file, "first");
    file.Open(folder.File("b"), kWrite, FileMode::createNew, kAlone);
    WriteText(file, "second");
    file.Close();
    EXPECT_EQ(ReadWhole(folder.File("a")), BytesOf("first"));
    EXPECT_EQ(ReadWhole(folder.File("b")), BytesOf("second"));
}

TEST(BufferedFile, MovesWithItsBufferAndPosition) {
    const ScratchFolder folder;
    CBufferedFile first;
    first.Open(folder.File("a"), kReadWrite, FileMode::createNew, kAlone);
    WriteText(first, "one ");
    CBufferedFile second(std::move(first));
    EXPECT_FALSE(first.IsOpen());  // NOLINT(bugprone-use-after-move): what is left is stated
    WriteText(second, "two");
    CBufferedFile third;
    third.Open(folder.File("b"), kWrite, FileMode::createNew, kAlone);
    WriteText(third, "flushed by the assignment");
    third = std::move(second);
    EXPECT_EQ(ReadWhole(folder.File("b")), BytesOf("flushed by the assignment"));
    CBufferedFile& itself = third;
    third = std::move(itself);
    EXPECT_EQ(third.GetPosition(), 7);
    third.Close();
    EXPECT_EQ(ReadWhole(folder.File("a")), BytesOf("one two"));
}

// --- sharing -------------------------------------------------------------------------------------------------------

struct Opening {
    FileAccess access;
    FileSharing sharing;
};

std::vector<Opening> AllOpenings() {
    std::vector<Opening> all;
    for (int access = 1; access <= 3; ++access) {
        for (int sharing = 0; sharing <= 3; ++sharing) {
            all.push_back({static_cast<FileAccess>(access), static_cast<FileSharing>(sharing)});
        }
    }
    return all;
}

bool Allows(const Opening& one, const Opening& other) {
    return (static_cast<int>(other.access) & ~static_cast<int>(one.sharing)) == 0;
}

std::string Name(const Opening& opening) {
    return "access " + std::to_string(static_cast<int>(opening.access)) + " sharing " +
           std::to_string(static_cast<int>(opening.sharing));
}

TEST(FileSharing, AdmitsASecondOpenIfEachAllowsWhatTheOtherDoes) {
    const ScratchFolder folder;
    const ZString name = folder.File("f");
    WriteWhole(name, BytesOf("contents"));
    for (const Opening& first : AllOpenings()) {
        CBufferedFile holder;
        holder.Open(name, first.access, FileMode::openExisting, first.sharing);
        for (const Opening& second : AllOpenings()) {
            CBufferedFile other;
            EXPECT_EQ(other.OpenNoThrow(name, second.access, FileMode::openExisting, second.sharing),
                      Allows(first, second) && Allows(second, first))
                << Name(first) << ", then " << Name(second);
        }
    }
}

TEST(FileSharing, AsksEveryoneWhoHasTheFileOpen) {
    const ScratchFolder folder;
    const ZString name = folder.File("f");
    WriteWhole(name, {});
    const std::vector<Opening> all = AllOpenings();
    for (const Opening& first : all) {
        CBufferedFile one;
        one.Open(name, first.access, FileMode::openExisting, first.sharing);
        for (const Opening& second : all) {
            CBufferedFile two;
            if (!two.OpenNoThrow(name, second.access, FileMode::openExisting, second.sharing)) continue;
            for (const Opening& third : all) {
                const auto getOn = [](const Opening& a, const Opening& b) { return Allows(a, b) && Allows(b, a); };
                CBufferedFile three;
                EXPECT_EQ(three.OpenNoThrow(name, third.access, FileMode::openExisting, third.sharing),
                          getOn(first, third) && getOn(second, third))
                    << Name(first) << ", " << Name(second) << ", then " << Name(third);
            }
        }
    }
}

TEST(FileSharing, EndsWithTheClosing) {
    const ScratchFolder folder;
    CBufferedFile one, two;
    one.Open(folder.File("f"), kReadWrite, FileMode::createNew, kAlone);
    EXPECT_FALSE(two.OpenNoThrow(folder.File("f"), kRead, FileMode::openExisting, FileSharing::readWrite));
    one.Close();
    EXPECT_TRUE(two.OpenNoThrow(folder.File("f"), kRead, FileMode::openExisting, FileSharing::readWrite));
}

TEST(FileSharing, ChangesNothingOfAFileItRefuses) {
    const ScratchFolder folder;
    const ZString name = folder.File("f");
    WriteWhole(name, BytesOf("precious"));
    CBufferedFile holder, other;
    holder.Open(name, kRead, FileMode::openExisting, FileSharing::read);
    for (const FileMode mode : {FileMode::create, FileMode::openAlways}) {
        const auto error = ErrorOf([&] { other.Open(name, kReadWrite, mode, kAlone); });
        EXPECT_TRUE(Tells(error, L"BufferedFile", name));
        EXPECT_FALSE(other.IsOpen());
    }
    EXPECT_EQ(ReadText(holder, 100), "precious");
    holder.Close();
    EXPECT_EQ(ReadWhole(name), BytesOf("precious"));
}

TEST(FileSharing, NeverLetsTwoThreadsHaveAFileForThemselvesAlone) {
    const ScratchFolder folder;
    const ZString name = folder.File("f");
    std::atomic<int> holders = 0, clashes = 0;
    const auto openOftenEnough = [&](FileAccess access) {
        for (int opened = 0; opened < 40;) {
            CBufferedFile file;
            if (!file.OpenNoThrow(name, access, FileMode::openAlways, kAlone)) continue;
            if (++holders != 1) ++clashes;
            std::this_thread::yield();
            --holders;
            ++opened;
        }
    };
    std::vector<std::thread> threads;
    for (const FileAccess access : {kRead, kWrite, kReadWrite, kReadWrite})
        threads.emplace_back(openOftenEnough, access);
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(clashes, 0);
}

TEST(FileSharing, IsNotDisturbedByThoseWhoAreRefused) {
    const ScratchFolder folder;
    const ZString name = folder.File("f");
    WriteWhole(name, {});
    CBufferedFile holder;
    holder.Open(name, kRead, FileMode::openExisting, FileSharing::read);
    std::atomic<bool> goOn = true;
    std::atomic<int> wronglyOpened = 0;
    std::thread intruder([&] {
        while (goOn) {
            CBufferedFile file;
            if (file.OpenNoThrow(name, kReadWrite, FileMode::openExisting, kAlone)) ++wronglyOpened;
        }
    });
    int refused = 0;
    for (int i = 0; i < 300; ++i) {
        CBufferedFile file;
        if (!file.OpenNoThrow(name, kRead, FileMode::openExisting, FileSharing::read)) ++refused;
    }
    goOn = false;
    intruder.join();
    EXPECT_EQ(refused, 0);
    EXPECT_EQ(wronglyOpened, 0);
}

// --- reading and writing -------------------------------------------------------------------------------------------

/// The plain meaning of the operations, on bytes in memory.
struct ModelFile {
    Bytes bytes;
    std::size_t position = 0;

    void Write(const Bytes& data) {
        if (data.empty()) return;
        if (position + data.size() > bytes.size()) bytes.resize(position + data.size());
        std::copy(data.begin(), data.end(), bytes.begin() + static_cast<std::ptrdiff_t>(position));
        position += data.size();
    }
    Bytes Read(std::size_t count) {
        if (position >= bytes.size()) return {};
        const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(position);
        count = std::min(count, bytes.size() - position);
        position += count;
        return Bytes(first, first + static_cast<std::ptrdiff_t>(count));
    }
};

/// Replays random operations on a file and on the model, and compares all that can be seen.
void CompareWithModel(unsigned seed, int operations) {
    const ScratchFolder folder;
    CBufferedFile file;
    file.Open(folder.File("f"), kReadWrite, FileMode::createNew, kAlone);
    ModelFile model;
    std::mt19937 random(seed);
    const auto below = [&](std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
    };
    const auto anySize = [&] {
        constexpr std::size_t kLimits[] = {2, 20, 500, 20'000, 70'000, 200'000};
        return below(kLimits[below(std::size(kLimits))]);
    };
    for (int i = 0; i < operations; ++i) {
        switch (below(10)) {
            case 0:
            case 1:
            case 2: {
                const Bytes data = Pattern(anySize(), static_cast<unsigned>(random()));
                file.Write(data.data(), data.size());
                model.Write(data);
                break;
            }
            case 3:
            case 4:
            case 5: {
                const std::size_t count = anySize();
                Bytes data(count);
                data.resize(file.Read(data.data(), count));
                ASSERT_EQ(data, model.Read(count)) << "seed " << seed << " step " << i;
                break;
            }
            case 6:  // to anywhere, also past the end
                model.position = below(model.bytes.size() + 1000);
                file.Seek(static_cast<std::int64_t>(model.position));
                break;
            case 7:  // nearby
                model.position += below(200);
                model.position -= std::min(model.position, below(200));
                file.Seek(static_cast<std::int64_t>(model.position));
                break;
            case 8:
                if (below(4) != 0) break;
                model.bytes.resize(below(model.bytes.size() + 5000));
                file.SetLength(static_cast<std::int64_t>(model.bytes.size()));
                break;
            default:
                if (below(2) == 0) file.Flush();
                break;
        }
        ASSERT_EQ(file.GetLength(), static_cast<std::int64_t>(model.bytes.size())) << "seed " << seed << " step " << i;
        ASSERT_EQ(file.GetPosition(), static_cast<std::int64_t>(model.position)) << "seed " << seed << " step " << i;
    }
    file.Close();
    ASSERT_EQ(ReadWhole(folder.File("f")), model.bytes) << "seed " << seed;
}

TEST(BufferedFile, BehavesAsBytesInMemoryDo) {
    for (unsigned seed = 1; seed <= 10; ++seed) CompareWithModel(seed, 300);
}

TEST(BufferedFile, ReadsAndWritesAllInSpiteOfShortTransfers) {
    const Transfers transfers([](FileCall) { return FileTransfer::part; });
    for (unsigned seed = 21; seed <= 23; ++seed) CompareWithModel(seed, 200);
}

TEST(BufferedFile, ReadsAndWritesAllInSpiteOfInterruptions) {
    const Transfers transfers([](FileCall) {
        static unsigned call = 0;
        constexpr FileTransfer kTurns[] = {FileTransfer::interrupted, FileTransfer::interrupted, FileTransfer::part,
                                           FileTransfer::whole, FileTransfer::interrupted};
        return kTurns[call++ % std::size(kTurns)];
    });
    for (unsigned seed = 31; seed <= 33; ++seed) CompareWithModel(seed, 200);
}

TEST(BufferedFile, ReachesPositionsBeyondFourGigabytes) {
    const ScratchFolder folder;
    constexpr std::int64_t kFar = (std::int64_t{5} << 30) + 3;
    CBufferedFile file;
    file.Open(folder.File("f"), kReadWrite, FileMode::createNew, kAlone);
    file.Seek(kFar);
    WriteText(file, "far");
    EXPECT_EQ(file.GetLength(), kFar + 3);
    const Bytes large = Pattern(100'000);
    file.Write(large.data(), large.size());
    file.Seek(kFar);
    EXPECT_EQ(ReadText(file, 3), "far");
    Bytes back(large.size());
    file.ReadExactly(back.data(), back.size());
    EXPECT_EQ(back, large);
    file.Seek(1);
    EXPECT_EQ(ReadText(file, 2), std::string(2, '\0'));
    file.Seek(std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(ReadText(file, 2), "");
    EXPECT_EQ(file.GetLength(), kFar + 3 + 100'000);
}

TEST(BufferedFile, RefusesToWritePastTheLargestPosition) {
    const ScratchFolder folder;
    CBufferedFile file;
    file.Open(folder.File("f"), kReadWrite, FileMode::createNew, kAlone);
    for (const std::size_t count : {std::size_t{2}, std::size_t{100'000}}) {
        const Bytes bytes(count);
        file.Seek(std::numeric_limits<std::int64_t>::max() - 1);
        EXPECT_TRUE(Tells(ErrorOf([&] {
                              file.Write(bytes.data(), bytes.size());
                              file.Flush();
                          }),
                          L"BufferedFile", file.GetName()));
        file.Flush();
    }
    EXPECT_EQ(file.GetLength(), 0);
}

TEST(BufferedFile, TakesAccessesOfNoBytesAnywhere) {
    const ScratchFolder folder;
    CBufferedFile file;
    file.Open(folder.File("f"), kReadWrite, FileMode::createNew, kAlone);
    const auto accessNothing = [&] {
        EXPECT_EQ(file.Read(nullptr, 0), 0u);
        file.ReadExactly(nullptr, 0);
        file.Write(nullptr, 0);
    };
    accessNothing();
    WriteText(file, "text");
    accessNothing();
    file.Seek(1'000'000);
    accessNothing();
    EXPECT_EQ(file.GetPosition(), 1'000'000);
    EXPECT_EQ(file.GetLength(), 4);
}

TEST(BufferedFile, MakesFewCallsForSmallAccessesAndOneForALargeOne) {
    const ScratchFolder folder;
    CBufferedFile file;
    file.Open(folder.File("f"), kReadWrite, FileMode::createNew, kAlone);
    {
        const FailingCall counting(0, FileCall::write);
        for (int i = 0; i < 6000; ++i) WriteText(file, "0123456789");
        EXPECT_EQ(FailingCall::CallsMade(), 0);
        file.Flush();
        EXPECT_EQ(FailingCall::CallsMade(), 1);
        const Bytes large = Pattern(1'000'000);
        file.Write(large.data(), large.size());
        EXPECT_EQ(FailingCall::CallsMade(), 2);
    }
    {
        const FailingCall counting(0, FileCall::read);
        file.Open(folder.File("f"), kRead, FileMode::openExisting, kAlone);
        for (int i = 0; i < 6000; ++i) ASSERT_EQ(ReadText(file, 10), "0123456789");
        EXPECT_EQ(FailingCall::CallsMade(), 1);
        Bytes large(1'000'000);
        file.ReadExactly(large.data(), large.size());
        EXPECT_EQ(large, Pattern(1'000'000));
        EXPECT_EQ(FailingCall::CallsMade(), 2);
    }
}

TEST(BufferedFile, WritesBackOnlyWhatWasWritten) {
    const ScratchFolder folder;
    const ZString name = folder.File("f");
    WriteWhole(name, BytesOf("..........."));
    CBufferedFile one, two;
    one.Open(name, kReadWrite, FileMode::openExisting, FileSharing::readWrite);
    two.Open(name, kReadWrite, FileMode::openExisting, FileSharing::readWrite);
    EXPECT_EQ(ReadText(one, 11), "...........");
    one.Seek(2);
    WriteText(one, "A");
    one.Seek(8);
    WriteText(one, "B");
    two.Seek(5);
    WriteText(two, "between");
    two.Close();
    one.Close();
    EXPECT_EQ(ReadWhole(name), BytesOf("..A..betBeen"));

    // The same from the end to the start.
    one.Open(name, kReadWrite, FileMode::openExisting, FileSharing::readWrite);
    two.Open(name, kReadWrite, FileMode::openExisting, FileSharing::readWrite);
    EXPECT_EQ(ReadText(one, 12), "..A..betBeen");
    one.Seek(10);
    WriteText(one, "C");
    one.Seek(1);
    WriteText(one, "D");
    two.Seek(4);
    WriteText(two, "other");
    two.Close();
    one.Close();
    EXPECT_EQ(ReadWhole(name), BytesOf(".DA.othereCn"));
}

TEST(BufferedFile, ShowsALargeWriteThatTouchesWhatWasReadBefore) {
    const ScratchFolder folder;
    constexpr std::int64_t kFrom = 50'000, kEnd = 60'000;
    const Bytes old(kEnd, 1), large(20'000, 2);
    for (const std::int64_t shift : {-1, 0, 1}) {
        for (const std::int64_t at : {kFrom - 20'000 + shift, kEnd - 1 + shift}) {
            WriteWhole(folder.File("f"), old);
            CBufferedFile file;
            file.Open(folder.File("f"), kReadWrite, FileMode::openExisting, kAlone);
            file.Seek(kFrom);
            ReadText(file, 1);
            file.Seek(at);
            file.Write(large.data(), large.size());
            Bytes expected = old;
            expected.resize(std::max(old.size(), static_cast<std::size_t>(at) + large.size()));
            std::copy(large.begin(), large.end(), expected.begin() + at);
            for (const std::int64_t seen : {kFrom, kEnd - 1}) {
                file.Seek(seen);
                EXPECT_EQ(ReadText(file, 1)[0], expected[static_cast<std::size_t>(seen)]) << at << " at " << seen;
            }
        }
    }
}

TEST(BufferedFile, KeepsWhatItReadAroundASmallWrite) {
    const ScratchFolder folder;
    WriteWhole(folder.File("f"), BytesOf("0123456789"));
    CBufferedFile file;
    file.Open(folder.File("f"), kReadWrite, FileMode::openExisting, kAlone);
    const FailingCall counting(0, FileCall::read);
    EXPECT_EQ(ReadText(file, 1), "0");
    const int calls = FailingCall::CallsMade();
    WriteText(file, "a");
    EXPECT_EQ(ReadText(file, 8), "23456789");
    EXPECT_EQ(FailingCall::CallsMade(), calls);
}

TEST(BufferedFile, SaysWhenTheFileEndsTooEarlyAndStaysWhereItWas) {
    const ScratchFolder folder;
    CBufferedFile file;
    file.Open(folder.File("f"), kReadWrite, FileMode::createNew, kAlone);
    WriteText(file, "12345");
    for (const std::size_t count : {std::size_t{4}, std::size_t{100'000}}) {
        Bytes bytes(count);
        file.Seek(2);
        EXPECT_TRUE(Tells(ErrorOf([&] { file.ReadExactly(bytes.data(), count); }), L"BufferedFile", file.GetName()));
        EXPECT_EQ(file.GetPosition(), 2);
        EXPECT_EQ(ReadText(file, count), "345");
    }
}

TEST(BufferedFile, RefusesANegativePositionOrLength) {
    const ScratchFolder folder;
    CBufferedFile file;
    file.Open(folder.File("f"), kReadWrite, FileMode::createNew, kAlone);
    WriteText(file, "12345");
    EXPECT_TRUE(Tells(ErrorOf([&] { file.Seek(-1); }), L"BufferedFile", file.GetName()));
    EXPECT_TRUE(Tells(ErrorOf([&] { file.SetLength(-1); }), L"BufferedFile", file.GetName()));
    EXPECT_EQ(file.GetPosition(), 5);
    EXPECT_EQ(file.GetLength(), 5);
}

TEST(BufferedFile, DoesOnlyWhatItWasOpenedFor) {
    const ScratchFolder folder;
    const ZString name = folder.File("f");
    char byte = 'x';
    CBufferedFile file;
    file.Open(name, kWrite, FileMode::createNew, kAlone);
    WriteText(file, "1");
    EXPECT_TRUE(Tells(ErrorOf([&] { file.Read(&byte, 1); }), L"BufferedFile", name));
    file.FlushToDevice();
    // Made or emptied for reading: the system's handle may be able to write, the object is not.
    for (const FileMode mode : {FileMode::openExisting, FileMode::create}) {
        file.Open(name, kRead, mode, kAlone);
        EXPECT_TRUE(Tells(ErrorOf([&] { file.Write(&byte, 1); }), L"BufferedFile", name));
        EXPECT_TRUE(Tells(ErrorOf([&] { file.SetLength(0); }), L"BufferedFile", name));
        file.FlushToDevice();
        EXPECT_EQ(file.GetLength(), mode == FileMode::openExisting ? 1 : 0);
    }
}

TEST(BufferedFile, IsToBeOpenForEverythingButClosing) {
    CBufferedFile file;
    char byte = 0;
    const auto says = [](auto act) -> std::string {
        try {
            act();
        } catch (const InternalError& error) { return error.what(); }
        return "nothing";
    };
    const std::string refusals[] = {says([&] { file.Read(&byte, 1); }), says([&] { file.Write(&byte, 1); }),
                                    says([&] { file.Seek(0); }),        says([&] { file.GetLength(); }),
                                    says([&] { file.SetLength(0); }),   says([&] { file.Flush(); }),
                                    says([&] { file.FlushToDevice(); })};
    for (const std::string& refusal : refusals)
        EXPECT_TRUE(refusal.starts_with("the file must be open (BufferedFile, line ")) << refusal;
    EXPECT_EQ(file.GetPosition(), 0);
    file.Close();
}

TEST(BufferedFile, WritesThroughToTheDevice) {
    const ScratchFolder folder;
    CBufferedFile file;
    file.Open(folder.File("f"), kReadWrite, FileMode::createNew, kAlone, true);
    WriteText(file, "through");
    file.FlushToDevice();
    EXPECT_EQ(file.GetLength(), 7);
    file.Close();
    EXPECT_EQ(ReadWhole(folder.File("f")), BytesOf("through"));

    // What is only read has nothing to write.
    file.Open(folder.File("f"), kRead, FileMode::openExisting, kAlone);
    const FailingCall failing(1, FileCall::sync);
    EXPECT_FALSE(ErrorOf([&] { file.FlushToDevice(); }));
}

// --- failures ------------------------------------------------------------------------------------------------------

/// Every kind of call at least once; raises what the first failing one raises.
void UseAFile(CBufferedFile& file, const ZString& name) {
    const Bytes large = Pattern(100'000);
    file.Open(name, kReadWrite, FileMode::create, kAlone);
    WriteText(file, "small");
    file.Write(large.data(), large.size());
    WriteText(file, "tail");
    file.Seek(0);
    EXPECT_EQ(ReadText(file, 5), "small");
    Bytes back(large.size());
    file.ReadExactly(back.data(), back.size());
    EXPECT_EQ(back, large);
    EXPECT_EQ(file.GetLength(), 100'009);
    file.SetLength(7);
    file.Seek(3);
    WriteText(file, "end");
    file.FlushToDevice();
    WriteText(file, "s");
    file.Close();
}

TEST(FileFaults, EveryFailingCallIsReportedOnceAndLeavesAUsableObject) {
    for (const bool exists : {false, true}) {
        int failures = 0;
        for (int n = 1;; ++n) {
            const ScratchFolder folder;
            const ZString name = folder.File("f");
            if (exists) WriteWhole(name, BytesOf("old"));
            CBufferedFile file;
            const FailingCall failing(n);
            const auto error = ErrorOf([&] { UseAFile(file, name); });
            if (!FailingCall::HasFailed()) {
                EXPECT_FALSE(error) << error->what();
                break;
            }
            ++failures;
            EXPECT_TRUE(Tells(error, L"BufferedFile", name, FormatSystemErrorMsg(kFaultCode))) << "call " << n;
            // What had been buffered is either written now or was reported already: no second error comes.
            EXPECT_FALSE(ErrorOf([&] { file.Close(); })) << "call " << n;
            EXPECT_FALSE(ErrorOf([&] { UseAFile(file, name); })) << "call " << n;
            EXPECT_EQ(ReadWhole(name), BytesOf("smaends")) << "call " << n;
        }
        EXPECT_GE(failures, 10);
    }
}

TEST(FileFaults, AFailedOpeningLeavesNoNewFileAndAnOldOneAsItWas) {
    for (const bool exists : {false, true}) {
        for (const FileMode mode : {FileMode::createNew, FileMode::create, FileMode::openAlways}) {
            if (exists && mode == FileMode::createNew) continue;
            for (int n = 1;; ++n) {
                const ScratchFolder folder;
                const ZString name = folder.File("f");
                if (exists) WriteWhole(name, BytesOf("old"));
                CBufferedFile file;
                const FailingCall failing(n);
                const bool opened = file.OpenNoThrow(name, kReadWrite, mode, kAlone);
                if (!FailingCall::HasFailed()) {
                    EXPECT_TRUE(opened);
                    break;
                }
                EXPECT_FALSE(opened) << "call " << n;
                EXPECT_EQ(LastSystemError(), kFaultCode) << "call " << n;
                EXPECT_EQ(PathExists(name), exists) << "call " << n;
                if (exists) { EXPECT_EQ(ReadWhole(name), BytesOf("old")) << "call " << n; }
            }
        }
    }
}

class FileFaultsOfWriting : public testing::TestWithParam<FileTransfer> {};

// A write that takes nothing and gives no reason would be repeated for ever: the disk is full.
INSTANTIATE_TEST_SUITE_P(FullDisk, FileFaultsOfWriting, testing::Values(FileTransfer::diskFull, FileTransfer::nothing),
                         [](const auto& tested) {
                             return std::string(tested.param == FileTransfer::nothing ? "TakesNothing" : "Fails");
                         });

TEST_P(FileFaultsOfWriting, AreReportedByWhoeverFindsOut) {
    const ScratchFolder folder;
    static FileTransfer transfer;
    transfer = GetParam();
    const Transfers transfers([](FileCall call) { return call == FileCall::write ? transfer : FileTransfer::whole; });
    CBufferedFile file;
    const Bytes large(100'000);
    using Step = void (*)(CBufferedFile&, const Bytes&);
    const Step steps[] = {
        [](CBufferedFile& f, const Bytes&) { f.Flush(); },
        [](CBufferedFile& f, const Bytes&) { f.FlushToDevice(); },
        [](CBufferedFile& f, const Bytes&) { f.Close(); },
        [](CBufferedFile& f, const Bytes&) { f.SetLength(1); },
        [](CBufferedFile& f, const Bytes& bytes) { f.Write(bytes.data(), bytes.size()); },
        [](CBufferedFile& f, const Bytes&) { f.Open(f.GetName(), kRead, FileMode::openExisting, kAlone); },
        [](CBufferedFile& f, const Bytes&) {
            f.Seek(500'000);
            f.Write("x", 1);
        }};
    for (const Step step : steps) {
        file.Open(folder.File("f"), kReadWrite, FileMode::create, kAlone);
        file.Write("small", 5);
        EXPECT_TRUE(Tells(ErrorOf([&] { step(file, large); }), L"BufferedFile", folder.File("f"),
                          FormatSystemErrorMsg(kDiskFullCode)));
        EXPECT_FALSE(ErrorOf([&] { file.Close(); }));
        EXPECT_FALSE(file.IsOpen());
        EXPECT_EQ(ReadWhole(folder.File("f")), Bytes());
    }
}

TEST(FileFaults, AFailedWriteLeavesThePositionAndTheBytesThatWereThere) {
    const ScratchFolder folder;
    CBufferedFile file;
    file.Open(folder.File("f"), kReadWrite, FileMode::createNew, kAlone);
    const Bytes old = Pattern(50'000);
    file.Write(old.data(), old.size());
    file.Seek(10);
    EXPECT_EQ(ReadText(file, 1).size(), 1u);
    {
        const FailingCall failing(1, FileCall::write);
        const Bytes changed(40'000);
        EXPECT_TRUE(ErrorOf([&] { file.Write(changed.data(), changed.size()); }));
        EXPECT_EQ(file.GetPosition(), 11);
    }
    file.Seek(0);
    Bytes back(old.size());
    file.ReadExactly(back.data(), back.size());
    EXPECT_EQ(back, old);
}

TEST(FileFaults, BytesThatCouldNotBeWrittenAreNotReadBack) {
    const ScratchFolder folder;
    WriteWhole(folder.File("f"), BytesOf("old text"));
    for (const int way : {0, 1, 2}) {
        CBufferedFile file;
        file.Open(folder.File("f"), kReadWrite, FileMode::openExisting, kAlone);
        EXPECT_EQ(ReadText(file, 8), "old text");
        file.Seek(4);
        WriteText(file, "lost and longer");
        {
            const FailingCall failing(1, FileCall::write);
            Bytes large(100'000);
            EXPECT_TRUE(ErrorOf([&] {
                if (way == 0) file.Flush();
                if (way == 1) file.Read(large.data(), large.size());
                if (way == 2) file.SetLength(8);
            })) << way;
        }
        EXPECT_EQ(file.GetLength(), 8) << way;
        file.Seek(0);
        EXPECT_EQ(ReadText(file, 100), "old text") << way;
        // And it goes on without them.
        file.Seek(0);
        WriteText(file, "old");
        file.Close();
        EXPECT_EQ(ReadWhole(folder.File("f")), BytesOf("old text")) << way;
    }
}

TEST(FileFaults, AFailedReadLeavesThePosition) {
    const ScratchFolder folder;
    CBufferedFile file;
    WriteWhole(folder.File("f"), Pattern(200'000));
    file.Open(folder.File("f"), kRead, FileMode::openExisting, FileSharing::read);
    file.Seek(100);
    Bytes bytes(150'000);
    for (const std::size_t count : {std::size_t{5}, bytes.size()}) {
        const FailingCall failing(1, FileCall::read);
        EXPECT_TRUE(Tells(ErrorOf([&] { file.Read(bytes.data(), count); }), L"BufferedFile", folder.File("f"),
                          FormatSystemErrorMsg(kFaultCode)));
        EXPECT_EQ(file.GetPosition(), 100);
    }
}

TEST(FileFaults, AReadThatFailsHalfwayLeavesNoOtherBytesInThePlaceOfThose) {
    const ScratchFolder folder;
    const Bytes content = Pattern(200'000);
    WriteWhole(folder.File("f"), content);
    CBufferedFile file;
    file.Open(folder.File("f"), kRead, FileMode::openExisting, FileSharing::read);
    ReadText(file, 10);
    {
        const Transfers halves([](FileCall) { return FileTransfer::part; });
        const FailingCall failing(2, FileCall::read);
        file.Seek(100'001);
        EXPECT_TRUE(ErrorOf([&] { ReadText(file, 10); }));
    }
    file.Seek(0);
    Bytes start(10);
    file.ReadExactly(start.data(), start.size());
    EXPECT_EQ(start, Bytes(content.begin(), content.begin() + 10));
}

TEST(FileFaults, AClosingThatFailsTwiceTellsOfTheBytesThatWereLost) {
    const ScratchFolder folder;
    const Transfers transfers(
        [](FileCall call) { return call == FileCall::write ? FileTransfer::diskFull : FileTransfer::whole; });
    CBufferedFile file;
    file.Open(folder.File("f"), kReadWrite, FileMode::createNew, kAlone);
    WriteText(file, "text");
    const FailingCall failing(1, FileCall::close);
    EXPECT_TRUE(
        Tells(ErrorOf([&] { file.Close(); }), L"BufferedFile", folder.File("f"), FormatSystemErrorMsg(kDiskFullCode)));
}

TEST(FileFaults, AClosingThatFailsClosesAllTheSame) {
    for (const FileCall kind : {FileCall::write, FileCall::close}) {
        const ScratchFolder folder;
        CBufferedFile file, other;
        file.Open(folder.File("f"), kReadWrite, FileMode::createNew, kAlone);
        WriteText(file, "text");
        const FailingCall failing(1, kind);
        EXPECT_TRUE(
            Tells(ErrorOf([&] { file.Close(); }), L"BufferedFile", folder.File("f"), FormatSystemErrorMsg(kFaultCode)));
        EXPECT_FALSE(file.IsOpen());
        EXPECT_TRUE(other.OpenNoThrow(folder.File("f"), kReadWrite, FileMode::openExisting, kAlone));
    }
}

TEST(FileFaults, ADestructorLogsWhatItCannotThrow) {
    const ScratchFolder folder;
    const LogCapture log;
    {
        CBufferedFile file;
        file.Open(folder.File("f"), kReadWrite, FileMode::createNew, kAlone);
        WriteText(file, "text");
        SetFileFaultHook([](FileCall call) { return call == FileCall::write; });
    }
    SetFileFaultHook(nullptr);
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0].level, 4);
    EXPECT_NE(log.Lines()[0].text.find(folder.File("f").Wide()), std::wstring::npos);
}

TEST(FileFaults, AnAssignmentLogsWhatItCannotThrow) {
    const ScratchFolder folder;
    const LogCapture log;
    CBufferedFile file;
    file.Open(folder.File("f"), kReadWrite, FileMode::createNew, kAlone);
    WriteText(file, "text");
    const FailingCall failing(1, FileCall::write);
    file = CBufferedFile();
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(log.Lines().size(), 1u);
}

}  // namespace
}  // namespace shr
