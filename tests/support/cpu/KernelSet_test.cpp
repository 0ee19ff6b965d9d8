#include "cpu/KernelSet.h"

#include <gtest/gtest.h>

namespace {

using cpu::Level;

struct Kernels {
    int level;
};
constexpr Kernels kBase{0}, kAvx2{2}, kAvx512{512}, kOthers{7};

TEST(KernelSet, BeginsWithTheLevelThatIsChosenForThisProcessor) {
    cpu::KernelSet<Kernels> set(kBase, &kAvx2, &kAvx512);
    const Kernels* const ofLevel[] = {&kBase, &kAvx2, &kAvx512};
    EXPECT_EQ(&set.Active(), ofLevel[static_cast<int>(cpu::Choose())]);
}

TEST(KernelSet, UsesWhatItIsTold) {
    cpu::KernelSet<Kernels> set(kBase, &kAvx2, &kAvx512);
    set.Use(Level::avx2);
    EXPECT_EQ(&set.Active(), &kAvx2);
    set.Use(Level::avx512);
    EXPECT_EQ(&set.Active(), &kAvx512);
    set.Use(Level::base);
    EXPECT_EQ(&set.Active(), &kBase);
    set.Use(kOthers);
    EXPECT_EQ(&set.Active(), &kOthers);
}

TEST(KernelSet, HasTheKernelsOfTheLevelBelowForOneWithoutAny) {
    cpu::KernelSet<Kernels> two(kBase, &kAvx2), one(kBase);
    two.Use(Level::avx512);
    EXPECT_EQ(&two.Active(), &kAvx2);
    one.Use(Level::avx2);
    EXPECT_EQ(&one.Active(), &kBase);
    one.Use(Level::avx512);
    EXPECT_EQ(&one.Active(), &kBase);
}

TEST(UseLevel, ChangesAllSetsOrNone) {
    for (const Level level : {Level::base, Level::avx2, Level::avx512}) {
        cpu::KernelSet<Kernels> first(kBase, &kAvx2, &kAvx512), second(kBase, &kAvx2);
        first.Use(kOthers), second.Use(kOthers);
        ASSERT_EQ(cpu::UseLevel(level, first, second), cpu::Runs(level));
        if (!cpu::Runs(level)) {
            EXPECT_EQ(&first.Active(), &kOthers);
            EXPECT_EQ(&second.Active(), &kOthers);
        } else {
            EXPECT_EQ(first.Active().level, level == Level::base ? 0 : level == Level::avx2 ? 2 : 512);
            EXPECT_EQ(second.Active().level, level == Level::base ? 0 : 2);
        }
    }
}

}  // namespace
