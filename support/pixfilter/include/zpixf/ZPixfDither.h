#pragma once
#include <cstddef>
#include <memory>

#include "zpixf/ZPixFilterBase.h"

namespace zpixf {

class LineDitherer;

/// Maps a picture to a palette so that the mean colour of an area is kept.
///
/// Input: 4 channels of 8 bits (B, G, R, A). Output: as many pixels, either one channel of 1, 4 or 8 bits, the packed
/// indices, or 4 channels of 8 bits, the palette's colours with the alpha of the input. Start fails for other formats,
/// for sizes that differ, and for a palette, or a count without one, of more entries than the index can tell apart.
///
/// The palette is that of the output format. If that has none, Start sets a fixed one: the largest of at most as many
/// entries as the format's count, or as the index can tell apart if the count is 0 (256 for colours). It fails for a
/// count of 1. The fixed palettes are black and white; the 16 colours of VGA displays; and a cube of 6 x 6 x 6 colours
/// with 40 greys between its own. Of a palette of greys only, the luma of the pixels is shown.
///
/// A pixel of a colour that the palette has comes out as it is (in a diffusion, if no errors reach it). FilterScanline
/// pulls the line that it gives; bits of a packed line's last byte beyond its pixels stay. The result is the same on
/// every system and processor.
class ZPIXF_API ZPixfDither : public ZPixFilterBase {
public:
    ~ZPixfDither() override;
    /// How much of the dither is seen, 0 to 1: at 0 each pixel gets the entry nearest to it, and what lies between
    /// leads there evenly. 1 if never set; Start fails for any other number.
    void SetStrength(double newStrength);
    /// Whether FilterScanline may pull up to three lines after that which it gives, as the picture has them; not so if
    /// never set. A diffusion is then faster, with the same results. It is not for a filter that follows another of
    /// which the alpha is taken line by line.
    void SetPullsAhead(bool ahead);
    /// Frees what is kept of the palettes last used with the ordered dithers, up to some 20 MB each of two, for the
    /// next pictures that have these. To be called at any time from any thread.
    static void FreeKeptTables() noexcept;
    bool FilterScanline(unsigned line, void* buffer) override;
    bool PullsForward() const override { return true; }
    void Stop() override;

protected:
    using MakeDitherer = std::unique_ptr<LineDitherer> (*)(const RGBQUAD* entries, unsigned numEntries,
                                                           std::size_t width, double strength);
    ZPixfDither();
    bool StartWith(MakeDitherer makeDitherer);

    struct ZPIXF_LOCAL State;
    std::unique_ptr<State> state;  ///< what a started filter holds

private:
    bool PullPixels(unsigned line, std::uint8_t* pixels);
    bool DitherFrom(unsigned line, bool follows, std::uint8_t* result);

    double strength = 1;
    bool pullsAhead = false;
};

/// Ordered dither (B. E. Bayer, An Optimum Method for Two-Level Rendition of Continuous-Tone Pictures, 1973) with
/// mixtures of up to four entries (after T. Knoll's pattern dithering, US patent 6606166, expired).
///
/// A mixture weighs how far its mean misses the colour against how far its entries lie from it, and changes smoothly
/// from colour to colour. With the fixed palettes the mean of a flat area of 64 x 64 pixels keeps within a level, for
/// all greys with that of 2 entries and all colours with the others. With palettes of greys, and those that have all
/// eight corners of the colour cube, the weight of the distances is small too. With any other palette of four colours
/// or more no entry appears that is twice as far from a pixel's colour as the fourth-nearest, and the mean of colours
/// between entries far apart, or outside their convex hull, tends to the entries near by.
///
/// A pixel depends on its colour and its place only, and lines may be asked for in any order.
class ZPIXF_API ZPixfDitherOrdered : public ZPixfDither {
public:
    ZPixfDitherOrdered();
    ~ZPixfDitherOrdered() override;
    ZPixfType FilterType() const override;

protected:
    bool OnStart() override;
};

/// ZPixfDitherOrdered's mixtures by the thresholds of blue noise (R. A. Ulichney, The Void-and-Cluster Method for
/// Dither Array Generation, 1993), a grain without Bayer's regular crosses.
class ZPIXF_API ZPixfDitherBlueNoise : public ZPixfDither {
public:
    ZPixfDitherBlueNoise();
    ~ZPixfDitherBlueNoise() override;
    ZPixfType FilterType() const override;

protected:
    bool OnStart() override;
};

/// Error diffusion (R. W. Floyd, L. Steinberg, An Adaptive Algorithm for Spatial Greyscale, 1976), by turns four
/// lines from the left and four from the right.
///
/// Each pixel takes the entry nearest to its own value, the colour and the errors that reached it. The mean of large
/// areas is kept, but for what falls below the last line, where entries near the colour can mix it. Unless the palette
/// has all corners of the colour cube, or is of greys with black and white, values are clamped to the cube, and errors
/// move no pixel by more than twice the palette's usual gap (16 to 256 levels), so that colours that only distant
/// entries would mix, or none, show no stray dots of other hues and are not smeared over what follows. Transparent
/// pixels (alpha 0) take and pass on no error. A line that does not follow the one given before, as line 0, begins
/// without errors.
class ZPIXF_API ZPixfDitherDiffuse : public ZPixfDither {
public:
    ZPixfDitherDiffuse();
    ~ZPixfDitherDiffuse() override;
    ZPixfType FilterType() const override;

protected:
    bool OnStart() override;
};

}  // namespace zpixf
