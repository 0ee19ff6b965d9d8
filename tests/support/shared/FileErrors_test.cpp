#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "shr/Exception.h"

namespace shr {
namespace {

using ThrowForName = void (*)(const ZString&, const ZString&, int, const ZString&);
using ThrowForNameAndText = void (*)(const ZString&, const ZString&, int, const ZString&, const ZString&);

struct FileErrorCase {
    const char* name;
    ThrowForName throwForName;
    ThrowForNameAndText throwForNameAndText;
    const wchar_t* message;
};

constexpr FileErrorCase kCases[] = {
    {"BadFile", &Throw_ERR_SHR_BADFILE, nullptr, L"Damaged file or file of another kind: \"d/x.bmp\"."},
    {"Find", &Throw_ERR_SHR_FILE_FIND, nullptr, L"Cannot find the file \"d/x.bmp\"."},
    {"ReadOnly", &Throw_ERR_SHR_FILE_READ_ONLY, nullptr, L"Cannot change the read-only file \"d/x.bmp\"."},
    {"Temporary", &Throw_ERR_SHR_TEMPFILE_CREATE, nullptr,
     L"Cannot create a temporary file in the folder \"d/x.bmp\"."},
    {"Create", nullptr, &Throw_ERR_SHR_FILE_CREATE, L"Cannot create the file \"d/x.bmp\""},
    {"Open", nullptr, &Throw_ERR_SHR_FILE_OPEN, L"Cannot open the file \"d/x.bmp\""},
    {"Delete", nullptr, &Throw_ERR_SHR_FILE_DELETE, L"Cannot delete the file \"d/x.bmp\""},
    {"Read", nullptr, &Throw_ERR_SHR_FILE_READ, L"Cannot read from the file \"d/x.bmp\""},
    {"Write", nullptr, &Throw_ERR_SHR_FILE_WRITE, L"Cannot write to the file \"d/x.bmp\""},
    {"Seek", nullptr, &Throw_ERR_SHR_FILE_SEEK, L"Cannot move the position in the file \"d/x.bmp\""},
};

class FileErrors : public testing::TestWithParam<FileErrorCase> {
protected:
    static Exception Raise(const ZString& fileName, const ZString& systemText) {
        try {
            if (GetParam().throwForName != nullptr) GetParam().throwForName(L"Shared", L"BufferedFile", 42, fileName);
            GetParam().throwForNameAndText(L"Shared", L"BufferedFile", 42, fileName, systemText);
        } catch (const Exception& error) { return error; }
        return {L"", L"", 0, L"nothing was raised", false};
    }
};

INSTANTIATE_TEST_SUITE_P(All, FileErrors, testing::ValuesIn(kCases),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST_P(FileErrors, NameTheFileAndThePlace) {
    const Exception error = Raise(L"d/x.bmp", L"");
    const bool isWhole = GetParam().throwForName != nullptr;
    EXPECT_EQ(error.GetMessageText(), ZString(GetParam().message) + (isWhole ? L"" : L"."));
    EXPECT_EQ(error.GetModule(), ZString(L"Shared"));
    EXPECT_EQ(error.GetSourceFile(), ZString(L"BufferedFile"));
    EXPECT_EQ(error.GetLine(), 42);
    EXPECT_FALSE(error.IsReported());
    EXPECT_THAT(error.what(), testing::EndsWith(" (Shared, BufferedFile, line 42)"));
}

TEST_P(FileErrors, GiveTheSystemsText) {
    if (GetParam().throwForNameAndText == nullptr) return;  // these raisers take none
    EXPECT_EQ(Raise(L"d/x.bmp", L"No such file").GetMessageText(), ZString(GetParam().message) + L": No such file");
}

TEST_P(FileErrors, StayOneLineWhateverTheFileIsCalled) {
    const ZString message = Raise(L"a\nb\x1B[31m\x7F", L"c\r\n").GetMessageText();
    for (const wchar_t unit : message.Wide()) EXPECT_TRUE(unit >= L' ' && unit != L'\x7F');
    EXPECT_NE(message.Wide().find(L"a\uFFFD"
                                  L"b\uFFFD[31m\uFFFD"),
              std::wstring::npos);
}

TEST(Throw_ERR_SHR_NOGLOBALMEM, SaysThatMemoryIsShort) {
    try {
        Throw_ERR_SHR_NOGLOBALMEM(L"Module", L"File", 5);
        FAIL();
    } catch (const Exception& error) { EXPECT_STREQ(error.what(), "Not enough memory. (Module, File, line 5)"); }
}

}  // namespace
}  // namespace shr
