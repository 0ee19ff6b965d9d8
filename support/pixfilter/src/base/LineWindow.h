#pragma once
#include <cstdint>
#include <vector>

namespace zpixf {

/// The input lines that a filter needs for an output line: a window of some consecutive ones that moves down the
/// picture. Lines are kept while they stay within the window, so that in one pass each is pulled once.
///
/// A line is 4 bytes a pixel, with `margin` pixels before and after that the filter may fill; lines begin at multiples
/// of 64 bytes, as lines of the caches do.
class LineWindow {
public:
    /// `count` lines of `width` pixels. Raises std::bad_alloc.
    void Prepare(unsigned count, unsigned width, unsigned margin);
    void Release() noexcept;
    /// Has every line pulled anew, as a pass that begins at line 0 does.
    void Forget() noexcept { begin = end = 0; }

    /// Makes lines `first` .. `last` (at most as many as the window holds) the ones that are there. Lines that are not
    /// are pulled, in increasing order: `pull` (line, pixels) fills pixels and margins, and answers false when it
    /// cannot. Then the window is empty, as after an exception.
    template <class Pull>
    bool MoveTo(unsigned first, unsigned last, const Pull& pull) {
        const bool keeps = first >= begin && first <= end && last + 1 >= end;
        const unsigned from = keeps ? end : first;
        begin = end = first;  // nothing is there should a pull fail
        for (unsigned line = from; line <= last; ++line)
            if (!pull(line, PixelsOf(line))) return false;
        end = last + 1;
        return true;
    }

    /// The first pixel of a line that is there.
    const std::uint8_t* Line(unsigned line) const { return const_cast<LineWindow*>(this)->PixelsOf(line); }

private:
    std::uint8_t* PixelsOf(unsigned line) { return lines.data() + (line % count) * stride + offset; }

    std::vector<std::uint8_t> lines;
    unsigned count = 1;
    std::size_t stride = 0, offset = 0;
    unsigned begin = 0, end = 0;  // the lines that are there
};

}  // namespace zpixf
