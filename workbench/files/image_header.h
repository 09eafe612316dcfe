// Tells what an image file is by its first bytes, and how large its picture is, before anything is
// decoded: a small file may claim a picture larger than the machine. Used by the decoder.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>

namespace workbench {

enum class ImageFormat { Png, Jpeg, Gif, Bmp, WebP, Tiff };

/// "PNG", "JPEG" and so on.
std::string_view FormatName(ImageFormat format);

struct ImageHeader {
    ImageFormat format = ImageFormat::Png;
    std::uint64_t width = 0;  // in pixels; 0 by 0 if the header cannot be followed
    std::uint64_t height = 0;
};

/// Reads the header; nothing if the bytes are of none of the formats. Throws FileError if the file
/// cannot be read.
std::optional<ImageHeader> ReadImageHeader(const std::filesystem::path& file);

}  // namespace workbench
