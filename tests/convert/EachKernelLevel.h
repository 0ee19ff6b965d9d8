#pragma once
// Tests of conversion that run once for every level of kernels that the processor has.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "convert/RowKernelLevel.h"

namespace testkit {

class EachKernelLevel : public testing::TestWithParam<cpu::Level> {
protected:
    void SetUp() override { ASSERT_TRUE(zbm::UseConvertKernels(GetParam())); }
    void TearDown() override { zbm::UseConvertKernels(cpu::Choose()); }
};

inline std::vector<cpu::Level> LevelsThatRunHere() {
    std::vector<cpu::Level> levels;
    for (const cpu::Level level : {cpu::Level::base, cpu::Level::avx2, cpu::Level::avx512})
        if (cpu::Runs(level)) levels.push_back(level);
    return levels;
}
inline std::string LevelName(const testing::TestParamInfo<cpu::Level>& info) {
    return cpu::kLevelNames[static_cast<int>(info.param)];
}

}  // namespace testkit
