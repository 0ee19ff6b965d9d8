// All kernels of bitmaps, with the levels that they are compiled for.
#include "core/Kernels.h"

#include <bit>

#include "convert/MatcherKernels.h"
#include "convert/RowKernels.h"
#include "core/MaskKernels.h"
#include "cpu/KernelSet.h"
#include "draw/DrawKernels.h"

namespace zbm {
namespace {

static_assert(std::endian::native == std::endian::little, "the kernels count on the low byte first");

constinit cpu::KernelSet<RowKernels> rows(kBaseRowKernels, CPU_WIDE(kAvx2RowKernels), CPU_WIDE(kAvx512RowKernels));
constinit cpu::KernelSet<MatcherKernels> matcher(kBaseMatcherKernels, CPU_WIDE(kAvx2MatcherKernels),
                                                 CPU_WIDE(kAvx512MatcherKernels));
constinit cpu::KernelSet<MaskKernels> masks(kBaseMaskKernels, CPU_WIDE(kAvx2MaskKernels), CPU_WIDE(kAvx512MaskKernels));
constinit cpu::KernelSet<DrawKernels> drawing(kBaseDrawKernels, CPU_WIDE(kAvx2DrawKernels),
                                              CPU_WIDE(kAvx512DrawKernels));

}  // namespace

const RowKernels& ActiveRowKernels() noexcept { return rows.Active(); }
const MatcherKernels& ActiveMatcherKernels() noexcept { return matcher.Active(); }
const MaskKernels& ActiveMaskKernels() noexcept { return masks.Active(); }
const DrawKernels& ActiveDrawKernels() noexcept { return drawing.Active(); }

bool UseKernels(cpu::Level level) noexcept { return cpu::UseLevel(level, rows, matcher, masks, drawing); }

}  // namespace zbm
