#include "ContainerMemory_linux.h"

#include <algorithm>
#include <fstream>

namespace tool {

namespace {

/// The number that is all of a file; the highest where there is no such file, or it says "max".
std::uint64_t NumberIn(const std::string& file) {
    std::ifstream stream(file);
    std::uint64_t number = 0;
    return stream >> number ? number : UINT64_MAX;
}

/// A group has no more than those around it. From inside a container its own path may lead nowhere, and what the
/// container has is at the top.
std::uint64_t LeastUpwards(const std::string& top, std::string group, const char* file) {
    std::uint64_t least = NumberIn(top + file);
    for (; !group.empty(); group.erase(group.find_last_of('/'))) least = std::min(least, NumberIn(top + group + file));
    return least;
}

bool NamesMemory(const std::string& controllers) {
    return ("," + controllers + ",").find(",memory,") != std::string::npos;
}

}  // namespace

std::uint64_t ContainerMemory(const std::string& root) {
    const std::string groups = root + "/sys/fs/cgroup";
    std::uint64_t least = UINT64_MAX;
    // Lines "number:controllers:path"; version 2 names no controllers.
    std::ifstream membership(root + "/proc/self/cgroup");
    for (std::string line; std::getline(membership, line);) {
        const std::size_t first = line.find(':'), second = line.find(':', first + 1);
        if (second == std::string::npos || line.compare(second + 1, 1, "/") != 0) continue;
        const std::string controllers = line.substr(first + 1, second - first - 1);
        std::string group = line.substr(second + 1);
        if (group == "/") group.clear();
        if (controllers.empty()) least = std::min(least, LeastUpwards(groups, group, "/memory.max"));
        if (NamesMemory(controllers))
            least = std::min(least, LeastUpwards(groups + "/memory", group, "/memory.limit_in_bytes"));
    }
    return least;
}

}  // namespace tool
