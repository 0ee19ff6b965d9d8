#pragma once
#include <vector>

#include "resample/ResampleKernels.h"
#include "resample/ResampleWeights.h"

namespace zpixf {

/// The weights of all columns of the output, and the columns in blocks: what a block needs of the input, summed down
/// the picture, stays in the nearest cache.
class ResampleTable {
public:
    struct Block {
        std::uint32_t column, columns;  ///< of the output
        std::uint32_t pixel, pixels;    ///< of the input; multiples of ResampleKernels::kGroup, so maybe beyond its end
        std::uint32_t taps;             ///< weights of each column
        bool roundsUp;                  ///< in the first column, of lines of even distance to the nearer border
    };
    static constexpr std::uint32_t kMostColumns = 256;

    /// Weights are scaled so that they sum to 1 / (1 << `bitsDown`), which undoes the sums down the picture. Raises
    /// std::bad_alloc.
    void Prepare(const ResampleWeights& across, unsigned bitsDown);

    const std::vector<Block>& Blocks() const { return blocks; }
    /// The most that a block has.
    std::uint32_t MostPixels() const { return mostPixels; }
    ResampleColumns ColumnsOf(const Block& block, bool isLineEven) const {
        return {columns.data() + block.column, block.columns, weights.data(), block.taps, block.roundsUp == isLineEven};
    }

    /// Halves are rounded up and down like the fields of a chequered board, so that neither prevails. The board is
    /// counted from the nearer borders: it is its own mirror image.
    static bool IsEven(std::uint32_t place, std::uint32_t places) {
        return (place < places - 1 - place ? place : places - 1 - place) % 2 == 0;
    }

private:
    void AddWeights(const ResampleWeights& across, const ResampleWeights::Span& span, std::uint32_t first,
                    double scale);
    void CutIntoBlocks();
    std::uint32_t DropZeros(std::uint32_t begin, std::uint32_t end);

    std::vector<ResampleColumn> columns;
    std::vector<double> weights;
    std::vector<Block> blocks;
    std::uint32_t taps = 0, mostPixels = 0;
};

}  // namespace zpixf
