#include "shr/Exception.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

namespace shr {
namespace {

using testing::HasSubstr;
using testing::StrEq;

TEST(Exception, CarriesItsMessageAndItsPlace) {
    const Exception error(L"ZBMLib2", L"zbmbitmap", 67, L"Unsupported DIB format.", true);
    EXPECT_EQ(error.GetModule(), ZString(L"ZBMLib2"));
    EXPECT_EQ(error.GetSourceFile(), ZString(L"zbmbitmap"));
    EXPECT_EQ(error.GetLine(), 67);
    EXPECT_EQ(error.GetMessageText(), ZString(L"Unsupported DIB format."));
    EXPECT_TRUE(error.IsReported());
    EXPECT_THAT(error.what(), StrEq("Unsupported DIB format. (ZBMLib2, zbmbitmap, line 67)"));
}

TEST(Exception, RemembersWhetherItWasReported) {
    Exception error(L"M", L"F", 1, L"text", false);
    EXPECT_FALSE(error.IsReported());
    error.SetReported(true);
    EXPECT_TRUE(error.IsReported());
    EXPECT_TRUE(Exception(error).IsReported());
}

TEST(Exception, SpeaksUtf8) {
    const Exception error(L"M\u00F6dul", L"F\u00FCle", 3, L"\u20AC \U0001F600", false);
    EXPECT_THAT(error.what(), StrEq("\xE2\x82\xAC \xF0\x9F\x98\x80 (M\xC3\xB6"
                                    "dul, F\xC3\xBCle, line 3)"));
}

TEST(Exception, CopiesKeepEverything) {
    Exception copy(L"", L"", 0, L"other", false);
    {
        const Exception error(L"Module", L"File", 12, L"text", true);
        copy = error;
    }
    EXPECT_THAT(copy.what(), StrEq("text (Module, File, line 12)"));
    EXPECT_EQ(copy.GetModule(), ZString(L"Module"));
    EXPECT_TRUE(copy.IsReported());
}

TEST(Exception, IsCaughtAsAStandardException) {
    try {
        throw Exception(L"Module", L"File", 12, L"text", false);
    } catch (const std::exception& error) { EXPECT_THAT(error.what(), HasSubstr("text")); }
}

TEST(ThrowInternalError, HasNoMessageButAReadableText) {
    try {
        ThrowInternalError(L"ZBMLib2", L"ZBMScanRect", 343);
        FAIL();
    } catch (const InternalError& error) {
        EXPECT_TRUE(error.GetMessageText().IsEmpty());
        EXPECT_EQ(error.GetModule(), ZString(L"ZBMLib2"));
        EXPECT_EQ(error.GetSourceFile(), ZString(L"ZBMScanRect"));
        EXPECT_EQ(error.GetLine(), 343);
        EXPECT_FALSE(error.IsReported());
        EXPECT_THAT(error.what(), StrEq("Internal error (ZBMLib2, ZBMScanRect, line 343)"));
    }
}

TEST(ThrowInternalError, SaysWhatMustHoldWhereThatIsTold) {
    try {
        ThrowInternalError(L"ZBMLib2", L"zbmbitmap", 1111, "brightness must be from -1 to 1");
        FAIL();
    } catch (const InternalError& error) {
        EXPECT_TRUE(error.GetMessageText().IsEmpty());
        EXPECT_EQ(error.GetModule(), ZString(L"ZBMLib2"));
        EXPECT_EQ(error.GetSourceFile(), ZString(L"zbmbitmap"));
        EXPECT_EQ(error.GetLine(), 1111);
        EXPECT_THAT(error.what(), StrEq("brightness must be from -1 to 1 (zbmbitmap, line 1111)"));
        EXPECT_THAT(InternalError(error).what(), StrEq(error.what()));
    }
}

TEST(ThrowInternalError, IsAnException) {
    EXPECT_THROW(ThrowInternalError(L"M", L"F", 1), Exception);
    EXPECT_THROW(ThrowInternalError(L"M", L"F", 1), std::exception);
}

TEST(AbortException, IsNoErrorOfTheOtherKinds) {
    EXPECT_FALSE((std::is_base_of_v<Exception, AbortException>));
    EXPECT_FALSE((std::is_base_of_v<std::exception, AbortException>));
    bool caught = false;
    try {
        throw AbortException();
    } catch (const AbortException&) { caught = true; }
    EXPECT_TRUE(caught);
}

}  // namespace
}  // namespace shr
