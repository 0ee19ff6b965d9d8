#pragma once
// The instruction-set levels for which kernels are compiled, and the choice among them.
//
// Everything here has internal linkage, so that no copy compiled for a wider level can stand in for another. Include it
// only from files that are built without level flags.
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace cpu {

enum class Level { base, avx2, avx512 };

namespace {

constexpr const char* kLevelNames[] = {"base", "avx2", "avx512"};

/// Whether this processor and operating system run the kernels of `level`. (AVX-512 without its dot products of bytes
/// is no level of its own: AVX2 is that of such processors.)
[[maybe_unused]] bool Runs(Level level) {
#if defined(CPU_WIDE_LEVELS)
    switch (level) {
        case Level::base: return true;
        case Level::avx2:
            return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") &&
                   __builtin_cpu_supports("fma");
        case Level::avx512:
            return Runs(Level::avx2) && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                   __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq") &&
                   __builtin_cpu_supports("avx512vnni");
    }
#endif
    return level == Level::base;
}

/// The level to use: the best that runs here, or the one that the environment variable ZBM_CPU_LEVEL names (base, avx2,
/// avx512) if it runs here.
[[maybe_unused]] Level Choose() {
    Level best = Level::base;
    const char* forced = std::getenv("ZBM_CPU_LEVEL");
    for (Level level : {Level::base, Level::avx2, Level::avx512}) {
        if (!Runs(level)) continue;
        if (forced != nullptr && std::strcmp(forced, kLevelNames[static_cast<int>(level)]) == 0) return level;
        best = level;
    }
    return best;
}

}  // namespace
}  // namespace cpu
