// Draws pictures side by side onto one surface: each whole, and a part of it enlarged smoothly and with hard edges.
//
//     contact_sheet OUT.bmp FILE...      archives (.zbm) are loaded into memory, bitmaps in files (.zbf) stay there
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "shr/Archive.h"
#include "shr/Exception.h"
#include "zbm/Drawing.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZMemBitmap.h"
#include "zbm/ZScanRectFileBitmap.h"

namespace {

constexpr int kCell = 240, kMargin = 8;

std::unique_ptr<zbm::ZBitmap> LoadArchive(const shr::ZString& name) {
    shr::CBufferedFile file;
    file.Open(name, shr::FileAccess::read, shr::FileMode::openExisting, shr::FileSharing::read);
    shr::FileArchive archive(file, shr::FileArchive::Direction::loading);
    zbm::SerializeIO io(archive, false);
    zbm::ZBasicMemBitmap loaded(1, 1, shr::BGRA_32);
    if (!loaded.Serialize(io, nullptr, nullptr)) return nullptr;  // nobody cancels
    auto bitmap = std::make_unique<zbm::ZMemBitmap>(1, 1, shr::BGRA_32);
    bitmap->Create(loaded);
    return bitmap->CommitAll(nullptr) ? std::move(bitmap) : nullptr;
}

std::unique_ptr<zbm::ZBitmap> OpenFile(const shr::ZString& name) {
    auto bitmap = std::make_unique<zbm::ZScanRectFileBitmap>(L"", L"", false);
    bitmap->Open(name, true);
    return bitmap;
}

std::unique_ptr<zbm::ZBitmap> Open(const std::string& name) {
    const shr::ZString file = shr::ZString::FromUtf8(name);
    return name.ends_with(".zbf") ? OpenFile(file) : LoadArchive(file);
}

class Sheet {
public:
    explicit Sheet(int rowCount)
        : width(3 * (kCell + kMargin) + kMargin), height(rowCount * (kCell + kMargin) + kMargin) {
        pixels.assign(std::size_t{4} * static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 96);
    }

    void DrawRow(int row, const zbm::ZBitmap& bitmap) {
        const double across = bitmap.GetPixelWidth(), down = bitmap.GetPixelHeight(), side = std::max(across, down);
        Draw(0, row, bitmap, {(across - side) / 2, (down - side) / 2, side, side}, false);
        const double part = std::min(side / 4, 30.0);
        const zbm::SourceArea middle{across / 2 - part / 2 + 0.25, down / 2 - part / 2 + 0.25, part, part};
        Draw(1, row, bitmap, middle, false);
        Draw(2, row, bitmap, middle, true);
    }

    /// Rows as a BMP has them: the lowest one first.
    bool Store(const char* name) const {
        const auto size = static_cast<std::uint32_t>(pixels.size());
        std::uint8_t header[54] = {'B', 'M'};
        const auto put = [&](int at, std::uint32_t value) {
            for (int i = 0; i < 4; ++i) header[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
        };
        put(2, 54 + size), put(10, 54), put(14, 40), put(18, static_cast<std::uint32_t>(width));
        put(22, static_cast<std::uint32_t>(height)), put(26, 32u << 16 | 1), put(34, size);
        std::FILE* const file = std::fopen(name, "wb");
        if (file == nullptr) return false;
        const bool isWritten =
            std::fwrite(header, 1, 54, file) == 54 && std::fwrite(pixels.data(), 1, size, file) == size;
        return std::fclose(file) == 0 && isWritten;
    }

private:
    void Draw(int column, int row, const zbm::ZBitmap& bitmap, const zbm::SourceArea& area, bool isHard) {
        const int left = kMargin + column * (kCell + kMargin), top = kMargin + row * (kCell + kMargin);
        zbm::DrawOptions options;
        options.background = zbm::DrawOptions::Background::checkerboard;
        if (isHard) options.enlarging = zbm::DrawOptions::Enlarging::nearest;
        std::uint8_t* const topRow = pixels.data() + 4 * width * (height - 1);
        const zbm::PixelSurface surface{topRow, -4 * width, width, height, zbm::SurfaceLayout::bgrx};
        if (!bitmap.DrawOnPixels(surface, {left, top, left + kCell, top + kCell}, area, options, nullptr)) return;
    }

    int width, height;
    std::vector<std::uint8_t> pixels;
};

}  // namespace

int main(int count, char** names) {
    if (count < 3) {
        std::fputs("usage: contact_sheet OUT.bmp FILE...\n", stderr);
        return 2;
    }
    try {
        Sheet sheet(count - 2);
        for (int i = 2; i < count; ++i) sheet.DrawRow(i - 2, *Open(names[i]));
        if (!sheet.Store(names[1])) {
            std::fprintf(stderr, "%s cannot be written\n", names[1]);
            return 1;
        }
        std::printf("%d pictures on %s\n", count - 2, names[1]);
        return 0;
    } catch (const shr::Exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
