#include "zbm/RunFilters.h"

#include <algorithm>

#include "core/DummyBitmap.h"
#include "core/TileReading.h"
#include "core/checks/RunFiltersChecks.h"
#include "filter/FilterRun.h"
#include "filter/TileRows.h"

namespace zbm {

namespace {

constexpr FilterFamily kFamily{
    .firstRow = RunFiltersCheck::firstInputRow,
    .inputRow = RunFiltersCheck::inputRow,
    .outputRow = RunFiltersCheck::outputRow,
    .quantizer = zpixf::ZPixfType::QuantizeMedian5,
};

/// Holds the state of the run in place of the bitmap, which knows of none.
class Runner final : public ZDummyBitmap {
public:
    static bool ReadLine(void* context, unsigned line, void* buffer) {
        auto& stage = *static_cast<CPixFilterContext*>(context);
        LineSource(kFamily, static_cast<Runner&>(*stage.bitmap).state)
            .ReadAsBgra(stage, static_cast<std::uint8_t*>(buffer), static_cast<int>(line));
        return true;
    }

    FilterState state;
};

/// Hands lines through, so that the alpha of the stage before is taken line by line: that of a last stage after others
/// is not taken, and that of one before a stage that reads ahead belongs to other lines.
class HandThrough final : public zpixf::ZPixFilterBase {
public:
    zpixf::ZPixfType FilterType() const override { return zpixf::ZPixfType::KeepsAlpha; }
    bool FilterScanline(unsigned line, void* buffer) override { return IsReadyFor(line) && PullLine(line, buffer); }
    bool PullsForward() const override { return true; }

protected:
    bool OnStart() override { return true; }
};

bool EachIsGivenOnce(std::vector<zpixf::ZPixFilterBase*> filters) {
    std::sort(filters.begin(), filters.end(), std::less<>());
    return std::adjacent_find(filters.begin(), filters.end()) == filters.end();
}

void AddStage(std::vector<CPixFilterContext>& stages, zpixf::ZPixFilterBase* filter, Runner& runner, SIZE size) {
    if (filter != nullptr) SetTrueColors(*filter, size, size);
    stages.emplace_back(filter, &Runner::ReadLine, &runner);
}

bool ChangeAlpha(const std::vector<CPixFilterContext>& stages) {
    return std::any_of(stages.begin(), stages.end(), [](const auto& stage) { return stage.changesAlpha; });
}

/// Only the first stage is asked whether the mask becomes alpha of its lines; so it answers for all.
void UseAlphaFromTheFirst(std::vector<CPixFilterContext>& stages) {
    stages.front().usesInputAlpha =
        std::any_of(stages.begin(), stages.end(), [](const auto& stage) { return stage.usesInputAlpha; });
}

}  // namespace

bool RunFilters(ZBitmap& bitmap, const std::vector<zpixf::ZPixFilterBase*>& filters, shr::IProgress* progress) {
    if (filters.empty()) return true;
    require(EachIsGivenOnce(filters), RunFiltersCheck::filterGivenTwice);
    const SIZE size{bitmap.GetPixelWidth(), bitmap.GetPixelHeight()};
    Runner runner;
    runner.state.inputRect = {0, 0, size.cx, size.cy};

    HandThrough behind;
    std::vector<CPixFilterContext> stages;
    for (zpixf::ZPixFilterBase* filter : filters) AddStage(stages, filter, runner, size);
    if (stages.size() > 1 && ChangeAlpha(stages) && HasMask(bitmap)) {
        stages.back().changesAlpha = true;
        AddStage(stages, &behind, runner, size);
    }
    UseAlphaFromTheFirst(stages);

    const auto runInto = [&](LineSink& sink) {
        return FilterRun(kFamily, runner.state, bitmap, sink).Run(bitmap, stages, progress);
    };
    if (StayInMemory(bitmap)) {
        TileSink tiles(kFamily, bitmap, shr::CopyWrites::cached);
        return runInto(tiles);
    }
    OutputRowState rowState;
    LockedRowSink rows(kFamily, rowState, bitmap);
    return runInto(rows);
}

}  // namespace zbm
