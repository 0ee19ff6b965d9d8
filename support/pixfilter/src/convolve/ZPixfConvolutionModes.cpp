// The kernels of the modes, laid out as the pixels that they weigh. Gradients and reliefs stand on mid-grey, for half
// of a gradient is below 0. The Laplacian stays on black, where its lines are bright.
#include "convolve/ZPixfConvolutionModes.h"

namespace zpixf {
namespace {

constexpr double kMidGrey = 128;

constexpr ConvolutionKernel3 kBlur3 = {{1, 1, 1,  //
                                        1, 1, 1,  //
                                        1, 1, 1},
                                       9,
                                       0};
constexpr ConvolutionKernel3 kGaussian3 = {{1, 2, 1,  //
                                            2, 4, 2,  //
                                            1, 2, 1},
                                           16,
                                           0};
constexpr ConvolutionKernel3 kSharpen3 = {{0, -1, 0,   //
                                           -1, 5, -1,  //
                                           0, -1, 0},
                                          1,
                                          0};
constexpr ConvolutionKernel3 kEdge3 = {{-1, -1, -1,  //
                                        -1, 8, -1,   //
                                        -1, -1, -1},
                                       1,
                                       0};
constexpr ConvolutionKernel3 kSobelHorizontal3 = {{-1, -2, -1,  //
                                                   0, 0, 0,     //
                                                   1, 2, 1},
                                                  1,
                                                  kMidGrey};
constexpr ConvolutionKernel3 kSobelVertical3 = {{-1, 0, 1,  //
                                                 -2, 0, 2,  //
                                                 -1, 0, 1},
                                                1,
                                                kMidGrey};
constexpr ConvolutionKernel3 kEmboss3 = {{-1, -1, 0,  //
                                          -1, 0, 1,   //
                                          0, 1, 1},
                                         1,
                                         kMidGrey};

constexpr ConvolutionKernel5 kBlur5 = {{1, 1, 1, 1, 1,  //
                                        1, 1, 1, 1, 1,  //
                                        1, 1, 1, 1, 1,  //
                                        1, 1, 1, 1, 1,  //
                                        1, 1, 1, 1, 1},
                                       25,
                                       0};
constexpr ConvolutionKernel5 kGaussian5 = {{1, 4,  6,  4,  1,  //
                                            4, 16, 24, 16, 4,  //
                                            6, 24, 36, 24, 6,  //
                                            4, 16, 24, 16, 4,  //
                                            1, 4,  6,  4,  1},
                                           256,
                                           0};
constexpr ConvolutionKernel5 kSharpen5 = {{-1, -1, -1, -1, -1,  //
                                           -1, 2,  2,  2,  -1,  //
                                           -1, 2,  8,  2,  -1,  //
                                           -1, 2,  2,  2,  -1,  //
                                           -1, -1, -1, -1, -1},
                                          8,
                                          0};
constexpr ConvolutionKernel5 kEdge5 = {{0,  0,  -1, 0,  0,   //
                                        0,  -1, -2, -1, 0,   //
                                        -1, -2, 16, -2, -1,  //
                                        0,  -1, -2, -1, 0,   //
                                        0,  0,  -1, 0,  0},
                                       1,
                                       0};
// A slope gives as much as in 3 x 3.
constexpr ConvolutionKernel5 kSobelHorizontal5 = {{-1, -4, -6,  -4, -1,  //
                                                   -2, -8, -12, -8, -2,  //
                                                   0,  0,  0,   0,  0,   //
                                                   2,  8,  12,  8,  2,   //
                                                   1,  4,  6,   4,  1},
                                                  16,
                                                  kMidGrey};
constexpr ConvolutionKernel5 kSobelVertical5 = {{-1, -2,  0, 2,  1,  //
                                                 -4, -8,  0, 8,  4,  //
                                                 -6, -12, 0, 12, 6,  //
                                                 -4, -8,  0, 8,  4,  //
                                                 -1, -2,  0, 2,  1},
                                                16,
                                                kMidGrey};
constexpr ConvolutionKernel5 kEmboss5 = {{-1, -1, -1, -1, 0,  //
                                          -1, -1, -1, 0,  1,  //
                                          -1, -1, 0,  1,  1,  //
                                          -1, 0,  1,  1,  1,  //
                                          0,  1,  1,  1,  1},
                                         3,
                                         kMidGrey};

}  // namespace

const ConvolutionKernel3* KernelOf(ZPixf3x3Mode mode) {
    switch (mode) {
        case ZPixf3x3Mode::user: break;
        case ZPixf3x3Mode::blur: return &kBlur3;
        case ZPixf3x3Mode::gaussian: return &kGaussian3;
        case ZPixf3x3Mode::sharpen: return &kSharpen3;
        case ZPixf3x3Mode::edge: return &kEdge3;
        case ZPixf3x3Mode::sobelHorizontal: return &kSobelHorizontal3;
        case ZPixf3x3Mode::sobelVertical: return &kSobelVertical3;
        case ZPixf3x3Mode::emboss: return &kEmboss3;
    }
    return nullptr;
}

const ConvolutionKernel5* KernelOf(ZPixf5x5Mode mode) {
    switch (mode) {
        case ZPixf5x5Mode::user: break;
        case ZPixf5x5Mode::blur: return &kBlur5;
        case ZPixf5x5Mode::gaussian: return &kGaussian5;
        case ZPixf5x5Mode::sharpen: return &kSharpen5;
        case ZPixf5x5Mode::edge: return &kEdge5;
        case ZPixf5x5Mode::sobelHorizontal: return &kSobelHorizontal5;
        case ZPixf5x5Mode::sobelVertical: return &kSobelVertical5;
        case ZPixf5x5Mode::emboss: return &kEmboss5;
    }
    return nullptr;
}

}  // namespace zpixf
