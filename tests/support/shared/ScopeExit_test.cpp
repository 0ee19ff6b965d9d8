#include "shr/ScopeExit.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace shr {
namespace {

TEST(ScopeExit, RunsItsActionOnceWhenTheScopeEnds) {
    int runs = 0;
    {
        const ScopeExit action([&] { ++runs; });
        EXPECT_EQ(runs, 0);
    }
    EXPECT_EQ(runs, 1);
}

TEST(ScopeExit, RunsItsActionWhenAnExceptionLeavesTheScope) {
    int runs = 0;
    try {
        const ScopeExit action([&] { ++runs; });
        throw std::runtime_error("x");
    } catch (const std::runtime_error&) {}
    EXPECT_EQ(runs, 1);
}

TEST(ScopeExit, DoesNothingOnceReleased) {
    int runs = 0;
    {
        ScopeExit action([&] { ++runs; });
        action.Release();
    }
    EXPECT_EQ(runs, 0);
}

}  // namespace
}  // namespace shr
