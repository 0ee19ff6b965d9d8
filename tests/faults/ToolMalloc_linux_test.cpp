// The tool while requests for memory fail in C libraries as well. For programs with a malloc of their own.
#include <gtest/gtest.h>

#include "faults/ToolShortOfMemory.h"

namespace faults {
namespace {

TEST_F(ToolShortOfMemory, ForGoodInCLibrariesAsWellEndsWithOneLineAndLeavesNothing) {
    FailRequests<ScopedMallocFault>(Failing::fromThenOn, "pack", "a.zbm", {"--tile", "4x4"});
    FailRequests<ScopedMallocFault>(Failing::fromThenOn, "convert", "a.png");
    FailRequests<ScopedMallocFault>(Failing::fromThenOn, "convert", "a.jpg");
    FailRequests<ScopedMallocFault>(Failing::fromThenOn, "convert", "a.tif");
}

}  // namespace
}  // namespace faults
