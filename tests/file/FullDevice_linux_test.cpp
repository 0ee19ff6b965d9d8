// A device that is full, a real one: what is done with bitmaps in files ends well or with a stated error, and goes on
// once there is room.
#include <gtest/gtest.h>

#include "file/FileWorks.h"
#include "support_code/SmallDevice_linux.h"

namespace {

using namespace testkit;

shr::ZString OnDevice(const SmallDevice& device, const char* name) {
    return shr::ZString((device.Folder() / name).wstring());
}

/// What a user is told: which file, and why.
testing::AssertionResult TellsOfAFullDevice(const shr::Exception& error, const SmallDevice& device) {
    const std::string text = error.GetMessageText().ToUtf8();
    const bool namesFile = text.find(device.Folder().string()) != std::string::npos;
    const bool saysWhy = text.find("No space left on device") != std::string::npos;
    if (namesFile && saysWhy) return testing::AssertionSuccess();
    return testing::AssertionFailure() << Describe(error) << ": " << text;
}

/// The bytes of all tiles that can be read; nothing for a bitmap that is closed.
std::string Shown(zbm::ZScanRectFileBitmap* bitmap) {
    std::string shown;
    if (bitmap == nullptr || !bitmap->IsFileOpen()) return shown;
    bitmap->UnlockAllScanRects();
    for (int row = 0; row < bitmap->GetNumScanRectRows(); ++row)
        for (int col = 0; col < bitmap->GetNumScanRects(row); ++col) {
            const zbm::LockedTile tile(*bitmap, row, col);
            for (int y = 0; y < tile->GetHeight(); ++y)
                shown.append(reinterpret_cast<const char*>(tile->GetRowPtr(y)),
                             static_cast<std::size_t>(BitsPerPixel(bitmap->GetColorFormat()) * tile->GetWidth() / 8));
        }
    return shown;
}
std::vector<std::string> Shown(const FileWorkplace& place) {
    return {Shown(place.bitmap.get()), Shown(place.cached.get()), Shown(place.otherCached.get())};
}

class FullDevice : public testing::Test {
protected:
    void SetUp() override {
        formerSink = shr::g_Logger.SetSink([](int, const shr::ZString&) {});
    }
    void TearDown() override {
        shr::g_Logger.SetSink(std::move(formerSink));
        zbm::SetGlobalFileBitmapTempDir(shr::CPath().GetTempPathW(true));
    }

    /// Does `act` with so much room, and says whether it came to its end.
    template <class Act>
    Came ActWith(std::size_t bytesLeft, const SmallDevice& device, const Act& act) {
        device.Fill(bytesLeft);
        try {
            act();
        } catch (const shr::Exception& error) {
            EXPECT_TRUE(TellsOfAFullDevice(error, device));
            return Came::toAnError;
        }
        return Came::toItsEnd;
    }

    shr::Logger::Sink formerSink;
    const ScratchFolder scratch;
};

class FullDeviceAt : public FullDevice, public testing::WithParamInterface<FileWork> {
protected:
    Came TryWith(std::size_t bytesLeft) {
        const SmallDevice device(shr::test::SystemPath(scratch.File("device")));
        zbm::SetGlobalFileBitmapTempDir(OnDevice(device, ""));
        FileWorkplace place(OnDevice(device, "picture"), OnDevice(device, "other"), GetParam().way);
        GetParam().prepare(place);
        const Came came = ActWith(bytesLeft, device, [&] { GetParam().act(place); });
        const auto whileFull = Shown(place);
        device.MakeRoom();
        EXPECT_EQ(Shown(place), whileFull) << "what was shown while the device was full is what is there";
        GetParam().check(place, came);
        return came;
    }
};
INSTANTIATE_TEST_SUITE_P(Works, FullDeviceAt, testing::ValuesIn(kFileWorks),
                         [](const auto& test) { return std::string(test.param.name); });

/// With more and more room, until it gets through.
TEST_P(FullDeviceAt, EndsWorkInAnErrorThatIsOverOnceThereIsRoom) {
    WhereDevicesCanBeMounted([&] {
        constexpr std::size_t kPage = 4096, kMostPages = SmallDevice::kBytes / kPage;
        std::size_t pages = 0;
        while (TryWith(pages * kPage) == Came::toAnError && !HasFailure() && pages < kMostPages) ++pages;
        EXPECT_FALSE(HasFailure()) << pages << " pages were free";
        const std::string name = GetParam().name;
        const bool takesRoom = name.starts_with("Create") || name.starts_with("BuildLevels");
        EXPECT_TRUE(!takesRoom || pages > 0);
    });
}

// ---- Pictures that take a good part of the device, whose tiles go past the buffer.

/// All bitmaps are cached ones: these have every creation.
struct LargePlace {
    explicit LargePlace(const shr::ZString& folder) : name(folder + L"picture"), archive(folder + L"archive") {}
    const shr::ZString name, archive;
    zbm::ZCachedBitmap bitmap{L"", L"", false};

    static zbm::ZBasicMemBitmap& Picture() {
        static zbm::ZBasicMemBitmap picture = FormulaBitmap(1100, 900, shr::BGRA_32, 512, 512);
        return picture;
    }
    static zbm::ZBasicMemBitmap& Indices() {
        static zbm::ZBasicMemBitmap picture = FormulaBitmap(1100, 900, shr::INDEXED_8, 300, 200);
        return picture;
    }
    void Serialize(zbm::ZBitmap& serialized, shr::FileArchive::Direction direction) const {
        shr::CBufferedFile file;
        const auto mode =
            direction == shr::FileArchive::Direction::storing ? shr::FileMode::create : shr::FileMode::openExisting;
        file.Open(archive, shr::FileAccess::readWrite, mode, shr::FileSharing::none);
        shr::FileArchive stream(file, direction);
        zbm::SerializeIO io(stream, true, zcdl::CodecMethod::stored);
        EXPECT_TRUE(serialized.Serialize(io, nullptr, nullptr));
        file.Close();
    }
};

struct LargeWork {
    const char* name;
    void (*prepare)(LargePlace& place);
    void (*act)(LargePlace& place);
    bool givesBack;  ///< whether it takes no room if it fails, but for a picture of one pixel
};
void PrintTo(const LargeWork& work, std::ostream* out) { *out << work.name; }

void HavePicture(LargePlace& place) { EXPECT_TRUE(place.bitmap.Create(place.name, LargePlace::Picture(), nullptr)); }
void HaveIndices(LargePlace& place) { EXPECT_TRUE(place.bitmap.Create(place.name, LargePlace::Indices(), nullptr)); }
void HaveNothing(LargePlace&) {}
void StoreInFile(LargePlace& place) { place.Serialize(place.bitmap, shr::FileArchive::Direction::storing); }
void BuildAllLevels(LargePlace& place) { EXPECT_TRUE(place.bitmap.CommitAll(nullptr)); }

const LargeWork kLargeWorks[] = {
    {"Zeros", HaveNothing,
     [](auto& place) { EXPECT_TRUE(place.bitmap.Create(place.name, 1100, 900, shr::BGRA_32, nullptr)); }, true},
    {"Copy", HaveNothing, HavePicture, true},
    {"CopyOfOtherTiles", HaveNothing, HaveIndices, true},
    {"Dib", HaveNothing,
     [](auto& place) {
         const BITMAPINFOHEADER header{40, 1100, 900, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
         static const std::vector<std::uint32_t> bits(1100 * 900, 0x123456);
         EXPECT_TRUE(place.bitmap.Create(place.name, &header, bits.data(), nullptr, nullptr));
     },
     true},
    {"Format", HaveNothing,
     [](auto& place) { EXPECT_TRUE(place.bitmap.Create(place.name, shr::BGR_24, LargePlace::Picture(), nullptr)); },
     true},
    {"Size", HaveNothing,
     [](auto& place) {
         EXPECT_TRUE(place.bitmap.Create(place.name, 900, 1000, LargePlace::Picture(), {0, 0, 1100, 900},
                                         zbm::ResizeBicubic0, nullptr));
     },
     true},
    {"TemporaryZeros", HavePicture,
     [](auto& place) { EXPECT_TRUE(place.bitmap.Create(1100, 900, shr::BGRA_32, nullptr)); }, true},
    {"TemporaryCopy", HaveNothing,
     [](auto& place) { EXPECT_TRUE(place.bitmap.Create(LargePlace::Picture(), nullptr)); }, true},
    {"TemporaryFormat", HaveNothing,
     [](auto& place) { EXPECT_TRUE(place.bitmap.Create(shr::INDEXED_8, LargePlace::Picture(), nullptr)); }, true},
    {"LoadedArchive",
     [](auto& place) {
         HavePicture(place);
         StoreInFile(place);
         place.bitmap.Close();
         shr::RemoveFile(place.name);
     },
     [](auto& place) { place.Serialize(place.bitmap, shr::FileArchive::Direction::loading); }, true},
    {"StoredRegion", [](auto& place) { place.bitmap.CreateEmpty(place.name, 1100, 900, shr::BGRA_32); },
     [](auto& place) {
         static const std::vector<std::uint8_t> pixels(1100 * 900 * 4, 0x5A);
         place.bitmap.StoreRegion(pixels.data(), 4400, 0, 0, 1100, 900);
     },
     false},
    {"Filter", HavePicture, [](auto& place) { EXPECT_TRUE(place.bitmap.ChangeBrightness(0.3, nullptr)); }, false},
    {"Levels", HavePicture, BuildAllLevels, true},
    {"LevelsOfIndices", HaveIndices, BuildAllLevels, false},
    {"StoredArchive", HavePicture, StoreInFile, false},
};

std::size_t FreeBytes(const SmallDevice& device) {
    struct statvfs space {};
    EXPECT_EQ(::statvfs(device.Folder().c_str(), &space), 0);
    return space.f_bavail * space.f_bsize;
}

/// What is there in the end, closed.
std::vector<Bytes> FilesOf(const LargePlace& place) {
    std::vector<Bytes> files{ReadWhole(place.bitmap.GetFileName())};
    if (shr::PathExists(place.archive)) files.push_back(ReadWhole(place.archive));
    return files;
}

class LargeOnFullDevice : public FullDevice, public testing::WithParamInterface<LargeWork> {
protected:
    std::vector<Bytes> FilesWhereThereIsRoom() const {
        const shr::ZString folder = shr::CPath::AppendDirSeparator(scratch.File("."), true);
        zbm::SetGlobalFileBitmapTempDir(folder);
        LargePlace place(folder);
        GetParam().prepare(place);
        GetParam().act(place);
        place.bitmap.Close();
        return FilesOf(place);
    }
    Came TryWith(std::size_t bytesLeft, const std::vector<Bytes>& expected) {
        const SmallDevice device(shr::test::SystemPath(scratch.File("device")));
        zbm::SetGlobalFileBitmapTempDir(OnDevice(device, ""));
        LargePlace place(OnDevice(device, ""));
        GetParam().prepare(place);
        std::size_t free = 0;
        const auto act = [&] {
            free = FreeBytes(device);
            GetParam().act(place);
        };
        const Came came = ActWith(bytesLeft, device, act);
        if (came == Came::toAnError) {
            constexpr std::size_t kOnePixel = 16384;
            EXPECT_TRUE(!GetParam().givesBack || FreeBytes(device) + kOnePixel >= free);
            device.MakeRoom();
            place.bitmap.UnlockAllScanRects();  // a region that was being stored leaves its tile locked
            GetParam().act(place);
        }
        place.bitmap.Close();
        EXPECT_TRUE(FilesOf(place) == expected);
        return came;
    }
};
INSTANTIATE_TEST_SUITE_P(Works, LargeOnFullDevice, testing::ValuesIn(kLargeWorks),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(LargeOnFullDevice, GivesItsRoomBackAndIsDoneOnceThereIsMore) {
    WhereDevicesCanBeMounted([&] {
        constexpr std::size_t kStep = SmallDevice::kBytes / 24;
        const std::vector<Bytes> expected = FilesWhereThereIsRoom();
        std::size_t room = 0;
        while (TryWith(room, expected) == Came::toAnError && !HasFailure() && room < SmallDevice::kBytes) room += kStep;
        EXPECT_FALSE(HasFailure()) << room << " bytes were free";
    });
}

}  // namespace
