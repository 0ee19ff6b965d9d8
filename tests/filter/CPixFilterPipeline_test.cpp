#include "zbm/CPixFilterPipeline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "core/checks/PixFilterPipelineChecks.h"
#include "support_code/ExpectError.h"
#include "support_code/TestProgress.h"
#include "zbm/ZBasicMemBitmap.h"

namespace zbm {
namespace {

using testkit::RaisesInternalError;
using testkit::TestProgress;
using zpixf::ZPixfType;

constexpr unsigned kWidth = 19, kHeight = 5;

/// What the stages under test did, in order.
using Journal = std::vector<std::string>;

/// The pipeline of the test that runs. It must not outlive its filters, which are the test's own.
CPixFilterPipeline* pipelineOfTest = nullptr;

/// A filter that hands its lines through, says what it does, and fails where it is told to.
class StubFilter : public zpixf::ZPixFilterBase {
public:
    explicit StubFilter(ZPixfType newType, Journal* newJournal = nullptr, std::string newName = "")
        : type(newType), journal(newJournal), name(std::move(newName)) {
        SetInputFormat(zpixf::ZPixFormat(kWidth, kHeight));
        SetOutputFormat(zpixf::ZPixFormat(kWidth, kHeight));
    }
    ~StubFilter() override {
        if (pipelineOfTest != nullptr) pipelineOfTest->Destroy();
    }
    ZPixfType FilterType() const override { return type; }
    bool FilterScanline(unsigned line, void* buffer) override {
        Note("line " + std::to_string(line));
        if (line == failingLine) return !isSilent && Fail("StubFilter", 77, L"The stub fails.");
        if (!PullLine(line, buffer)) return false;
        if (onLine) onLine(static_cast<unsigned char*>(buffer));
        return true;
    }
    void Stop() override {
        if (IsStarted()) Note("stop");
        ZPixFilterBase::Stop();
    }

    std::function<bool()> onStart;
    std::function<void(unsigned char*)> onLine;
    unsigned failingLine = ~0u;
    bool isSilent = false;
    using ZPixFilterBase::Fail;
    using ZPixFilterBase::PullLine;

protected:
    bool OnStart() override {
        Note("start");
        return !onStart || onStart();
    }

private:
    void Note(const std::string& what) {
        if (journal != nullptr) journal->push_back(name + what);
    }

    ZPixfType type;
    Journal* journal;
    std::string name;
};

bool GiveNothing(void*, unsigned, void*) { return true; }
bool Refuse(void*, unsigned, void*) { return false; }

/// Pixel x of line y is (x, y, 7, 200).
bool GivePattern(void*, unsigned line, void* buffer) {
    auto* pixels = static_cast<unsigned char*>(buffer);
    for (unsigned x = 0; x < kWidth; ++x) {
        const unsigned char pixel[] = {static_cast<unsigned char>(x), static_cast<unsigned char>(line), 7, 200};
        std::memcpy(pixels + 4 * x, pixel, 4);
    }
    return true;
}

class Pipeline : public testing::Test {
protected:
    Pipeline() { pipelineOfTest = &pipeline; }
    ~Pipeline() override { pipelineOfTest = nullptr; }
    bool Add(zpixf::ZPixFilterBase& filter, zpixf::ScanLineFunction function = &GivePattern) {
        return pipeline.AddPixFilter(CPixFilterContext(&filter, function, &bitmap));
    }
    std::vector<unsigned char> Line(int y) {
        std::vector<unsigned char> line(4 * kWidth);
        pipeline.FilterScanline(line.data(), y);
        return line;
    }

    ZBasicMemBitmap bitmap{1, 1, shr::BGRA_32};
    CPixFilterPipeline pipeline;
};

// --- stages

TEST_F(Pipeline, AStageNeedsAFilterAFunctionAndABitmap) {
    StubFilter filter(ZPixfType::Null);
    EXPECT_TRUE(
        RaisesInternalError([&] { CPixFilterContext(nullptr, nullptr, nullptr); }, PixFilterPipelineCheck::filter));
    EXPECT_TRUE(
        RaisesInternalError([&] { CPixFilterContext(&filter, nullptr, nullptr); }, PixFilterPipelineCheck::function));
    EXPECT_TRUE(RaisesInternalError([&] { CPixFilterContext(&filter, &GiveNothing, nullptr); },
                                    PixFilterPipelineCheck::bitmap));
}

TEST_F(Pipeline, TheTypeOfAFilterDecidesWhatAStageDoesWithAlpha) {
    for (int type = -1; type <= 30; ++type) {
        StubFilter filter(static_cast<ZPixfType>(type));
        const auto make = [&] { return CPixFilterContext(&filter, &GiveNothing, &bitmap); };
        const bool known = (type >= 1 && type <= 17 && type != 14) || type == 22;
        if (!known) {
            EXPECT_TRUE(RaisesInternalError([&] { make(); }, PixFilterPipelineCheck::filterType)) << type;
            continue;
        }
        const bool moves = type == 6 || type == 7 || type == 16;
        EXPECT_EQ(make().usesInputAlpha, moves) << type;
        EXPECT_EQ(make().changesAlpha, moves || type == 13) << type;
    }
}

TEST_F(Pipeline, AStageTakesTheWidthsThatTheFilterHasWhenItIsMade) {
    StubFilter filter(ZPixfType::Resize);
    filter.SetInputFormat(zpixf::ZPixFormat(11, 5));
    filter.SetOutputFormat(zpixf::ZPixFormat(22, 5));
    const CPixFilterContext stage(&filter, &GiveNothing, &bitmap);
    filter.SetInputFormat(zpixf::ZPixFormat(1, 1));
    filter.SetOutputFormat(zpixf::ZPixFormat(1, 1));
    EXPECT_EQ(stage.inputWidth, 11u);
    EXPECT_EQ(stage.outputWidth, 22u);
}

TEST_F(Pipeline, ADefaultStageIsEmptyAndCopiesAreByValue) {
    CPixFilterContext stage;
    EXPECT_EQ(stage.filter, nullptr);
    EXPECT_EQ(stage.scanLineFunction, nullptr);
    EXPECT_EQ(stage.bitmap, nullptr);
    EXPECT_EQ(stage.inputWidth, 0u);
    EXPECT_EQ(stage.outputWidth, 0u);
    EXPECT_FALSE(stage.usesInputAlpha || stage.changesAlpha || stage.maskSupplied);
    EXPECT_TRUE(stage.maskRow.empty());
    stage.maskRow = {1, 2};
    stage.maskSupplied = true;
    const CPixFilterContext copy = stage;
    stage.maskRow[0] = 9;
    EXPECT_EQ(copy.maskRow, (std::vector<std::uint8_t>{1, 2}));
    EXPECT_TRUE(copy.maskSupplied);
}

/// Whether each lies behind the one before, and none before the object itself.
testing::AssertionResult StandInOrder(const void* object, std::initializer_list<const void*> fields) {
    const void* last = nullptr;
    for (const void* field : fields) {
        if (last == nullptr && field != object) return testing::AssertionFailure() << "the first is not at the start";
        if (last != nullptr && !std::less<>()(last, field)) return testing::AssertionFailure() << "they do not";
        last = field;
    }
    return testing::AssertionSuccess();
}

TEST_F(Pipeline, FieldsStandInTheirOrder) {
    const CPixFilterContext stage;
    EXPECT_TRUE(StandInOrder(
        &stage, {&stage.filter, &stage.inputWidth, &stage.outputWidth, &stage.scanLineFunction, &stage.bitmap,
                 &stage.usesInputAlpha, &stage.changesAlpha, &stage.maskRow, &stage.maskSupplied}));
    EXPECT_TRUE(StandInOrder(
        &pipeline, {&pipeline.cookies, &pipeline.stages, &pipeline.numStages, &pipeline.alphaStage,
                    &pipeline.collectAlphaChanges, &pipeline.changedAlpha, &pipeline.progress, &pipeline.cancelled,
                    &pipeline.progressFirstLine, &pipeline.progressLastLine, &pipeline.reportingStart}));
    EXPECT_EQ(std::size(pipeline.stages), 16u);
    EXPECT_EQ(std::size(pipeline.cookies), 16u);
}

// --- adding

TEST_F(Pipeline, IsNeitherCopiedNorMoved) {
    static_assert(!std::is_copy_constructible_v<CPixFilterPipeline>);
    static_assert(!std::is_move_constructible_v<CPixFilterPipeline>);
    static_assert(!std::is_copy_assignable_v<CPixFilterPipeline>);
}

TEST_F(Pipeline, BeginsEmptyAndCollectsNoAlpha) {
    EXPECT_EQ(pipeline.numStages, 0u);
    EXPECT_EQ(pipeline.alphaStage, 0xFFFFFFFFu);
    EXPECT_FALSE(pipeline.collectAlphaChanges || pipeline.cancelled || pipeline.reportingStart);
    EXPECT_TRUE(pipeline.changedAlpha.empty());
    EXPECT_EQ(pipeline.progress, nullptr);
    EXPECT_EQ(pipeline.progressFirstLine, 0u);
    EXPECT_EQ(pipeline.progressLastLine, 0u);
}

TEST_F(Pipeline, TakesSixteenStages) {
    std::vector<std::unique_ptr<StubFilter>> filters;
    for (int i = 0; i < 17; ++i) filters.push_back(std::make_unique<StubFilter>(ZPixfType::Brightness));
    for (int i = 0; i < 16; ++i) ASSERT_TRUE(Add(*filters[static_cast<std::size_t>(i)]));
    EXPECT_TRUE(RaisesInternalError([&] { Add(*filters[16]); }, PixFilterPipelineCheck::stages));
    EXPECT_EQ(pipeline.numStages, 16u);
    EXPECT_EQ(Line(3)[4 * 2 + 1], 3);
}

TEST_F(Pipeline, AStageStandsInThePipelineWhenItsFilterStarts) {
    StubFilter first(ZPixfType::Brightness), second(ZPixfType::Null);
    bool checked = false;
    second.onStart = [&] {
        EXPECT_EQ(pipeline.numStages, 2u);
        EXPECT_EQ(pipeline.stages[1].filter, &second);
        EXPECT_EQ(pipeline.cookies[1].pipeline, &pipeline);
        EXPECT_EQ(pipeline.cookies[1].stage, 1u);
        EXPECT_EQ(pipeline.alphaStage, 1u);
        EXPECT_TRUE(pipeline.reportingStart);
        EXPECT_FALSE(pipeline.cancelled);
        unsigned char line[4 * kWidth];
        EXPECT_TRUE(second.PullLine(4, line)) << "its lines come through the pipeline already";
        EXPECT_EQ(line[4 * 3], 3);
        EXPECT_EQ(line[4 * 3 + 1], 4);
        return checked = true;
    };
    ASSERT_TRUE(Add(first));
    pipeline.cancelled = true;
    ASSERT_TRUE(Add(second));
    EXPECT_TRUE(checked);
    EXPECT_FALSE(pipeline.reportingStart);
}

TEST_F(Pipeline, TheAlphaStageIsTheLastThatChangesAlpha) {
    StubFilter brightness(ZPixfType::Brightness), null(ZPixfType::Null), resize(ZPixfType::Resize),
        median(ZPixfType::Median);
    Add(brightness);
    EXPECT_EQ(pipeline.alphaStage, 0xFFFFFFFFu);
    Add(null);
    EXPECT_EQ(pipeline.alphaStage, 1u);
    Add(resize);
    EXPECT_EQ(pipeline.alphaStage, 2u);
    Add(median);
    EXPECT_EQ(pipeline.alphaStage, 2u);
}

constexpr const wchar_t* kShortMemory = L"Not enough memory.";

TEST_F(Pipeline, AFilterThatDoesNotStartAndGivesNoReasonIsToldAsShortMemory) {
    StubFilter filter(ZPixfType::Brightness);
    filter.onStart = [] { return false; };
    EXPECT_TRUE(testkit::RaisesNamedError([&] { Add(filter); }, kShortMemory, PixFilterPipelineCheck::filterStart));
    EXPECT_FALSE(pipeline.reportingStart);
}

TEST_F(Pipeline, AFilterThatLacksMemoryToStartIsToldAsShortMemory) {
    StubFilter filter(ZPixfType::Brightness);
    filter.onStart = []() -> bool { throw std::bad_alloc(); };
    EXPECT_TRUE(testkit::RaisesNamedError([&] { Add(filter); }, kShortMemory, PixFilterPipelineCheck::filterStart));
    EXPECT_TRUE(filter.LacksMemory());
}

TEST_F(Pipeline, AFilterThatRefusesToStartIsQuoted) {
    StubFilter filter(ZPixfType::Brightness);
    filter.onStart = [&] { return filter.Fail("StubFilter", 5, L"The stub refuses."); };
    EXPECT_TRUE(
        testkit::RaisesNamedError([&] { Add(filter); }, L"The stub refuses.", PixFilterPipelineCheck::filterStart));
    EXPECT_FALSE(filter.LacksMemory());
}

TEST_F(Pipeline, OfAStartThatFailsInAnEarlierStageThatStageIsQuoted) {
    StubFilter first(ZPixfType::Brightness), second(ZPixfType::Contrast);
    std::vector<unsigned char> line(4 * kWidth);
    second.onStart = [&] { return second.PullLine(0, line.data()); };
    Add(first);
    first.failingLine = 0;
    EXPECT_TRUE(
        testkit::RaisesNamedError([&] { Add(second); }, L"The stub fails.", PixFilterPipelineCheck::filterStart));
}

TEST_F(Pipeline, AStartThatIsCancelledGivesFalseAndTheStageStays) {
    for (const bool started : {true, false}) {
        StubFilter filter(ZPixfType::Brightness);
        filter.onStart = [&] {
            pipeline.cancelled = true;
            return started;
        };
        EXPECT_FALSE(Add(filter));
        EXPECT_EQ(pipeline.numStages, 1u);
        pipeline.Destroy();
    }
}

TEST_F(Pipeline, WhatAStartThrowsPassesOn) {
    StubFilter filter(ZPixfType::Brightness);
    filter.onStart = []() -> bool { throw shr::AbortException(); };
    EXPECT_THROW(Add(filter), shr::AbortException);
    EXPECT_FALSE(pipeline.reportingStart);
    EXPECT_FALSE(filter.IsStarted());
}

// --- lines

TEST_F(Pipeline, TheFirstStagePullsFromItsFunctionWithTheStageInThePipeline) {
    static const CPixFilterPipeline* expected;
    expected = &pipeline;
    StubFilter filter(ZPixfType::Brightness);
    const auto function = [](void* stage, unsigned line, void* buffer) {
        EXPECT_EQ(stage, &expected->stages[0]);
        EXPECT_EQ(static_cast<CPixFilterContext*>(stage)->maskRow.size(), 4u) << "room for a mask row of 19 pixels";
        return GivePattern(nullptr, line, buffer);
    };
    ASSERT_TRUE(Add(filter, function));
    const auto line = Line(2);
    EXPECT_EQ(line[4 * 18], 18);
    EXPECT_EQ(line[4 * 18 + 1], 2);
    EXPECT_EQ(line[4 * 18 + 3], 200);
}

TEST_F(Pipeline, AMaskThatTheFunctionSuppliesBecomesAlphaOfNoneOrFull) {
    StubFilter filter(ZPixfType::Null);
    const auto function = [](void* stage, unsigned line, void* buffer) {
        auto& context = *static_cast<CPixFilterContext*>(stage);
        const std::uint8_t mask[] = {0b10100101, 0b11000011, 0b01011111};
        std::copy_n(mask, 3, context.maskRow.begin());
        context.maskSupplied = line != 1;
        return GivePattern(nullptr, line, buffer);
    };
    ASSERT_TRUE(Add(filter, function));
    const int opaque[kWidth] = {1, 0, 1, 0, 0, 1, 0, 1, 1, 1, 0, 0, 0, 0, 1, 1, 0, 1, 0};
    const auto line = Line(0);
    for (unsigned x = 0; x < kWidth; ++x) {
        EXPECT_EQ(line[4 * x + 3], opaque[x] ? 0xFF : 0x00) << x;
        EXPECT_EQ(line[4 * x], x);
    }
    EXPECT_EQ(Line(1)[3], 200) << "without a mask alpha is what the line has";
}

TEST_F(Pipeline, ALaterStagePullsTheLineThatItWantsFromTheOneBefore) {
    Journal journal;
    StubFilter first(ZPixfType::Brightness, &journal, "first "), second(ZPixfType::Contrast, &journal, "second ");
    first.onLine = [](unsigned char* line) { line[2] = static_cast<unsigned char>(line[2] + 1); };
    second.onLine = [](unsigned char* line) { line[2] = static_cast<unsigned char>(line[2] * 10); };
    Add(first);
    Add(second, &Refuse);  // the function of a later stage is not used
    journal.clear();
    EXPECT_EQ(Line(3)[2], 80);
    EXPECT_EQ(journal, (Journal{"second line 3", "first line 3"}));
}

TEST_F(Pipeline, ASourceThatGivesNoLineMakesTheFilterFail) {
    StubFilter filter(ZPixfType::Brightness);
    Add(filter, &Refuse);
    EXPECT_THROW(Line(0), shr::Exception);
}

TEST_F(Pipeline, AFailingFilterIsToldInItsOwnWordsAfterThePipelineIsEmptied) {
    Journal journal;
    StubFilter first(ZPixfType::Brightness, &journal, "first "), second(ZPixfType::Contrast, &journal, "second ");
    Add(first);
    Add(second);
    second.failingLine = 2;
    Line(1);
    journal.clear();
    try {
        Line(2);
        FAIL() << "nothing is raised";
    } catch (const shr::Exception& error) {
        EXPECT_EQ(error.GetModule(), L"ZPixFilteru");
        EXPECT_EQ(error.GetSourceFile(), L"StubFilter");
        EXPECT_EQ(error.GetLine(), 77);
        EXPECT_EQ(error.GetMessageText(), L"The stub fails.");
        EXPECT_FALSE(error.IsReported());
    }
    EXPECT_EQ(journal, (Journal{"second line 2", "first stop", "second stop"}));
    EXPECT_EQ(pipeline.numStages, 0u);
}

TEST_F(Pipeline, OfALineThatFailsInAnEarlierStageThatStageIsQuoted) {
    StubFilter first(ZPixfType::Brightness), second(ZPixfType::Contrast);
    Add(first);
    Add(second);
    first.failingLine = 0;
    try {
        Line(0);
        FAIL() << "nothing is raised";
    } catch (const shr::Exception& error) { EXPECT_EQ(error.GetMessageText(), L"The stub fails."); }
}

TEST_F(Pipeline, WhatASourceThrowsPassesOnAndTheFiltersAreStoppedWithThePipeline) {
    StubFilter filter(ZPixfType::Brightness);
    {
        CPixFilterPipeline inner;
        EXPECT_TRUE(inner.AddPixFilter(CPixFilterContext(
            &filter, [](void*, unsigned, void*) -> bool { throw shr::AbortException(); }, &bitmap)));
        unsigned char line[4 * kWidth];
        EXPECT_THROW(inner.FilterScanline(line, 0), shr::AbortException);
        EXPECT_TRUE(filter.IsStarted());
    }
    EXPECT_FALSE(filter.IsStarted());
}

TEST_F(Pipeline, AnEmptyPipelineGivesNoLine) {
    EXPECT_TRUE(RaisesInternalError([&] { Line(0); }, PixFilterPipelineCheck::anyStage));
}

// --- alpha

/// Gives pixel x of each line the alpha 127 + x % 2.
void AlternateAlpha(unsigned char* line) {
    for (unsigned x = 0; x < kWidth; ++x) line[4 * x + 3] = static_cast<unsigned char>(127 + x % 2);
}

TEST_F(Pipeline, ASingleStageThatChangesAlphaHasItCapturedFromEveryLine) {
    StubFilter filter(ZPixfType::MakesAlpha);
    filter.onLine = &AlternateAlpha;
    pipeline.CollectAlphaChanges(true);
    Add(filter);
    for (int y = 0; y < static_cast<int>(kHeight); ++y) {
        std::fill(pipeline.changedAlpha.begin(), pipeline.changedAlpha.end(), std::uint8_t{0xFF});
        Line(y);
        ASSERT_EQ(pipeline.changedAlpha.size(), 4u);
        EXPECT_EQ(pipeline.changedAlpha[0], 0b01010101);
        EXPECT_EQ(pipeline.changedAlpha[1], 0b01010101);
        EXPECT_EQ(pipeline.changedAlpha[2] & 0b11100000, 0b01000000);
    }
    EXPECT_EQ(pipeline.changedAlpha[2] & 0b00011111, 0b00011111) << "bits beyond the width stay";
    EXPECT_EQ(pipeline.changedAlpha[3], 0xFF);
}

TEST_F(Pipeline, NoAlphaIsCapturedUnlessCollected) {
    StubFilter filter(ZPixfType::MakesAlpha);
    Add(filter);
    Line(0);
    EXPECT_TRUE(pipeline.changedAlpha.empty());
}

TEST_F(Pipeline, AlphaIsCapturedWhereTheNextStagePullsIt) {
    StubFilter first(ZPixfType::MakesAlpha), second(ZPixfType::QuantizeMedian5);
    first.onLine = &AlternateAlpha;
    second.onLine = [](unsigned char* line) { std::memset(line, 0, std::size_t{4} * kWidth); };
    pipeline.CollectAlphaChanges(true);
    Add(first);
    Add(second);
    Line(0);
    ASSERT_EQ(pipeline.changedAlpha.size(), 4u);
    EXPECT_EQ(pipeline.changedAlpha[0], 0b01010101);
}

TEST_F(Pipeline, TheLastStageOfALongerChainIsNeverCaptured) {
    StubFilter first(ZPixfType::Brightness), second(ZPixfType::MakesAlpha);
    second.onLine = &AlternateAlpha;
    pipeline.CollectAlphaChanges(true);
    Add(first);
    Add(second);
    Line(0);
    EXPECT_TRUE(pipeline.changedAlpha.empty());
}

TEST_F(Pipeline, CapturedAlphaOnlyGrows) {
    StubFilter filter(ZPixfType::MakesAlpha);
    pipeline.CollectAlphaChanges(true);
    pipeline.changedAlpha.assign(100, 0xAB);
    Add(filter);
    Line(0);
    EXPECT_EQ(pipeline.changedAlpha.size(), 100u);
    EXPECT_EQ(pipeline.changedAlpha[4], 0xAB);
}

TEST_F(Pipeline, DestroyStopsFromTheFirstOnAndFromThenOnAlphaIsCollected) {
    Journal journal;
    StubFilter first(ZPixfType::Null, &journal, "first "), second(ZPixfType::Brightness, &journal, "second ");
    pipeline.CollectAlphaChanges(true);
    Add(first);
    Add(second);
    Line(0);
    pipeline.CollectAlphaChanges(false);
    ASSERT_FALSE(pipeline.changedAlpha.empty());
    journal.clear();
    pipeline.Destroy();
    EXPECT_EQ(journal, (Journal{"first stop", "second stop"}));
    EXPECT_EQ(pipeline.numStages, 0u);
    EXPECT_EQ(pipeline.alphaStage, 0xFFFFFFFFu);
    EXPECT_TRUE(pipeline.collectAlphaChanges);
    EXPECT_TRUE(pipeline.changedAlpha.empty());
}

// --- progress while a stage starts

/// Pulls the lines 0 .. `lines` - 1 while it starts.
class PullingAtStart : public StubFilter {
public:
    explicit PullingAtStart(unsigned lines) : StubFilter(ZPixfType::QuantizeMedian5) {
        onStart = [this, lines] {
            unsigned char line[4 * kWidth];
            for (unsigned y = 0; y < lines; ++y)
                if (!PullLine(y, line)) return false;
            return true;
        };
    }
};

TEST_F(Pipeline, ReportsEveryHundredthLineAndTheLastWhileAStageStarts) {
    TestProgress progress;
    pipeline.progress = &progress;
    pipeline.progressLastLine = 249;
    PullingAtStart filter(250);
    Add(filter);
    EXPECT_EQ(progress.fractions, (std::vector<double>{0, 100 / 249.0, 200 / 249.0, 1}));
    Line(0);
    EXPECT_EQ(progress.fractions.size(), 4u) << "later pulls are no part of the start";
    EXPECT_TRUE(progress.tasks.empty());
}

TEST_F(Pipeline, ReportsFromTheFirstLineOfTheRange) {
    TestProgress progress;
    pipeline.progress = &progress;
    pipeline.progressFirstLine = 50;
    pipeline.progressLastLine = 150;
    PullingAtStart filter(151);
    Add(filter);
    // Lines before the range count backwards from it, without sign.
    EXPECT_EQ(progress.fractions, (std::vector<double>{0, 1}));
}

TEST_F(Pipeline, ReportsOnlyWhatTheLastStagePulls) {
    TestProgress progress;
    pipeline.progress = &progress;
    pipeline.progressLastLine = 3;
    StubFilter first(ZPixfType::Brightness);
    PullingAtStart second(4);
    Add(first);
    Add(second);
    EXPECT_EQ(progress.fractions, (std::vector<double>{0, 1}));
}

TEST_F(Pipeline, ARangeOfOneLineReportsNothing) {
    TestProgress progress;
    pipeline.progress = &progress;
    PullingAtStart filter(1);
    Add(filter);
    EXPECT_TRUE(progress.fractions.empty());
}

// --- formats

TEST(CPixFilterPipeline, RefusesAStageWithoutFilterAndOneThatTakesOtherWidths) {
    ZBasicMemBitmap bitmap(kWidth, kHeight, shr::BGRA_32);
    const auto noLine = [](void*, unsigned, void*) { return false; };
    StubFilter first(ZPixfType::Brightness), wider(ZPixfType::Brightness);
    wider.SetInputFormat(zpixf::ZPixFormat(kWidth + 1, kHeight));
    CPixFilterPipeline pipeline;
    EXPECT_TRUE(
        RaisesInternalError([&] { (void)pipeline.AddPixFilter(CPixFilterContext()); }, PixFilterPipelineCheck::filter));
    EXPECT_TRUE(pipeline.AddPixFilter(CPixFilterContext(&first, noLine, &bitmap)));
    EXPECT_TRUE(RaisesInternalError([&] { (void)pipeline.AddPixFilter(CPixFilterContext(&wider, noLine, &bitmap)); },
                                    PixFilterPipelineCheck::stageWidth));
    pipeline.Destroy();
}

TEST(CPixFilterPipeline, SaysThatAFilterFailedAlsoWhereThatGivesNoReason) {
    ZBasicMemBitmap bitmap(kWidth, kHeight, shr::BGRA_32);
    StubFilter silent(ZPixfType::Brightness);
    silent.isSilent = true;
    silent.failingLine = 0;
    CPixFilterPipeline pipeline;
    ASSERT_TRUE(pipeline.AddPixFilter(CPixFilterContext(
        &silent, [](void*, unsigned, void*) { return true; }, &bitmap)));
    std::vector<unsigned char> line(4 * kWidth);
    try {
        pipeline.FilterScanline(line.data(), 0);
        FAIL() << "no error";
    } catch (const shr::Exception& error) {
        EXPECT_EQ(error.GetMessageText(), L"A filter gave no line, and no reason.");
    }
}

TEST(InitPixFormat, DescribesTheLinesOfEachColorFormat) {
    struct Row {
        int format;
        unsigned channels, bits;
    };
    constexpr Row kRows[] = {{1, 1, 1},  {2, 1, 4}, {3, 1, 8},  {4, 1, 16}, {5, 1, 32}, {6, 1, 1},
                             {7, 1, 4},  {8, 1, 8}, {9, 3, 8},  {10, 4, 8}, {11, 4, 8}, {12, 4, 8},
                             {13, 4, 8}, {0, 4, 8}, {14, 4, 8}, {-1, 4, 8}};
    for (const auto& [colorFormat, channels, bits] : kRows) {
        zpixf::ZPixFormat format(1, 1, 2, 2, 5);
        InitPixFormat(format, 640, 480, static_cast<shr::ColorFormat>(colorFormat), nullptr, 3);
        EXPECT_EQ(format.GetWidth(), 640u);
        EXPECT_EQ(format.GetHeight(), 480u);
        EXPECT_EQ(format.GetChannels(), channels) << colorFormat;
        EXPECT_EQ(format.GetBitsPerChannel(), bits) << colorFormat;
        EXPECT_EQ(format.GetNumColors(), 0u);
    }
}

TEST(InitPixFormat, TakesATableThatHasColors) {
    const shr::Color4b table[] = {{1, 2, 3, 4}, {5, 6, 7, 8}};
    zpixf::ZPixFormat format;
    InitPixFormat(format, 1, 1, shr::INDEXED_8, table, 2);
    ASSERT_EQ(format.GetNumColors(), 2u);
    EXPECT_EQ(format.GetColors()[1].rgbRed, 5);
    EXPECT_EQ(format.GetColors()[1].rgbGreen, 6);
    EXPECT_EQ(format.GetColors()[1].rgbBlue, 7);
    EXPECT_EQ(format.GetColors()[1].rgbReserved, 0);
    InitPixFormat(format, 1, 1, shr::INDEXED_8, table, 0);
    EXPECT_EQ(format.GetNumColors(), 0u);
}

}  // namespace
}  // namespace zbm
