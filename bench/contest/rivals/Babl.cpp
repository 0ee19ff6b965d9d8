// babl, which names red first; where an operation treats red and blue alike, that makes no difference.
#include <babl/babl.h>

#include <memory>

#include "Contest.h"
#include "operations/ConvertRules.h"

namespace contest {

namespace {

Job Process(const Scene& scene, const Babl* from, const Babl* to, const Square& source) {
    return [fish = babl_fish(from, to), pixels = source.pixels.data(), result = scene.result.pixels.data(),
            count = static_cast<long>(source.PixelCount())] { babl_process(fish, pixels, result, count); };
}

constexpr char kStraight[] = "R'G'B'A u8", kPremultiplied[] = "R'aG'aB'aA u8", kRgb[] = "R'G'B' u8";
constexpr char kGrey8[] = "Y' u8", kGrey16[] = "Y' u16";

Enter Formats(const char* from, const char* to) {
    return [=](const Scene& scene) { return Doing(Process(scene, babl_format(from), babl_format(to), scene.source)); };
}

/// For grey, red and blue differ: babl gets a picture with red first.
Entry Grey(const Scene& scene) {
    const auto rgba = std::make_shared<Square>(scene.source);
    rules::SwapRedAndBlue(scene.source, *rgba);
    const Job job = Process(scene, babl_format(kStraight), babl_format(kGrey8), *rgba);
    return Doing([rgba, job] { job(); });
}

/// babl's palette gets blue as its red, so that its result is ours.
Entry Palette(const Scene& scene) {
    const Babl* indexed = nullptr;
    babl_new_palette(std::to_string(scene.source.side).c_str(), &indexed, nullptr);
    Pixels entries;
    for (const shr::Color4b color : scene.source.table)
        entries.insert(entries.end(), {color.blue, color.green, color.red, color.alpha});
    babl_palette_set_palette(indexed, babl_format(kStraight), entries.data(), 256);
    return Doing(Process(scene, indexed, babl_format(kStraight), scene.source));
}

struct Library {
    Library() { babl_init(); }
    ~Library() { babl_exit(); }
};

Rows RowsOfBabl() {
    static const Library library;
    return {
        // Between two premultiplied forms babl only swaps, too.
        {"BGRA to RGBA", {"babl", Formats("cairo-ARGB32", kPremultiplied)}},
        {"BGR24 to BGRA", {"babl", Formats(kRgb, kStraight)}},
        {"BGRA to BGR24", {"babl", Formats(kStraight, kRgb)}},
        {"premultiply", {"babl", Formats(kStraight, kPremultiplied)}},
        {"unpremultiply", {"babl", Formats(kPremultiplied, kStraight)}},
        {"BGRA to grey 8", {"babl", Grey}},
        {"grey 8 to BGRA", {"babl", Formats(kGrey8, kStraight)}},
        {"grey 16 to grey 8", {"babl", Formats(kGrey16, kGrey8)}},
        {"palette 8 to BGRA", {"babl", Palette}},
    };
}

[[maybe_unused]] const bool kAdded = Add({"babl", RowsOfBabl});

}  // namespace

}  // namespace contest
