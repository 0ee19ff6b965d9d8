#pragma once
// How OpenCV, libyuv and libvips are driven to filter a picture.
#include <libyuv.h>
#include <vips/vips.h>

#include "operations/FilterScene.h"

namespace contest::filters {

namespace openCv {

Enter Arithmetic(Line line);
Enter LookUp(Line line);
Enter Transform(const ColorMatrix& matrix);
Enter GreyAndBack();
Enter Filter2D(const Kernel& kernel);
Enter MedianBlur(int span);
Enter Resize(int interpolation);

}  // namespace openCv

namespace yuv {

Enter GrayTo();
/// Its factors are multiples of 1/64.
Enter Transform(const ColorMatrix& matrix);
Enter Scale(libyuv::FilterMode mode);

}  // namespace yuv

namespace vips {

/// The library itself, on one thread and with no results kept from run to run. There may be one at a time.
class Library {
public:
    Library();
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
};

Enter Recombine(const ColorMatrix& matrix);
/// Integer precision takes factors in 256ths, unless they are whole.
Enter Convolve(const Kernel& kernel, VipsPrecision precision);
Enter Shrink(int times);
Enter Resize(VipsKernel kernel);
/// With half-pixel centres, which its own resizing leaves by a fraction of a pixel when it interpolates.
Enter Enlarge(const char* interpolation);

}  // namespace vips

}  // namespace contest::filters
