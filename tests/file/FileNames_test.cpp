// Files and folders of any name that the system takes.
#include <gtest/gtest.h>

#include "core/checks/ScanRectFileBitmapChecks.h"
#include "file/FileBitmapTesting.h"
#include "shr/FileFind.h"
#include "zbm/ZCachedBitmap.h"

namespace {

using namespace testkit;
using shr::ZString;

ZString Repeated(const char* text, std::size_t count) {
    ZString name;
    for (std::size_t i = 0; i < count; ++i) name += ZString::FromUtf8(text);
    return name;
}

struct NameCase {
    const char* name;
    ZString (*make)();
};
void PrintTo(const NameCase& nameCase, std::ostream* out) { *out << nameCase.name; }

/// Systems count bytes or units of 16 bits: 250 of them.
const NameCase kNames[] = {
    {"Accents", [] { return ZString::FromUtf8("\u00fcn\u00ef\u00e7\u00f6d\u00e9"); }},
    {"Combining", [] { return ZString::FromUtf8("e\u0301a\u0308\u0323"); }},
    {"EastAsian", [] { return ZString::FromUtf8("\u753b\u50cf\uadf8\ub9bc"); }},
    {"RightToLeft", [] { return ZString::FromUtf8("\u05ea\u05de\u05d5\u05e0\u05d4\u200f\u0635\u0648\u0631\u0629"); }},
    {"BeyondTheFirstPlane", [] { return ZString::FromUtf8("\U0001F5BC\U0001F600\U00020000"); }},
    {"NotCharacters", [] { return ZString::FromUtf8("\ufeff\ufffd\u0085"); }},
    {"PlaceholdersAndBlanks", [] { return ZString(L" %s%n %1 {0} a  b"); }},
    {"LongAscii", [] { return Repeated("n", 250); }},
    {"LongEastAsian", [] { return Repeated("\u753b", shr::test::kOnWindows ? 250 : 83); }},
    {"LongBeyondTheFirstPlane", [] { return Repeated("\U0001F5BC", shr::test::kOnWindows ? 125 : 62); }},
};

class FileNames : public FileBitmapTest, public testing::WithParamInterface<NameCase> {
protected:
    void SetUp() override {
        FileBitmapTest::SetUp();
        std::ofstream probe(shr::test::SystemPath(Place()));
        if (!probe.is_open()) GTEST_SKIP() << "the system has no such name here";
        probe.close();
        std::filesystem::remove(shr::test::SystemPath(Place()));
    }
    ZString Place() const {
        return shr::CPath::AppendDirSeparator(scratch.File("temporary"), true) + GetParam().make();
    }
    zbm::ZBasicMemBitmap picture = FormulaBitmap(70, 60, shr::BGR_24, 30, 25);
};
INSTANTIATE_TEST_SUITE_P(Names, FileNames, testing::ValuesIn(kNames),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(FileNames, AreThoseOfBitmaps) {
    OnFile(Place(), picture)->Close();
    EXPECT_TRUE(std::filesystem::exists(shr::test::SystemPath(Place())));
    OpenFileBitmap bitmap;
    bitmap.Open(Place(), false);
    EXPECT_TRUE(IsEqual(bitmap, picture));
    EXPECT_TRUE(bitmap.ChangeBrightness(0.1, nullptr));
    EXPECT_TRUE(bitmap.CommitAll(nullptr));
    EXPECT_EQ(bitmap.GetFileName(), Place());
    bitmap.Close();
    bitmap.Open(Place(), true);
    EXPECT_EQ(bitmap.reductions.size(), 1u);
    bitmap.Close();
    EXPECT_TRUE(shr::RemoveFile(Place()));
}

TEST_P(FileNames, AreToldWhenTheyCannotBeOpened) {
    OpenFileBitmap bitmap;
    EXPECT_TRUE(
        RaisesFileError([&] { bitmap.Open(Place(), true); }, zbm::ScanRectFileBitmapCheck::openedFile, Place()));
}

TEST_P(FileNames, AreThoseOfTemporaryBitmaps) {
    zbm::ZCachedBitmap bitmap(shr::CPath::AppendDirSeparator(scratch.File("temporary"), true), GetParam().make(),
                              false);
    ASSERT_TRUE(bitmap.Create(picture, nullptr));
    EXPECT_TRUE(shr::PathExists(Place()));
    EXPECT_EQ(GetPixel(bitmap, 69, 59), GetPixel(picture, 69, 59));
    ASSERT_TRUE(bitmap.Create(1, 1, shr::BGR_24, nullptr));
}

/// The standard library's own list of a folder is one of another folder where names are long on Windows.
int FilesIn(const ZString& folder) {
    shr::CFileFind find(shr::CPath::AppendDirSeparator(folder, true) + L"*");
    int files = 0;
    while (find.FindNextFileW()) ++files;
    return files;
}

TEST_P(FileNames, AreThoseOfFoldersForTemporaryBitmaps) {
    std::filesystem::create_directory(shr::test::SystemPath(Place()));
    zbm::SetGlobalFileBitmapTempDir(Place());
    zbm::ZCachedBitmap bitmap(L"", L"", true);
    ASSERT_TRUE(bitmap.Create(picture, nullptr));
    EXPECT_EQ(GetPixel(bitmap, 69, 59), GetPixel(picture, 69, 59));
    bitmap.ZScanRectFileBitmap::Close();
    EXPECT_EQ(FilesIn(Place()), 1);
    zbm::CleanGlobalFileBitmapTempDir();
    EXPECT_EQ(FilesIn(Place()), 0);
}

}  // namespace
