#pragma once
// Tests of conversion that run once for every level of kernels that the processor has.
#include <gtest/gtest.h>

#include "core/Kernels.h"
#include "support_code/KernelLevels.h"

namespace testkit {

class EachKernelLevel : public testing::TestWithParam<cpu::Level> {
protected:
    void SetUp() override { ASSERT_TRUE(zbm::UseKernels(GetParam())); }
    void TearDown() override { zbm::UseKernels(cpu::Choose()); }
};

}  // namespace testkit
