#pragma once
// What the tests of bitmaps in files share: a picture's file in a folder of its own, and looks at bitmaps and errors.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>

#include "file/FileImage.h"
#include "file/OpenFileBitmaps.h"
#include "shr/FileFaults.h"
#include "shr/Logger.h"
#include "shr/Path.h"
#include "support_code/ArchiveBytes.h"
#include "support_code/ExpectError.h"

namespace testkit {

using shr::FileCall;
using shr::test::FailingCall;
using shr::test::ReadWhole;
using shr::test::WriteWhole;

/// The name of a file, and a folder for temporary bitmaps.
class FileBitmapTest : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directory(shr::test::SystemPath(folder));
        zbm::SetGlobalFileBitmapTempDir(folder);
    }
    // There is no way back to no choice at all but the system's folder by name, which is the same.
    void TearDown() override { zbm::SetGlobalFileBitmapTempDir(shr::CPath().GetTempPathW(true)); }

    std::unique_ptr<OpenFileBitmap> Opened(bool readOnly) const {
        auto bitmap = std::make_unique<OpenFileBitmap>();
        bitmap->Open(name, readOnly);
        return bitmap;
    }

    ScratchFolder scratch;
    const shr::ZString name = scratch.File("picture"), folder = scratch.File("temporary");
};

/// Everything before level 0, for levels at these places; `next` is kept for the level to come.
inline Bytes BitmapHead(const std::vector<std::int64_t>& levels, std::int64_t next = 0) {
    FileImage image;
    image.Signature(kBitmapSignature).U32(levels.size());
    for (std::size_t i = 0; i < 32; ++i) image.I64(i < levels.size() ? levels[i] : i == levels.size() ? next : 0);
    return image.Zeros(200).Take();
}

inline void SetAndCommit(zbm::ZBitmap& bitmap, int x, int y, std::uint32_t value) {
    const TileAt at(bitmap, x, y);
    SetPixelAt(at.Pixels(), at.x, bitmap.GetColorFormat(), value);
    bitmap.CommitScanRect(y / bitmap.GetScanRectHeight(), x / bitmap.GetScanRectWidth());
}

inline testing::AssertionResult IsClosed(const OpenFileBitmap& bitmap) {
    if (bitmap.IsFileOpen() || bitmap.file.IsOpen() || bitmap.store != nullptr || !bitmap.reductions.empty())
        return testing::AssertionFailure() << "something is open";
    if (bitmap.GetPixelWidth() != 0 || bitmap.GetPixelHeight() != 0 || bitmap.GetColorFormat() != shr::BGRA_32 ||
        bitmap.GetScanRectWidth() != 512 || bitmap.GetScanRectHeight() != 512)
        return testing::AssertionFailure() << "it has pixels";
    return testing::AssertionSuccess();
}

/// Whether `act` raises the error of a file of that check, and its message names the file or folder.
template <class Act>
testing::AssertionResult RaisesFileError(Act act, zbm::Check check, const shr::ZString& fileName) {
    try {
        act();
    } catch (const shr::InternalError& error) {
        return testing::AssertionFailure() << "raises the internal error " << Describe(error);
    } catch (const shr::Exception& error) {
        const bool namesIt = error.GetMessageText().Wide().find(fileName.Wide()) != std::wstring::npos;
        if (IsAt(error, check) && namesIt) return testing::AssertionSuccess();
        return testing::AssertionFailure() << "raises " << Describe(error);
    }
    return testing::AssertionFailure() << "raises nothing";
}

/// Takes what is logged while it lives.
class CapturedLog {
public:
    CapturedLog()
        : former(shr::g_Logger.SetSink([this](int, const shr::ZString& line) { text += line.ToUtf8() + "\n"; })) {}
    ~CapturedLog() { shr::g_Logger.SetSink(std::move(former)); }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    std::string text;

private:
    shr::Logger::Sink former;
};

}  // namespace testkit
