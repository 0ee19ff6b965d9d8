#include "filter/BlockRun.h"

#include <algorithm>

namespace zbm {

BlockRun::BlockRun(const FilterTask& task)
    : input(task.input),
      output(task.output),
      isReadInPlace(input.GetColorFormat() == shr::BGRA_32),
      isWrittenInPlace(output.GetColorFormat() == shr::BGRA_32 && task.sink.Writes() == shr::CopyWrites::cached),
      makesMask(HasMask(output)),
      writer(task.sink.Writes()) {}

BlockRun::Rows BlockRun::Read(const TileBlock<const ZScanRect>& block) {
    if (isReadInPlace) return {block.First(), block.Stride()};
    colors.resize(std::max(colors.size(), 4 * block.Pixels()));
    ReadBlock(block, input.GetConstColorTablePtr(), true, colors.data());
    return {colors.data(), std::ptrdiff_t{4} * block.width};
}

}  // namespace zbm
