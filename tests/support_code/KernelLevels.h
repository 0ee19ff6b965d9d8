#pragma once
// For tests that walk the levels of kernels.
#include <string>
#include <vector>

#include "cpu/CpuLevel.h"

namespace testkit {

/// The levels of kernels that this processor runs.
inline std::vector<cpu::Level> LevelsHere() {
    std::vector<cpu::Level> levels;
    for (const cpu::Level level : {cpu::Level::base, cpu::Level::avx2, cpu::Level::avx512})
        if (cpu::Runs(level)) levels.push_back(level);
    return levels;
}

inline const char* NameOf(cpu::Level level) { return cpu::kLevelNames[static_cast<int>(level)]; }

/// Names the tests of a suite that is instantiated with levels.
constexpr auto kLevelName = [](const auto& level) { return std::string(NameOf(level.param)); };

}  // namespace testkit
