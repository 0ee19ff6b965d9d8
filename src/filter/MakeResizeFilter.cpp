#include "filter/MakeResizeFilter.h"

#include "zpixf/ZPixfResize.h"

namespace zbm {

namespace {

std::unique_ptr<zpixf::ZPixFilterBase> MakeBicubic(int mode) {
    auto filter = std::make_unique<zpixf::ZPixfResizeBicubic>();
    filter->SetMode(mode);
    return filter;
}

}  // namespace

std::unique_ptr<zpixf::ZPixFilterBase> MakeResizeFilter(ResizeMethod method) {
    switch (method) {
        case ResizePlain: return std::make_unique<zpixf::ZPixfResize>();
        case ResizeBilinear: return std::make_unique<zpixf::ZPixfResizeBilinear>();
        case ResizeBicubic0: return MakeBicubic(0);
        case ResizeBicubic1: return MakeBicubic(1);
        case ResizeBicubic2: return MakeBicubic(2);
    }
    return nullptr;
}

}  // namespace zbm
