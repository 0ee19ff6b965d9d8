// Scenes drawn by the system's device context, against the checksums of Windows' interface and against a plain device.
// Where a picture is not the one expected, it and the plain one are kept beside each other.
#include "device/Scenes.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "shr/Dib.h"

namespace {

using testkit::Bytes;
using testkit::Picture;
using testkit::Scene;

std::map<unsigned, std::string> Checksums(const char* list) {
    std::ifstream file(std::filesystem::path(ZBM_TEST_DATA) / "device" / list);
    std::map<unsigned, std::string> checksums;
    std::string line;
    while (std::getline(file, line)) {
        if (line.empty() || line[0] == '#') continue;
        const std::size_t space = line.find(' ');
        checksums[static_cast<unsigned>(std::stoul(line))] = line.substr(space + 1, 16);
    }
    return checksums;
}

void Keep(const Picture& picture, const std::string& name) {
    shr::CDib dib;
    dib.Create(picture.width, picture.height, 32, 0, nullptr, nullptr, 0, 0);
    for (int y = 0; y < picture.height; ++y)
        std::copy_n(
            picture.pixels.begin() + std::ptrdiff_t{y} * picture.width, picture.width,
            reinterpret_cast<std::uint32_t*>(dib.GetWritableBits() + dib.GetPixelOffset(0, picture.height - 1 - y)));
    const std::filesystem::path file = std::filesystem::temp_directory_path() / name;
    dib.Save(shr::ZString(file.wstring()));
    std::cerr << "kept " << file.string() << "\n";
}

class Scenes : public testing::Test {
protected:
    void Compare(const Scene& scene, Bytes bytes, const std::string& expected, const std::string& name) {
        const Picture drawn = testkit::DrawBySystem(scene), plain = testkit::DrawPlainly(scene);
        const std::string checksum = testkit::ChecksumOf(drawn, bytes), plainly = testkit::ChecksumOf(plain, bytes);
        EXPECT_EQ(checksum, plainly) << name << " is not the plain one";
        EXPECT_EQ(checksum, expected) << name << ":" << testkit::DoubtsAbout(scene);
        if ((checksum == plainly && checksum == expected) || ++kept > 5) return;
        Keep(drawn, name + "-drawn.bmp");
        Keep(plain, name + "-plain.bmp");
    }
    int kept = 0;
};

TEST_F(Scenes, ComeOutAsOnWindows) {
    const auto expected = Checksums("scenes.txt");
    ASSERT_EQ(expected.size(), testkit::kScenes);
    for (unsigned number = 0; number < testkit::kScenes; ++number)
        Compare(testkit::MakeScene(number), Bytes::colors, expected.at(number), "scene-" + std::to_string(number));
}

TEST_F(Scenes, HaveTheByte3OfWindows) {
    const auto expected = Checksums("scenes-byte3.txt");
    ASSERT_EQ(expected.size(), testkit::kByte3Scenes);
    for (unsigned number = 0; number < testkit::kByte3Scenes; ++number)
        Compare(testkit::MakeByte3Scene(number), Bytes::all, expected.at(number), "byte3-" + std::to_string(number));
}

TEST_F(Scenes, AreOfEveryFormatAndDepthAndShowSomething) {
    std::map<int, int> formats, depths;
    int shown = 0;
    for (unsigned number = 0; number < testkit::kScenes; ++number) {
        const Scene scene = testkit::MakeScene(number);
        ++formats[scene.format];
        ++depths[scene.bitCount];
        const Picture picture = testkit::DrawPlainly(scene);
        shown += picture.pixels == Picture(scene.width, scene.height).pixels ? 0 : 1;
    }
    EXPECT_EQ(formats.size(), 14u);
    EXPECT_EQ(depths.size(), 6u);
    EXPECT_GT(shown, 2000);
}

}  // namespace
