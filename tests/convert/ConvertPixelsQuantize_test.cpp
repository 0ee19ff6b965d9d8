// How colours reach the quantizers: what a filter is told, in which order, and what becomes of its answers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

#include "convert/Quantize.h"
#include "convert/TestRows.h"
#include "convert/ZBMColorFormat.h"
#include "shr/Exception.h"

namespace zbm {
namespace {

using shr::Color4b;
using shr::ColorFormat;
using Bytes = std::vector<std::uint8_t>;
using Table = std::vector<Color4b>;
using Log = std::vector<std::string>;

constexpr std::uint32_t kWidth = 5, kHeight = 3;

using zpixf::ZPixfType;
constexpr ZPixfType kChoosing[] = {ZPixfType::QuantizePopularity, ZPixfType::QuantizeMedian5,
                                   ZPixfType::QuantizeMedian8};
constexpr ZPixfType kAll[] = {ZPixfType::DitherOrdered,
                              ZPixfType::DitherBlueNoise,
                              ZPixfType::DitherDiffuse,
                              kChoosing[0],
                              kChoosing[1],
                              kChoosing[2]};
int Number(ZPixfType type) { return static_cast<int>(type); }

std::string Describe(const zpixf::ZPixFormat& f) {
    std::string text;
    for (const unsigned value : {f.GetWidth(), f.GetHeight(), f.GetChannels(), f.GetBitsPerChannel(), f.GetNumColors()})
        (text += ' ') += std::to_string(value);
    return text;
}

/// Writes down what is done with it, and does as it is told.
class Recorder : public zpixf::ZPixFilterBase {
public:
    bool startAnswers = true;
    int throwAtLine = -1, failAtLine = -1;
    bool throwAtStart = false, hasPalette = true;
    Log log;
    Bytes pulled = Bytes(4 * kWidth + 8, 0xEE);

    zpixf::ZPixfType FilterType() const override { return zpixf::ZPixfType::Null; }
    bool FilterScanline(unsigned line, void* buffer) override {
        log.push_back(std::string("line ").append(std::to_string(line)));
        if (throwAtLine == static_cast<int>(line)) throw std::runtime_error("line");
        std::memset(buffer, static_cast<int>(0x10 + line), 1);
        if (failAtLine == static_cast<int>(line)) return Fail("Recorder", 7, L"The line fails.");
        return startAnswers;
    }
    void Stop() override {
        log.push_back("stop");
        ZPixFilterBase::Stop();
    }
    ~Recorder() override = default;
    bool Pull(unsigned line) { return PullLine(line, pulled.data()); }

protected:
    bool OnStart() override {
        log.push_back(
            std::string("start: in").append(Describe(inputFormat)).append(", out").append(Describe(outputFormat)));
        if (throwAtStart) throw std::runtime_error("start");
        const RGBQUAD colors[] = {{1, 2, 3, 4}, {5, 6, 7, 8}};
        if (hasPalette) outputFormat.FillColorTable(2, colors);
        if (!startAnswers) return Fail("Recorder", 5, L"The start fails.");
        log.push_back(Pull(1) ? "pulled" : "not pulled");
        return true;
    }
};

struct Job {
    testkit::TestRows src{shr::RGBA_32, kWidth, kHeight, {}, 1};
    Bytes dst = Bytes(4 * kHeight, 0xEE);
    Table table = Table(16, Color4b::Black);
    PixelRows Rows() { return {dst.data(), shr::INDEXED_4, 4, table.data()}; }
};

/// What quantizing through the filter raises: file, line and description.
std::string ErrorOf(Recorder& filter, Job& job) {
    try {
        QuantizeThrough(filter, job.Rows(), job.src.ConstRows(), kWidth, kHeight);
    } catch (const shr::Exception& error) {
        return error.GetSourceFile().ToUtf8() + " " + std::to_string(error.GetLine()) + " " +
               error.GetMessageText().ToUtf8();
    }
    return "";
}

TEST(ConvertPixelsQuantize, TellsTheFilterBothFormatsStartsItAsksForEveryRowAndStopsIt) {
    Recorder filter;
    Job job;
    QuantizeThrough(filter, job.Rows(), job.src.ConstRows(), kWidth, kHeight);
    // A filter stops itself before it starts.
    EXPECT_EQ(filter.log,
              (Log{"stop", "start: in 5 3 4 8 0, out 5 3 1 4 16", "pulled", "line 0", "line 1", "line 2", "stop"}));
    EXPECT_EQ(job.dst, (Bytes{0x10, 0xEE, 0xEE, 0xEE, 0x11, 0xEE, 0xEE, 0xEE, 0x12, 0xEE, 0xEE, 0xEE}));
}

TEST(ConvertPixelsQuantize, DescribesTheOutputByTheDestination) {
    for (const auto& [format, out] :
         {std::pair{shr::INDEXED_1, "out 5 3 1 1 2"}, {shr::INDEXED_8, "out 5 3 1 8 256"}}) {
        Recorder filter;
        Job job;
        Table table(256);
        QuantizeThrough(filter, {job.dst.data(), format, 4, table.data()}, job.src.ConstRows(), kWidth, kHeight);
        EXPECT_NE(filter.log.at(1).find(out), std::string::npos) << filter.log[1];
    }
}

TEST(ConvertPixelsQuantize, GivesSourceRowsAsBgraAndNotAByteMore) {
    for (int source = shr::INDEXED_1; source < shr::kColorFormats; ++source) {
        const auto format = static_cast<ColorFormat>(source);
        Recorder filter;
        Job job;
        job.src = testkit::TestRows(format, kWidth, kHeight, {testkit::RowOrder::up, 3, 0, 0}, 5);
        QuantizeThrough(filter, job.Rows(), job.src.ConstRows(), kWidth, kHeight);
        Bytes expected(4 * kWidth + 8, 0xEE);
        const ConstPixelRows rows = job.src.ConstRows();
        ConvertPixels({expected.data(), shr::BGRA_32, 0}, {rows.first + rows.stride, format, 0, rows.colorTable},
                      kWidth, 1);
        EXPECT_EQ(filter.pulled, expected) << source;
    }
}

/// Pulls the same line again and again, the source changing in between.
class ChangingSource : public Recorder {
public:
    std::uint8_t* changed = nullptr;
    bool FilterScanline(unsigned line, void* buffer) override {
        *changed = static_cast<std::uint8_t>(0x30 + line);
        log.push_back(Pull(0) && pulled[2] == 0x30 + line ? "fresh" : "stale");
        return Recorder::FilterScanline(line, buffer);
    }
};

TEST(ConvertPixelsQuantize, KeepsNoCopyOfTheSourceButReadsARowWhenItIsPulled) {
    ChangingSource filter;
    Job job;
    filter.changed = job.src.bytes.data();
    QuantizeThrough(filter, job.Rows(), job.src.ConstRows(), kWidth, kHeight);
    EXPECT_EQ(std::count(filter.log.begin(), filter.log.end(), "fresh"), kHeight);
}

TEST(ConvertPixelsQuantize, TakesThePaletteWithOpaqueColorsAndBlackBeyondIt) {
    Recorder filter;
    Job job;
    QuantizeThrough(filter, job.Rows(), job.src.ConstRows(), kWidth, kHeight);
    Table expected(16, Color4b::Black);
    expected[0] = Color4b(3, 2, 1);
    expected[1] = Color4b(7, 6, 5);
    EXPECT_EQ(job.table, expected);
}

TEST(ConvertPixelsQuantize, LeavesTheTableWhereTheFilterHasNoPalette) {
    Recorder filter;
    filter.hasPalette = false;
    Job job;
    QuantizeThrough(filter, job.Rows(), job.src.ConstRows(), kWidth, kHeight);
    EXPECT_EQ(job.table, Table(16, Color4b::Black));
}

TEST(ConvertPixelsQuantize, AsksForEveryRowAlsoOfAFilterThatDidNotStartButTakesNoPalette) {
    Recorder filter;
    filter.startAnswers = false;
    Job job;
    EXPECT_EQ(ErrorOf(filter, job), "Recorder 5 The start fails.");
    EXPECT_EQ(filter.log,
              (Log{"stop", "start: in 5 3 4 8 0, out 5 3 1 4 16", "stop", "line 0", "line 1", "line 2", "stop"}));
    EXPECT_EQ(job.table, Table(16, Color4b::Black));
}

TEST(ConvertPixelsQuantize, RaisesTheErrorOfARowThatFailsAfterAllRowsWereAskedFor) {
    for (int line = 0; line < static_cast<int>(kHeight); ++line) {
        Recorder filter;
        filter.failAtLine = line;
        Job job;
        EXPECT_EQ(ErrorOf(filter, job), "Recorder 7 The line fails.");
        EXPECT_EQ(std::count(filter.log.begin(), filter.log.end(), "line 2"), 1);
        EXPECT_EQ(filter.log.back(), "stop");
    }
}

TEST(ConvertPixelsQuantize, StopsTheFilterAndPassesOnWhatItThrows) {
    for (int line = -1; line < static_cast<int>(kHeight); ++line) {
        Recorder filter;
        filter.throwAtStart = line < 0;
        filter.throwAtLine = line;
        Job job;
        EXPECT_THROW(QuantizeThrough(filter, job.Rows(), job.src.ConstRows(), kWidth, kHeight), std::runtime_error);
        EXPECT_EQ(filter.log.back(), "stop");
        EXPECT_FALSE(filter.IsStarted());
    }
}

/// 20 colours as indices of 8 bits.
struct TwentyColors {
    Bytes pixels;
    Table table = Table(256);
    TwentyColors() {
        for (std::uint8_t i = 0; i < 20; ++i) {
            pixels.insert(pixels.end(), 3, i);
            table[i] = Color4b(static_cast<std::uint8_t>(12 * i), static_cast<std::uint8_t>(255 - 9 * i), 77, 3);
        }
    }
};

TEST(ConvertPixelsQuantize, FillsTheDestinationByEveryQuantizer) {
    const TwentyColors source;
    const auto width = static_cast<std::uint32_t>(source.pixels.size());
    for (const ZPixfType quantizer : kAll)
        for (const ColorFormat dst : {shr::INDEXED_1, shr::INDEXED_4}) {
            Table table(static_cast<std::size_t>(shr::ColorFmtToTblSize[dst]), Color4b(1, 2, 3, 4));
            Bytes indices(shr::PixelBytes(width, dst));
            ConvertPixels({indices.data(), dst, 0, table.data()},
                          {source.pixels.data(), shr::INDEXED_8, 0, source.table.data()}, width, 1, quantizer);
            EXPECT_NE(indices, Bytes(indices.size())) << Number(quantizer) << " to " << dst;
            EXPECT_NE(table[0], table[1]) << Number(quantizer) << " to " << dst;
            for (const Color4b& color : table) EXPECT_EQ(color.alpha, shr::ALPHA_MAX);
        }
}

TEST(ConvertPixelsQuantize, GivesFewColorsExactlyAndBlackForTheRestOfTheTable) {
    const TwentyColors source;
    const auto width = static_cast<std::uint32_t>(source.pixels.size());
    Bytes bgra(4 * source.pixels.size()), back(bgra.size()), indices(source.pixels.size());
    ConvertPixels({bgra.data(), shr::BGRA_32, 0}, {source.pixels.data(), shr::INDEXED_8, 0, source.table.data()}, width,
                  1);
    for (std::size_t i = 3; i < bgra.size(); i += 4) bgra[i] = shr::ALPHA_MAX;
    for (const ZPixfType quantizer : kChoosing) {
        Table table(256, Color4b(1, 2, 3, 4));
        ConvertPixels({indices.data(), shr::INDEXED_8, 0, table.data()}, {bgra.data(), shr::BGRA_32, 0}, width, 1,
                      quantizer);
        ConvertPixels({back.data(), shr::BGRA_32, 0}, {indices.data(), shr::INDEXED_8, 0, table.data()}, width, 1);
        EXPECT_EQ(back, bgra) << Number(quantizer);
        for (std::size_t i = 20; i < 256; ++i) EXPECT_EQ(table[i], Color4b::Black) << Number(quantizer);
    }
}

TEST(ConvertPixelsQuantize, QuantizesEveryColorAndEveryWiderIndex) {
    for (const ColorFormat dst : {shr::INDEXED_1, shr::INDEXED_4, shr::INDEXED_8})
        for (int source = shr::INDEXED_4; source < shr::kColorFormats; ++source) {
            const auto format = static_cast<ColorFormat>(source);
            if (format <= dst) continue;
            const testkit::TestRows src(format, 40, 2, {}, 9);
            testkit::TestRows result(dst, 40, 2, {}, 10);
            const Bytes before = result.bytes;
            ConvertPixels(result.Rows(), src.ConstRows(), 40, 2);
            EXPECT_NE(result.bytes, before) << source << " to " << dst;
            EXPECT_NE(result.table[0], result.table[1]);
        }
}

}  // namespace
}  // namespace zbm
