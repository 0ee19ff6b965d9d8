#pragma once
// How our filters are driven: line by line, from a picture in memory to another.
#include <memory>

#include "operations/FilterScene.h"
#include "zpixf/ZPixFilterBase.h"

namespace contest::filters {

using MakeFilter = std::function<std::unique_ptr<zpixf::ZPixFilterBase>()>;

enum class Lines {
    ofPictures,  ///< each line of the source and of the result has its own place
    inCache,     ///< a few lines of the source stand for all of them, and one takes all of the result
};

/// A pass down the picture, Start and Stop included. Raises std::runtime_error if the filter fails.
Enter RunOurs(const MakeFilter& make, Lines lines);

}  // namespace contest::filters
