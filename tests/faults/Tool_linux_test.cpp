// The tool while requests for memory by operator new fail.
#include <gtest/gtest.h>

#include "faults/ToolShortOfMemory.h"

namespace faults {
namespace {

TEST_F(ToolShortOfMemory, ForGoodEndsWithOneLineAndLeavesNothing) {
    FailRequests<ScopedFault>(Failing::fromThenOn, "pack", "a.zbm", {"--tile", "4x4"});
    FailRequests<ScopedFault>(Failing::fromThenOn, "convert", "a.png");
    FailRequests<ScopedFault>(Failing::fromThenOn, "convert", "a.jpg", {"--format", "BGR_24"});
    FailRequests<ScopedFault>(Failing::fromThenOn, "adjust", "a.tif", {"--gray"});
}

TEST_F(ToolShortOfMemory, OnceEndsWithOneLineAndLeavesNothing) {
    FailRequests<ScopedFault>(Failing::once, "pack", "a.zbm");
    FailRequests<ScopedFault>(Failing::once, "adjust", "a.png", {"--blur", "1"});
}

}  // namespace
}  // namespace faults
