#pragma once
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "apps/Scratch.h"

// Pictures as plain arrays of samples, and their files by way of the picture libraries alone: what the tool reads and
// writes is judged by these.
namespace test {

enum class Kind { grey, greyAlpha, rgb, rgba, palette };

struct Image {
    Kind kind = Kind::grey;
    int bits = 8;  // a sample
    int width = 0, height = 0;
    std::vector<std::uint32_t> samples;                // row by row, pixel by pixel
    std::vector<std::array<std::uint8_t, 4>> palette;  // R, G, B, A
    int xPixelsPerMeter = 0, yPixelsPerMeter = 0;
    int xAspect = 0, yAspect = 0;  // the resolution in a unit that is not known
    bool associated = false;       // colours are multiplied by alpha (TIFF)
    Bytes profile = {};            // ICC

    int Channels() const;
    std::uint32_t Largest() const { return bits == 32 ? UINT32_MAX : (1u << bits) - 1; }
    std::uint32_t& At(int x, int y, int channel);
    std::uint32_t At(int x, int y, int channel) const { return const_cast<Image*>(this)->At(x, y, channel); }
};

/// A colour profile that libraries take for one, for the colours of that name: "GRAY", "RGB " or "CMYK".
Bytes MakeProfile(const std::string& colors, std::size_t length);

/// Random samples; a palette kind gets a random palette of all entries, opaque.
Image RandomImage(Kind kind, int bits, int width, int height, unsigned seed);

struct PngOptions {
    bool interlaced = false;
    /// The grey level, or the colour, that is transparent.
    std::vector<std::uint16_t> transparent = {};
    Bytes exif = {};
    bool exifBehindPixels = false;
};
Bytes EncodePng(const Image& image, const PngOptions& options = {});
Image DecodePng(const Bytes& bytes);

struct TiffOptions {
    bool inverted = false;  // min-is-white
    bool planar = false;    // a plane a sample
    int tileSize = 0;       // 0: strips
    int rowsPerStrip = 0;   // 0: one strip
    int compression = 1;    // none
    bool bigEndian = false;
    int photometric = -1;  // overrides what the kind needs
    int sampleFormat = 0;  // overrides unsigned
    bool perInch = false;  // resolution unit
    int orientation = 1;
    int extraSampleKind = -1;  // overrides what alpha is
    int pictures = 1;
    bool profile = false;  // some bytes as a colour profile
};
Bytes EncodeTiff(const Image& image, const TiffOptions& options = {});
Image DecodeTiff(const Bytes& bytes);

struct JpegOptions {
    int quality = 90;
    bool fullColor = true;  // 4:4:4
    bool progressive = false;
    bool arithmetic = false;  // coding
    bool onlyMeans = false;   // progressive, and of each block its mean alone
    int restartRows = 0;      // rows of blocks between restarts
    bool cmyk = false;        // four channels: an rgba image's samples as they are
    bool ycck = false;        // and these as brightness, colours and black
    bool adobe = true;        // with the marker that tells of inverted inks
    Bytes exif = {};
    bool profile = false;  // some bytes as a colour profile
    int densityUnit = 0, density = 1;
};
Bytes EncodeJpeg(const Image& image, const JpegOptions& options = {});
/// Makes the file claim another size.
void SetJpegSize(Bytes& file, int width, int height);
/// Density comes back as pixels per metre.
Image DecodeJpeg(const Bytes& bytes);

/// 1, 4 and 8 bits (palette), 24 bits (rgb), 32 bits with alpha (rgba).
Bytes EncodeBmp(const Image& image, bool topDown = false);
/// 32 bits without alpha mask give rgb.
Image DecodeBmp(const Bytes& bytes);

}  // namespace test
