// Writes tests/golden/files anew: write_golden_files FOLDER
#include <gtest/gtest.h>

#include "file/GoldenFiles.h"
#include "shr/Path.h"

int main(int count, char** arguments) {
    if (count != 2) return 1;
    const shr::ZString folder = shr::CPath::AppendDirSeparator(arguments[1], true);
    for (const shr::ColorFormat format : testkit::kGoldenFormats)
        testkit::WriteGoldenFile(folder + shr::ZString(testkit::GoldenFileName(format).c_str()), format);
    const testkit::Bytes archive = testkit::MakeGoldenArchive(folder + L"made.tmp");
    shr::RemoveFile(folder + L"made.tmp");
    shr::test::WriteWhole(folder + shr::ZString(testkit::kGoldenArchive), archive);
    return testing::Test::HasFailure() ? 1 : 0;
}
