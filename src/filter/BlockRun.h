#pragma once
// What runs from tile to tile share that make each tile anew, block by block, of pixels of the input.
#include <cstdint>
#include <vector>

#include "filter/FilterTask.h"
#include "filter/TileBlock.h"

namespace zbm {

class BlockRun : public TileChange {
public:
    bool NeedsContent() const final { return false; }

protected:
    explicit BlockRun(const FilterTask& task);

    /// Rows of BGRA_32, the last one of a block first.
    struct Rows {
        const std::uint8_t* first;
        std::ptrdiff_t stride;
    };
    /// A block of the input, where it lies or converted; until the next one is read.
    Rows Read(const TileBlock<const ZScanRect>& block);
    /// Has a block of the output made by `make(first, stride)`, where it lies if that can be.
    template <class Make>
    void Write(const TileBlock<ZScanRect>& block, const Make& make) {
        if (isWrittenInPlace) return make(block.First(), std::ptrdiff_t{block.Stride()});
        made.resize(4 * block.Pixels());
        make(made.data(), std::ptrdiff_t{4} * block.width);
        writer.Write(block, made.data(), makesMask);
    }

    const ZBitmap &input, &output;
    const bool isReadInPlace, isWrittenInPlace;

private:
    const bool makesMask;
    BlockWriter writer;
    std::vector<std::uint8_t> colors, made;
};

}  // namespace zbm
