#pragma once
// The contest sets conversion, quantisation and filters beside libyuv, OpenCV, libvips, babl, Pillow and libimagequant.
// Contest.cpp is the program; the other files are its three parts and what they share.
#include <regex>
#include <string>

#include "Pictures.h"
#include "rivals/Pillow.h"
#include "Records.h"

namespace contest {

/// What all parts of a run have in common.
struct Setting {
    std::regex filter;  ///< of the names of contests
    int rounds;
    Picture picture;
    Pillow pillow;
    Records records;

    bool Wants(const std::string& name) const { return std::regex_search(name, filter); }
};

/// Format conversions; false if one of ours does not give what the rules say.
bool HoldConvertContest(Setting& setting);
/// Quantisers, ditherers and the mapping to a fixed table. Their jobs take long: a fifth of the rounds.
bool HoldQuantizeContest(Setting& setting);
/// Filters; false if one of ours does not give what plain loops give, or a pyramid of halvings drifts.
bool HoldFilterContest(Setting& setting);

}  // namespace contest
