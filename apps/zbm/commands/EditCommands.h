#pragma once
#include <functional>
#include <vector>

#include "Console.h"
#include "commands/BitmapFile.h"
#include "zbm/ZBMLib2.h"

namespace tool {

/// One change of a whole bitmap, in place; false when it was cancelled.
using Adjustment = std::function<bool(zbm::ZBitmap& bitmap, shr::IProgress& progress)>;

struct AdjustOptions {
    ZString input, output;
    ReadOptions reading;
    WriteOptions writing;
    std::vector<Adjustment> adjustments;  ///< in the order in which they are to be made
};

struct ResizeOptions {
    ZString input, output;
    ReadOptions reading;
    WriteOptions writing;
    TileSize size;
    zbm::ResizeMethod method = zbm::ResizeBilinear;
};

struct QuantizeOptions {
    ZString input, output;
    ReadOptions reading;
    WriteOptions writing;
    int colors = 256;
    zbm::QuantMethod method = zbm::QuantMedian8;
};

struct ReduceOptions {
    ZString input, archive;
    ReadOptions reading;
};

/// A convolution by the kernel that a text file holds: 9 or 25 numbers, row by row from the top, then, if they are to
/// be others than the numbers' sum and 0, the divisor and the bias. Raises ToolError for a file that holds anything
/// else.
Adjustment ConvolutionFrom(const ZString& kernelFile);

// The commands read a picture or an archive, and write a picture if the output's name has a known extension, else an
// archive. They raise ToolError for what goes wrong, and shr::AbortException when cancelled; then they leave nothing
// behind.

void Adjust(const AdjustOptions& options, Console& console);
/// The whole picture at another size, in its own format.
void Resize(const ResizeOptions& options, Console& console);
/// Reduces the number of colours; the format stays.
void QuantizeColors(const QuantizeOptions& options, Console& console);
/// Stores an archive with the picture's reductions.
void Reduce(const ReduceOptions& options, Console& console);

}  // namespace tool
