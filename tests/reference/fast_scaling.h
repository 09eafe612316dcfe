// Scaling by averaging a block of equal size for every destination pixel.
#pragma once

#include <cstdint>

#include "tests/reference/image.h"

namespace reference {

/// The source scaled to `width` by `height` in the layout `format`, always opaque.
Image ScaleFast(const Image& source, std::int64_t width, std::int64_t height, int format);

}  // namespace reference
