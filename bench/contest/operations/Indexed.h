#pragma once
// What makes pictures of indices into a colour table of up to 256, which are judged by their colours.
#include <memory>

#include "Contest.h"

namespace contest {

/// `paint(source, indices)` makes the indices and their table.
template <class Paint>
Enter Painting(const Paint& paint) {
    return [=](const Scene& scene) -> Entry {
        const auto indices = std::make_shared<Square>(shr::INDEXED_8, scene.source.side);
        return {bench::Timed([=, &source = scene.source]() mutable { paint(source, *indices); }),
                [indices, &result = scene.result] { result = ToBgra(*indices); }};
    };
}

}  // namespace contest
