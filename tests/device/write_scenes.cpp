// Writes tests/golden/device anew: write_scenes FOLDER. Only built for Windows, whose interface is the one to go by.
#include <cstdio>
#include <string>

#include "device/Scenes.h"

using testkit::Bytes;

namespace {

bool Write(const std::string& file, unsigned scenes, testkit::Scene (*make)(unsigned), Bytes bytes) {
    std::FILE* const list = std::fopen(file.c_str(), "wb");
    if (list == nullptr) return false;
    std::fputs(
        "# Scenes of tests/device/Scenes.h as Windows' interface draws them (Wine 8.0, without a display): number and\n"
        "# checksum. Another make of it may differ where a word stands behind: which of several rows shows in a\n"
        "# picture made smaller (rows-that-meet), where rectangles that run backwards begin (mirrored), and which\n"
        "# way a place goes that lies just between two pixels (ties).\n",
        list);
    for (unsigned number = 0; number < scenes; ++number) {
        const testkit::Scene scene = make(number);
        std::fprintf(list, "%u %s%s\n", number, testkit::ChecksumOf(testkit::DrawBySystem(scene), bytes).c_str(),
                     testkit::DoubtsAbout(scene).c_str());
    }
    return std::fclose(list) == 0;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 2) return 1;
    const std::string folder = arguments[1];
    const bool written =
        Write(folder + "/scenes.txt", testkit::kScenes, testkit::MakeScene, Bytes::colors) &&
        Write(folder + "/scenes-byte3.txt", testkit::kByte3Scenes, testkit::MakeByte3Scene, Bytes::all);
    return written ? 0 : 1;
}
