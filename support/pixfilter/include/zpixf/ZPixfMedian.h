#pragma once
#include <memory>

#include "zpixf/ZPixFilterBase.h"

namespace zpixf {

/// Each channel but alpha becomes the median of a square window around it, exactly. Beyond a border lies the border's
/// pixel again. Alpha is handed through.
///
/// Input and output are 4 channels of 8 bits (B, G, R, A) of the same size. In one pass down the picture each input
/// line is pulled once. Large windows work on histograms of columns (S. Perreault, P. Hebert, Median Filtering in
/// Constant Time, 2007), so that the time for a pixel does not depend on the window.
///
/// While the filter is started it holds the lines of the window (and one more): 4 bytes a pixel, never more lines than
/// the picture has. From 7 x 7 on 816 bytes for each column come to that, as much as 204 lines.
class ZPIXF_API ZPixfMedian : public ZPixFilterBase {
public:
    static constexpr unsigned kMaxSpan = 255;

    ZPixfMedian();
    ~ZPixfMedian() override;
    /// The window's side in pixels, 3 if never set. An even one stands for the next odd one, 0 for 1, which changes
    /// nothing, and what is above 255 for 255.
    void SetSpan(unsigned newSpan);
    ZPixfType FilterType() const override;
    bool FilterScanline(unsigned line, void* buffer) override;
    bool PullsForward() const override { return true; }
    void Stop() override;

protected:
    bool OnStart() override;

private:
    struct ZPIXF_LOCAL State;
    std::unique_ptr<State> state;
    unsigned span = 3;
};

}  // namespace zpixf
