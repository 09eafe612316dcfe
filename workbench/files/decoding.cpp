// Reads files into libgd images. It never returns part of a picture: a file that ends early or
// whose decoder complains is damaged.
#include "workbench/files/decoding.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iomanip>
#include <sstream>
#include <string>
#include <system_error>

#include "workbench/files/byte_source.h"
#include "workbench/files/codec_messages.h"
#include "workbench/files/file_error.h"
#include "workbench/files/image_header.h"
#include "workbench/files/integrity.h"
#include "workbench/files/png_stream.h"

namespace workbench {
namespace {

std::string Gibibytes(double bytes) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(1) << bytes / (1U << 30U) << " GiB";
    return text.str();
}

gdImage* Decode(ImageFormat format, std::FILE* source) {
    switch (format) {
        case ImageFormat::Png:
            return DecodePng(source);
        case ImageFormat::Jpeg: {
            constexpr int acceptDamage = 0;
            return gdImageCreateFromJpegEx(source, acceptDamage);
        }
        case ImageFormat::Gif:
            return gdImageCreateFromGif(source);
        case ImageFormat::Bmp:
            return gdImageCreateFromBmp(source);
        case ImageFormat::WebP:
            return gdImageCreateFromWebp(source);
        case ImageFormat::Tiff:
            return gdImageCreateFromTiff(source);
    }
    return nullptr;
}

// One colour of a truecolor PNG may be declared transparent without an alpha channel.
void ApplyTransparentColor(gdImage& image) {
    if (image.transparent < 0) return;
    constexpr int fullyTransparent = gdTrueColorAlpha(0, 0, 0, gdAlphaTransparent);
    for (int y = 0; y < image.sy; ++y) {
        for (int x = 0; x < image.sx; ++x) {
            int& pixel = image.tpixels[y][x];
            if (pixel == image.transparent) pixel = fullyTransparent;
        }
    }
}

bool HasTransparency(const gdImage& image) {
    for (int y = 0; y < image.sy; ++y) {
        for (int x = 0; x < image.sx; ++x) {
            if (gdTrueColorGetAlpha(image.tpixels[y][x]) != gdAlphaOpaque) return true;
        }
    }
    return false;
}

[[noreturn]] void FailAsDamaged(const std::filesystem::path& file, ImageFormat format,
                                const std::string& damage) {
    throw FileError(file, "is a damaged " + std::string(FormatName(format)) + " file" +
                              (damage.empty() ? "" : " (" + damage + ")"));
}

ImageHeader CheckedHeader(const std::filesystem::path& file, std::size_t maximumBytes) {
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(file, ignored);
    if (std::filesystem::is_directory(status)) throw FileError(file, "is a directory");
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        throw FileError(file, "is not an ordinary file");
    const std::optional<ImageHeader> header = ReadImageHeader(file);
    if (!header)
        throw FileError(file, "is not an image (PNG, JPEG, GIF, BMP, WebP and TIFF are known)");
    // The decoder might find a size where the header was not followed, and take memory for it.
    if (header->width == 0 || header->height == 0)
        FailAsDamaged(file, header->format, "its header gives no size");
    constexpr double bytesPerPixel = 4.0;
    const double bytes =
        static_cast<double>(header->width) * static_cast<double>(header->height) * bytesPerPixel;
    if (bytes > static_cast<double>(maximumBytes))
        throw FileError(file, "is too large: " + std::to_string(header->width) + " x " +
                                  std::to_string(header->height) + " pixels need " +
                                  Gibibytes(bytes) + ", and " +
                                  Gibibytes(static_cast<double>(maximumBytes)) + " is the limit");
    return *header;
}

}  // namespace

DecodedFile DecodeFile(const std::filesystem::path& file, std::size_t maximumBytes) {
    const ImageHeader header = CheckedHeader(file, maximumBytes);
    if (const std::string damage = FindDamage(header.format, file); !damage.empty())
        FailAsDamaged(file, header.format, damage);
    const std::unique_ptr<std::FILE, FileCloser> source(std::fopen(file.c_str(), "rb"));
    if (source == nullptr) throw FileError(file, std::strerror(errno));

    const CodecMessages messages;
    DecodedFile decoded{GdImage(Decode(header.format, source.get()))};
    if (decoded.image == nullptr || !messages.First().empty())
        FailAsDamaged(file, header.format, messages.First());
    if (gdImageTrueColor(decoded.image) != 0) {
        ApplyTransparentColor(*decoded.image);
    } else if (gdImagePaletteToTrueColor(decoded.image.get()) == 0) {
        throw FileError(file, "there is not enough memory to decode it");
    }
    decoded.hasTransparency = HasTransparency(*decoded.image);
    return decoded;
}

}  // namespace workbench
