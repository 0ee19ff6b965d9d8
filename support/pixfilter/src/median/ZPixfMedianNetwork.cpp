// Windows of 3 x 3 and 5 x 5: the lines around the one that is asked for go to a kernel.
#include <algorithm>
#include <cstring>
#include <vector>

#include "base/LineWindow.h"
#include "median/MedianKernels.h"
#include "median/ZPixfMedianLines.h"

namespace zpixf {
namespace {

constexpr std::size_t kPixelBytes = 4;

/// Repeats the outermost pixels of a line `count` times to either side.
void RepeatBorders(std::uint8_t* pixels, std::size_t width, std::size_t count) {
    std::uint8_t* end = pixels + kPixelBytes * width;
    for (std::size_t i = 0; i < count; ++i) {
        std::memcpy(pixels - kPixelBytes * (i + 1), pixels, kPixelBytes);
        std::memcpy(end + kPixelBytes * i, end - kPixelBytes, kPixelBytes);
    }
}

/// The lines of a window of `kSide` x `kSide`, pulled as they come into it.
template <unsigned kSide>
class WindowLines {
public:
    explicit WindowLines(const MedianTask& newTask) : task(newTask) {}

    LineWindow window;

    /// Has the window around `line` there, by `pull` as LineWindow wants it.
    template <class Pull>
    bool MoveTo(unsigned line, const Pull& pull) {
        if (line == 0) window.Forget();
        return window.MoveTo(Clamp(line, -kRadius), Clamp(line, kRadius), pull);
    }

    /// The window's lines at which `offset` bytes are added, from the top down; beyond a border the border's.
    void Around(unsigned line, std::size_t offset, const std::uint8_t* (&lines)[kSide]) const {
        for (int i = -kRadius; i <= kRadius; ++i) lines[i + kRadius] = window.Line(Clamp(line, i)) + offset;
    }

    const MedianTask task;

private:
    static constexpr int kRadius = kSide / 2;

    unsigned Clamp(unsigned line, int distance) const {
        const std::int64_t moved = std::int64_t{line} + distance;
        return static_cast<unsigned>(std::clamp<std::int64_t>(moved, 0, std::int64_t{task.height} - 1));
    }
};

class Median3Lines : public MedianLines {
public:
    explicit Median3Lines(const MedianTask& task) : lines(task) { lines.window.Prepare(3, task.width, kReach3); }

    bool Give(unsigned line, std::uint8_t* medians) override {
        const MedianTask& task = lines.task;
        const auto pull = [&task](unsigned pulled, std::uint8_t* pixels) {
            if (!task.pull(pulled, pixels)) return false;
            RepeatBorders(pixels, task.width, 1);
            return true;
        };
        if (!lines.MoveTo(line, pull)) return false;
        const std::uint8_t* around[3];
        lines.Around(line, 0, around);
        ActiveMedianKernels().median3(around, task.width, medians);
        return true;
    }

private:
    WindowLines<3> lines;
};

/// Keeps each line as its even pixels and, behind these, its odd ones.
class Median5Lines : public MedianLines {
public:
    explicit Median5Lines(const MedianTask& task) : lines(task) {
        // A margin of two pixels before the line, and of two after it, or three, for only whole pairs are split.
        line.resize(kPixelBytes * (std::size_t{task.width} + 5));
        const std::size_t pairs = (SplitPairs(task.width) + 7) / 8 * 8;
        if (pairs > 0x7FFFFFFF) throw std::bad_alloc();
        lines.window.Prepare(5, static_cast<unsigned>(2 * pairs), 0);
        oddOffset = kPixelBytes * pairs;
    }

    bool Give(unsigned asked, std::uint8_t* medians) override {
        const MedianTask& task = lines.task;
        const auto pull = [&](unsigned pulled, std::uint8_t* split) {
            std::uint8_t* pixels = line.data() + 2 * kPixelBytes;
            if (!task.pull(pulled, pixels)) return false;
            RepeatBorders(pixels, task.width, 2);
            const std::size_t pairs = (std::size_t{task.width} + 1) / 2 + 2;
            ActiveMedianKernels().split(line.data(), pairs, split, split + oddOffset);
            return true;
        };
        if (!lines.MoveTo(asked, pull)) return false;
        const std::uint8_t *even[5], *odd[5];
        lines.Around(asked, 0, even);
        lines.Around(asked, oddOffset, odd);
        ActiveMedianKernels().median5(even, odd, task.width, medians);
        return true;
    }

private:
    WindowLines<5> lines;
    std::vector<std::uint8_t> line;  ///< as it came, with its margins
    std::size_t oddOffset = 0;
};

}  // namespace

std::unique_ptr<MedianLines> MakeMedian3Lines(const MedianTask& task) { return std::make_unique<Median3Lines>(task); }
std::unique_ptr<MedianLines> MakeMedian5Lines(const MedianTask& task) { return std::make_unique<Median5Lines>(task); }

}  // namespace zpixf
