// Decodes PNG files without what does not decide pixels: colour profiles, texts and times, about
// which the PNG library would print warnings of its own. Used by the decoder.
#pragma once

#include <gd.h>

#include <cstdio>
#include <string_view>

namespace workbench {

/// Whether a chunk of the type (four letters) must reach the decoder.
bool DecidesPixels(std::string_view type);

/// Decodes a PNG file from its start; null on failure, with the reason in the codec messages.
gdImage* DecodePng(std::FILE* file);

}  // namespace workbench
