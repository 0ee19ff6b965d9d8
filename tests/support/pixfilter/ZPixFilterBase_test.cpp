#include "zpixf/ZPixFilterBase.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <stdexcept>

#include "zpixf/ZPixfNull.h"

namespace zpixf {
namespace {

/// A picture of `kHeight` lines; line y holds the byte y.
struct Source {
    static constexpr unsigned kWidth = 4, kHeight = 3;
    unsigned failingLine = ~0u;
    unsigned pulls = 0;

    static bool Read(void* userData, unsigned line, void* buffer) {
        auto& source = *static_cast<Source*>(userData);
        ++source.pulls;
        if (line == source.failingLine) return false;
        std::memset(buffer, static_cast<int>(line), 4 * kWidth);
        return true;
    }
};

const ZPixFormat kFormat(Source::kWidth, Source::kHeight, 4, 8);

void Connect(ZPixFilterBase& filter, Source& source) {
    filter.SetInputFormat(kFormat);
    filter.SetOutputFormat(kFormat);
    filter.SetScanLineFunction(&Source::Read, &source);
}

TEST(ZPixfNull, HandsEveryLineThrough) {
    Source source;
    ZPixfNull filter;
    Connect(filter, source);
    ASSERT_TRUE(filter.Start());
    unsigned char row[4 * Source::kWidth];
    for (unsigned y = 0; y < Source::kHeight; ++y) {
        ASSERT_TRUE(filter.FilterScanline(y, row));
        EXPECT_EQ(row[0], y);
        EXPECT_EQ(row[sizeof row - 1], y);
    }
    EXPECT_EQ(source.pulls, Source::kHeight);
    EXPECT_EQ(filter.FilterType(), ZPixfType::Null);
}

TEST(ZPixfNull, RefusesFormatsThatDiffer) {
    Source source;
    ZPixfNull filter;
    Connect(filter, source);
    filter.SetOutputFormat(ZPixFormat(Source::kWidth + 1, Source::kHeight, 4, 8));
    EXPECT_FALSE(filter.Start());
    EXPECT_EQ(filter.GetErrorFile(), "ZPixfNull");
    EXPECT_FALSE(filter.GetErrorDescription().IsEmpty());
}

TEST(ZPixFilterBase, ReportsALineAskedForBeforeStart) {
    Source source;
    ZPixfNull filter;
    Connect(filter, source);
    unsigned char row[4 * Source::kWidth];
    EXPECT_FALSE(filter.FilterScanline(0, row));
    EXPECT_EQ(filter.GetErrorModule(), L"ZPixFilteru");
    EXPECT_GT(filter.GetErrorLine(), 0);
    EXPECT_EQ(source.pulls, 0u);
}

TEST(ZPixFilterBase, KeepsTheReasonOfAFailedStart) {
    ZPixfNull filter;
    filter.SetInputFormat(kFormat);
    filter.SetOutputFormat(kFormat);
    EXPECT_FALSE(filter.Start());
    const shr::ZString reason = filter.GetErrorDescription();
    unsigned char row[4 * Source::kWidth];
    EXPECT_FALSE(filter.FilterScanline(0, row));
    EXPECT_EQ(filter.GetErrorDescription(), reason);
    EXPECT_FALSE(reason.IsEmpty());
}

TEST(ZPixFilterBase, AnswersForALinePastTheEndWithAnError) {
    Source source;
    ZPixfNull filter;
    Connect(filter, source);
    ASSERT_TRUE(filter.Start());
    unsigned char row[4 * Source::kWidth];
    EXPECT_FALSE(filter.FilterScanline(Source::kHeight, row));
    EXPECT_EQ(source.pulls, 0u);
}

TEST(ZPixFilterBase, ReportsASourceThatFailsAndGoesOnAfterARewind) {
    Source source;
    source.failingLine = 1;
    ZPixfNull filter;
    Connect(filter, source);
    ASSERT_TRUE(filter.Start());
    unsigned char row[4 * Source::kWidth];
    EXPECT_TRUE(filter.FilterScanline(0, row));
    EXPECT_FALSE(filter.FilterScanline(1, row));
    EXPECT_FALSE(filter.GetErrorDescription().IsEmpty());
    source.failingLine = ~0u;
    EXPECT_TRUE(filter.FilterScanline(0, row));
    EXPECT_TRUE(filter.FilterScanline(1, row));
}

TEST(ZPixFilterBase, StopIsHarmlessAtAnyTimeAndStartBeginsAgain) {
    Source source;
    ZPixfNull filter;
    filter.Stop();
    Connect(filter, source);
    ASSERT_TRUE(filter.Start());
    filter.Stop();
    filter.Stop();
    unsigned char row[4 * Source::kWidth];
    EXPECT_FALSE(filter.FilterScanline(0, row));
    ASSERT_TRUE(filter.Start());
    EXPECT_TRUE(filter.GetErrorDescription().IsEmpty());
    EXPECT_TRUE(filter.FilterScanline(0, row));
}

TEST(ZPixFilterBase, MemoryThatRunsOutInStartIsAFailureNotAnException) {
    class Greedy : public ZPixfNull {
    protected:
        bool OnStart() override { throw std::bad_alloc(); }
    };
    Source source;
    Greedy filter;
    Connect(filter, source);
    EXPECT_FALSE(filter.Start());
    EXPECT_FALSE(filter.IsStarted());
    EXPECT_FALSE(filter.GetErrorDescription().IsEmpty());
}

TEST(ZPixFilterBase, AStartThatFailsInAnyWayHoldsNothing) {
    /// Makes something, and then fails as it is told to.
    class Failing : public ZPixfNull {
    public:
        void Stop() override {
            holds = false;
            ZPixfNull::Stop();
        }
        bool (*fail)() = nullptr;
        bool holds = false;

    protected:
        bool OnStart() override {
            holds = true;
            return fail();
        }
    };
    Source source;
    Failing filter;
    Connect(filter, source);
    filter.fail = [] { return false; };
    EXPECT_FALSE(filter.Start());
    EXPECT_FALSE(filter.holds) << "after a refusal";
    filter.fail = []() -> bool { throw std::bad_alloc(); };
    EXPECT_FALSE(filter.Start());
    EXPECT_FALSE(filter.holds) << "after a want of memory";
    filter.fail = []() -> bool { throw std::runtime_error("the source's"); };
    EXPECT_THROW(filter.Start(), std::runtime_error);
    EXPECT_FALSE(filter.holds) << "after an exception of the source";
}

TEST(ZPixFilterBase, TakesFormatsThatAreSetWhileItIsStartedWhenItStops) {
    Source source;
    ZPixfNull filter;
    unsigned char row[4 * Source::kWidth];
    Connect(filter, source);
    ASSERT_TRUE(filter.Start());
    const ZPixFormat taller(Source::kWidth, Source::kHeight + 5, 4, 8);
    filter.SetInputFormat(taller);
    filter.SetOutputFormat(taller);
    EXPECT_EQ(filter.GetOutputFormat().GetHeight(), Source::kHeight);
    EXPECT_FALSE(filter.FilterScanline(Source::kHeight + 2, row));
    EXPECT_TRUE(filter.FilterScanline(0, row));
    filter.Stop();
    EXPECT_EQ(filter.GetInputFormat().GetHeight(), Source::kHeight + 5);
    EXPECT_EQ(filter.GetOutputFormat().GetHeight(), Source::kHeight + 5);
}

TEST(ZPixFilterBase, APictureWithoutLinesStartsAndHasNone) {
    Source source;
    ZPixfNull filter;
    Connect(filter, source);
    filter.SetInputFormat(ZPixFormat(0, 0, 4, 8));
    filter.SetOutputFormat(ZPixFormat(0, 0, 4, 8));
    ASSERT_TRUE(filter.Start());
    EXPECT_FALSE(filter.FilterScanline(0, nullptr));
}

}  // namespace
}  // namespace zpixf
