#include "rivals/Rivals.h"

#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <string>

namespace contest::filters {

namespace openCv {

namespace {

cv::Mat Mat(const std::uint8_t* pixels, int side) {
    return cv::Mat(side, side, CV_8UC4, const_cast<std::uint8_t*>(pixels));
}

/// `call` gets the source and the result.
template <class Call>
Enter Calling(const Call& call) {
    return [=](const Canvas& canvas) -> Job {
        return [=, from = Mat(canvas.source, canvas.from), to = Mat(canvas.result, canvas.to)]() mutable {
            call(from, to);
        };
    };
}

/// OpenCV computes in single precision.
cv::Mat Single(const double* factors, int side) {
    cv::Mat matrix;
    cv::Mat(side, side, CV_64F, const_cast<double*>(factors)).convertTo(matrix, CV_32F);
    return matrix;
}

}  // namespace

Enter Arithmetic(Line line) {
    return Calling([=](const cv::Mat& from, cv::Mat& to) { from.convertTo(to, CV_8U, line.slope, line.offset); });
}

Enter LookUp(Line line) {
    cv::Mat table(1, 256, CV_8UC4);
    for (int level = 0; level < 256; ++level) {
        const std::uint8_t made = line.Levels()[static_cast<std::size_t>(level)];
        table.at<cv::Vec4b>(level) = cv::Vec4b(made, made, made, static_cast<std::uint8_t>(level));
    }
    return Calling([=](const cv::Mat& from, cv::Mat& to) { cv::LUT(from, table, to); });
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

}  // namespace openCv

namespace yuv {

Enter GrayTo() {
    return [](const Canvas& c) -> Job {
        return [=] { libyuv::ARGBGrayTo(c.source, c.SourceStride(), c.result, c.ResultStride(), c.to, c.to); };
    };
}

Enter Transform(const ColorMatrix& matrix) {
    std::array<std::int8_t, 16> factors{};
    for (std::size_t i = 0; i < matrix.size(); ++i)
        factors[i] = static_cast<std::int8_t>(std::clamp(std::lround(matrix[i] * 64), -128L, 127L));
    return [=](const Canvas& c) -> Job {
        return [=] {
            libyuv::ARGBColorMatrix(c.source, c.SourceStride(), c.result, c.ResultStride(), factors.data(), c.to, c.to);
        };
    };
}

Enter Scale(libyuv::FilterMode mode) {
    return [=](const Canvas& c) -> Job {
        return [=] {
            libyuv::ARGBScale(c.source, c.SourceStride(), c.from, c.from, c.result, c.ResultStride(), c.to, c.to, mode);
        };
    };
}

}  // namespace yuv

namespace vips {

namespace {

struct Unref {
    void operator()(VipsImage* image) const { g_object_unref(image); }
};
using Image = std::unique_ptr<VipsImage, Unref>;

[[noreturn]] void RaiseWhatFailed() { throw std::runtime_error(std::string("libvips: ") + vips_error_buffer()); }

/// Calls what makes an image in libvips' way.
template <class Make>
Image Made(const Make& make) {
    VipsImage* image = nullptr;
    if (make(&image) != 0) RaiseWhatFailed();
    return Image(image);
}

/// An image of pixels that stay where they are.
Image InPlace(const std::uint8_t* pixels, int side) {
    return Made([=](VipsImage** image) {
        *image = vips_image_new_from_memory(pixels, Canvas::Bytes(side), side, side, 4, VIPS_FORMAT_UCHAR);
        return *image == nullptr ? -1 : 0;
    });
}

/// Computes an image, whose pixels are cut off to whole levels, into the result.
void Write(Image image, const Canvas& canvas) {
    if (vips_image_get_format(image.get()) != VIPS_FORMAT_UCHAR)
        image = Made([&](VipsImage** bytes) { return vips_cast_uchar(image.get(), bytes, nullptr); });
    if (vips_image_get_width(image.get()) != canvas.to || vips_image_get_height(image.get()) != canvas.to)
        throw std::runtime_error("libvips gives a picture of another size");
    if (vips_image_write(image.get(), InPlace(canvas.result, canvas.to).get()) != 0) RaiseWhatFailed();
}

/// `operation` gets the source, where to put what it makes, and the canvas.
template <class Operation>
Enter Calling(const Operation& operation) {
    return [=](const Canvas& canvas) -> Job {
        return [=] {
            const Image source = InPlace(canvas.source, canvas.from);
            Write(Made([&](VipsImage** made) { return operation(source.get(), made, canvas); }), canvas);
        };
    };
}

std::shared_ptr<VipsImage> Matrix(const double* factors, int side) {
    return Made([=](VipsImage** image) {
        *image = vips_image_new_matrix_from_array(side, side, factors, side * side);
        return *image == nullptr ? -1 : 0;
    });
}

std::shared_ptr<VipsImage> WholeMatrix(Kernel kernel) {
    if (kernel.IsWhole()) return Matrix(kernel.factors.data(), kernel.side);
    constexpr double kParts = 256;
    for (double& factor : kernel.factors) factor = std::round(factor * kParts);
    auto matrix = Matrix(kernel.factors.data(), kernel.side);
    vips_image_set_double(matrix.get(), "scale", kParts);
    return matrix;
}

/// The offset makes cutting off to whole levels the rounding to nearest.
std::shared_ptr<VipsImage> RoundingMatrix(const Kernel& kernel) {
    auto matrix = Matrix(kernel.factors.data(), kernel.side);
    vips_image_set_double(matrix.get(), "offset", 0.5);
    return matrix;
}

}  // namespace

Library::Library() {
    if (VIPS_INIT("contest") != 0) RaiseWhatFailed();
    vips_concurrency_set(1);
    vips_cache_set_max(0);
}

Library::~Library() { vips_shutdown(); }

Enter Recombine(const ColorMatrix& matrix) {
    return Calling([factors = Matrix(matrix.data(), 4)](VipsImage* source, VipsImage** made, const Canvas&) {
        return vips_recomb(source, made, factors.get(), nullptr);
    });
}

Enter Convolve(const Kernel& kernel, VipsPrecision precision) {
    const auto factors = precision == VIPS_PRECISION_INTEGER ? WholeMatrix(kernel) : RoundingMatrix(kernel);
    return Calling([=](VipsImage* source, VipsImage** made, const Canvas&) {
        return vips_conv(source, made, factors.get(), "precision", precision, nullptr);
    });
}

Enter Shrink(int times) {
    return Calling([=](VipsImage* source, VipsImage** made, const Canvas&) {
        return vips_shrink(source, made, times, times, nullptr);
    });
}

Enter Resize(VipsKernel kernel) {
    return Calling([=](VipsImage* source, VipsImage** made, const Canvas& canvas) {
        return vips_resize(source, made, double(canvas.to) / canvas.from, "kernel", kernel, nullptr);
    });
}

Enter Enlarge(const char* interpolation) {
    const std::shared_ptr<VipsInterpolate> interpolate(vips_interpolate_new(interpolation), g_object_unref);
    return Calling([=](VipsImage* source, VipsImage** made, const Canvas& canvas) {
        const double scale = double(canvas.to) / canvas.from, middle = 0.5 - 0.5 / scale;
        const std::unique_ptr<VipsArrayInt, void (*)(VipsArrayInt*)> area(
            vips_array_int_newv(4, 0, 0, canvas.to, canvas.to),
            [](VipsArrayInt* array) { vips_area_unref(VIPS_AREA(array)); });
        return vips_affine(source, made, scale, 0, 0, scale, "interpolate", interpolate.get(), "idx", middle, "idy",
                           middle, "oarea", area.get(), "extend", VIPS_EXTEND_COPY, nullptr);
    });
}

}  // namespace vips

}  // namespace contest::filters
