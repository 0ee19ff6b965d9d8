#include <gtest/gtest.h>

#include <stdexcept>

#include "shr/Exception.h"
#include "support/shared/LogCapture.h"

namespace shr {
namespace {

using Lines = std::vector<test::LogCapture::Line>;

template <class Thrown>
Lines LogOf(const Thrown& thrown, const wchar_t* context) {
    const test::LogCapture log;
    try {
        throw thrown;
    } catch (...) { LogExceptionInfoAndRethrowIfUnknown(L"ZBMLib2", L"ZBMCachedBitmap", 51, context); }
    return log.Lines();
}

TEST(LogExceptionInfo, LogsAnErrorWithThePlaceThatCaughtIt) {
    const Exception error(L"Shared", L"BufferedFile", 12, L"Cannot open the file \"\u00E9\".", false);
    EXPECT_EQ(LogOf(error, nullptr),
              (Lines{{4,
                      L"Exception caught: Cannot open the file \"\u00E9\". (Shared, BufferedFile, line 12)\n"
                      L"Module ZBMLib2, File ZBMCachedBitmap, Line 51"}}));
}

TEST(LogExceptionInfo, LogsStandardExceptions) {
    EXPECT_EQ(LogOf(std::runtime_error("100 %s"), nullptr),
              (Lines{{4, L"Exception caught: 100 %s\nModule ZBMLib2, File ZBMCachedBitmap, Line 51"}}));
}

TEST(LogExceptionInfo, LogsCancellation) {
    EXPECT_EQ(LogOf(AbortException(), nullptr),
              (Lines{{4, L"Exception caught: Cancelled\nModule ZBMLib2, File ZBMCachedBitmap, Line 51"}}));
}

TEST(LogExceptionInfo, SaysFirstWhatWasGoingOn) {
    EXPECT_EQ(LogOf(std::runtime_error("text"), L"While closing"),
              (Lines{{4, L"While closing\nException caught: text\nModule ZBMLib2, File ZBMCachedBitmap, Line 51"}}));
}

TEST(LogExceptionInfo, RethrowsWhatItDoesNotKnow) {
    const test::LogCapture log;
    bool rethrown = false;
    try {
        try {
            throw 42;
        } catch (...) { LogExceptionInfoAndRethrowIfUnknown(L"ZBMLib2", L"ZBMCachedBitmap", 51, nullptr); }
    } catch (int value) { rethrown = value == 42; }
    EXPECT_TRUE(rethrown);
    EXPECT_EQ(log.Lines(),
              (Lines{{4, L"Exception caught: Unknown exception\nModule ZBMLib2, File ZBMCachedBitmap, Line 51"}}));
}

}  // namespace
}  // namespace shr
