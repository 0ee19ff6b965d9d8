// Writes the archives of tests/golden/archives anew:
//
//     cmake --build BUILD --target golden_archives
//
// To be run only when the format of archives changes on purpose; the tests compare what is stored with these files.
#include <cstdio>
#include <string>

#include "persist/GoldenArchives.h"
#include "shr/Archive.h"
#include "zbm/SerializeIO.h"

namespace {

void WriteFile(const std::string& name, zbm::ZBitmap& bitmap, zcdl::CodecMethod method) {
    shr::CBufferedFile file;
    file.Open(name.c_str(), shr::FileAccess::write, shr::FileMode::create, shr::FileSharing::none);
    shr::FileArchive archive(file, shr::FileArchive::Direction::storing);
    zbm::SerializeIO io(archive, true, method);
    bitmap.Serialize(io, nullptr, nullptr);
    file.Close();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: write_golden_archives FOLDER\n");
        return 2;
    }
    const std::string folder = std::string(argv[1]) + "/";
    try {
        for (const testkit::GoldenArchive& golden : testkit::GoldenArchives()) {
            zbm::ZBasicMemBitmap picture = testkit::GoldenPicture(golden.format);
            WriteFile(folder + golden.fileName, picture, golden.method);
        }
        testkit::GoldenMemBitmap withReductions;
        WriteFile(folder + testkit::kGoldenWithReductions, withReductions, zcdl::CodecMethod::stored);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
