// Every level's kernels against plain loops, and whole blocks of one level against those of another.
#include "PlaneKernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "Blocks.h"
#include "Kernels.h"
#include "support_code/KernelLevels.h"

namespace codec_tests {
namespace {

using zcdl::PixelShape;
using zcdl::PlaneKernels;
using zcdl::Predictor;

constexpr Predictor kPredictors[] = {Predictor::none, Predictor::left, Predictor::up, Predictor::median};
constexpr std::size_t kMargin = zcdl::kRowMargin;

/// Runs a test's body with the kernels of a level, and goes back to the best.
class EachLevel : public testing::TestWithParam<cpu::Level> {
protected:
    void SetUp() override { ASSERT_TRUE(zcdl::UseKernels(GetParam())); }
    void TearDown() override { zcdl::UseKernels(cpu::Choose()); }
    static const PlaneKernels& Kernels() { return zcdl::ActiveKernels(); }
};

Bytes RandomBytes(std::size_t count, std::uint64_t seed, std::uint32_t limit = 256) {
    Random random(seed);
    Bytes bytes(count);
    for (std::uint8_t& b : bytes) b = static_cast<std::uint8_t>(random.Below(limit));
    return bytes;
}

template <typename T>
T ReferencePrediction(Predictor predictor, T left, T up, T upLeft) {
    switch (predictor) {
        case Predictor::none: return 0;
        case Predictor::left: return left;
        case Predictor::up: return up;
        case Predictor::median: {
            const int sorted = left + up - upLeft;
            return static_cast<T>(std::clamp<int>(sorted, std::min(left, up), std::max(left, up)));
        }
    }
    return 0;
}

/// Lengths around the vectors' and some longer ones.
std::vector<std::size_t> Lengths() {
    std::vector<std::size_t> lengths;
    for (std::size_t n = 0; n <= 67; ++n) lengths.push_back(n);
    lengths.insert(lengths.end(), {127, 128, 129, 512, 1001});
    return lengths;
}

TEST_P(EachLevel, SplitsPixelsIntoPlanesAndJoinsThemAgain) {
    for (const std::size_t count : Lengths()) {
        for (const PixelShape shape : {PixelShape{1, false}, PixelShape{2, false}, PixelShape{3, false},
                                       PixelShape{3, true}, PixelShape{4, false}, PixelShape{4, true}}) {
            const auto step = static_cast<std::size_t>(shape.step);
            const Bytes pixels = RandomBytes(count * step, count);
            std::vector<Bytes> planes(4, Bytes(count + 1, 0xAA));
            std::uint8_t* targets[4];
            for (std::size_t c = 0; c < 4; ++c) targets[c] = planes[c].data();
            Kernels().split(pixels.data(), count, shape, targets);
            for (std::size_t i = 0; i < count; ++i) {
                std::uint8_t expected[4] = {};
                std::copy_n(&pixels[i * step], step, expected);
                if (shape.color) {
                    const int g = expected[1];
                    const int b = (expected[0] - g + 128) & 255, r = (expected[2] - g + 128) & 255;
                    expected[0] = static_cast<std::uint8_t>(b);
                    expected[2] = static_cast<std::uint8_t>(r);
                    expected[1] = static_cast<std::uint8_t>(g + ((b + r + 1) >> 2) - 64);
                }
                for (std::size_t c = 0; c < step; ++c) ASSERT_EQ(planes[c][i], expected[c]) << step << " at " << i;
            }
            for (const Bytes& plane : planes) ASSERT_EQ(plane[count], 0xAA);

            Bytes joined(pixels.size() + 1, 0xBB);
            Kernels().join(joined.data(), count, shape, targets);
            ASSERT_EQ(joined[pixels.size()], 0xBB);
            joined.resize(pixels.size());
            ASSERT_EQ(joined, pixels);
        }
    }
}

TEST_P(EachLevel, PredictsAndRestoresBytes) {
    for (const std::size_t count : Lengths()) {
        for (const Predictor predictor : kPredictors) {
            Bytes row = RandomBytes(count + 2 * kMargin, count), above = RandomBytes(count + 2 * kMargin, count + 1);
            std::fill_n(row.begin(), kMargin, std::uint8_t{0});
            std::fill_n(above.begin(), kMargin, std::uint8_t{0});
            Bytes residual(count + 1, 0xAA);
            Kernels().predict(predictor, &row[kMargin], &above[kMargin], residual.data(), count);
            for (std::size_t i = 0; i < count; ++i) {
                const std::size_t k = kMargin + i;
                const std::uint8_t prediction = ReferencePrediction(predictor, row[k - 1], above[k], above[k - 1]);
                ASSERT_EQ(residual[i], static_cast<std::uint8_t>(row[k] - prediction));
            }
            ASSERT_EQ(residual[count], 0xAA);
            Bytes restored = row;
            std::copy_n(residual.begin(), count, restored.begin() + kMargin);
            Kernels().restore(predictor, &restored[kMargin], &above[kMargin], count);
            ASSERT_EQ(restored, row);
        }
    }
}

TEST_P(EachLevel, PredictsAndRestoresWords) {
    for (const std::size_t count : Lengths()) {
        for (const Predictor predictor : kPredictors) {
            Random random(count);
            std::vector<std::uint16_t> row(count + 2 * kMargin), above(row.size());
            for (std::size_t i = kMargin; i < row.size(); ++i) {
                row[i] = static_cast<std::uint16_t>(random.Next());
                above[i] = static_cast<std::uint16_t>(random.Next());
            }
            Bytes low(count), high(count);
            Kernels().predictWords(predictor, &row[kMargin], &above[kMargin], low.data(), high.data(), count);
            std::vector<std::uint16_t> restored = row;
            for (std::size_t i = 0; i < count; ++i) {
                const std::size_t k = kMargin + i;
                const std::uint16_t prediction = ReferencePrediction(predictor, row[k - 1], above[k], above[k - 1]);
                const auto residual = static_cast<std::int16_t>(row[k] - prediction);
                // 0, -1, 1, -2, 2 ... become 0, 1, 2, 3, 4 ...
                const int folded = residual >= 0 ? 2 * residual : -2 * residual - 1;
                ASSERT_EQ(low[i], folded & 255);
                ASSERT_EQ(high[i], folded >> 8);
            }
            Kernels().mergeWords(low.data(), high.data(), &restored[kMargin], count);
            Kernels().restoreWords(predictor, &restored[kMargin], &above[kMargin], count);
            ASSERT_EQ(restored, row);
        }
    }
}

template <typename T>
void ExpectBandRestored(void (*restore)(T*, std::size_t, std::size_t), std::size_t bandRows) {
    for (const std::size_t count : Lengths()) {
        if (count == 0) continue;
        const std::size_t stride = count + 2 * kMargin;
        Random random(count);
        std::vector<T> rows((bandRows + 1) * stride);
        for (std::size_t r = 0; r <= bandRows; ++r)
            for (std::size_t i = 0; i < count; ++i) rows[r * stride + kMargin + i] = static_cast<T>(random.Next());
        std::vector<T> band = rows;
        for (std::size_t r = 1; r <= bandRows; ++r) {
            for (std::size_t i = 0; i < count; ++i) {
                const std::size_t k = r * stride + kMargin + i;
                band[k] = static_cast<T>(rows[k] - ReferencePrediction<T>(Predictor::median, rows[k - 1],
                                                                          rows[k - stride], rows[k - stride - 1]));
            }
        }
        restore(band.data() + kMargin, stride, count);
        for (std::size_t r = 0; r <= bandRows; ++r) {
            for (std::size_t i = 0; i < count; ++i)
                ASSERT_EQ(band[r * stride + kMargin + i], rows[r * stride + kMargin + i]) << "row " << r << " at " << i;
            for (std::size_t i = 0; i < kMargin; ++i) ASSERT_EQ(band[r * stride + i], 0) << "margin of row " << r;
        }
    }
}

TEST_P(EachLevel, RestoresBandsOfRows) {
    ExpectBandRestored<std::uint8_t>(Kernels().restoreMedianBand, zcdl::kByteBandRows);
    ExpectBandRestored<std::uint16_t>(Kernels().restoreMedianWordBand, zcdl::kWordBandRows);
}

/// Half bytes and escapes of residuals in order.
struct Halves {
    Bytes nibbles, escapes;
    void Put(std::uint8_t residual) {
        const int value = static_cast<std::int8_t>(residual);
        const bool fits = value >= -7 && value <= 7;
        nibbles.push_back(static_cast<std::uint8_t>(fits ? value + 7 : 15));
        if (!fits) escapes.push_back(residual);
    }
    Bytes Packed() const {
        Bytes packed;
        for (std::size_t i = 0; i < nibbles.size(); i += 2)
            packed.push_back(
                static_cast<std::uint8_t>(nibbles[i] << 4 | (i + 1 < nibbles.size() ? nibbles[i + 1] : 7)));
        return packed;
    }
};

TEST_P(EachLevel, PacksPairsAndUnpacksThem) {
    for (const std::size_t count : Lengths()) {
        for (const unsigned spread : {4u, 9u, 256u}) {
            Bytes residual = RandomBytes(count, count, spread);
            Halves halves;
            for (const std::uint8_t r : residual) halves.Put(r);
            Bytes packed((count + 1) / 2), escapes(count + 1);
            const std::uint8_t* end = Kernels().packPairs(residual.data(), count, packed.data(), escapes.data());
            escapes.resize(static_cast<std::size_t>(end - escapes.data()));
            ASSERT_EQ(packed, halves.Packed());
            ASSERT_EQ(escapes, halves.escapes);

            Bytes unpacked(count);
            const std::uint8_t* const last = escapes.data() + escapes.size();
            ASSERT_EQ(Kernels().unpackPairs(packed.data(), count, unpacked.data(), escapes.data(), last), last);
            ASSERT_EQ(unpacked, residual);
            if (count % 2 != 0) {
                packed.back() ^= 1;  // the filler
                ASSERT_EQ(Kernels().unpackPairs(packed.data(), count, unpacked.data(), escapes.data(), last), nullptr);
                packed.back() ^= 1;
            }
            if (escapes.empty()) continue;
            ASSERT_EQ(Kernels().unpackPairs(packed.data(), count, unpacked.data(), escapes.data(), last - 1), nullptr);
        }
    }
}

TEST_P(EachLevel, PacksTwoPlanesJointlyAndUnpacksThem) {
    for (const std::size_t count : Lengths()) {
        for (const unsigned spread : {4u, 9u, 256u}) {
            const Bytes a = RandomBytes(count, count, spread), b = RandomBytes(count, count + 7, spread);
            Halves halves;
            for (std::size_t i = 0; i < count; ++i) {
                halves.Put(a[i]);
                halves.Put(b[i]);
            }
            Bytes packed(count), escapes(2 * count + 1);
            const std::uint8_t* end = Kernels().packJoint(a.data(), b.data(), count, packed.data(), escapes.data());
            escapes.resize(static_cast<std::size_t>(end - escapes.data()));
            ASSERT_EQ(packed, halves.Packed());
            ASSERT_EQ(escapes, halves.escapes);

            Bytes high(count), low(count);
            const std::uint8_t* const last = escapes.data() + escapes.size();
            ASSERT_EQ(Kernels().unpackJoint(packed.data(), count, high.data(), low.data(), escapes.data(), last), last);
            ASSERT_EQ(high, a);
            ASSERT_EQ(low, b);
            if (escapes.empty()) continue;
            ASSERT_EQ(Kernels().unpackJoint(packed.data(), count, high.data(), low.data(), escapes.data(), last - 1),
                      nullptr);
        }
    }
}

TEST_P(EachLevel, TellsEscapesFromResidualsThatArePacked) {
    for (const std::size_t count : Lengths()) {
        Bytes residuals(count);
        for (std::size_t i = 0; i < count; ++i) residuals[i] = static_cast<std::uint8_t>(8 + i % 241);
        EXPECT_TRUE(Kernels().areEscapes(residuals.data(), count));
        for (std::size_t i = 0; i < count; i += 1 + i / 5) {
            const std::uint8_t escape = residuals[i];
            for (const int packable : {-7, 0, 7}) {
                residuals[i] = static_cast<std::uint8_t>(packable);
                EXPECT_FALSE(Kernels().areEscapes(residuals.data(), count));
            }
            residuals[i] = escape;
        }
    }
}

TEST_P(EachLevel, SumsDistancesAndChecksums) {
    for (const std::size_t count : Lengths()) {
        const Bytes a = RandomBytes(count, count), b = RandomBytes(count, count + 1);
        std::uint32_t sum = 0;
        for (std::size_t i = 0; i < count; ++i)
            sum += static_cast<std::uint32_t>(std::abs(static_cast<std::int8_t>(a[i] - b[i])));
        EXPECT_EQ(Kernels().distance(a.data(), b.data(), count), sum);
        EXPECT_EQ(Kernels().checksum(a.data(), count), ChecksumOf(a));
    }
    const Bytes far(2048, 128), near(2048, 0);
    EXPECT_EQ(Kernels().distance(far.data(), near.data(), 2048), 2048u * 128);
}

TEST_P(EachLevel, TellsConstantBytes) {
    for (const std::size_t count : Lengths()) {
        Bytes bytes(count, 77);
        EXPECT_TRUE(Kernels().isConstant(bytes.data(), count, 77));
        for (std::size_t i = 0; i < count; i += 1 + i / 5) {
            bytes[i] = 76;
            EXPECT_FALSE(Kernels().isConstant(bytes.data(), count, 77));
            bytes[i] = 77;
        }
    }
}

TEST_P(EachLevel, GivesTheBlocksAndPixelsOfTheBaseLevel) {
    for (const Picture& picture : LargePictures()) {
        for (const zcdl::CodecMethod method : kMethods) {
            ASSERT_TRUE(zcdl::UseKernels(cpu::Level::base));
            const Bytes expected = Encode(picture.bytes, method);
            ASSERT_TRUE(zcdl::UseKernels(GetParam()));
            ASSERT_EQ(Encode(picture.bytes, method), expected) << picture.name;
            ASSERT_EQ(Decode(expected, picture.bytes.size()).content, picture.bytes) << picture.name;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(PlaneKernels, EachLevel, testing::ValuesIn(testkit::LevelsHere()), testkit::kLevelName);

}  // namespace
}  // namespace codec_tests
