#pragma once
// The filters of the contest, and who takes part in each.
#include <string>
#include <vector>

#include "Pictures.h"
#include "FilterRun.h"
#include "operations/FilterReferences.h"
#include "operations/FilterScene.h"

namespace contest::filters {

/// One who takes part, as a library of this process or as a job of Pillow.
struct Entrant {
    std::string name;
    Enter enter{};
    std::string pillowJob{};
    bool isOurs = false;              ///< another of our own, whose result is no matter
    std::string otherwise{};          ///< what it does in another way, so that it is only shown; empty for a rival
    int largest = int{kPictureSide};  ///< side of the source that it is given time for
};

/// Sides of source and result in pixels.
struct Size {
    int from, to;
};

struct Operation {
    std::string name;
    std::vector<Size> sizes;
    MakeFilter ours;
    std::vector<Entrant> beside;
    Reference reference{};   ///< what ours is to give exactly; empty where that is left to the tests
    bool isPyramid = false;  ///< is also done again and again, to see how far the mean drifts
};

/// While vips::Library stands.
std::vector<Operation> Operations();

}  // namespace contest::filters
