// A device of 16 MiB that is full, a real one: each command that writes there says so in one line about its output,
// leaves what it found and nothing else, and does its work once there is room.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "apps/Image.h"
#include "apps/Scratch.h"
#include "apps/ToolRun.h"
#include "support_code/SmallDevice_linux.h"

namespace test {
namespace {

using testkit::SmallDevice;

/// What comes before and behind the name of the output.
struct Command {
    const char* name;
    const char* input;   ///< one of those that Inputs() makes; null: the output is changed in place
    const char* output;  ///< beside what it is, a file of that name is there before
    std::vector<std::string> words;
    std::vector<std::string> options = {};
};
void PrintTo(const Command& command, std::ostream* out) { *out << command.name; }

/// Temporary bitmaps go to the device as well.
class ToolOnFullDevice : public testing::TestWithParam<Command> {
protected:
    void TearDown() override { ::unsetenv("TMPDIR"); }

    void MakeInputs() const {
        constexpr int kWidth = 540, kHeight = 530;  // more than a tile either way
        WriteFile(folder.File("in.bmp"), EncodeBmp(RandomImage(Kind::rgb, 8, kWidth, kHeight, 1)));
        WriteFile(folder.File("colors.png"), EncodePng(RandomImage(Kind::palette, 8, kWidth, kHeight, 2)));
        // Choosing colours takes long where all are different.
        WriteFile(folder.File("small.bmp"), EncodeBmp(RandomImage(Kind::rgb, 8, 90, 80, 3)));
        Do({"page", folder.File("small.bmp"), folder.File("small.zbf")});
        Do({"pack", folder.File("in.bmp"), folder.File("in.zbm")});
        Do({"page", folder.File("in.bmp"), folder.File("in.zbf")});
        Do({"page", folder.File("colors.png"), folder.File("colors.zbf")});
    }
    static void Do(const std::vector<std::string>& arguments) {
        const ToolResult result = RunTool(arguments);
        ASSERT_EQ(result.code, 0) << result.errors;
    }
    std::vector<std::string> Arguments(const std::string& output) const {
        std::vector<std::string> arguments = GetParam().words;
        if (GetParam().input != nullptr) arguments.push_back(folder.File(GetParam().input));
        arguments.push_back(output);
        arguments.insert(arguments.end(), GetParam().options.begin(), GetParam().options.end());
        return arguments;
    }
    /// What is there of the output's name before the command: another file, or the one to be changed.
    Bytes Former() const {
        return GetParam().input == nullptr ? ReadFile(folder.File(GetParam().output)) : Bytes{1, 2, 3};
    }
    Bytes ResultWhereThereIsRoom() const {
        const std::string output = folder.File(std::string("result_") + GetParam().output);
        WriteFile(output, Former());
        Do(Arguments(output));
        return ReadFile(output);
    }
    /// Whether the device was full; with more room the result is `expected`.
    bool IsFullWith(std::size_t bytesLeft, const Bytes& expected) const {
        const SmallDevice device(ToPath(folder.File("device")));
        const std::string output = (device.Folder() / GetParam().output).string();
        ::setenv("TMPDIR", device.Folder().c_str(), 1);
        WriteFile(output, Former());
        device.Fill(bytesLeft);
        const ToolResult result = RunTool(Arguments(output));
        if (result.code != 0) {
            ExpectOneErrorAbout(result, output);
            EXPECT_NE(result.errors.find("No space left on device"), std::string::npos) << result.errors;
            EXPECT_EQ(result.errors.find(".tmp"), std::string::npos) << result.errors;
            EXPECT_TRUE(ReadFile(output) == Former());
            EXPECT_EQ(std::distance(std::filesystem::directory_iterator(device.Folder()), {}), 2) << "and the filler";
            device.MakeRoom();
            Do(Arguments(output));
        }
        EXPECT_TRUE(ReadFile(output) == expected);
        return result.code != 0;
    }

    const ScratchFolder folder;
};

TEST_P(ToolOnFullDevice, SaysSoLeavesWhatItFoundAndWorksOnceThereIsRoom) {
    testkit::WhereDevicesCanBeMounted([&] {
        MakeInputs();
        const Bytes expected = ResultWhereThereIsRoom();
        std::size_t room = 0;
        while (IsFullWith(room, expected) && !HasFailure() && room < SmallDevice::kBytes) room += room + 4096;
        EXPECT_FALSE(HasFailure()) << room << " bytes were free";
        EXPECT_GT(room, 0u);
    });
}

const Command kCommands[] = {
    {"PackPicture", "in.bmp", "out.zbm", {"pack"}},
    {"UnpackToPng", "in.zbm", "out.png", {"unpack"}},
    {"UnpackToTiff", "in.zbm", "out.tif", {"unpack"}},
    {"UnpackToBmp", "in.zbm", "out.bmp", {"unpack"}},
    {"UnpackToJpeg", "in.zbf", "out.jpg", {"unpack"}},
    {"ConvertPicture", "in.bmp", "out.png", {"convert"}, {"--format", "GRAYSCALE_8"}},
    {"ConvertToFile", "in.bmp", "out.zbf", {"convert"}},
    {"ConvertFile", "in.zbf", "out.zbf", {"convert"}, {"--format", "BGRA_32"}},
    {"Adjust", "in.bmp", "out.tif", {"adjust"}, {"--blur", "1"}},
    {"AdjustFile", "in.zbf", "out.zbf", {"adjust"}, {"--brightness", "0.2"}},
    {"Resize", "in.bmp", "out.bmp", {"resize"}, {"--size", "600x500"}},
    {"ResizeFile", "in.zbf", "out.zbf", {"resize"}, {"--size", "600x700"}},
    {"Quantize", "small.bmp", "out.png", {"quantize"}},
    {"QuantizeFile", "small.zbf", "out.zbf", {"quantize"}},
    {"Reduce", "in.bmp", "out.zbm", {"reduce"}},
    {"Page", "in.bmp", "out.zbf", {"page"}},
    {"Levels", nullptr, "in.zbf", {"levels"}},
    {"LevelsOfIndices", nullptr, "colors.zbf", {"levels"}},
    {"View", "in.zbf", "out.png", {"view"}},
    {"PackPaged", "in.bmp", "out.zbm", {"pack"}, {"--memory", "64K"}},
    {"UnpackPaged", "in.zbm", "out.png", {"unpack"}, {"--memory", "64K"}},
    {"ConvertPaged", "in.bmp", "out.png", {"convert"}, {"--format", "GRAYSCALE_8", "--memory", "64K"}},
    {"AdjustPaged", "in.bmp", "out.tif", {"adjust"}, {"--brightness", "0.2", "--memory", "64K"}},
    {"ResizePaged", "in.bmp", "out.bmp", {"resize"}, {"--size", "600x500", "--memory", "64K"}},
    {"QuantizePaged", "small.bmp", "out.png", {"quantize"}, {"--memory", "8K"}},
    {"ReducePaged", "in.bmp", "out.zbm", {"reduce"}, {"--memory", "64K"}},
};
INSTANTIATE_TEST_SUITE_P(Commands, ToolOnFullDevice, testing::ValuesIn(kCommands),
                         [](const auto& command) { return std::string(command.param.name); });

/// A file that is changed in place on a device without a free byte.
class ChangeOnFullDevice : public ToolOnFullDevice {};

TEST_P(ChangeOnFullDevice, NeedsNoRoom) {
    testkit::WhereDevicesCanBeMounted([&] {
        MakeInputs();
        EXPECT_FALSE(IsFullWith(0, ResultWhereThereIsRoom()));
    });
}

const Command kChanges[] = {
    {"Adjust", nullptr, "in.zbf", {"adjust", "--in-place"}, {"--brightness", "0.2"}},
    {"AdjustIndices", nullptr, "colors.zbf", {"adjust", "--in-place"}, {"--gray"}},
    {"Quantize", nullptr, "small.zbf", {"quantize", "--in-place"}, {"--colors", "9"}},
};
INSTANTIATE_TEST_SUITE_P(Commands, ChangeOnFullDevice, testing::ValuesIn(kChanges),
                         [](const auto& command) { return std::string(command.param.name); });

/// The levels of indices are made from a temporary bitmap in true colours.
class IndicesOnFullDevice : public ToolOnFullDevice {};

TEST_P(IndicesOnFullDevice, AreChangedInPlaceAndTheirLevelsOnceThereIsRoom) {
    testkit::WhereDevicesCanBeMounted([&] {
        MakeInputs();
        Do({"levels", folder.File("colors.zbf")});
        const Bytes expected = ResultWhereThereIsRoom();
        const SmallDevice device(ToPath(folder.File("device")));
        const std::string file = (device.Folder() / "colors.zbf").string();
        ::setenv("TMPDIR", device.Folder().c_str(), 1);
        WriteFile(file, Former());
        device.Fill(0);
        const ToolResult result = RunTool(Arguments(file));
        ExpectOneErrorAbout(result, file);
        EXPECT_NE(result.errors.find("the picture is changed, but not its levels"), std::string::npos) << result.errors;
        EXPECT_NE(result.errors.find("No space left on device"), std::string::npos) << result.errors;
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(device.Folder()), {}), 2) << "and the filler";
        EXPECT_NE(RunTool({"info", file}).out.find("levels: stale"), std::string::npos);
        device.MakeRoom();
        Do({"levels", file});
        EXPECT_TRUE(ReadFile(file) == expected);
    });
}

const Command kChangesOfIndices[] = {
    {"Adjust", nullptr, "colors.zbf", {"adjust", "--in-place"}, {"--gray"}},
    {"Quantize", nullptr, "colors.zbf", {"quantize", "--in-place"}, {"--colors", "9"}},
};
INSTANTIATE_TEST_SUITE_P(Commands, IndicesOnFullDevice, testing::ValuesIn(kChangesOfIndices),
                         [](const auto& command) { return std::string(command.param.name); });

}  // namespace
}  // namespace test
