#pragma once

namespace tool {

/// How the pixels of a file lie in the picture that is shown, by the number that EXIF and TIFF have for it.
///
/// A row of the file is a line of the picture: a row of it, or a column if it is transposed. Mirrored lines begin at
/// their far end (right, or bottom), flipped ones are counted from the far side (bottom, or right).
struct Orientation {
    bool transposed = false, mirrored = false, flipped = false;

    constexpr Orientation() = default;
    /// `number` from 1, upright, to 8; any other means upright too.
    explicit constexpr Orientation(int number)
        : transposed(number >= 5 && number <= 8),
          mirrored(number == 2 || number == 3 || number == 7 || number == 8),
          flipped(number == 3 || number == 4 || number == 6 || number == 7) {}

    constexpr bool IsUpright() const { return !transposed && !mirrored && !flipped; }
};

}  // namespace tool
