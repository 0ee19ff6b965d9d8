#include "Kernels.h"

#include <bit>

#include "PlaneKernels.h"
#include "cpu/KernelSet.h"

namespace zcdl {
namespace {

static_assert(std::endian::native == std::endian::little, "blocks and kernels count on the low byte first");

constinit cpu::KernelSet<PlaneKernels> plane(kBaseKernels,
                                             CPU_WIDE(kAvx2Kernels));  // nothing here gains from wider vectors

}  // namespace

const PlaneKernels& ActiveKernels() noexcept { return plane.Active(); }

bool UseKernels(cpu::Level level) noexcept { return cpu::UseLevel(level, plane); }

}  // namespace zcdl
