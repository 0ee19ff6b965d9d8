#include "pictures/Metadata.h"

#include <string>

namespace tool {

void NoteLost(const Metadata& metadata, Notes& notes) {
    if (!metadata.colorProfile.empty()) notes.Add("its colour profile is not kept");
    if (metadata.xAspect != metadata.yAspect) notes.Add("that its pixels are not square is not kept");
    if (metadata.orientation != 1) {
        notes.Add("it is marked to be shown turned (orientation " + std::to_string(metadata.orientation) +
                  "); the mark is not kept");
    }
}

}  // namespace tool
