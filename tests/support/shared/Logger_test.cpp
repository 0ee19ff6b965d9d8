#include "shr/Logger.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <new>

#include "support/shared/LogCapture.h"

namespace shr {
namespace {

template <class... Arguments>
std::wstring Formatted(const wchar_t* format, Arguments... arguments) {
    const test::LogCapture log;
    g_Logger.SendVA(2, format, arguments...);
    return log.Lines().size() == 1 ? log.Lines().front().text : L"(not one line)";
}

TEST(Logger, HandsLevelAndTextToItsSink) {
    const test::LogCapture log;
    g_Logger.Send(1, L"detail");
    g_Logger.SendVA(4, L"tile %d of %d", 3, 7);
    using Line = test::LogCapture::Line;
    EXPECT_EQ(log.Lines(), (std::vector<Line>{{1, L"detail"}, {4, L"tile 3 of 7"}}));
}

TEST(Logger, TakesTextsForWideOnEverySystem) {
    EXPECT_EQ(Formatted(L"%s|%ls|%c|%lc", L"w\u00EFde", L"\u20AC", L'\u00E9', L'\u20AC'),
              L"w\u00EFde|\u20AC|\u00E9|\u20AC");
    EXPECT_EQ(Formatted(L"%10s|%-10s|%.2s|%*.*s|%-*s|", L"abc", L"abc", L"abc", 6, 1, L"xyz", 4, L"q"),
              L"       abc|abc       |ab|     x|q   |");
    EXPECT_EQ(Formatted(L"%3c|%-3c|", L'a', L'b'), L"  a|b  |");
}

TEST(Logger, TakesNarrowTextsForUtf8) {
    EXPECT_EQ(Formatted(L"%hs and %hs", "na\xC3\xAFve", "\xF0\x9F\x98\x80"), L"na\u00EFve and \U0001F600");
    EXPECT_EQ(Formatted(L"%hs", "\xFF"), std::wstring(1, wchar_t{0xDCFF}));
    EXPECT_EQ(Formatted(L"%5hs|%-5hs|%.1hs|%hc", "ab", "ab", "ab", 'z'), L"   ab|ab   |a|z");
}

TEST(Logger, ReadsNoFurtherThanThePrecisionOfAText) {
    const wchar_t unended[] = {L'a', L'b'};
    const char narrow[] = {'c', 'd'};
    EXPECT_EQ(Formatted(L"%.2s%.2hs", unended, narrow), L"abcd");
}

TEST(Logger, ShowsNullTexts) {
    EXPECT_EQ(Formatted(L"%s %hs", static_cast<const wchar_t*>(nullptr), static_cast<const char*>(nullptr)),
              L"(null) (null)");
}

TEST(Logger, FormatsIntegersOfAllLengths) {
    EXPECT_EQ(Formatted(L"%d %i %u %x %X %o", -1, 2, 3u, 0xABu, 0xABu, 8u), L"-1 2 3 ab AB 10");
    EXPECT_EQ(Formatted(L"%hhd %hd %hhu %hu", 0x1FF, 0x1FFFF, 0x1FF, 0x1FFFF), L"-1 -1 255 65535");
    EXPECT_EQ(Formatted(L"%ld %lu %lld %llu", -1L, 1UL, std::numeric_limits<long long>::min(),
                        std::numeric_limits<unsigned long long>::max()),
              L"-1 1 -9223372036854775808 18446744073709551615");
    EXPECT_EQ(Formatted(L"%zu %zd %td %jd %ju", std::size_t{5'000'000'000}, std::ptrdiff_t{-5}, std::ptrdiff_t{-6},
                        std::intmax_t{-7}, std::uintmax_t{8}),
              L"5000000000 -5 -6 -7 8");
    EXPECT_EQ(Formatted(L"%5d|%-5d|%05d|%+d|% d|%#x|%.3d|%*d|%-*d|%*d|", 42, 42, 42, 42, 42, 42u, 7, 4, 1, 4, 2, -4, 3),
              L"   42|42   |00042|+42| 42|0x2a|007|   1|2   |3   |");
}

TEST(Logger, FormatsFractions) {
    EXPECT_EQ(Formatted(L"%.2f %e %g %5.1f|", 1.5, 1.5, 0.25, 2.25), L"1.50 1.500000e+00 0.25   2.2|");
    EXPECT_EQ(Formatted(L"%.1Lf %d", static_cast<long double>(2.5), 3), L"2.5 3");
}

TEST(Logger, FormatsPercentSigns) { EXPECT_EQ(Formatted(L"100%% of %d%%", 5), L"100% of 5%"); }

TEST(Logger, StopsAtConversionsThatItDoesNotKnow) {
    EXPECT_EQ(Formatted(L"%d %y %d", 1, 2), L"1 %y %d");
    EXPECT_EQ(Formatted(L"end %"), L"end %");
    EXPECT_EQ(Formatted(L"end %-08.3ll"), L"end %-08.3ll");
}

TEST(Logger, NeverWritesThroughItsArguments) {
    int target = 77;
    EXPECT_EQ(Formatted(L"ab%ncd %d", &target, 5), L"abcd 5");
    EXPECT_EQ(target, 77);
}

TEST(Logger, FormatsTextsOfAnyLength) {
    const std::wstring longText(300'000, L'x');
    EXPECT_EQ(Formatted(L"<%s>", longText.c_str()), L"<" + longText + L">");
    EXPECT_EQ(Formatted(L"%100000d", 1).size(), 100'000u);
}

TEST(Logger, DropsWhatTheSinkThrows) {
    const Logger::Sink former = g_Logger.SetSink([](int, const ZString&) { throw std::bad_alloc(); });
    EXPECT_NO_THROW(g_Logger.Send(4, L"text"));
    g_Logger.SetSink([](int, const ZString&) { throw 42; });
    EXPECT_NO_THROW(g_Logger.SendVA(4, L"%d", 1));
    g_Logger.SetSink(former);
}

TEST(Logger, GivesBackTheFormerSink) {
    int first = 0, second = 0;
    Logger logger;
    EXPECT_FALSE(logger.SetSink([&](int, const ZString&) { ++first; }));
    const Logger::Sink former = logger.SetSink([&](int, const ZString&) { ++second; });
    logger.Send(1, L"x");
    logger.SetSink(former);
    logger.Send(1, L"x");
    logger.Send(1, L"x");
    EXPECT_EQ(first, 2);
    EXPECT_EQ(second, 1);
}

TEST(Logger, WritesLinesInUtf8ToStandardErrorWithoutASink) {
    Logger logger;
    testing::internal::CaptureStderr();
    logger.Send(3, L"gr\u00FC\u00DFe");
    logger.SendVA(3, L"%s", L"\U0001F600");
    std::string written = testing::internal::GetCapturedStderr();
    std::erase(written, '\r');  // Windows' own line ends
    EXPECT_EQ(written,
              "gr\xC3\xBC\xC3\x9F"
              "e\n\xF0\x9F\x98\x80\n");
}

/// Logs before main() and after it, when a static object of another module may well be gone already.
struct LogsAtBothEnds {
    LogsAtBothEnds() { Log(); }
    ~LogsAtBothEnds() { Log(); }
    void Log() const {
        const test::LogCapture log;
        g_Logger.SendVA(1, L"%s", L"static");
        count += log.Lines().size();
    }
    static inline std::size_t count = 0;
};
const LogsAtBothEnds logsAtBothEnds;

TEST(Logger, WorksBeforeMain) { EXPECT_EQ(LogsAtBothEnds::count, 1u); }

}  // namespace
}  // namespace shr
