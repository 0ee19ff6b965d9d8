#pragma once
#include <cstdint>
#include <string>

namespace tool {

/// The least limit of memory, in bytes, of the control group of this process and of those around it, of version 1 or 2;
/// UINT64_MAX where there is none. `root` stands for the folder "/" of the system.
std::uint64_t ContainerMemory(const std::string& root = "");

}  // namespace tool
