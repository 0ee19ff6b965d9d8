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
        FileWorkplace place(OnDevice(device, "picture"), OnDevice(device, "other"));
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

}  // namespace
