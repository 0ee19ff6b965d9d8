// A bitmap in a file takes the memory of a few rows of tiles, however high the picture is.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "apps/Scratch.h"

namespace test {
namespace {

constexpr rlim_t kMemory = 128 << 20;
constexpr std::uint32_t kWidth = 24000, kHeight = 1900;  // 130 MiB

/// A BMP of 24 bits whose rows repeat, written row by row.
void WriteLargePicture(const std::string& name) {
    Bytes header(54, 0);
    const auto put = [&](std::size_t offset, std::uint32_t value) { std::memcpy(&header[offset], &value, 4); };
    std::memcpy(header.data(), "BM", 2);
    put(2, 54 + 3 * kWidth * kHeight);
    put(10, 54);
    put(14, 40);
    put(18, kWidth);
    put(22, kHeight);
    put(26, 1 | 24 << 16);
    Bytes row(3 * kWidth);
    for (std::size_t i = 0; i < row.size(); ++i) row[i] = static_cast<std::uint8_t>(i * 7 >> 3);
    std::FILE* file = std::fopen(name.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    std::fwrite(header.data(), 1, header.size(), file);
    for (std::uint32_t y = 0; y < kHeight; ++y) {
        row[y] = static_cast<std::uint8_t>(y);
        std::fwrite(row.data(), 1, row.size(), file);
    }
    ASSERT_EQ(std::fclose(file), 0);
}

Bytes PixelsOf(const std::string& bmp) {
    const Bytes bytes = ReadFile(bmp);
    return {bytes.begin() + 54, bytes.end()};
}

/// The tool's exit code, with an address space of that size.
int RunWithin(rlim_t memory, const std::vector<std::string>& arguments) {
    std::vector<std::string> words{ZBM_TOOL};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    const pid_t id = fork();
    if (id == 0) {
        const rlimit limit{memory, memory};
        setrlimit(RLIMIT_AS, &limit);
        execv(pointers[0], pointers.data());
        _exit(127);
    }
    int status = 0;
    waitpid(id, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

TEST(PagingMemory, IsUnder128MebibytesForPictures24000PixelsWide) {
    const ScratchFolder folder;
    const auto file = [&](const char* name) { return folder.File(name); };
    ASSERT_NO_FATAL_FAILURE(WriteLargePicture(file("large.bmp")));
    const std::vector<std::vector<std::string>> commands{
        {"page", file("large.bmp"), file("large.zbf")},
        {"adjust", "--in-place", file("large.zbf"), "--brightness", "0.2"},
        {"levels", file("large.zbf")},
        {"view", file("large.zbf"), file("view.png"), "--level", "4"},
        {"view", file("large.zbf"), file("view.png"), "--rect", "11000,1000,900,900"},
        {"convert", file("large.zbf"), file("indexed.zbf"), "--format", "INDEXED_8", "--quantizer", "popularity"},
        {"resize", file("large.zbf"), file("half.zbf"), "--size", "50%"},
        {"unpack", file("large.zbf"), file("out.bmp")}};
    for (const std::vector<std::string>& command : commands) EXPECT_EQ(RunWithin(kMemory, command), 0) << command[0];
    EXPECT_EQ(std::filesystem::file_size(ToPath(file("out.bmp"))),
              std::filesystem::file_size(ToPath(file("large.bmp"))));
}

/// What has no room in memory is paged there, without being told; and nothing of it remains.
TEST(PagingMemory, IsUnder128MebibytesForEveryCommandOnAPictureThatIsLarger) {
    const ScratchFolder folder;
    const auto file = [&](const char* name) { return folder.File(name); };
    ASSERT_NO_FATAL_FAILURE(WriteLargePicture(file("large.bmp")));
    const std::vector<std::vector<std::string>> commands{
        {"info", file("large.bmp")},
        {"pack", file("large.bmp"), file("large.zbm"), "--method", "fast"},
        {"info", file("large.zbm")},
        {"unpack", file("large.zbm"), file("out.bmp")},
        {"adjust", file("large.zbm"), file("out.bmp"), "--brightness", "0.2"},
        {"quantize", file("large.bmp"), file("out.bmp"), "--colors", "99", "--quantizer", "popularity"},
        {"convert", file("large.bmp"), file("indexed.bmp"), "--format", "INDEXED_8", "--quantizer", "popularity"},
        {"resize", file("indexed.bmp"), file("out.bmp"), "--size", "20%", "--memory", "1M"},
        {"convert", file("large.zbm"), file("large.zbf")},
        {"reduce", file("large.bmp"), file("out.zbm")}};
    for (const std::vector<std::string>& command : commands) {
        EXPECT_EQ(RunWithin(kMemory, command), 0) << command[0];
        if (command[0] == "unpack") { EXPECT_TRUE(PixelsOf(file("out.bmp")) == PixelsOf(file("large.bmp"))); }
    }
    EXPECT_EQ(folder.Names(),
              (std::vector<std::string>{"indexed.bmp", "large.bmp", "large.zbf", "large.zbm", "out.bmp", "out.zbm"}));
}

}  // namespace
}  // namespace test
