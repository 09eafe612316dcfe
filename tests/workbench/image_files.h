// Image files for tests: made here by libgd, so that the code under test has something to read that
// it did not write.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "workbench/files/decoding.h"

namespace workbench {

/// A truecolor image of noise, always the same, which no format packs well; opaque or with every
/// transparency there is.
GdImage MakeImage(int width, int height, bool isTransparent);

/// Writes the image in the format that the extension stands for: also GIF and TIFF.
void WriteImage(gdImage& image, const std::filesystem::path& file);

std::string ReadBytes(const std::filesystem::path& file);
void WriteBytes(const std::filesystem::path& file, const std::string& bytes);

/// A PNG chunk with its length and, unless it is to be damaged, its checksum.
std::string PngChunk(const std::string& type, const std::string& data, bool isDamaged = false);

}  // namespace workbench
