#pragma once
// The files of tests/golden/files: pictures by formula, with their reductions.
#include <memory>
#include <string>

#include "file/OpenFileBitmaps.h"

namespace testkit {

inline constexpr ColorFormat kGoldenFormats[] = {shr::GRAYSCALE_1, shr::INDEXED_4, shr::BGR_24, shr::BGRA_32};

inline std::string GoldenFileName(ColorFormat format) { return FormatName(format) + ".zsr"; }

inline zbm::ZBasicMemBitmap GoldenPicture(ColorFormat format) { return FormulaBitmap(75, 70, format, 31, 29); }

/// Made anew, levels and all.
inline void WriteGoldenFile(const shr::ZString& name, ColorFormat format) {
    const auto bitmap = OnFile(name, GoldenPicture(format));
    ASSERT_TRUE(bitmap->CommitAll(nullptr));
    bitmap->Close();
}

}  // namespace testkit
