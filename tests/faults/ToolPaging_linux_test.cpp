// The tool while requests for memory by operator new fail and pictures are paged to files.
#include <gtest/gtest.h>

#include "faults/ToolShortOfMemory.h"

namespace faults {
namespace {

const std::vector<std::string> kPaged{"--memory", "0"};

std::vector<std::string> Paged(const std::vector<std::string>& options) {
    std::vector<std::string> all = kPaged;
    all.insert(all.end(), options.begin(), options.end());
    return all;
}

TEST_F(ToolShortOfMemory, ForGoodWhilePagingEndsWithOneLineAndLeavesNothing) {
    FailRequests<ScopedFault>(Failing::fromThenOn, "pack", "a.zbm", kPaged);
    FailRequests<ScopedFault>(Failing::fromThenOn, "convert", "a.png", Paged({"--format", "INDEXED_1"}));
    FailRequests<ScopedFault>(Failing::fromThenOn, "resize", "a.tif", Paged({"--size", "50%"}));
    FailRequests<ScopedFault>(Failing::fromThenOn, "adjust", "a.zbf", {"--gray"});
}

TEST_F(ToolShortOfMemory, OnceWhilePagingEndsWithOneLineAndLeavesNothing) {
    FailRequests<ScopedFault>(Failing::once, "adjust", "a.zbm", Paged({"--gray"}));
    FailRequests<ScopedFault>(Failing::once, "reduce", "a.zbm", kPaged);
}

}  // namespace
}  // namespace faults
