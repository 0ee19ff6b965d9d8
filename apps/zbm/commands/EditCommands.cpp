#include "commands/EditCommands.h"

#include <charconv>
#include <stdexcept>
#include <string>

#include "ErrorContext.h"
#include "commands/ArchiveFile.h"
#include "commands/MemoryLimit.h"
#include "pictures/PictureSource.h"
#include "zbm/ZMemBitmap.h"

namespace tool {

namespace {

void RequireDone(bool done) {
    if (!done) throw shr::AbortException();
}

/// Reads the input, has `edit` give the result, and writes that.
template <class Options, class Edit>
void EditFile(const Options& options, Console& console, const Edit& edit) {
    ConsoleProgress progress(console);
    OutputFile output(options.output);  // first, so that a name that cannot be written is told before the work
    Picture picture = ReadPictureOrArchive(options.input, options.reading, console, progress);
    InContextOf(options.input, [&] { picture.bitmap = edit(std::move(picture.bitmap), progress); });
    RequireDone(picture.bitmap->CommitAll(&progress));  // builds the reductions of an archive that had such again
    WriteBitmap(picture, output, options.writing, console, progress);
}

/// The numbers of a text, which spaces, commas and line ends part.
std::vector<double> NumbersIn(const std::string& text) {
    constexpr const char* kBetween = " \t\r\n,;";
    std::vector<double> numbers;
    for (std::size_t at = 0; (at = text.find_first_not_of(kBetween, at)) != std::string::npos;) {
        const std::size_t end = std::min(text.find_first_of(kBetween, at), text.size());
        double number = 0;
        const auto [rest, error] = std::from_chars(text.data() + at, text.data() + end, number);
        if (error != std::errc{} || rest != text.data() + end)
            throw std::runtime_error("\"" + text.substr(at, end - at) + "\" is no number");
        numbers.push_back(number);
        at = end;
    }
    return numbers;
}

std::vector<double> ReadKernel(const ZString& fileName) {
    constexpr std::int64_t kMostBytes = 1 << 16;
    PictureSource file(fileName);
    if (file.Length() > kMostBytes) throw std::runtime_error("is too long for a kernel");
    std::string text(static_cast<std::size_t>(file.Length()), '\0');
    file.ReadExactly(text.data(), text.size());
    return NumbersIn(text);
}

}  // namespace

Adjustment ConvolutionFrom(const ZString& kernelFile) {
    return InContextOf(kernelFile, [&]() -> Adjustment {
        std::vector<double> numbers = ReadKernel(kernelFile);
        const std::size_t coefficients = numbers.size() >= 25 ? 25 : 9;
        if (numbers.size() < coefficients || numbers.size() > coefficients + 2)
            throw std::runtime_error("holds " + std::to_string(numbers.size()) +
                                     " numbers; a kernel has 9 or 25, and a divisor and a bias may follow");
        numbers.resize(coefficients + 2);  // a divisor of 0 stands for the sum
        return [numbers, coefficients](zbm::ZBitmap& bitmap, shr::IProgress& progress) {
            std::vector<double> kernel = numbers;
            const double divisor = kernel[coefficients], bias = kernel[coefficients + 1];
            return coefficients == 9 ? bitmap.Convolute3x3(kernel.data(), divisor, bias, &progress)
                                     : bitmap.Convolute5x5(kernel.data(), divisor, bias, &progress);
        };
    });
}

void Adjust(const AdjustOptions& options, Console& console) {
    EditFile(options, console, [&](BitmapPtr bitmap, ConsoleProgress& progress) {
        for (const Adjustment& adjust : options.adjustments) RequireDone(adjust(*bitmap, progress));
        return bitmap;
    });
}

void Resize(const ResizeOptions& options, Console& console) {
    EditFile(options, console, [&](BitmapPtr bitmap, ConsoleProgress& progress) {
        const auto [width, height] = options.size;
        RefuseBeyondMemory({width, height, bitmap->GetColorFormat(), 512, 512}, 0);
        auto result = std::make_unique<zbm::ZBasicMemBitmap>(1, 1, shr::BGRA_32);
        const RECT whole{0, 0, bitmap->GetPixelWidth(), bitmap->GetPixelHeight()};
        RequireDone(result->Create(width, height, *bitmap, whole, options.method, &progress));
        return result;
    });
}

void QuantizeColors(const QuantizeOptions& options, Console& console) {
    EditFile(options, console, [&](BitmapPtr bitmap, ConsoleProgress& progress) {
        std::vector<RGBQUAD> palette;
        RequireDone(bitmap->QuantizeColors(options.method, options.colors, palette, &progress));
        return bitmap;
    });
}

void Reduce(const ReduceOptions& options, Console& console) {
    ConsoleProgress progress(console);
    OutputFile output(options.archive);
    const Picture picture = ReadPictureOrArchive(options.input, options.reading, console, progress);
    zbm::ZMemBitmap reduced(1, 1, shr::BGRA_32);
    InContextOf(options.input, [&] {
        reduced.ZBasicMemBitmap::ChangeFrom(*picture.bitmap);
        RequireDone(reduced.CommitAll(&progress, true));
    });
    Notes notes(console, options.input);
    NoteLost(picture.metadata, notes);
    StoreArchive(reduced, output, zcdl::CodecMethod::balanced, progress);
}

}  // namespace tool
