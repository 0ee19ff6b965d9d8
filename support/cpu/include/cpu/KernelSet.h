#pragma once
// The choice among kernels of one kind, which are compiled for several levels.
//
// All of it has internal linkage, as in CpuLevel.h, and is for the same files: those built without level flags.
#include <atomic>

#include "cpu/CpuLevel.h"

/// Kernels above the base level, as KernelSet takes them: builds for other processors have none.
#if defined(CPU_WIDE_LEVELS)
#define CPU_WIDE(kernels) (&(kernels))
#else
#define CPU_WIDE(kernels) nullptr
#endif

namespace cpu {
namespace {

/// The kernels of each level, and which of them are in use: the best that run here, until `Use` says otherwise. A
/// `constinit` object of this type can be used by the constructors of any module, and by several threads.
template <class Kernels>
class KernelSet {
public:
    /// Without kernels of its own, a level has those of the one below.
    constexpr explicit KernelSet(const Kernels& base, const Kernels* avx2 = nullptr,
                                 const Kernels* avx512 = nullptr) noexcept
        : ofLevel{&base, avx2 != nullptr ? avx2 : &base,
                  avx512 != nullptr ? avx512
                  : avx2 != nullptr ? avx2
                                    : &base} {}

    const Kernels& Active() noexcept {
        const Kernels* const kernels = active.load(std::memory_order_relaxed);
        if (kernels != nullptr) return *kernels;
        Use(Choose());  // threads that come here at once all choose the same
        return Active();
    }

    /// `level` must run here. Not to be called while another thread uses kernels.
    void Use(Level level) noexcept { Use(*ofLevel[static_cast<int>(level)]); }
    /// The same with kernels of the caller's, which must outlive their use.
    void Use(const Kernels& kernels) noexcept { active.store(&kernels, std::memory_order_relaxed); }

private:
    const Kernels* ofLevel[3];
    std::atomic<const Kernels*> active = nullptr;
};

/// `Use (level)` for all sets of a library; false, changing nothing, if this processor does not run the level.
template <class... Kernels>
bool UseLevel(Level level, KernelSet<Kernels>&... sets) noexcept {
    if (!Runs(level)) return false;
    (sets.Use(level), ...);
    return true;
}

}  // namespace
}  // namespace cpu
