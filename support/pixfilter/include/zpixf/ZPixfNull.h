#pragma once
#include "zpixf/ZPixFilterBase.h"

namespace zpixf {

/// Hands every line through as it is. Input and output formats must agree.
class ZPIXF_API ZPixfNull : public ZPixFilterBase {
public:
    ZPixfNull();
    ~ZPixfNull() override;
    ZPixfType FilterType() const override;
    bool FilterScanline(unsigned line, void* buffer) override;
    bool PullsForward() const override { return true; }

protected:
    bool OnStart() override;
};

}  // namespace zpixf
