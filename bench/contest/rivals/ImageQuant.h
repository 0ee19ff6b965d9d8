#pragma once
// How our filters and libimagequant are driven to make a picture of indices.
#include <libimagequant.h>

#include <memory>

#include "Pictures.h"
#include "gdi/gdi.h"
#include "zpixf/ZPixfDither.h"
#include "zpixf/ZPixfQuantize.h"

namespace contest {

inline constexpr std::size_t kPicturePixels = kPictureSide * kPictureSide;

/// A byte a pixel, an index into the table.
struct IndexedPicture {
    Pixels ToBgra() const;

    Pixels indices = Pixels(kPicturePixels);
    RGBQUAD table[256] = {};
};

/// Each works on the whole of a picture, and raises std::runtime_error if a filter fails.
void Quantize(zpixf::ZPixfQuantize& quantizer, const Pixels& bgra, unsigned colors, IndexedPicture& result);
/// `table` of 256 entries; null for the colours that the filter itself fixes.
void Dither(zpixf::ZPixfDither& ditherer, const Pixels& bgra, const RGBQUAD* table, IndexedPicture& result);
/// The quantiser only chooses the colours; its own indices are not asked for.
void QuantizeAndDither(zpixf::ZPixfQuantize& quantizer, zpixf::ZPixfDither& ditherer, const Pixels& bgra,
                       IndexedPicture& result);

/// A picture for which libimagequant has chosen colours. `rgba` must outlive it.
class LiqChoice {
public:
    LiqChoice(const Pixels& rgba, int colors, int speed);
    void Map(bool dithers, IndexedPicture& picture) const;

private:
    struct Destroy {
        void operator()(liq_attr* what) const { liq_attr_destroy(what); }
        void operator()(liq_image* what) const { liq_image_destroy(what); }
        void operator()(liq_result* what) const { liq_result_destroy(what); }
    };
    std::unique_ptr<liq_attr, Destroy> attributes;
    std::unique_ptr<liq_image, Destroy> image;
    std::unique_ptr<liq_result, Destroy> result;
};

}  // namespace contest
