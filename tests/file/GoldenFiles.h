#pragma once
// The files of tests/golden/files: pictures by formula, with their reductions.
#include <memory>
#include <string>

#include "file/FileImage.h"
#include "file/OpenFileBitmaps.h"
#include "shr/Archive.h"
#include "zbm/SerializeIO.h"

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

/// The picture in BGR_24 with its reductions, in an archive.
inline constexpr const char* kGoldenArchive = "BGR_24-stored.archive";

inline Bytes MakeGoldenArchive(const shr::ZString& fileName) {
    const auto bitmap = OnFile(fileName, GoldenPicture(shr::BGR_24));
    EXPECT_TRUE(bitmap->CommitAll(nullptr));
    shr::MemoryArchive archive;
    zbm::SerializeIO io(archive, true, zcdl::CodecMethod::stored);
    EXPECT_TRUE(bitmap->Serialize(io, nullptr, nullptr));
    return archive.Bytes();
}

}  // namespace testkit
