// The filters of colour alone, line by line: the source copies lines of a picture, the results go into one line's
// buffer. The rival copies the same lines.
#include "zpixf/ZPixfAdjust.h"

#include "pixfilter/PhotographFilter.h"

namespace {

using namespace zpixf;

bench::Benchmark Brightness(const char* name, double amount) {
    return bench::PhotographFilter<ZPixfBrightness>(name, [=](auto& filter) { filter.SetBrightness(amount); });
}
bench::Benchmark Contrast(const char* name, double amount) {
    return bench::PhotographFilter<ZPixfContrast>(name, [=](auto& filter) { filter.SetContrast(amount); });
}

[[maybe_unused]] const bool kAdded = bench::Add({
    Brightness("Brightness/lighter", 0.3),
    Brightness("Brightness/darker", -0.3),
    Contrast("Contrast/more", 0.3),
    Contrast("Contrast/less", -0.3),
    bench::PhotographFilter<ZPixfSaturation>("Saturation/less", [](auto& filter) { filter.SetSaturation(0.4); }),
    bench::PhotographFilter<ZPixfDesaturate>("Desaturate", [](auto&) {}),
});

}  // namespace
