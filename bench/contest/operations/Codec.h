#pragma once
// How compressors take part: as two rows, one that stores a picture and one that loads it.
#include <memory>

#include "Contest.h"

namespace contest {

/// Something that compresses one piece of a picture, and gets it back.
struct Codec {
    enum class Pieces {
        tiles,  ///< of 512 x 512 pixels, bottom row first, as a bitmap stores them
        whole,  ///< the picture at once
    };
    std::string name;
    Pieces pieces;
    /// The largest block that may come of so many bytes.
    std::size_t (*bound)(std::size_t bytes);
    /// Gives the bytes written; raises std::runtime_error if it fails.
    std::function<std::size_t(const Pixels& piece, Pixels& block)> store;
    /// Fills `piece`, which has the right size; raises std::runtime_error if it fails.
    std::function<void(const std::uint8_t* block, std::size_t bytes, Pixels& piece)> load;
};

inline constexpr char kStore[] = "store", kLoad[] = "load";

Entrant Storing(const Codec& codec, Role role = Role::rival);
Entrant Loading(const Codec& codec, Role role = Role::rival);
Rows RowsOf(const std::vector<Codec>& codecs);

}  // namespace contest
