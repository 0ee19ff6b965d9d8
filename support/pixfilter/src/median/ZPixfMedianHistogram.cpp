// Larger windows: histograms of the columns go down the picture with the window. They stay for the whole pass, so that
// a line brings them one value and takes another, whatever the window's size.
#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "base/LineWindow.h"
#include "median/MedianKernels.h"
#include "median/ZPixfMedianLines.h"

namespace zpixf {
namespace {

constexpr unsigned kChannels = 3;  ///< alpha is none of them
constexpr unsigned kPixelBytes = 4;

/// The column histograms of the three channels, in one block of memory.
class ColumnHistogramsOfPicture {
public:
    explicit ColumnHistogramsOfPicture(unsigned width) {
        // An odd number of cache lines from one coarse bin's fine bins to the next one's, lest the same column's all
        // fall upon one set of a cache.
        constexpr std::uint64_t kCacheLine = 64;
        const std::uint64_t lines = (std::uint64_t{width} * ColumnHistograms::kBins + kCacheLine - 1) / kCacheLine;
        const std::uint64_t stride = (lines | 1) * kCacheLine;
        constexpr std::uint64_t kStrides = kChannels * (1 + ColumnHistograms::kBins);
        if (stride > bytes.max_size() / kStrides) throw std::bad_alloc();
        binStride = static_cast<std::size_t>(stride);
        bytes.resize(static_cast<std::size_t>(stride * kStrides));
    }

    ColumnHistograms Of(unsigned channel) {
        std::uint8_t* first = bytes.data() + channel * (1 + ColumnHistograms::kBins) * binStride;
        return {first, first + binStride, binStride};
    }

    void Clear() { std::fill(bytes.begin(), bytes.end(), std::uint8_t{0}); }

private:
    std::vector<std::uint8_t> bytes;
    std::size_t binStride = 0;
};

class HistogramMedianLines : public MedianLines {
public:
    explicit HistogramMedianLines(const MedianTask& newTask) : task(newTask), histograms(task.width) {
        // The window and the line that has just left it.
        window.Prepare(std::min(2 * task.radius + 2, task.height), task.width, 0);
    }

    bool Give(unsigned line, std::uint8_t* medians) override {
        if (line == 0) {
            window.Forget();
            hasLine = false;
        }
        if (hasLine && line > current && line - current <= task.radius) {
            while (current + 1 < line)
                if (!StepDown()) return false;
        }
        if (!MoveWindow(line)) return false;
        const bool steps = hasLine && line == current + 1;
        if (!steps && !(hasLine && line == current)) CountAround(line);
        hasLine = false;  // the kernel changes the columns as it goes
        GiveMedians(line, steps, medians);
        current = line;
        hasLine = true;
        return true;
    }

private:
    /// Has the lines of the window around `line`, and the one before them, there.
    bool MoveWindow(unsigned line) {
        return window.MoveTo(Leaving(line), Entering(line),
                             [this](unsigned pulled, std::uint8_t* pixels) { return task.pull(pulled, pixels); });
    }

    // What comes in, and what goes, with the step from the line before.
    unsigned Entering(unsigned line) const {
        return static_cast<unsigned>(std::min<std::uint64_t>(std::uint64_t{line} + task.radius, task.height - 1));
    }
    unsigned Leaving(unsigned line) const { return line > task.radius ? line - task.radius - 1 : 0; }

    /// Counts the columns of the window around a line from nothing.
    void CountAround(unsigned line) {
        histograms.Clear();
        const unsigned first = line > task.radius ? line - task.radius : 0, last = Entering(line);
        for (unsigned i = first; i <= last; ++i) {
            unsigned times = 1;
            if (i == 0) times += task.radius - std::min(line, task.radius);
            if (i == task.height - 1) times += task.radius - std::min(task.height - 1 - line, task.radius);
            Count(i, times);
        }
    }

    void Count(unsigned line, unsigned times) {
        for (unsigned channel = 0; channel < kChannels; ++channel)
            ActiveMedianHistogramKernels().count(histograms.Of(channel), window.Line(line) + channel, task.width,
                                                 times);
    }

    /// Goes on to the next line without its medians.
    bool StepDown() {
        const unsigned line = current + 1;
        if (!MoveWindow(line)) return false;
        Count(Entering(line), 1);
        Count(Leaving(line), 255);
        current = line;
        return true;
    }

    void GiveMedians(unsigned line, bool steps, std::uint8_t* medians) {
        std::memcpy(medians, window.Line(line), std::size_t{kPixelBytes} * task.width);
        for (unsigned channel = 0; channel < kChannels; ++channel) {
            LineExchange exchange = {};
            if (steps) exchange = {window.Line(Entering(line)) + channel, window.Line(Leaving(line)) + channel};
            ActiveMedianHistogramKernels().medians(histograms.Of(channel), exchange, task.width, task.radius,
                                                   medians + channel);
        }
    }

    const MedianTask task;
    ColumnHistogramsOfPicture histograms;
    LineWindow window;
    bool hasLine = false;
    unsigned current = 0;  ///< the line whose window the columns count, if there is one
};

}  // namespace

std::unique_ptr<MedianLines> MakeHistogramMedianLines(const MedianTask& task) {
    return std::make_unique<HistogramMedianLines>(task);
}

}  // namespace zpixf
