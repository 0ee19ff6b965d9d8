// A document with a picture among its other data, in one file: the host's own records before and after the bitmap's.
#include <cstdint>
#include <cstdio>
#include <string>

#include "shr/Archive.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZMemBitmap.h"

struct Document {
    std::string title;
    zbm::ZMemBitmap picture{1, 1, shr::BGRA_32};
    std::int32_t zoomPercent = 100;

    /// Stores or loads, as the archive goes. False when the picture was cancelled, or parts of it are damaged.
    bool Serialize(shr::FileArchive& archive) {
        SerializeTitle(archive);
        zbm::SerializeIO io(archive, true);  // with the reductions, so that nobody has to build them again
        if (!picture.Serialize(io, nullptr, nullptr)) return false;
        SerializeBytes(archive, &zoomPercent, sizeof zoomPercent);
        return io.DamagedBlocks() == 0;
    }

private:
    static void SerializeBytes(shr::ISerialize& archive, void* bytes, std::size_t count) {
        if (archive.IsStoring())
            archive.Write(bytes, static_cast<unsigned>(count));
        else
            archive.Read(bytes, static_cast<unsigned>(count));
    }
    void SerializeTitle(shr::ISerialize& archive) {
        auto length = static_cast<std::uint8_t>(title.size());
        SerializeBytes(archive, &length, sizeof length);
        title.resize(length);
        SerializeBytes(archive, title.data(), length);
    }
};

int main() {
    shr::CBufferedFile file;
    file.Open(L"poster.doc", shr::FileAccess::readWrite, shr::FileMode::create, shr::FileSharing::none);

    Document poster{"Poster", {1200, 900, shr::INDEXED_8}, 150};
    poster.picture.FillColorTable(&shr::Color4b::White, 1);
    shr::FileArchive storing(file, shr::FileArchive::Direction::storing);
    if (!poster.picture.CommitAll(nullptr) || !poster.Serialize(storing)) return 1;

    file.Seek(0);
    Document loaded;
    shr::FileArchive loading(file, shr::FileArchive::Direction::loading);
    if (!loaded.Serialize(loading)) return 1;
    const zbm::ZBitmap& preview = *loaded.picture.GetPtrToPOTReduction(2);
    std::printf("\"%s\" at %d%%: %d x %d pixels, a preview of %d x %d\n", loaded.title.c_str(),
                static_cast<int>(loaded.zoomPercent), loaded.picture.GetPixelWidth(), loaded.picture.GetPixelHeight(),
                preview.GetPixelWidth(), preview.GetPixelHeight());
}
