// Writes libgd images to files. The formats' own limits are checked first, so that they can be
// named; everything else that an encoder refuses is shown with the encoder's words.
#include "workbench/files/encoding.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string>
#include <string_view>

#include "workbench/files/codec_messages.h"
#include "workbench/files/file_error.h"
#include "workbench/files/output_file.h"

namespace workbench {
namespace {

struct FormatRow {
    std::string_view extension;
    OutputFormat format;
    std::string_view name;
    int largestSide;
};

constexpr int anySide = 0x7FFFFFFF;
constexpr std::array<FormatRow, 5> formats{{
    {".png", OutputFormat::Png, "PNG", anySide},
    {".jpg", OutputFormat::Jpeg, "JPEG", 65500},
    {".jpeg", OutputFormat::Jpeg, "JPEG", 65500},
    {".webp", OutputFormat::WebP, "WebP", 16383},
    {".bmp", OutputFormat::Bmp, "BMP", anySide},
}};

const FormatRow& RowOf(const std::filesystem::path& file) {
    std::string extension = file.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    const auto* const found = std::find_if(formats.begin(), formats.end(), [&](const auto& row) {
        return row.extension == extension;
    });
    if (found == formats.end())
        throw FileError(file, "cannot be written: the name must end in .png, .jpg, .webp or .bmp");
    return *found;
}

void Encode(gdImage& image, OutputFormat format, std::FILE* target) {
    constexpr int jpegQuality = 95;
    constexpr int uncompressed = 0;
    switch (format) {
        case OutputFormat::Png:
            gdImagePng(&image, target);
            break;
        case OutputFormat::Jpeg:
            gdImageJpeg(&image, target, jpegQuality);
            break;
        case OutputFormat::WebP:
            gdImageWebpEx(&image, target, gdWebpLossless);
            break;
        case OutputFormat::Bmp:
            gdImageBmp(&image, target, uncompressed);
            break;
    }
}

}  // namespace

OutputFormat OutputFormatOf(const std::filesystem::path& file) {
    return RowOf(file).format;
}

bool KeepsAlpha(OutputFormat format) {
    return format == OutputFormat::Png || format == OutputFormat::WebP;
}

void CheckOutput(const std::filesystem::path& file) {
    RowOf(file);
    const OutputFile attempt(file);
}

void EncodeFile(gdImage& image, const std::filesystem::path& file,
                const std::function<void()>& beforeRename) {
    const FormatRow& row = RowOf(file);
    if (std::max(image.sx, image.sy) > row.largestSide)
        throw FileError(file, std::string(row.name) + " files hold at most " +
                                  std::to_string(row.largestSide) + " pixels a side, not " +
                                  std::to_string(image.sx) + " x " + std::to_string(image.sy));
    OutputFile output(file);
    const CodecMessages messages;
    Encode(image, row.format, output.Stream());
    const bool isEmpty = std::ftell(output.Stream()) <= 0;
    if (std::ferror(output.Stream()) == 0 && (isEmpty || !messages.First().empty()))
        throw FileError(
            file, "cannot be encoded" +
                      (messages.First().empty() ? std::string() : " (" + messages.First() + ")"));
    if (beforeRename) beforeRename();
    output.Commit();
}

}  // namespace workbench
