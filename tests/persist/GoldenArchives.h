#pragma once
// The archives under tests/golden/archives: which there are, and the pictures that they hold.
#include <ostream>
#include <string>
#include <vector>

#include "support_code/FormulaPicture.h"
#include "zbm/ZMemBitmap.h"
#include "zcdl/Codec.h"

namespace testkit {

struct GoldenArchive {
    std::string fileName;
    shr::ColorFormat format;
    zcdl::CodecMethod method;
    friend void PrintTo(const GoldenArchive& golden, std::ostream* out) { *out << golden.fileName; }
};

/// Each format stored as it is and compressed, and one format by the other methods. Each file holds one
/// ZBasicMemBitmap.
inline std::vector<GoldenArchive> GoldenArchives() {
    using zcdl::CodecMethod;
    std::vector<GoldenArchive> archives;
    for (const shr::ColorFormat format : kFormats) {
        archives.push_back({FormatName(format) + "-stored.zbm", format, CodecMethod::stored});
        archives.push_back({FormatName(format) + "-balanced.zbm", format, CodecMethod::balanced});
    }
    archives.push_back({"BGRA_32-fast.zbm", shr::BGRA_32, CodecMethod::fast});
    archives.push_back({"BGRA_32-small.zbm", shr::BGRA_32, CodecMethod::small});
    return archives;
}

/// 3 x 3 tiles; none has a size that is a multiple of 8, and the last ones are smaller.
inline zbm::ZBasicMemBitmap GoldenPicture(shr::ColorFormat format) { return FormulaBitmap(37, 23, format, 13, 9); }

/// A memory bitmap in BGR_24 with two reductions; these are made by the formula too.
inline constexpr const char* kGoldenWithReductions = "with-reductions-stored.zbm";

class GoldenMemBitmap : public zbm::ZMemBitmap {
public:
    GoldenMemBitmap() : ZMemBitmap(80, 70, shr::BGR_24, 40, 40) {
        FillByFormula(*this);
        for (const auto& [width, height] : {std::pair{40, 35}, {20, 17}})
            reductions.push_back(
                std::make_unique<zbm::ZBasicMemBitmap>(FormulaBitmap(width, height, shr::BGR_24, 512, 512)));
        needsRebuild = false;
    }
};

}  // namespace testkit
