// Moves pixels between files and host pictures, row by row. It looks at pictures through the host's
// own view of them and calls no plugin.
#include "workbench/files/picture_files.h"

#include <malloc.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <utility>
#include <vector>

#include "workbench/files/encoding.h"
#include "workbench/files/file_error.h"
#include "workbench/pictures/color.h"

namespace workbench {
namespace {

std::uint8_t Scaled(std::uint8_t value, std::uint8_t factor) {
    constexpr unsigned half = 127;
    return static_cast<std::uint8_t>((unsigned{value} * factor + half) / 255U);
}

Color OverWhite(Color color) {
    const auto mixed = [&](std::uint8_t value) {
        const auto distance = static_cast<std::uint8_t>(255U - value);
        return static_cast<std::uint8_t>(255U - Scaled(distance, color.alpha));
    };
    return {mixed(color.red), mixed(color.green), mixed(color.blue), 255};
}

// What is seen of one row: the alpha channel if there is one, lowered by the mask.
void ReadVisibleRow(const Picture& picture, int y, std::vector<Color>& row) {
    row.resize(static_cast<std::size_t>(picture.Width()));
    picture.ReadRow(y, row);
    if (!picture.HasAlphaChannel()) {
        for (Color& color : row)
            color.alpha = 255;
    }
    const Picture* const mask = picture.Mask();
    if (mask == nullptr || y >= mask->Height()) return;
    const int covered = std::min(mask->Width(), picture.Width());
    for (int x = 0; x < covered; ++x) {
        Color& color = row[static_cast<std::size_t>(x)];
        const auto opacity = static_cast<std::uint8_t>(255U - mask->At(x, y).red);
        color.alpha = Scaled(color.alpha, opacity);
    }
}

bool HasVisibleAlpha(const Picture& picture) {
    return picture.HasAlphaChannel() || picture.Mask() != nullptr;
}

// A libgd image whose rows are the picture's own.
void BorrowRows(Picture& picture, std::vector<int*>& rows, gdImage& image) {
    for (int y = 0; y < picture.Height(); ++y)
        rows.push_back(reinterpret_cast<int*>(picture.Row(y).data()));
    image.sx = picture.Width();
    image.sy = picture.Height();
    image.cx2 = image.sx - 1;
    image.cy2 = image.sy - 1;
    image.trueColor = 1;
    image.transparent = -1;
    image.res_x = GD_RESOLUTION;
    image.res_y = GD_RESOLUTION;
    image.tpixels = rows.data();
}

void CopyRow(const gdImage& image, int y, Picture& picture) {
    std::vector<Color> row(static_cast<std::size_t>(image.sx));
    for (int x = 0; x < image.sx; ++x)
        row[static_cast<std::size_t>(x)] =
            DecodePixel(static_cast<std::uint32_t>(image.tpixels[y][x]), consoleLayout);
    picture.WriteRow(y, row);
}

void PutOnWhite(gdImage& image) {
    for (int y = 0; y < image.sy; ++y) {
        for (int x = 0; x < image.sx; ++x) {
            int& pixel = image.tpixels[y][x];
            const Color color = DecodePixel(static_cast<std::uint32_t>(pixel), consoleLayout);
            pixel = static_cast<int>(EncodePixel(OverWhite(color), consoleLayout));
        }
    }
}

// The picture's memory is taken only while the image's is given back: rows are freed as soon as
// they are copied, and returned to the system from time to time.
Held<Picture> MovePixels(Host& host, gdImage& image, bool alphaChannel) {
    PictureOptions options;
    options.width = image.sx;
    options.height = image.sy;
    options.alphaChannel = alphaChannel;
    options.unfilled = true;
    Held<Picture> picture = host.CreatePicture(options);
    constexpr std::size_t portion = std::size_t{32} << 20U;
    std::size_t freed = 0;
    for (int y = 0; y < image.sy; ++y) {
        CopyRow(image, y, *picture);
        gdFree(std::exchange(image.tpixels[y], nullptr));
        freed += static_cast<std::size_t>(image.sx) * sizeof(int);
        if (freed < portion) continue;
        malloc_trim(0);
        freed = 0;
    }
    return picture;
}

Held<Picture> Load(Host& host, const std::filesystem::path& file, bool isPlain) {
    DecodedFile decoded = DecodeFile(file, host.Settings().maximumPictureBytes);
    gdImage& image = *decoded.image;
    if (isPlain && decoded.hasTransparency) PutOnWhite(image);
    const bool alphaChannel = decoded.hasTransparency && !isPlain;
    const std::string size = std::to_string(image.sx) + " x " + std::to_string(image.sy);
    const HostSettings& settings = host.Settings();
    try {
        if (settings.runtime == Runtime::Console && !settings.guardPages)
            return host.AdoptImage(std::move(decoded.image), alphaChannel);
        return MovePixels(host, image, alphaChannel);
    } catch (const std::bad_alloc&) {
        throw FileError(file, "is too large: there is no memory for " + size + " pixels");
    }
}

}  // namespace

Held<Picture> LoadPicture(Host& host, const std::filesystem::path& file) {
    return Load(host, file, false);
}

Held<Picture> LoadMask(Host& host, const std::filesystem::path& file) {
    return Load(host, file, true);
}

void SavePicture(Picture& picture, const std::filesystem::path& file,
                 const std::function<void()>& beforeRename) {
    const bool keepsAlpha = KeepsAlpha(OutputFormatOf(file));
    std::vector<Color> row;
    for (int y = 0; y < picture.Height(); ++y) {
        ReadVisibleRow(picture, y, row);
        const std::span<std::uint32_t> words = picture.Row(y);
        for (std::size_t x = 0; x < words.size(); ++x) {
            const Color color = keepsAlpha ? row[x] : OverWhite(row[x]);
            words[x] = EncodePixel(color, consoleLayout);
        }
    }
    std::vector<int*> rows;
    gdImage image{};
    BorrowRows(picture, rows, image);
    image.saveAlphaFlag = HasVisibleAlpha(picture) ? 1 : 0;
    EncodeFile(image, file, beforeRename);
}

Held<Picture> PictureFrom(Host& host, const gdImage& image) {
    PictureOptions options;
    options.width = image.sx;
    options.height = image.sy;
    options.alphaChannel = image.saveAlphaFlag != 0;
    options.unfilled = true;
    Held<Picture> picture = host.CreatePicture(options);
    for (int y = 0; y < image.sy; ++y)
        CopyRow(image, y, *picture);
    return picture;
}

GdImage CopyPicture(const Picture& picture) {
    GdImage image(gdImageCreateTrueColor(picture.Width(), picture.Height()));
    if (image == nullptr) throw std::bad_alloc();
    gdImageAlphaBlending(image.get(), 0);
    gdImageSaveAlpha(image.get(), HasVisibleAlpha(picture) ? 1 : 0);
    std::vector<Color> row;
    for (int y = 0; y < picture.Height(); ++y) {
        ReadVisibleRow(picture, y, row);
        for (std::size_t x = 0; x < row.size(); ++x)
            image->tpixels[y][x] = static_cast<int>(EncodePixel(row[x], consoleLayout));
    }
    return image;
}

}  // namespace workbench
