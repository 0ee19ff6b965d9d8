#include "pictures/Metadata.h"

#include <algorithm>
#include <cstdlib>
#include <string>

namespace tool {

namespace {

/// Where an ICC profile says which colours it is for, in four letters.
constexpr std::size_t kColorSpaceOffset = 16, kProfileHeaderBytes = 128;

constexpr std::int32_t kSrgbGamma = 45455;
constexpr std::array<std::int32_t, 8> kSrgbChromaticities{31270, 32900, 64000, 33000, 30000, 60000, 15000, 6000};
constexpr std::int32_t kTolerance = 500;

bool IsAbout(std::int32_t value, std::int32_t expected) { return std::abs(value - expected) <= kTolerance; }

bool MeansSrgb(const ColorMarks& marks) {
    if (marks.codingPoints) return (*marks.codingPoints)[0] == 1 && (*marks.codingPoints)[1] == 13;
    if (marks.srgbIntent) return true;
    if (marks.gamma && !IsAbout(*marks.gamma, kSrgbGamma)) return false;
    return !marks.chromaticities ||
           std::equal(kSrgbChromaticities.begin(), kSrgbChromaticities.end(), marks.chromaticities->begin(), IsAbout);
}

}  // namespace

const std::vector<std::uint8_t>* ProfileFor(bool grey, const Metadata& metadata, Notes& notes) {
    const std::vector<std::uint8_t>& profile = metadata.colorProfile;
    if (profile.empty()) return nullptr;
    if (profile.size() < kProfileHeaderBytes) {
        notes.Add("its colour profile is damaged and not kept");
        return nullptr;
    }
    const std::string space(profile.begin() + kColorSpaceOffset, profile.begin() + kColorSpaceOffset + 4);
    if (space == (grey ? "GRAY" : "RGB ")) return &profile;
    notes.Add(std::string("its colour profile is not kept: it is not for ") + (grey ? "grey pictures" : "RGB colours"));
    return nullptr;
}

void NoteLostProfile(const Metadata& metadata, Notes& notes) {
    if (!metadata.colorProfile.empty()) notes.Add("its colour profile is not kept");
}

void NoteLostColorMarks(const Metadata& metadata, Notes& notes) {
    if (!MeansSrgb(metadata.colorMarks)) notes.Add("that its colours are not those of sRGB is not kept");
}

void NoteLostAspect(const Metadata& metadata, Notes& notes) {
    if (metadata.HasAspect()) notes.Add("that its pixels are not square is not kept");
}

void NoteLost(const Metadata& metadata, Notes& notes) {
    NoteLostProfile(metadata, notes);
    NoteLostColorMarks(metadata, notes);
    NoteLostAspect(metadata, notes);
    if (metadata.orientation != 1) {
        notes.Add("its mark to be shown turned (orientation " + std::to_string(metadata.orientation) + ") is not kept");
    }
}

}  // namespace tool
