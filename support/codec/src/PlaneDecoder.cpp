#include <algorithm>
#include <cstring>

#include "PlaneTransform.h"

namespace zcdl {

/// How far the content has been used, and the band of rows in which residuals become samples again. A band's rows have
/// the last row of the band before them above; before the first that is a row of zeros.
struct PlaneDecoder::Source {
    const PlaneKernels& kernels = ActiveKernels();
    std::size_t width = 0;
    const std::uint8_t* packed[kMaxPlanes] = {};
    const std::uint8_t* rest = nullptr;
    const std::uint8_t* escapes[kMaxPlanes] = {};
    const std::uint8_t* escapesEnd[kMaxPlanes] = {};

    std::size_t bandRows = 0;
    std::size_t stride = 0;  ///< samples
    std::uint8_t* above[kMaxPlanes] = {};
    std::uint8_t* wordResiduals[2] = {};  ///< low and high bytes of one row

    bool HasOnlyEscapes() const noexcept;
    bool Unpack(const PlaneLayout& layout, std::uint8_t* const* residuals);
    bool RestoreBytes(const PlaneLayout& layout, std::size_t rowCount, std::uint8_t* dst);
    bool RestoreWords(const PlaneLayout& layout, std::size_t rowCount, std::uint8_t* dst);
    std::uint16_t* WordsAbove() const noexcept { return reinterpret_cast<std::uint16_t*>(above[0]); }
};

bool PlaneDecoder::Restore(const PlaneLayout& layout, std::uint8_t* dst) {
    Source source = Prepare(layout);
    if (!source.HasOnlyEscapes()) return false;
    const auto restBytes = static_cast<std::size_t>(layout.RowRestBytes());
    const auto rowBytes = static_cast<std::size_t>(layout.rowBytes);
    for (std::uint64_t rowsLeft = layout.Rows(); rowsLeft > 0;) {
        const auto rowCount = static_cast<std::size_t>(std::min<std::uint64_t>(rowsLeft, source.bandRows));
        const bool restored =
            layout.words ? source.RestoreWords(layout, rowCount, dst) : source.RestoreBytes(layout, rowCount, dst);
        if (!restored) return false;
        for (std::size_t row = 0; restBytes != 0 && row < rowCount; ++row, source.rest += restBytes)
            std::memcpy(dst + (row + 1) * rowBytes - restBytes, source.rest, restBytes);
        dst += rowCount * rowBytes;
        rowsLeft -= rowCount;
    }
    std::memcpy(dst, source.rest, static_cast<std::size_t>(layout.byteCount % layout.rowBytes));
    for (int p = 0; p < layout.shape.step; ++p)
        if (source.escapes[p] != source.escapesEnd[p]) return false;
    return true;
}

PlaneDecoder::Source PlaneDecoder::Prepare(const PlaneLayout& layout) {
    Source source;
    source.width = static_cast<std::size_t>(layout.Width());
    const int planes = layout.shape.step;

    const std::uint8_t* packed = content.Data();
    for (int p = 0; p < planes; ++p) {
        source.packed[p] = packed;
        packed += layout.Rows() * layout.PackedRowBytes(p);
    }
    source.rest = packed;
    packed += layout.RestBytes();
    for (int p = 0; p < planes; ++p) {
        source.escapes[p] = packed;
        if (layout.HasEscapes(p)) packed += layout.planes[static_cast<std::size_t>(p)].escapeBytes;
        source.escapesEnd[p] = packed;
    }

    const std::size_t fullBand = layout.words ? kWordBandRows : kByteBandRows;
    source.bandRows = static_cast<std::size_t>(std::min<std::uint64_t>(layout.Rows(), fullBand));
    source.stride = source.width + 2 * kRowMargin;
    const std::size_t sampleBytes = layout.words ? 2 : 1;
    const std::size_t bandBytes = (source.bandRows + 1) * source.stride * sampleBytes;
    const std::size_t bands = layout.words ? 1 : static_cast<std::size_t>(planes);
    const std::size_t wordBytes = layout.words ? 2 * source.width : 0;
    std::uint8_t* next = band.Reserve(static_cast<std::uint64_t>(bands) * bandBytes + wordBytes);
    // All of it: the margins have to be zero, and so have the rows that a last, shorter band does not fill.
    std::memset(next, 0, bands * bandBytes);
    for (std::size_t p = 0; p < bands; ++p, next += bandBytes) source.above[p] = next + kRowMargin * sampleBytes;
    source.wordResiduals[0] = next;
    source.wordResiduals[1] = next + wordBytes / 2;
    return source;
}

bool PlaneDecoder::Source::HasOnlyEscapes() const noexcept {
    for (int p = 0; p < kMaxPlanes; ++p)
        if (!kernels.areEscapes(escapes[p], static_cast<std::size_t>(escapesEnd[p] - escapes[p]))) return false;
    return true;
}

bool PlaneDecoder::Source::Unpack(const PlaneLayout& layout, std::uint8_t* const* residuals) {
    for (int p = 0; p < layout.shape.step; ++p) {
        const PlaneCode& plane = layout.planes[static_cast<std::size_t>(p)];
        switch (plane.coding) {
            case Coding::constant: std::memset(residuals[p], plane.value, width); break;
            case Coding::bytes: std::memcpy(residuals[p], packed[p], width); break;
            case Coding::pairs:
                escapes[p] = kernels.unpackPairs(packed[p], width, residuals[p], escapes[p], escapesEnd[p]);
                break;
            case Coding::joint:
                if (layout.IsJointSecond(p)) break;
                escapes[p] = kernels.unpackJoint(packed[p], width, residuals[p], residuals[layout.JointPartner(p)],
                                                 escapes[p], escapesEnd[p]);
                break;
        }
        if (escapes[p] == nullptr) return false;
        packed[p] += layout.PackedRowBytes(p);
    }
    return true;
}

bool PlaneDecoder::Source::RestoreBytes(const PlaneLayout& layout, std::size_t rowCount, std::uint8_t* dst) {
    std::uint8_t* rows[kMaxPlanes] = {};
    const auto toRow = [&](std::size_t row) {
        for (int p = 0; p < layout.shape.step; ++p) rows[p] = above[p] + (row + 1) * stride;
    };
    for (std::size_t row = 0; row < rowCount; ++row) {
        toRow(row);
        if (!Unpack(layout, rows)) return false;
    }
    for (int p = 0; p < layout.shape.step; ++p) {
        const Predictor predictor = layout.planes[static_cast<std::size_t>(p)].predictor;
        if (predictor == Predictor::median && bandRows == kByteBandRows) {
            kernels.restoreMedianBand(above[p], stride, width);
            continue;
        }
        for (std::size_t row = 0; row < rowCount; ++row)
            kernels.restore(predictor, above[p] + (row + 1) * stride, above[p] + row * stride, width);
    }
    for (std::size_t row = 0; row < rowCount; ++row) {
        toRow(row);
        kernels.join(dst + row * layout.rowBytes, width, layout.shape, rows);
    }
    toRow(rowCount - 1);
    for (int p = 0; p < layout.shape.step; ++p) std::memcpy(above[p], rows[p], width);
    return true;
}

bool PlaneDecoder::Source::RestoreWords(const PlaneLayout& layout, std::size_t rowCount, std::uint8_t* dst) {
    const auto wordRow = [&](std::size_t row) { return WordsAbove() + (row + 1) * stride; };
    for (std::size_t row = 0; row < rowCount; ++row) {
        if (!Unpack(layout, wordResiduals)) return false;
        kernels.mergeWords(wordResiduals[0], wordResiduals[1], wordRow(row), width);
    }
    const Predictor predictor = layout.planes[0].predictor;
    if (predictor == Predictor::median && bandRows == kWordBandRows) {
        kernels.restoreMedianWordBand(WordsAbove(), stride, width);
    } else {
        for (std::size_t row = 0; row < rowCount; ++row)
            kernels.restoreWords(predictor, wordRow(row), wordRow(row) - stride, width);
    }
    for (std::size_t row = 0; row < rowCount; ++row) std::memcpy(dst + row * layout.rowBytes, wordRow(row), 2 * width);
    std::memcpy(WordsAbove(), wordRow(rowCount - 1), 2 * width);
    return true;
}

}  // namespace zcdl
