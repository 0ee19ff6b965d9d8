#include <gtest/gtest.h>

#include <cstdio>

#include "shr/Exception.h"

namespace shr {
namespace {

constexpr int kNoSuchFile = 2;  // ENOENT, and ERROR_FILE_NOT_FOUND as well

TEST(SystemError, TellsWhyTheLastCallFailed) {
    std::FILE* file = std::fopen("a file that nobody has made.zbm", "rb");
    const int code = LastSystemError();
    ASSERT_EQ(file, nullptr);
    EXPECT_EQ(code, kNoSuchFile);
}

TEST(SystemError, HasATextOfOneLineForEveryCode) {
    for (const int code : {0, 1, kNoSuchFile, 5, 13, 123456789, -1}) {
        const ZString text = FormatSystemErrorMsg(code);
        EXPECT_FALSE(text.IsEmpty()) << code;
        EXPECT_EQ(text.Wide().find_first_of(L"\r\n"), std::wstring::npos) << code;
        EXPECT_NE(text.Last(), L' ') << code;
    }
}

TEST(SystemError, TextsTellCodesApart) { EXPECT_NE(FormatSystemErrorMsg(kNoSuchFile), FormatSystemErrorMsg(5)); }

TEST(SystemError, NamesCodesThatTheSystemDoesNotKnow) {
    EXPECT_NE(FormatSystemErrorMsg(123456789).Wide().find(L"123456789"), std::wstring::npos);
}

}  // namespace
}  // namespace shr
