#pragma once
#include <cstdint>

namespace zpixf {

/// How pixels weigh by their distance. The box is the mean of the two pixels that an exact half puts into one.
enum class ResampleKernel : int { box, triangle, catmullRom, mitchell, bSpline };

/// The weights of the input pixels for each output pixel in one direction: whole numbers that sum to exactly
/// 1 << Bits(). They come from whole-number arithmetic alone, so every system has the same; those of the mirrored
/// output pixel are the same in reverse order.
///
/// A weight is the growth of the kernel's running sum over the pixels, and it is that sum which is rounded. So there is
/// no residue to give away, and however many pixels weigh too little to be counted singly, together they count.
class ResampleWeights {
public:
    /// `newInput` pixels become `newOutput`; neither is 0.
    ResampleWeights(ResampleKernel newKernel, unsigned newInput, unsigned newOutput);

    unsigned Input() const { return input; }
    unsigned Output() const { return output; }
    /// At least 15. Where the picture shrinks much, and a pixel weighs little, up to 18.
    unsigned Bits() const { return bits; }
    /// No output pixel has more weights.
    unsigned MaxCount() const;
    /// After how many output pixels the weights come again, but for those next to the borders.
    unsigned Period() const;

    /// The input pixels that have weights for an output pixel, at least one.
    struct Span {
        unsigned first, last;
        bool isCut;             ///< whether the kernel reaches beyond a border
        std::int64_t distance;  ///< from the first pixel's centre to the output pixel's
        unsigned Count() const { return last - first + 1; }
    };
    Span SpanOf(unsigned outputPixel) const;

    /// The weights of one output pixel, one after another.
    class Walk {
    public:
        Walk(const ResampleWeights& from, const Span& span);
        /// The weight of the next pixel, beginning with the span's first. It may be 0.
        std::int32_t Next();

    private:
        std::int64_t KernelAt(std::int64_t distance) const;
        std::int64_t Rounded(std::int64_t sum) const;

        const ResampleWeights* weights;
        unsigned shift = 0;     // from the kernel's precision to one in which all pixels' sum is exact
        std::int64_t distance;  // of the next pixel
        std::int64_t running = 0, total = 0;
        std::int64_t given = 0;
    };

private:
    ResampleKernel kernel;
    std::uint32_t input, output;
    unsigned bits;
    // Distances are measured in 1 / (2 * output) of an input pixel: all that occur are whole.
    std::int64_t step;   // from pixel to pixel
    std::int64_t unit;   // the kernel's unit of length
    std::int64_t reach;  // beyond which, and at which, the kernel is 0
};

/// The input pixel in which the centre of an output pixel lies; of two between which it lies, the second.
/// `rest`, if wanted: how far from that pixel's beginning, in 1 / (2 * output) of a pixel.
std::uint32_t PixelUnderCentre(std::uint32_t outputPixel, std::uint32_t input, std::uint32_t output,
                               std::int64_t* rest = nullptr);

}  // namespace zpixf
