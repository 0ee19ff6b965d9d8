#pragma once
// How the median filter gives its lines, for the sizes of window that go about it differently.
#include <cstdint>
#include <functional>
#include <memory>

namespace zpixf {

/// A picture and the window that goes over it.
struct MedianTask {
    unsigned width, height;
    unsigned radius;  ///< the window's side is 2 radius + 1
    /// Gives an input line, 4 bytes a pixel; false if it cannot.
    std::function<bool(unsigned line, std::uint8_t* pixels)> pull;
};

/// The lines of medians of a picture, asked for in increasing order; line 0 begins anew, and pulls all lines again.
class MedianLines {
public:
    virtual ~MedianLines() = default;
    /// Gives a line of the picture; false if an input line could not be pulled. After that, as after what the source
    /// throws, it may be asked for again.
    virtual bool Give(unsigned line, std::uint8_t* medians) = 0;
};

// All raise std::bad_alloc.
std::unique_ptr<MedianLines> MakeMedian3Lines(const MedianTask& task);
std::unique_ptr<MedianLines> MakeMedian5Lines(const MedianTask& task);
/// For any window of up to 255 x 255.
std::unique_ptr<MedianLines> MakeHistogramMedianLines(const MedianTask& task);

}  // namespace zpixf
