// OpenCV.
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "Contest.h"
#include "operations/FilterParameters.h"

namespace contest {

namespace {

cv::Mat AsMat(const Square& square) {
    const int type = square.format == shr::GRAYSCALE_16 ? CV_16UC1 : CV_8UC(shr::ColorFmtToBPP[square.format] / 8);
    return cv::Mat(square.side, square.side, type, const_cast<std::uint8_t*>(square.pixels.data()));
}

/// `call` gets the source and the result.
template <class Call>
Enter Calling(const Call& call) {
    return [=](const Scene& scene) -> Entry {
        return Doing([=, from = AsMat(scene.source), to = AsMat(scene.result)]() mutable { call(from, to); });
    };
}

Enter Convert(int code) {
    return Calling([=](const cv::Mat& from, cv::Mat& to) { cv::cvtColor(from, to, code); });
}

/// A straight line of levels.
Enter Arithmetic(double slope, double offset) {
    return Calling([=](const cv::Mat& from, cv::Mat& to) { from.convertTo(to, CV_8U, slope, offset); });
}

Enter LookUp(const Line& line) {
    cv::Mat table(1, 256, CV_8UC4);
    for (int level = 0; level < 256; ++level) {
        const std::uint8_t made = line.Levels()[static_cast<std::size_t>(level)];
        table.at<cv::Vec4b>(level) = cv::Vec4b(made, made, made, static_cast<std::uint8_t>(level));
    }
    return Calling([=](const cv::Mat& from, cv::Mat& to) { cv::LUT(from, table, to); });
}

/// OpenCV computes in single precision.
cv::Mat Single(const double* factors, int side) {
    cv::Mat matrix;
    cv::Mat(side, side, CV_64F, const_cast<double*>(factors)).convertTo(matrix, CV_32F);
    return matrix;
}

Enter Transform(const ColorMatrix& matrix) {
    return Calling(
        [factors = Single(matrix.data(), 4)](const cv::Mat& from, cv::Mat& to) { cv::transform(from, to, factors); });
}

Enter GreyAndBack() {
    return Calling([grey = std::make_shared<cv::Mat>()](const cv::Mat& from, cv::Mat& to) {
        cv::cvtColor(from, *grey, cv::COLOR_BGRA2GRAY);
        cv::cvtColor(*grey, to, cv::COLOR_GRAY2BGRA);
    });
}

Enter Filter2D(const Kernel& kernel) {
    return Calling([factors = Single(kernel.factors.data(), kernel.side)](const cv::Mat& from, cv::Mat& to) {
        cv::filter2D(from, to, CV_8U, factors, {-1, -1}, 0, cv::BORDER_REPLICATE);
    });
}

Enter MedianBlur(int span) {
    return Calling([=](const cv::Mat& from, cv::Mat& to) { cv::medianBlur(from, to, span); });
}

Enter Resize(int interpolation) {
    return Calling([=](const cv::Mat& from, cv::Mat& to) { cv::resize(from, to, to.size(), 0, 0, interpolation); });
}

constexpr char kNoAntialiasing[] = "no antialiasing", kCorners[] = "other centres";

Rows RowsOfOpenCv() {
    cv::setNumThreads(1);
    Rows rows = {
        {"BGRA to RGBA", {"OpenCV", Convert(cv::COLOR_BGRA2RGBA)}},
        {"BGR24 to BGRA", {"OpenCV", Convert(cv::COLOR_BGR2BGRA)}},
        {"BGRA to BGR24", {"OpenCV", Convert(cv::COLOR_BGRA2BGR)}},
        {"premultiply", {"OpenCV", Convert(cv::COLOR_RGBA2mRGBA)}},
        {"unpremultiply", {"OpenCV", Convert(cv::COLOR_mRGBA2RGBA)}},
        {"BGRA to grey 8", {"OpenCV", Convert(cv::COLOR_BGRA2GRAY)}},
        {"grey 8 to BGRA", {"OpenCV", Convert(cv::COLOR_GRAY2BGRA)}},
        {"grey 16 to grey 8", {"OpenCV", Arithmetic(1 / 257.0, 0)}},
        {"saturation", {"OpenCV transform", Transform(SaturationMatrix(kSaturation))}},
        {"desaturate", {"OpenCV 2 x cvtColor", GreyAndBack()}},
        {"half", {"OpenCV AREA", Resize(cv::INTER_AREA)}},
        {"half", {"OpenCV LINEAR", Resize(cv::INTER_LINEAR)}},
        {"bilinear down", {"OpenCV LINEAR", Resize(cv::INTER_LINEAR), kNoAntialiasing}},
        {"bilinear down", {"OpenCV AREA", Resize(cv::INTER_AREA), "box kernel"}},
        {"bicubic down", {"OpenCV CUBIC", Resize(cv::INTER_CUBIC), kNoAntialiasing}},
        {"bicubic up", {"OpenCV CUBIC", Resize(cv::INTER_CUBIC), "a sharper cubic"}},
    };
    for (const Line& line : {Brightness(), Contrast()}) {
        rows.push_back({line.operation, {"OpenCV arithmetic", Arithmetic(line.slope, line.offset)}});
        rows.push_back({line.operation, {"OpenCV LUT", LookUp(line)}});
    }
    for (const Kernel& kernel : Kernels()) rows.push_back({kernel.operation, {"OpenCV filter2D", Filter2D(kernel)}});
    for (const int span : kMedianSpans) rows.push_back({MedianOf(span), {"OpenCV medianBlur", MedianBlur(span)}});
    for (const char* nearest : {"nearest down", "nearest up"}) {
        rows.push_back({nearest, {"OpenCV NEAREST_EXACT", Resize(cv::INTER_NEAREST_EXACT)}});
        rows.push_back({nearest, {"OpenCV NEAREST", Resize(cv::INTER_NEAREST), kCorners}});
    }
    return rows;
}

[[maybe_unused]] const bool kAdded = Add({"OpenCV", RowsOfOpenCv});

}  // namespace

}  // namespace contest
