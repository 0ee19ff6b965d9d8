#pragma once
#include "Contest.h"

namespace contest {

/// How a picture is drawn: as many pixels of it across as the frame has, times this.
struct Drawn {
    const char* name;
    double zoom;
    bool isNearest;
};
inline constexpr Drawn kDrawn[] = {{"frame 1:1", 1, true},
                                   {"frame nearest 2:1", 0.5, true},
                                   {"frame nearest 5:2", 0.4, true},
                                   {"frame bilinear 2:1", 0.5, false},
                                   {"frame bilinear 5:2", 0.4, false},
                                   {"frame average 1:2", 2, false},
                                   {"frame average 2:3", 1.5, false},
                                   {"frame average 1:4", 4, false}};

}  // namespace contest
