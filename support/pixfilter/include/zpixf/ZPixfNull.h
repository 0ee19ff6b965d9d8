#pragma once
#include "zpixf/ZPixFilterBase.h"

namespace zpixf {

/// Hands every line through as it is. Input and output formats must agree.
class ZPIXF_API ZPixfNull : public ZPixfPointwise {
public:
    ZPixfNull();
    ~ZPixfNull() override;
    ZPixfType FilterType() const override;
    bool ChangePixels(std::uint8_t* pixels, std::size_t count) final;
    bool CopyChanged(const std::uint8_t* from, std::uint8_t* to, std::size_t count,
                     shr::CopyWrites writes) noexcept final;
    bool ChangesNothing() const noexcept final { return true; }

protected:
    bool OnStart() override;
};

}  // namespace zpixf
