#pragma once
#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>

#include "shr/ZString.h"

namespace testkit {

/// A new folder under the system's temporary folder that goes with this object, whatever is in it.
class ScratchFolder {
public:
    ScratchFolder() {
        static std::atomic<int> count{0};
        const auto ticks = std::chrono::steady_clock::now().time_since_epoch().count();
        do {
            folder = std::filesystem::temp_directory_path() /
                     ("zbm_test_" + std::to_string(ticks) + "_" + std::to_string(++count));
        } while (!std::filesystem::create_directory(folder));
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    shr::ZString File(const char* name) const { return shr::ZString((folder / name).wstring()); }

private:
    std::filesystem::path folder;
};

}  // namespace testkit
