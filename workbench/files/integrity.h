// Looks for damage in a file's structure before it is decoded, where the decoder would pass over it
// or print about it. Used by the decoder.
#pragma once

#include <filesystem>
#include <string>

#include "workbench/files/image_header.h"

namespace workbench {

/// What is wrong with the file's structure; empty if nothing is, or if the format's decoder finds
/// out by itself. Throws FileError if the file cannot be read.
std::string FindDamage(ImageFormat format, const std::filesystem::path& file);

}  // namespace workbench
