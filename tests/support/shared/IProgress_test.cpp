#include "shr/IProgress.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "shr/Exception.h"
#include "support/shared/LogCapture.h"

namespace shr {
namespace {

class RecordingProgress : public IProgress {
public:
    void StartTask(const ZString& text, int steps, int parentSteps) override {
        calls.push_back("start " + text.ToUtf8() + " " + std::to_string(steps) + " " + std::to_string(parentSteps));
    }
    void EndTask() override { calls.push_back("end"); }
    void SetProgress(double fraction) override { calls.push_back("progress " + std::to_string(fraction)); }

    std::vector<std::string> calls;
};

class ThrowingProgress : public RecordingProgress {
public:
    explicit ThrowingProgress(bool aborts) : cancels(aborts) {}
    void EndTask() override {
        if (cancels) throw AbortException();
        throw 42;
    }

private:
    bool cancels;
};

class RefusingProgress : public RecordingProgress {
public:
    void StartTask(const ZString&, int, int) override { throw AbortException(); }
};

TEST(CScopedIProgressTask, StartsAndEndsATaskOfOneStep) {
    RecordingProgress progress;
    {
        const CScopedIProgressTask task(&progress, L"Loading image...");
        progress.SetProgress(0.5);
    }
    EXPECT_EQ(progress.calls, (std::vector<std::string>{"start Loading image... 1 1", "progress 0.500000", "end"}));
}

TEST(CScopedIProgressTask, Nests) {
    RecordingProgress progress;
    {
        const CScopedIProgressTask outer(&progress, L"a");
        const CScopedIProgressTask inner(&progress, L"b");
    }
    EXPECT_EQ(progress.calls, (std::vector<std::string>{"start a 1 1", "start b 1 1", "end", "end"}));
}

TEST(CScopedIProgressTask, DoesNothingWithoutAProgress) {
    const test::LogCapture log;
    EXPECT_NO_THROW(CScopedIProgressTask(nullptr, L"task"));
    EXPECT_TRUE(log.Lines().empty());
}

TEST(CScopedIProgressTask, LogsOneLineForWhateverTheEndOfTheTaskThrows) {
    for (const bool cancels : {false, true}) {
        ThrowingProgress progress(cancels);
        const test::LogCapture log;
        EXPECT_NO_THROW(CScopedIProgressTask(&progress, L"task"));
        ASSERT_EQ(log.Lines().size(), 1u);
        EXPECT_EQ(log.Lines()[0].level, 4);
        EXPECT_EQ(log.Lines()[0].text,
                  L"Unknown exception caught by CScopedIProgressTask dtor\nModule Shared, File IProgress, Line 108");
    }
}

TEST(CScopedIProgressTask, EndsNoTaskThatCouldNotStart) {
    RefusingProgress progress;
    EXPECT_THROW(CScopedIProgressTask(&progress, L"task"), AbortException);
    EXPECT_TRUE(progress.calls.empty());
}

TEST(CScopedIProgressTask, EndsItsTaskWhenAnExceptionLeavesTheScope) {
    ThrowingProgress progress(true);
    const test::LogCapture log;
    try {
        const CScopedIProgressTask task(&progress, L"task");
        throw std::runtime_error("the one that passes on");
    } catch (const std::runtime_error& error) { EXPECT_STREQ(error.what(), "the one that passes on"); }
    EXPECT_EQ(log.Lines().size(), 1u);
}

}  // namespace
}  // namespace shr
