#include "zbm/ZBMLib2.h"

#include <gtest/gtest.h>

#include <limits>
#include <type_traits>
#include <vector>

#include "shr/Logger.h"
#include "support_code/ExpectError.h"
#include "support_code/TestProgress.h"

namespace {

using testkit::TestProgress;
using zbm::SRProgress;

TEST(ModuleName, IsTheLibrarysNameInOneLastingString) {
    EXPECT_EQ(zbm::ModuleName(), L"ZBMLib2");
    EXPECT_EQ(&zbm::ModuleName(), &zbm::ModuleName());
    static_assert(std::is_same_v<decltype(zbm::ModuleName()), const shr::ZString&>);
}

struct NamedError {
    const char* name;
    void (*raise)(const shr::ZString& module, const shr::ZString& sourceFile, int line);
    const wchar_t* text;
};

class NamedErrors : public testing::TestWithParam<NamedError> {};

TEST_P(NamedErrors, AreExceptionsOfTheGivenPlaceWithTheirOwnText) {
    try {
        GetParam().raise(L"a module", L"a file", 4711);
        FAIL() << "raises nothing";
    } catch (const shr::Exception& error) {
        EXPECT_EQ(typeid(error), typeid(shr::Exception));
        EXPECT_EQ(error.GetModule(), L"a module");
        EXPECT_EQ(error.GetSourceFile(), L"a file");
        EXPECT_EQ(error.GetLine(), 4711);
        EXPECT_EQ(error.GetMessageText(), GetParam().text);
        EXPECT_FALSE(error.IsReported());
    }
}

TEST_P(NamedErrors, AreNoInternalErrors) {
    try {
        GetParam().raise(L"a module", L"a file", 1);
    } catch (const shr::InternalError&) { FAIL() << "an internal error"; } catch (const shr::Exception&) {
        SUCCEED();
    }
}

INSTANTIATE_TEST_SUITE_P(All, NamedErrors,
                         testing::Values(NamedError{"ReadArchive", zbm::Throw_ERR_ZBM_READ_ARCHIVE,
                                                    L"Error loading bitmap from external storage."},
                                         NamedError{"WriteArchive", zbm::Throw_ERR_ZBM_WRITE_ARCHIVE,
                                                    L"Error saving bitmap to external storage."},
                                         NamedError{"UnsupportedDibFormat", zbm::Throw_ERR_ZBM_UNSUPPORTED_DIB_FORMAT,
                                                    L"Unsupported DIB format."}),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(SRProgress, WithoutTargetIsTrueWhateverTheNumbers) {
    EXPECT_TRUE(SRProgress(nullptr, 0, 0, 1, 1));
    EXPECT_TRUE(SRProgress(nullptr, 1, 2, 0, 0));
}

TEST(SRProgress, ReportsTheShareOfTilesThatAreDone) {
    TestProgress progress;
    for (int row = 0; row < 2; ++row)
        for (int col = 0; col < 3; ++col) EXPECT_TRUE(SRProgress(&progress, row, col, 2, 3));
    EXPECT_EQ(progress.fractions, (std::vector<double>{1 / 6.0, 2 / 6.0, 3 / 6.0, 4 / 6.0, 5 / 6.0, 6 / 6.0}));
}

TEST(SRProgress, ReachesExactlyOneAfterTheLastTile) {
    for (int rows = 1; rows < 40; ++rows)
        for (int cols = 1; cols < 40; ++cols) {
            TestProgress progress;
            EXPECT_TRUE(SRProgress(&progress, rows - 1, cols - 1, rows, cols));
            ASSERT_EQ(progress.fractions, std::vector<double>{1.0}) << rows << " x " << cols;
        }
}

TEST(SRProgress, ReportsBeyondOneForAColumnPastTheEnd) {
    TestProgress progress;
    EXPECT_TRUE(SRProgress(&progress, 1, 2, 2, 2));
    EXPECT_EQ(progress.fractions, std::vector<double>{5 / 4.0});
}

TEST(SRProgress, OfAGridWithoutTilesReportsANumber) {
    TestProgress progress;
    EXPECT_TRUE(SRProgress(&progress, 0, 0, 2, 0));
    ASSERT_EQ(progress.fractions.size(), 1u);
    EXPECT_TRUE(progress.fractions[0] >= 0 && progress.fractions[0] <= 1);
}

TEST(SRProgress, IsFalseWhenTheTargetCancels) {
    TestProgress progress(2);
    EXPECT_TRUE(SRProgress(&progress, 0, 0, 1, 3));
    EXPECT_FALSE(SRProgress(&progress, 0, 1, 1, 3));
}

class FailingProgress : public shr::IProgress {
public:
    void StartTask(const shr::ZString&, int, int) override {}
    void EndTask() override { throw std::runtime_error("the end fails"); }
    void SetProgress(double) override { throw std::domain_error("the report fails"); }
};

TEST(SRProgress, PassesOnWhatElseTheTargetThrows) {
    FailingProgress progress;
    EXPECT_THROW(static_cast<void>(SRProgress(&progress, 0, 0, 1, 1)), std::domain_error);
}

TEST(ScopedProgressTask, WithoutTargetDoesNothing) { EXPECT_NO_THROW(shr::CScopedIProgressTask(nullptr, L"a task")); }

TEST(ScopedProgressTask, LastsAsLongAsItsScope) {
    TestProgress progress;
    {
        const shr::CScopedIProgressTask task(&progress, L"Creating image...");
        ASSERT_EQ(progress.tasks.size(), 1u);
        EXPECT_EQ(progress.tasks[0].text, L"Creating image...");
        EXPECT_EQ(progress.tasks[0].steps, 1);
        EXPECT_EQ(progress.tasks[0].parentSteps, 1);
        EXPECT_EQ(progress.openTasks, 1);
    }
    EXPECT_EQ(progress.tasks.size(), 1u);
    EXPECT_EQ(progress.openTasks, 0);
}

TEST(ScopedProgressTask, LogsOneLineInsteadOfThrowingAtItsEnd) {
    struct Line {
        int level;
        shr::ZString text;
    };
    std::vector<Line> lines;
    auto before = shr::g_Logger.SetSink([&](int level, const shr::ZString& text) { lines.push_back({level, text}); });
    FailingProgress progress;
    EXPECT_NO_THROW(shr::CScopedIProgressTask(&progress, L"a task"));
    shr::g_Logger.SetSink(before);

    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].level, 4);
    EXPECT_EQ(lines[0].text.ToUtf8(),
              "Unknown exception caught by CScopedIProgressTask dtor\nModule Shared, File IProgress, Line 108");
}

TEST(SRProgress, CountsMoreTilesThan32BitsHold) {
    TestProgress progress;
    EXPECT_TRUE(SRProgress(&progress, 49999, 24999, 50000, 50000));
    EXPECT_TRUE(SRProgress(&progress, 49999, 49999, 50000, 50000));
    EXPECT_EQ(progress.fractions, (std::vector<double>{(50000.0 * 50000 - 25000) / (50000.0 * 50000), 1.0}));
}

}  // namespace
