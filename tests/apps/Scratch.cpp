#include "apps/Scratch.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

namespace test {

namespace fs = std::filesystem;

namespace {

std::string ToUtf8(const fs::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

}  // namespace

fs::path ToPath(const std::string& utf8) { return {std::u8string(utf8.begin(), utf8.end())}; }

ScratchFolder::ScratchFolder() {
    std::random_device random;
    do {
        folder = fs::temp_directory_path() / ("zbm_tool_test_" + std::to_string(random()));
    } while (!fs::create_directory(folder));
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

std::string ScratchFolder::File(const std::string& name) const { return ToUtf8(folder / ToPath(name)); }

std::vector<std::string> ScratchFolder::Names() const {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        names.push_back(ToUtf8(entry.path().filename()));
    }
    std::sort(names.begin(), names.end());
    return names;
}

Bytes ReadFile(const std::string& name) {
    std::ifstream file(ToPath(name), std::ios::binary);
    if (!file) throw std::runtime_error("no file " + name);
    return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFile(const std::string& name, const Bytes& bytes) {
    // Emptying an old file makes some file systems write at once, which costs more than all the rest of a test.
    std::error_code ignored;
    fs::remove(ToPath(name), ignored);
    std::ofstream file(ToPath(name), std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) throw std::runtime_error("cannot write " + name);
}

}  // namespace test
