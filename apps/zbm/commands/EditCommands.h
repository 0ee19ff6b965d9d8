#pragma once
#include <functional>
#include <vector>

#include "commands/BitmapFile.h"
#include "commands/Commands.h"
#include "commands/NewSize.h"
#include "zbm/ZBMLib2.h"

namespace tool {

/// One change of a whole bitmap, in place; false when it was cancelled.
using Adjustment = std::function<bool(zbm::ZBitmap& bitmap, shr::IProgress& progress)>;
/// Reads what an adjustment needs.
using AdjustmentMaker = std::function<Adjustment()>;

struct AdjustOptions {
    Input input;
    Output output;
    std::vector<AdjustmentMaker> adjustments;  ///< in the order in which they are to be made
};

struct ResizeOptions {
    Input input;
    Output output;
    NewSize size;
    zbm::ResizeMethod method = zbm::ResizeBilinear;
};

struct QuantizeOptions {
    Input input;
    Output output;
    int colors = 256;
    zbm::QuantMethod method = zbm::QuantMedian8;
};

struct ReduceOptions {
    Input input;
    Output output;
};

/// A convolution by the kernel that a text file holds: 9 or 25 numbers, row by row from the top, then, if they are to
/// be others than the numbers' sum and 0, the divisor and the bias. Raises UsageError for a file that holds anything
/// else.
Adjustment ConvolutionFrom(const ZString& kernelFile);

// The commands read a file of any type, and write one. They raise ToolError for what goes wrong, and
// shr::AbortException when cancelled; then they leave nothing behind. Where the output is the input itself, changed in
// place, that is a bitmap in a file, and keeps what was done until then; its reductions, if it has some, are built
// anew.

void Adjust(const AdjustOptions& options, const Streams& streams);
/// The whole picture at another size, in its own format.
void Resize(const ResizeOptions& options, const Streams& streams);
/// Reduces the number of colours; the format stays.
void QuantizeColors(const QuantizeOptions& options, const Streams& streams);
/// Stores an archive with the picture's reductions.
void Reduce(const ReduceOptions& options, const Streams& streams);

}  // namespace tool
