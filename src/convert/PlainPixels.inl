// The formats as plain loops over a block's 32 pixels, which the compiler makes vectors of where it can.
namespace zbm {
namespace {

constexpr size_t kCount = kBlockPixels;

struct Levels {
    uint8_t at[kCount];
};
struct Words {
    uint16_t at[kCount];
};
struct Colors {
    uint32_t at[kCount];
};

/// Where results go. There is no way past the caches in plain C++.
struct ToCache {
    static constexpr bool kIsOffered = true, kIsCached = true;
    template <class Block>
    void operator()(uint8_t* dst, const Block& block) const {
        std::memcpy(dst, &block, sizeof block);
    }
};
struct PastCache : ToCache {
    static constexpr bool kIsOffered = false;
};

template <class Block>
Block LoadBlock(const void* from) {
    Block block;
    std::memcpy(&block, from, sizeof block);
    return block;
}
uint8_t Byte(uint32_t value) { return static_cast<uint8_t>(value); }

Colors HighWords(const Words& words) {
    Colors high;
    for (size_t i = 0; i < kCount; ++i) high.at[i] = uint32_t{words.at[i]} << 16;
    return high;
}
Words HighWords(const Colors& numbers) {
    Words high;
    for (size_t i = 0; i < kCount; ++i) high.at[i] = static_cast<uint16_t>(numbers.at[i] >> 16);
    return high;
}
/// The grey of each level as an opaque colour.
Colors Greys(const Levels& levels) {
    Colors colors;
    for (size_t i = 0; i < kCount; ++i) colors.at[i] = kOpaque | levels.at[i] * 0x010101u;
    return colors;
}
Colors Swapped(const Colors& colors) {
    Colors swapped;
    for (size_t i = 0; i < kCount; ++i) {
        const uint32_t c = colors.at[i];
        swapped.at[i] = (c & 0xFF00FF00) | ((c >> 16) & 0xFF) | ((c & 0xFF) << 16);
    }
    return swapped;
}

uint32_t Luminance(uint32_t color) {
    return kBlueWeight * (color & 0xFF) + kGreenWeight * ((color >> 8) & 0xFF) + kRedWeight * ((color >> 16) & 0xFF);
}

Levels ExpandBits(const uint8_t* src) {
    Levels indices;
    for (size_t i = 0; i < kCount; ++i) indices.at[i] = (src[i / 8] >> (7 - i % 8)) & 1;
    return indices;
}
Levels ExpandNibbles(const uint8_t* src) {
    Levels indices;
    for (size_t i = 0; i < kCount / 2; ++i) {
        indices.at[2 * i] = src[i] >> 4;
        indices.at[2 * i + 1] = src[i] & 15;
    }
    return indices;
}
template <class Out>
void StoreBits(Out out, uint8_t* dst, const Levels& bits) {
    uint8_t bytes[kCount / 8];
    cpu::PackBits(bytes, bits.at, kCount);
    out(dst, bytes);
}
template <class Out>
void StoreNibbles(Out out, uint8_t* dst, const Levels& nibbles) {
    uint8_t bytes[kCount / 2];
    cpu::PackNibbles(bytes, nibbles.at, kCount);
    out(dst, bytes);
}

template <class Format>
struct IndexedPixels {
    static Levels MapToLevels(const uint8_t* src, const IndexMap& map) {
        Levels mapped = Format::LoadIndices(src);
        for (uint8_t& level : mapped.at) level = map.bytes[level];
        return mapped;
    }
    static Words MapToWords(const uint8_t* src, const IndexMap& map) { return Map<Words>(src, map); }
    static Colors MapToColors(const uint8_t* src, const IndexMap& map) { return Map<Colors>(src, map); }

private:
    template <class Block>
    static Block Map(const uint8_t* src, const IndexMap& map) {
        const Levels indices = Format::LoadIndices(src);
        Block mapped;
        for (size_t i = 0; i < kCount; ++i)
            std::memcpy(&mapped.at[i], map.bytes + indices.at[i] * sizeof mapped.at[i], sizeof mapped.at[i]);
        return mapped;
    }
};

template <>
struct Pixels<shr::INDEXED_1> : IndexedPixels<Pixels<shr::INDEXED_1>> {
    static Levels LoadIndices(const uint8_t* src) { return ExpandBits(src); }
};
template <>
struct Pixels<shr::INDEXED_4> : IndexedPixels<Pixels<shr::INDEXED_4>> {
    static Levels LoadIndices(const uint8_t* src) { return ExpandNibbles(src); }
    template <class Out>
    static void StoreIndices(Out out, uint8_t* dst, const Levels& indices) {
        StoreNibbles(out, dst, indices);
    }
};
template <>
struct Pixels<shr::INDEXED_8> : IndexedPixels<Pixels<shr::INDEXED_8>> {
    static Levels LoadIndices(const uint8_t* src) { return LoadBlock<Levels>(src); }
    template <class Out>
    static void StoreIndices(Out out, uint8_t* dst, const Levels& indices) {
        out(dst, indices);
    }
};

template <>
struct Pixels<shr::GRAYSCALE_1> {
    static Levels LoadLevels(const uint8_t* src) {
        Levels levels = ExpandBits(src);
        for (uint8_t& level : levels.at) level = Byte(level * 255u);
        return levels;
    }
    static Colors LoadGreys(const uint8_t* src) { return Greys(LoadLevels(src)); }
    template <class Out>
    static void StoreLevels(Out out, uint8_t* dst, Levels levels) {
        for (uint8_t& level : levels.at) level >>= 7;
        StoreBits(out, dst, levels);
    }
    template <ColorFormat Src, class Out>
    static void StoreLuminance(Out out, uint8_t* dst, const uint8_t* src) {
        const Colors colors = Pixels<Src>::Load(src);
        Levels bits;
        for (size_t i = 0; i < kCount; ++i) bits.at[i] = Luminance(colors.at[i]) >= kHalfWhite ? 1 : 0;
        StoreBits(out, dst, bits);
    }
};
template <>
struct Pixels<shr::GRAYSCALE_4> {
    static Levels LoadLevels(const uint8_t* src) {
        Levels levels = ExpandNibbles(src);
        for (uint8_t& level : levels.at) level = Byte(level * 17u);
        return levels;
    }
    static Colors LoadGreys(const uint8_t* src) { return Greys(LoadLevels(src)); }
    template <class Out>
    static void StoreLevels(Out out, uint8_t* dst, Levels levels) {
        for (uint8_t& level : levels.at) level >>= 4;
        StoreNibbles(out, dst, levels);
    }
    template <ColorFormat Src, class Out>
    static void StoreLuminance(Out out, uint8_t* dst, const uint8_t* src) {
        const Colors colors = Pixels<Src>::Load(src);
        Levels nibbles;
        for (size_t i = 0; i < kCount; ++i) nibbles.at[i] = Byte(Luminance(colors.at[i]) / (kWhite / 15));
        StoreNibbles(out, dst, nibbles);
    }
};
template <>
struct Pixels<shr::GRAYSCALE_8> {
    static Levels LoadLevels(const uint8_t* src) { return LoadBlock<Levels>(src); }
    static Colors LoadGreys(const uint8_t* src) { return Greys(LoadLevels(src)); }
    template <class Out>
    static void StoreLevels(Out out, uint8_t* dst, const Levels& levels) {
        out(dst, levels);
    }
    template <ColorFormat Src, class Out>
    static void StoreLuminance(Out out, uint8_t* dst, const uint8_t* src) {
        const Colors colors = Pixels<Src>::Load(src);
        Levels levels;
        for (size_t i = 0; i < kCount; ++i) levels.at[i] = Byte(Luminance(colors.at[i]) / (kWhite / 255));
        out(dst, levels);
    }
};
template <>
struct Pixels<shr::GRAYSCALE_16> {
    static Words Load(const uint8_t* src) { return LoadBlock<Words>(src); }
    template <class Out>
    static void Store(Out out, uint8_t* dst, const Words& words) {
        out(dst, words);
    }
    static Levels LoadLevels(const uint8_t* src) {
        const Words words = Load(src);
        Levels levels;
        for (size_t i = 0; i < kCount; ++i) levels.at[i] = Byte(words.at[i] >> 8);
        return levels;
    }
    static Colors LoadGreys(const uint8_t* src) { return Greys(LoadLevels(src)); }
    template <class Out>
    static void StoreLevels(Out out, uint8_t* dst, const Levels& levels) {
        Words words;
        for (size_t i = 0; i < kCount; ++i) words.at[i] = static_cast<uint16_t>(levels.at[i] * 257u);
        out(dst, words);
    }
    /// 65535 / 255000 is 257 / 1000.
    template <ColorFormat Src, class Out>
    static void StoreLuminance(Out out, uint8_t* dst, const uint8_t* src) {
        const Colors colors = Pixels<Src>::Load(src);
        Words words;
        for (size_t i = 0; i < kCount; ++i) words.at[i] = static_cast<uint16_t>(Luminance(colors.at[i]) * 257 / 1000);
        out(dst, words);
    }
};
template <>
struct Pixels<shr::GRAYSCALE_32> {
    static Colors Load(const uint8_t* src) { return LoadBlock<Colors>(src); }
    template <class Out>
    static void Store(Out out, uint8_t* dst, const Colors& numbers) {
        out(dst, numbers);
    }
    static Levels LoadLevels(const uint8_t* src) {
        const Colors numbers = Load(src);
        Levels levels;
        for (size_t i = 0; i < kCount; ++i) levels.at[i] = Byte(numbers.at[i] >> 24);
        return levels;
    }
    static Colors LoadGreys(const uint8_t* src) { return Greys(LoadLevels(src)); }
    template <class Out>
    static void StoreLevels(Out out, uint8_t* dst, const Levels& levels) {
        Colors numbers;
        for (size_t i = 0; i < kCount; ++i) numbers.at[i] = levels.at[i] * 0x01010101u;
        out(dst, numbers);
    }
    /// 4294967295 / 255000 is 16843009 / 1000, which is 16843 + 9 / 1000.
    template <ColorFormat Src, class Out>
    static void StoreLuminance(Out out, uint8_t* dst, const uint8_t* src) {
        const Colors colors = Pixels<Src>::Load(src);
        Colors numbers;
        for (size_t i = 0; i < kCount; ++i) {
            const uint32_t luminance = Luminance(colors.at[i]);
            numbers.at[i] = luminance * 16843 + luminance * 9 / 1000;
        }
        out(dst, numbers);
    }
};

template <>
struct Pixels<shr::BGR_24> {
    static Colors Load(const uint8_t* src) {
        Colors colors;
        for (size_t i = 0; i < kCount; ++i)
            colors.at[i] = kOpaque | src[3 * i] | uint32_t{src[3 * i + 1]} << 8 | uint32_t{src[3 * i + 2]} << 16;
        return colors;
    }
    template <class Out>
    static void Store(Out out, uint8_t* dst, const Colors& colors) {
        uint8_t bytes[kCount * 3];
        for (size_t i = 0; i < kCount; ++i) {
            bytes[3 * i] = Byte(colors.at[i]);
            bytes[3 * i + 1] = Byte(colors.at[i] >> 8);
            bytes[3 * i + 2] = Byte(colors.at[i] >> 16);
        }
        out(dst, bytes);
    }
};
template <>
struct Pixels<shr::BGRA_32> {
    static Colors Load(const uint8_t* src) { return LoadBlock<Colors>(src); }
    template <class Out>
    static void Store(Out out, uint8_t* dst, const Colors& colors) {
        out(dst, colors);
    }
};
template <>
struct Pixels<shr::RGBA_32> {
    static Colors Load(const uint8_t* src) { return Swapped(LoadBlock<Colors>(src)); }
    template <class Out>
    static void Store(Out out, uint8_t* dst, const Colors& colors) {
        out(dst, Swapped(colors));
    }
};
template <>
struct Pixels<shr::BGRX_32> {
    static Colors Load(const uint8_t* src) {
        Colors colors = LoadBlock<Colors>(src);
        for (uint32_t& color : colors.at) color |= kOpaque;
        return colors;
    }
    template <class Out>
    static void Store(Out out, uint8_t* dst, Colors colors) {
        for (uint32_t& color : colors.at) color &= kColorBits;
        out(dst, colors);
    }
};
/// 255 / A as a number of 16 bits after the point, rounded up, so that c * of[A] >> 16 is c * 255 / A. By this, an A of
/// 0 leaves a colour as it is.
struct Inverses {
    uint32_t of[256] = {1u << 16};
    constexpr Inverses() {
        for (uint32_t alpha = 1; alpha < 256; ++alpha) of[alpha] = ((255u << 16) + alpha - 1) / alpha;
    }
};
constexpr Inverses kInverses;

template <>
struct Pixels<shr::PBGRA_32> {
    static Colors Load(const uint8_t* src) {
        Colors colors = LoadBlock<Colors>(src);
        for (uint32_t& color : colors.at) {
            const uint32_t inverse = kInverses.of[color >> 24];
            const uint32_t blue = ((color & 0xFF) * inverse) >> 16 & 0xFF;
            const uint32_t green = (((color >> 8) & 0xFF) * inverse) >> 8 & 0xFF00;
            const uint32_t red = ((color >> 16) & 0xFF) * inverse & 0xFF0000;
            color = (color & kOpaque) | red | green | blue;
        }
        return colors;
    }
    /// (c A + 127) / 255 is t + t / 256 over 256, t being c A + 128; two channels a word.
    template <class Out>
    static void Store(Out out, uint8_t* dst, Colors colors) {
        for (uint32_t& color : colors.at) {
            const uint32_t alpha = color >> 24;
            uint32_t redBlue = (color & 0xFF00FF) * alpha + 0x800080;
            redBlue = (redBlue + ((redBlue >> 8) & 0xFF00FF)) >> 8 & 0xFF00FF;
            uint32_t green = ((color >> 8) & 0xFF) * alpha + 0x80;
            green = (green + (green >> 8)) & 0xFF00;
            color = (color & kOpaque) | redBlue | green;
        }
        out(dst, colors);
    }
};

}  // namespace
}  // namespace zbm
