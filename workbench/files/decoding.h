// Decodes image files by libgd: PNG, JPEG, GIF, BMP, WebP and TIFF, told apart by their content.
// Used by the command line; everything wrong with a file becomes a FileError.
#pragma once

#include <gd.h>

#include <cstddef>
#include <filesystem>

#include "workbench/pictures/owned_image.h"

namespace workbench {

using GdImage = OwnedImage;

struct DecodedFile {
    GdImage image;  // truecolor
    bool hasTransparency = false;
};

/// Decodes the file. Throws FileError if it is missing, of no known format, damaged, or holds a
/// picture of more than `maximumBytes` at four bytes per pixel.
DecodedFile DecodeFile(const std::filesystem::path& file, std::size_t maximumBytes);

}  // namespace workbench
