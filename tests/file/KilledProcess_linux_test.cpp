// Processes that are killed at random moments while they work at bitmaps in files: the next start sweeps what they left
// of temporary bitmaps, and named files hold what was saved.
//
// ZBM_KILLS=1000 kills so many processes instead of a hundred.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <random>
#include <set>

#include "core/checks/BitmapCFileStoreChecks.h"
#include "core/checks/ScanRectFileBitmapChecks.h"
#include "file/FileBitmapTesting.h"
#include "shr/Archive.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZCachedBitmap.h"
#include "zpixf/ZPixfConvolution.h"

namespace {

using namespace testkit;

constexpr int kWidth = 200, kHeight = 150, kBlock = 50;
constexpr int kBlocksAcross = kWidth / kBlock, kBlocks = kBlocksAcross * (kHeight / kBlock);
constexpr ColorFormat kFormat = shr::BGRA_32;
constexpr const wchar_t* kBesides = L".besides";

unsigned Random(std::mt19937& random, unsigned below) { return static_cast<unsigned>(random() % below); }

// ---- Pictures that tell of each pixel when it was written. Version 0 is none: the pixel is zero.

std::uint32_t PixelOf(std::uint32_t version, int worker, int x, int y) {
    if (version == 0) return 0;
    std::uint32_t hash = version * 2654435761u + static_cast<std::uint32_t>(worker * 97 + x * 31 + y * 131071);
    hash ^= hash >> 15;
    hash *= 2246822519u;
    return version << 16 | (hash >> 16);
}
std::uint32_t VersionOf(std::uint32_t pixel) { return pixel >> 16; }

/// What may stand in each block of a named file: what was surely in the file last, up to what was begun last. It lies
/// in memory that outlives the process that writes it.
struct Ledger {
    std::atomic<bool> mustOpen;
    std::atomic<std::uint32_t> version;  ///< the last one used
    std::atomic<std::uint32_t> least[kBlocks], most[kBlocks];

    void Reset() {
        mustOpen = false;
        for (int block = 0; block < kBlocks; ++block) least[block] = most[block] = 0;
    }
    bool Allows(int block, std::uint32_t found) const { return found >= least[block] && found <= most[block]; }
};

class Ledgers {
public:
    static constexpr int kCount = 2;
    Ledgers()
        : first(static_cast<Ledger*>(
              ::mmap(nullptr, kCount * sizeof(Ledger), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {}
    ~Ledgers() { ::munmap(first, kCount * sizeof(Ledger)); }
    Ledgers(const Ledgers&) = delete;
    Ledgers& operator=(const Ledgers&) = delete;
    Ledger& operator[](int worker) const { return first[worker]; }

private:
    Ledger* const first;
};

std::vector<std::uint32_t> BlockOf(std::uint32_t version, int worker, int block) {
    std::vector<std::uint32_t> pixels;
    for (int y = 0; y < kBlock; ++y)
        for (int x = 0; x < kBlock; ++x)
            pixels.push_back(
                PixelOf(version, worker, block % kBlocksAcross * kBlock + x, block / kBlocksAcross * kBlock + y));
    return pixels;
}

// ---- What the processes do until they are killed.

class Worker {
public:
    Worker(int workerNumber, const shr::ZString& fileName, Ledger& workerLedger, unsigned seed)
        : number(workerNumber), name(fileName), ledger(workerLedger), random(seed) {}

    [[noreturn]] void Run() {
        for (;;) {
            if (Chance(2))
                WorkAtNamedFile();
            else
                WorkAtTemporaryFiles();
        }
    }

private:
    bool Chance(unsigned in) { return Random(random, in) == 0; }

    void WorkAtNamedFile() {
        if (!named.IsFileOpen()) return OpenOrMake();
        switch (Random(random, 10)) {
            case 0: return SaveBy([&] { named.Save(); });
            case 1: return SaveBy([&] { named.Close(); });
            case 2: return BuildLevels();
            case 3: return Chance(2) ? MakeCopy() : MakeEmpty();
            default: return WriteBlock(static_cast<int>(Random(random, kBlocks)));
        }
    }

    void OpenOrMake() {
        if (!shr::PathExists(name) || Chance(4)) return Chance(3) ? MakeEmpty() : MakeCopy();
        named.Open(name, false);
        for (int block = 0; block < kBlocks; ++block) current[block] = ledger.least[block];
        std::fill_n(isInTable, kBlocks, false);  // as far as this process knows
    }

    /// A new version of all blocks, in tiles of 512.
    void MakeCopy() {
        const std::uint32_t version = ++ledger.version;
        zbm::ZBasicMemBitmap source(kWidth, kHeight, kFormat, kBlock, kBlock);
        for (int block = 0; block < kBlocks; ++block) Store(source, version, block);
        ledger.mustOpen = false;
        for (auto& most : ledger.most) most = version;
        if (Chance(2))
            Require(named.Create(name, source, nullptr));
        else
            LoadArchiveOf(source);
        for (int block = 0; block < kBlocks; ++block) {
            ledger.least[block] = current[block] = version;
            isInTable[block] = isWritten[block] = true;
        }
        ledger.mustOpen = true;
    }

    void LoadArchiveOf(zbm::ZBitmap& source) {
        shr::MemoryArchive stored;
        zbm::SerializeIO storing(stored, true, zcdl::CodecMethod::stored);
        const shr::ZString besides = name + kBesides;
        OpenFileBitmap whole;
        Require(whole.Create(besides, source, nullptr) && whole.Serialize(storing, nullptr, nullptr));
        whole.Close();
        shr::RemoveFile(besides);
        shr::MemoryArchive archive(stored.Bytes());
        zbm::SerializeIO loading(archive, true);
        if (!named.IsFileOpen()) Require(named.Create(name, 1, 1, kFormat, nullptr));
        Require(named.Serialize(loading, nullptr, nullptr));
    }

    /// Without tiles, which are as large as a block, or of 512.
    void MakeEmpty() {
        ledger.mustOpen = false;
        for (auto& least : ledger.least) least = 0;
        named.Close();
        if (Chance(2))
            named.CreateSkeleton(name, kHeight, kWidth, kFormat, kBlock, kBlock);
        else
            named.CreateEmpty(name, kWidth, kHeight, kFormat);
        std::fill_n(current, kBlocks, 0);
        std::fill_n(isInTable, kBlocks, false);
        std::fill_n(isWritten, kBlocks, false);
    }

    void WriteBlock(int block) {
        const std::uint32_t version = ++ledger.version;
        ledger.most[block] = version;
        Store(named, version, block);
        isWritten[block] = true;
        current[block] = version;
        if (isInTable[block]) ledger.least[block] = version;
    }
    void Store(zbm::ZBitmap& bitmap, std::uint32_t version, int block) const {
        const std::vector<std::uint32_t> pixels = BlockOf(version, number, block);
        bitmap.StoreRegion(reinterpret_cast<const unsigned char*>(pixels.data()), 4 * kBlock,
                           block % kBlocksAcross * kBlock, block / kBlocksAcross * kBlock, kBlock, kBlock);
    }

    template <class Act>
    void SaveBy(const Act& act) {
        act();
        for (int block = 0; block < kBlocks; ++block) {
            ledger.least[block] = current[block];
            isInTable[block] = isWritten[block];
        }
        ledger.mustOpen = true;
    }

    void BuildLevels() { Require(named.CommitAll(nullptr, Chance(2))); }

    void WorkAtTemporaryFiles() {
        if (!temporary.IsFileOpen() || Chance(4)) return MakeTemporary();
        switch (Random(random, 4)) {
            case 0: return Require(temporary.Convolute5x5(zpixf::ZPixf5x5Mode::gaussian, nullptr));
            case 1: return Require(temporary.CommitAll(nullptr));
            case 2: return taker.ChangeFrom(temporary);
            default: return temporary.Close();
        }
    }
    void MakeTemporary() {
        if (Chance(2)) return Require(temporary.Create(kWidth, kHeight, shr::INDEXED_8, nullptr));
        zbm::ZBasicMemBitmap source = FormulaBitmap(60, 40, shr::BGR_24, 30, 30);
        Require(temporary.Create(source, nullptr) && GetPixel(temporary, 59, 39) == GetPixel(source, 59, 39));
    }

    static void Require(bool holds) {
        if (!holds) throw std::logic_error("what a process did had no success");
    }

    const int number;
    const shr::ZString name;
    Ledger& ledger;
    std::mt19937 random;
    OpenFileBitmap named;
    std::uint32_t current[kBlocks] = {};
    bool isInTable[kBlocks] = {}, isWritten[kBlocks] = {};
    zbm::ZCachedBitmap temporary{L"", L"", false}, taker{L"", L"", false};
};

// ---- The one who kills them and looks at what they left.

class KilledProcesses : public FileBitmapTest {
protected:
    shr::ZString NameOf(int worker) const { return scratch.File(worker == 0 ? "first" : "second"); }

    pid_t Start(int worker, unsigned seed) const {
        const pid_t process = ::fork();
        if (process != 0) return process;
        try {
            Worker(worker, NameOf(worker), ledgers[worker], seed).Run();
        } catch (const std::exception& error) { std::cerr << "process " << worker << ": " << error.what() << '\n'; }
        ::_exit(1);
    }

    static void Kill(pid_t process) {
        ::kill(process, SIGKILL);
        int status = 0;
        ASSERT_EQ(::waitpid(process, &status, 0), process);
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "it ended by itself: " << status;
    }

    /// What a start of a program does first.
    void Sweep() {
        const auto before = shr::test::Entries(folder).size();
        zbm::CleanGlobalFileBitmapTempDir();
        const auto left = shr::test::Entries(folder);
        swept += before - left.size();
        for (const std::string& entry : left) {
            const auto path = shr::test::SystemPath(folder) / entry;
            EXPECT_EQ(std::filesystem::file_size(path), 0u) << entry;
            std::filesystem::remove(path);
            ++empty;
        }
    }

    void Inspect(int worker) {
        const shr::ZString file = NameOf(worker);
        Ledger& ledger = ledgers[worker];
        shr::RemoveFile(file + kBesides);
        OpenFileBitmap bitmap;
        const bool isOpen = Opens(bitmap, file);
        if (!isOpen || bitmap.GetPixelWidth() == 1) {  // which is what archives are loaded into
            EXPECT_FALSE(ledger.mustOpen) << "it was saved";
            shr::RemoveFile(file);
            ledger.Reset();
        } else {
            ++opened;
            InspectPixels(worker, bitmap);
            InspectLevels(bitmap, file);
        }
        if (ledger.version > 50000) {
            bitmap.Close();
            shr::RemoveFile(file);
            ledger.Reset();
            ledger.version = 0;
        }
    }

    /// Else it is refused by one of the stated errors.
    bool Opens(OpenFileBitmap& bitmap, const shr::ZString& file) {
        if (!shr::PathExists(file)) return false;
        try {
            bitmap.Open(file, true);
            return true;
        } catch (const shr::Exception& error) {
            EXPECT_TRUE(IsAt(error, zbm::ScanRectFileBitmapCheck::badFile) ||
                        IsAt(error, zbm::ScanRectFileBitmapCheck::openedLevelCount) ||
                        IsAt(error, zbm::BitmapCFileStoreCheck::badFile))
                << Describe(error);
            ++refused;
            return false;
        }
    }

    void InspectPixels(int worker, const zbm::ZBitmap& bitmap) {
        std::vector<std::uint32_t> found(kWidth * kHeight);
        ASSERT_EQ(bitmap.GetPixelWidth(), kWidth);
        bitmap.FetchRegion(reinterpret_cast<unsigned char*>(found.data()), 4 * kWidth, 0, 0, kWidth, kHeight);
        for (int block = 0; block < kBlocks; ++block) {
            std::set<std::uint32_t> versions;
            for (int i = 0; i < kBlock * kBlock; ++i) {
                const int x = block % kBlocksAcross * kBlock + i % kBlock,
                          y = block / kBlocksAcross * kBlock + i / kBlock;
                const std::uint32_t pixel = found[static_cast<std::size_t>(y * kWidth + x)];
                const bool isOurs =
                    pixel == PixelOf(VersionOf(pixel), worker, x, y) && ledgers[worker].Allows(block, VersionOf(pixel));
                ASSERT_TRUE(isOurs || IsTorn(pixel, worker, block, x, y))
                    << std::hex << pixel << std::dec << " at " << x << ", " << y << "; versions "
                    << ledgers[worker].least[block] << " to " << ledgers[worker].most[block];
                versions.insert(VersionOf(pixel));
            }
            if (versions.size() > 1) ++mixed;
        }
    }
    /// Some of its bytes were written when the process was killed: a page ends in it.
    bool IsTorn(std::uint32_t pixel, int worker, int block, int x, int y) const {
        const Ledger& ledger = ledgers[worker];
        for (std::uint32_t before = ledger.least[block]; before <= ledger.most[block]; ++before)
            for (std::uint32_t after = before; after <= ledger.most[block]; ++after)
                for (int bits = 8; bits < 32; bits += 8) {
                    const std::uint32_t low = (1u << bits) - 1;
                    const std::uint32_t torn =
                        (PixelOf(after, worker, x, y) & low) | (PixelOf(before, worker, x, y) & ~low);
                    if (pixel == torn) return true;
                }
        return false;
    }

    /// Levels that count as current are those of the picture.
    void InspectLevels(OpenFileBitmap& bitmap, const shr::ZString& file) {
        const bool areCurrent = !bitmap.AreReductionsStale();
        std::vector<zbm::ZBasicMemBitmap> levels;
        for (const auto& level : bitmap.reductions) levels.push_back(InMemory(*level));
        bitmap.Open(file, false);
        ASSERT_TRUE(bitmap.CommitAll(nullptr, true));
        for (std::size_t i = 0; areCurrent && i < levels.size(); ++i)
            EXPECT_TRUE(IsEqual(*bitmap.reductions.at(i), levels[i])) << "level " << i + 1;
        bitmap.Close();
    }

    Ledgers ledgers;
    std::size_t swept = 0, empty = 0, opened = 0, refused = 0, mixed = 0;
};

TEST_F(KilledProcesses, LeaveTemporaryFilesThatAreSweptAndNamedOnesThatHoldWhatWasSaved) {
    const char* const wanted = std::getenv("ZBM_KILLS");
    const int kills = wanted == nullptr ? 100 : std::atoi(wanted);
    std::mt19937 random(11);
    int killed = 0;
    for (; killed < kills && !HasFailure(); killed += Ledgers::kCount) {
        pid_t processes[Ledgers::kCount];
        for (int worker = 0; worker < Ledgers::kCount; ++worker)
            processes[worker] = Start(worker, Random(random, 1u << 31));
        for (const pid_t process : processes) {
            ::usleep(Random(random, 20000));
            Kill(process);
        }
        Sweep();
        for (int worker = 0; worker < Ledgers::kCount; ++worker) Inspect(worker);
    }
    EXPECT_FALSE(HasFailure()) << "after " << killed << " kills";
    EXPECT_GT(swept, 0u);
    EXPECT_GT(opened, 0u);
    std::cout << killed << " processes killed: " << swept << " temporary files swept, " << empty
              << " that were still empty; named files " << opened << " times opened, with " << mixed
              << " blocks of several versions, and " << refused << " times refused\n";
}

}  // namespace
