#include "harness/Files.h"

#include <random>
#include <system_error>

namespace bench {

ScratchFile::ScratchFile(const std::string& what)
    : path(std::filesystem::temp_directory_path() / ("zbm_bench_" + std::to_string(std::random_device()()) + what)) {}

ScratchFile::~ScratchFile() {
    std::error_code nobodyListens;
    std::filesystem::remove(path, nobodyListens);
}

void OpenBitmap::ForgetLevels() {
    FreeAllPOTReductions();
    const std::int64_t end = fileInfoTable.slots[1];
    fileInfoTable = {.levelCount = 1, .slots = {fileInfoTable.slots[0]}};
    if (end != 0) file.SetLength(end);
    SaveFileInfoTable();
    reductionsStale = true;
}

void ForgetLevels(const ScratchFile& file) {
    OpenBitmap bitmap;
    bitmap.Open(file.Name(), false);
    bitmap.ForgetLevels();
}

}  // namespace bench
