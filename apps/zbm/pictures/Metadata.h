#pragma once
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "pictures/Notes.h"

namespace tool {

/// What the numbers of colours mean, where a file has no colour profile for that. Values as in PNG's chunks of these
/// names.
struct ColorMarks {
    std::optional<int> srgbIntent;                                 // sRGB
    std::optional<std::int32_t> gamma;                             // gAMA, in 1/100000
    std::optional<std::array<std::int32_t, 8>> chromaticities;     // cHRM: white, red, green, blue, x and y each
    std::optional<std::array<std::uint8_t, 4>> codingPoints = {};  // cICP
};

/// What a picture file tells beside what a bitmap holds. Goes from the file that is read to the file that is written.
struct Metadata {
    std::vector<std::uint8_t> colorProfile;  // ICC, empty if there is none
    ColorMarks colorMarks;
    /// Pixels a unit of length that is not known: only their ratio means something, the shape of a pixel. Equal if
    /// there is nothing to tell.
    std::uint32_t xAspect = 0, yAspect = 0;
    /// How the pixels are to be turned when they are shown, as in EXIF and TIFF; 1 is upright.
    int orientation = 1;

    bool HasAspect() const { return xAspect != yAspect; }
};

/// The profile, if it is one for grey pictures or for those in red, green and blue, whichever is asked for. Otherwise
/// null, and a note says so if there is one.
const std::vector<std::uint8_t>* ProfileFor(bool grey, const Metadata& metadata, Notes& notes);

// Notes on what a file cannot hold, if there is such.
void NoteLostProfile(const Metadata& metadata, Notes& notes);
/// Says nothing of marks that mean sRGB: that is what pictures without marks are taken for.
void NoteLostColorMarks(const Metadata& metadata, Notes& notes);
void NoteLostAspect(const Metadata& metadata, Notes& notes);
/// All of the metadata.
void NoteLost(const Metadata& metadata, Notes& notes);

}  // namespace tool
