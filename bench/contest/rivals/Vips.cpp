// libvips.
#include <vips/vips.h>

#include <cmath>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

#include "Contest.h"
#include "harness/Files.h"
#include "operations/Files.h"
#include "operations/FilterParameters.h"

namespace contest {

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
Image InPlace(const Square& square) {
    return Made([&](VipsImage** image) {
        *image = vips_image_new_from_memory(square.pixels.data(), square.pixels.size(), square.side, square.side, 4,
                                            VIPS_FORMAT_UCHAR);
        return *image == nullptr ? -1 : 0;
    });
}

/// Computes an image, whose pixels are cut off to whole levels, into the result.
void Write(Image image, const Square& result) {
    if (vips_image_get_format(image.get()) != VIPS_FORMAT_UCHAR)
        image = Made([&](VipsImage** bytes) { return vips_cast_uchar(image.get(), bytes, nullptr); });
    if (vips_image_get_width(image.get()) != result.side || vips_image_get_height(image.get()) != result.side)
        throw std::runtime_error("libvips gives a picture of another size");
    if (vips_image_write(image.get(), InPlace(result).get()) != 0) RaiseWhatFailed();
}

/// `operation` gets the source, where to put what it makes, and how many times larger the result is.
template <class Call>
Enter Calling(const Call& operation) {
    return [=](const Scene& scene) -> Entry {
        return Doing([=, &from = scene.source, &to = scene.result] {
            const Image source = InPlace(from);
            const double scale = double(to.side) / from.side;
            Write(Made([&](VipsImage** made) { return operation(source.get(), made, scale); }), to);
        });
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

/// The library itself, on one thread and with no results kept from run to run.
class Library {
public:
    Library() {
        if (VIPS_INIT("contest") != 0) RaiseWhatFailed();
        vips_concurrency_set(1);
        vips_cache_set_max(0);
    }
    ~Library() { vips_shutdown(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
};

Enter Recombine(const ColorMatrix& matrix) {
    return Calling([factors = Matrix(matrix.data(), 4)](VipsImage* source, VipsImage** made, double) {
        return vips_recomb(source, made, factors.get(), nullptr);
    });
}

/// Integer precision takes factors in 256ths, unless they are whole.
Enter Convolve(const Kernel& kernel, VipsPrecision precision) {
    const auto factors = precision == VIPS_PRECISION_INTEGER ? WholeMatrix(kernel) : RoundingMatrix(kernel);
    return Calling([=](VipsImage* source, VipsImage** made, double) {
        return vips_conv(source, made, factors.get(), "precision", precision, nullptr);
    });
}

Enter Shrink(int times) {
    return Calling(
        [=](VipsImage* source, VipsImage** made, double) { return vips_shrink(source, made, times, times, nullptr); });
}

Enter Resize(VipsKernel kernel) {
    return Calling([=](VipsImage* source, VipsImage** made, double scale) {
        return vips_resize(source, made, scale, "kernel", kernel, nullptr);
    });
}

/// With half-pixel centres, which its own resizing leaves by a fraction of a pixel when it interpolates.
Enter Enlarge(const char* interpolation) {
    const std::shared_ptr<VipsInterpolate> interpolate(vips_interpolate_new(interpolation), g_object_unref);
    return Calling([=](VipsImage* source, VipsImage** made, double scale) {
        const double middle = 0.5 - 0.5 / scale;
        const auto side = static_cast<int>(std::lround(scale * vips_image_get_width(source)));
        const std::unique_ptr<VipsArrayInt, void (*)(VipsArrayInt*)> area(
            vips_array_int_newv(4, 0, 0, side, side), [](VipsArrayInt* array) { vips_area_unref(VIPS_AREA(array)); });
        return vips_affine(source, made, scale, 0, 0, scale, "interpolate", interpolate.get(), "idx", middle, "idy",
                           middle, "oarea", area.get(), "extend", VIPS_EXTEND_COPY, nullptr);
    });
}

/// From raw pixels in a file into a pyramid of tiles in a TIFF, which holds the picture, too.
Entry Pyramid(const Scene& scene) {
    struct Files {
        bench::ScratchFile raw{"_raw"}, tiff{"_pyramid.tif"};
    };
    const auto files = std::make_shared<Files>();
    const Square& source = scene.source;
    std::ofstream(files->raw.path, std::ios::binary)
        .write(reinterpret_cast<const char*>(source.pixels.data()), static_cast<std::streamsize>(source.pixels.size()));
    const auto make = [files, side = source.side] {
        std::filesystem::remove(files->tiff.path);
        const Image raw = Made(
            [&](VipsImage** image) { return vips_rawload(files->raw.path.c_str(), image, side, side, 4, nullptr); });
        if (vips_tiffsave(raw.get(), files->tiff.path.c_str(), "tile", TRUE, "tile_width", bench::kTileSide,
                          "tile_height", bench::kTileSide, "pyramid", TRUE, "bigtiff", TRUE, nullptr) != 0)
            RaiseWhatFailed();
    };
    return {bench::Timed(make), [files, &to = scene.result] {
                Write(Made([&](VipsImage** level) {
                          return vips_tiffload(files->tiff.path.c_str(), level, "page", 2, nullptr);
                      }),
                      to);
            }};
}

constexpr char kCutsOff[] = "cuts off";

Rows RowsOfVips() {
    static const Library library;
    Rows rows = {
        {"saturation", {"libvips recomb", Recombine(SaturationMatrix(kSaturation)), kCutsOff}},
        {"desaturate", {"libvips recomb", Recombine(SaturationMatrix(0)), kCutsOff}},
        {"half", {"libvips shrink", Shrink(2)}},
        {"bilinear down", {"libvips linear", Resize(VIPS_KERNEL_LINEAR)}},
        {"bicubic down", {"libvips cubic", Resize(VIPS_KERNEL_CUBIC)}},
        {"bicubic up", {"libvips bicubic", Enlarge("bicubic")}},
        {"nearest down", {"libvips nearest", Resize(VIPS_KERNEL_NEAREST)}},
        {"nearest up", {"libvips nearest", Resize(VIPS_KERNEL_NEAREST)}},
        {kLevels, {"libvips tiffsave pyramid", Pyramid, "", 4 * bench::kPictureSide}},
    };
    for (const Kernel& kernel : Kernels()) {
        rows.push_back({kernel.operation, {"libvips float", Convolve(kernel, VIPS_PRECISION_FLOAT)}});
        rows.push_back({kernel.operation,
                        {"libvips integer", Convolve(kernel, VIPS_PRECISION_INTEGER),
                         kernel.IsWhole() ? "" : "factors in 256ths"}});
    }
    return rows;
}

[[maybe_unused]] const bool kAdded = Add({"libvips", RowsOfVips});

}  // namespace

}  // namespace contest
