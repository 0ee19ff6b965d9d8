#pragma once
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace test {

using Bytes = std::vector<std::uint8_t>;

/// A new folder under the system's temporary one, removed with all that is in it. Names are UTF-8.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string File(const std::string& name) const;
    /// What is in the folder, sorted.
    std::vector<std::string> Names() const;

private:
    std::filesystem::path folder;
};

std::filesystem::path ToPath(const std::string& utf8);
Bytes ReadFile(const std::string& name);
void WriteFile(const std::string& name, const Bytes& bytes);

}  // namespace test
